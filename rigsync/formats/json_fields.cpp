// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/json_fields.h"

#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

namespace rigsync {
namespace {

using Ordered_Json = nlohmann::ordered_json;

const Ordered_Json& No_Fields() {
  static const Ordered_Json Empty = Ordered_Json::object();
  return Empty;
}

// Larger counts than any capture has; they would only fill the memory.
constexpr std::size_t Largest_Count = 1'000'000'000;

std::optional<std::size_t> As_Count(const Ordered_Json& Value) {
  if (!Value.is_number_unsigned() || Value.get<std::size_t>() > Largest_Count) return std::nullopt;
  return Value.get<std::size_t>();
}

}  // namespace

void Refuse_File(const std::filesystem::path& File, const std::string& Reason) {
  throw Usage_Error(fmt::format("{}: {}; expected a result.json that 'rigsync calibrate' wrote",
                                File.string(), Reason));
}

void Refuse_Not_Finite(const std::filesystem::path& File, const std::string& Key) {
  throw Usage_Error(fmt::format(
      "{}: '{}' has NaN or infinite values, so the result cannot be used. The probable "
      "cause is a NaN tracker value in the CSV: 'rigsync inspect' names its line. Remove "
      "that line and calibrate again",
      File.string(), Key));
}

// A product is rounded once and a quotient once more, so the number is at most two steps away.
double Unscaled(double Value, double Factor) {
  const double Near = Value / Factor;
  double Below = Near, Above = Near;
  for (int Step = 0; Step < 3; ++Step) {
    if (Factor * Below == Value) return Below;
    if (Factor * Above == Value) return Above;
    Below = std::nextafter(Below, -HUGE_VAL);
    Above = std::nextafter(Above, HUGE_VAL);
  }
  return Near;
}

Eigen::Vector3d Unscaled(const Eigen::Vector3d& Values, double Factor) {
  return {Unscaled(Values.x(), Factor), Unscaled(Values.y(), Factor), Unscaled(Values.z(), Factor)};
}

Json_Fields::Json_Fields(const std::filesystem::path& Path, const Ordered_Json& Fields)
    : File(&Path), Json(&Fields) {}

const Ordered_Json* Json_Fields::Find(const char* Key) const {
  const auto Field = Json->find(Key);
  return Field == Json->end() || Field->is_null() ? nullptr : &*Field;
}

const Ordered_Json* Json_Fields::List(const char* Key) const {
  const Ordered_Json* const Value = Find(Key);
  if (Value != nullptr && !Value->is_array()) Refuse(fmt::format("'{}' is not a list", Key));
  return Value;
}

bool Json_Fields::Has(const char* Key) const {
  return Find(Key) != nullptr;
}

Json_Fields Json_Fields::Object(const char* Key) const {
  const Ordered_Json* const Value = Find(Key);
  if (Value != nullptr && !Value->is_object()) Refuse(fmt::format("'{}' is not an object", Key));
  return {*File, Value == nullptr ? No_Fields() : *Value};
}

std::vector<Json_Fields> Json_Fields::Objects(const char* Key) const {
  const Ordered_Json* const Elements = List(Key);
  std::vector<Json_Fields> Result;
  if (Elements == nullptr) return Result;
  for (const Ordered_Json& Element : *Elements) {
    if (!Element.is_object()) {
      Refuse(fmt::format("'{}' has an element that is not an object", Key));
    }
    Result.emplace_back(*File, Element);
  }
  return Result;
}

double Json_Fields::Number(const char* Key, double Otherwise) const {
  return Optional_Number(Key).value_or(Otherwise);
}

std::optional<double> Json_Fields::Optional_Number(const char* Key) const {
  const Ordered_Json* const Value = Find(Key);
  if (Value == nullptr) return std::nullopt;
  if (!Value->is_number()) Refuse(fmt::format("'{}' is not a number", Key));
  return Value->get<double>();
}

std::vector<double> Json_Fields::Numbers(const char* Key, std::size_t Size,
                                         double Otherwise) const {
  const Ordered_Json* const Elements = Find(Key);
  if (Elements == nullptr) return {};
  if (!Elements->is_array() || Elements->size() != Size) {
    Refuse(fmt::format("'{}' is not a list of {} numbers", Key, Size));
  }
  return List_Numbers(*Elements, Key, Otherwise);
}

std::vector<double> Json_Fields::List_Numbers(const Ordered_Json& Elements, const char* Key,
                                              double Otherwise) const {
  std::vector<double> Values;
  for (const Ordered_Json& Element : Elements) {
    if (!Element.is_null() && !Element.is_number()) {
      Refuse(fmt::format("'{}' has an element that is not a number", Key));
    }
    Values.push_back(Element.is_null() ? Otherwise : Element.get<double>());
  }
  return Values;
}

std::vector<double> Json_Fields::Numbers_At(const char* Key, std::size_t Size) const {
  if (Json->find(Key) == Json->end()) Refuse(fmt::format("'{}' is missing", Key));
  return Numbers(Key, Size);
}

std::vector<double> Json_Fields::Finite_Numbers_At(const char* Key, std::size_t Size) const {
  std::vector<double> Values = Numbers_At(Key, Size);
  const bool Are_Finite =
      std::all_of(Values.begin(), Values.end(), [](double Value) { return std::isfinite(Value); });
  if (!Are_Finite) Refuse_Not_Finite(*File, Key);
  return Values;
}

std::optional<std::array<double, 3>> Json_Fields::Three(const char* Key) const {
  const std::vector<double> Values = Numbers(Key, 3);
  if (Values.empty()) return std::nullopt;
  return std::array<double, 3>{Values[0], Values[1], Values[2]};
}

Eigen::Vector3d Json_Fields::Vector(const char* Key, double Otherwise) const {
  const std::vector<double> Values = Numbers(Key, 3, Otherwise);
  if (Values.empty()) return Eigen::Vector3d::Constant(Otherwise);
  return {Values[0], Values[1], Values[2]};
}

std::vector<std::vector<double>> Json_Fields::Lists(const char* Key) const {
  const Ordered_Json* const Elements = List(Key);
  std::vector<std::vector<double>> Values;
  if (Elements == nullptr) return Values;
  for (const Ordered_Json& Element : *Elements) {
    if (!Element.is_array()) Refuse(fmt::format("'{}' has an element that is not a list", Key));
    Values.push_back(List_Numbers(Element, Key, Not_Known));
  }
  return Values;
}

std::optional<Matrix6d> Json_Fields::Matrix(const char* Key) const {
  if (!Has(Key)) return std::nullopt;
  const std::vector<std::vector<double>> Rows = Lists(Key);
  const auto Is_Six = [](const std::vector<double>& Row) { return Row.size() == 6; };
  const bool Is_Whole = Rows.size() == 6 && std::all_of(Rows.begin(), Rows.end(), Is_Six);
  if (!Is_Whole) Refuse(fmt::format("'{}' is not 6 lists of 6 numbers", Key));
  Matrix6d Values;
  for (int r = 0; r < 6; ++r) {
    Values.row(r) = Vector6d::Map(Rows[static_cast<std::size_t>(r)].data()).transpose();
    if (std::isnan(Values(r, r))) Values(r, r) = std::numeric_limits<double>::infinity();
  }
  return Values;
}

std::optional<std::size_t> Json_Fields::Count(const char* Key) const {
  const Ordered_Json* const Value = Find(Key);
  if (Value == nullptr) return std::nullopt;
  const auto Number = As_Count(*Value);
  if (!Number) Refuse(fmt::format("'{}' is not a whole number from 0", Key));
  return Number;
}

std::vector<std::size_t> Json_Fields::Counts(const char* Key) const {
  const Ordered_Json* const Elements = List(Key);
  std::vector<std::size_t> Values;
  if (Elements == nullptr) return Values;
  for (const Ordered_Json& Element : *Elements) {
    const auto Number = As_Count(Element);
    if (!Number) Refuse(fmt::format("'{}' has an element that is not a whole number", Key));
    Values.push_back(*Number);
  }
  return Values;
}

bool Json_Fields::Truth(const char* Key, bool Otherwise) const {
  const Ordered_Json* const Value = Find(Key);
  if (Value == nullptr) return Otherwise;
  if (!Value->is_boolean()) Refuse(fmt::format("'{}' is neither true nor false", Key));
  return Value->get<bool>();
}

std::string Json_Fields::Text(const char* Key) const {
  const Ordered_Json* const Value = Find(Key);
  if (Value == nullptr) return "";
  if (!Value->is_string()) Refuse(fmt::format("'{}' is not a text", Key));
  return Value->get<std::string>();
}

std::vector<std::string> Json_Fields::Texts(const char* Key) const {
  const Ordered_Json* const Elements = List(Key);
  std::vector<std::string> Values;
  if (Elements == nullptr) return Values;
  for (const Ordered_Json& Element : *Elements) {
    if (!Element.is_string()) Refuse(fmt::format("'{}' has an element that is not a text", Key));
    Values.push_back(Element.get<std::string>());
  }
  return Values;
}

}  // namespace rigsync
