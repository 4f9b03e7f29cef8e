// SPDX-License-Identifier: Apache-2.0
//
// The fields of one object of a result.json, checked. A file that is not what the writer writes is
// refused with Usage_Error, which names the file and the key. A null is read as the value that is
// given for it, because the writer has null for a number that is not finite and for what there is
// none of.
#ifndef RIGSYNC_FORMATS_JSON_FIELDS_H
#define RIGSYNC_FORMATS_JSON_FIELDS_H

#include "rigsync/solve/rigid_motion.h"

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// "FILE: REASON; expected a result.json that 'rigsync calibrate' wrote"
[[noreturn]] void Refuse_File(const std::filesystem::path& File, const std::string& Reason);

// For a null where the file can't be used without the number.
[[noreturn]] void Refuse_Not_Finite(const std::filesystem::path& File, const std::string& Key);

// The number that gives Value when it is multiplied by Factor, to the last bit if there is one:
// what was in memory before the file was written in another unit. Value over Factor otherwise.
double Unscaled(double Value, double Factor);
Eigen::Vector3d Unscaled(const Eigen::Vector3d& Values, double Factor);

// Refers to File and Object, which have to live longer.
class Json_Fields {
 public:
  static constexpr double Not_Known = std::numeric_limits<double>::quiet_NaN();

  Json_Fields(const std::filesystem::path& Path, const nlohmann::ordered_json& Fields);

  [[noreturn]] void Refuse(const std::string& Reason) const { Refuse_File(*File, Reason); }

  // For a null element where the number is needed.
  [[noreturn]] void Refuse_Null_In(const char* Key) const { Refuse_Not_Finite(*File, Key); }

  // Whether the key is there and not null.
  bool Has(const char* Key) const;

  // An object without fields where there is none.
  Json_Fields Object(const char* Key) const;
  // The objects of a list; none where there is no list.
  std::vector<Json_Fields> Objects(const char* Key) const;

  double Number(const char* Key, double Otherwise = Not_Known) const;
  std::optional<double> Optional_Number(const char* Key) const;
  // Size numbers, with Otherwise in the place of a null element. Empty where there is no list.
  std::vector<double> Numbers(const char* Key, std::size_t Size,
                              double Otherwise = Not_Known) const;
  // The same for a key that has to be there, null or not.
  std::vector<double> Numbers_At(const char* Key, std::size_t Size) const;
  // The same without null elements.
  std::vector<double> Finite_Numbers_At(const char* Key, std::size_t Size) const;
  std::optional<std::array<double, 3>> Three(const char* Key) const;
  // Otherwise for null elements, and throughout where there is no list.
  Eigen::Vector3d Vector(const char* Key, double Otherwise = Not_Known) const;
  // Lists of numbers; none where there is no list.
  std::vector<std::vector<double>> Lists(const char* Key) const;
  // Six by six. Null elements are infinite on the diagonal and NaN beside it.
  std::optional<Matrix6d> Matrix(const char* Key) const;
  // Whole numbers from 0; none where there is no number.
  std::optional<std::size_t> Count(const char* Key) const;
  std::vector<std::size_t> Counts(const char* Key) const;

  bool Truth(const char* Key, bool Otherwise = false) const;
  // As it is in the file; empty where there is none.
  std::string Text(const char* Key) const;
  std::vector<std::string> Texts(const char* Key) const;

 private:
  // Null where there is nothing or null.
  const nlohmann::ordered_json* Find(const char* Key) const;
  const nlohmann::ordered_json* List(const char* Key) const;
  std::vector<double> List_Numbers(const nlohmann::ordered_json& Elements, const char* Key,
                                   double Otherwise) const;

  const std::filesystem::path* File;
  const nlohmann::ordered_json* Json;
};

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_JSON_FIELDS_H
