// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/opinion_words.h"

#include <array>
#include <utility>

namespace rigsync {
namespace {

constexpr std::array<std::pair<Solution_Choice, const char*>, 2> Solution_Names = {
    {{Solution_Choice::Library, "library"}, {Solution_Choice::Joint, "joint"}}};

constexpr std::array<std::pair<Verdict, const char*>, 3> Verdict_Names = {
    {{Verdict::Agree, "agree"}, {Verdict::Look, "look"}, {Verdict::Dont_Use, "dont_use"}}};

constexpr std::array<std::pair<Verdict_Reason, const char*>, 10> Reason_Names = {
    {{Verdict_Reason::No_Library_Transform, "no_library_transform"},
     {Verdict_Reason::Library_Code, "library_code"},
     {Verdict_Reason::Not_Solved, "not_solved"},
     {Verdict_Reason::Difference_Beyond_Limit, "difference_beyond_limit"},
     {Verdict_Reason::Width_Beyond_Limit, "width_beyond_limit"},
     {Verdict_Reason::Slip_Found, "slip_found"},
     {Verdict_Reason::Difference_Unlikely, "difference_unlikely"},
     {Verdict_Reason::Difference_And_Width, "difference_and_width"},
     {Verdict_Reason::Slip_Suspected, "slip_suspected"},
     {Verdict_Reason::Place_Contradicted, "place_contradicted"}}};

template <typename Table, typename Value>
const char* Name_In(const Table& Names, Value Wanted) {
  for (const auto& [Each, Name] : Names) {
    if (Each == Wanted) return Name;
  }
  return "";
}

template <typename Value, std::size_t Size>
std::optional<Value> Value_In(const std::array<std::pair<Value, const char*>, Size>& Names,
                              const std::string& Wanted) {
  for (const auto& [Each, Name] : Names) {
    if (Wanted == Name) return Each;
  }
  return std::nullopt;
}

}  // namespace

const char* Solution_Name(Solution_Choice Solution) {
  return Name_In(Solution_Names, Solution);
}

std::optional<Solution_Choice> Solution_Named(const std::string& Name) {
  return Value_In(Solution_Names, Name);
}

const char* Verdict_Name(Verdict Judgement) {
  return Name_In(Verdict_Names, Judgement);
}

std::optional<Verdict> Verdict_Named(const std::string& Name) {
  return Value_In(Verdict_Names, Name);
}

const char* Reason_Name(Verdict_Reason Reason) {
  return Name_In(Reason_Names, Reason);
}

std::optional<Verdict_Reason> Reason_Named(const std::string& Name) {
  return Value_In(Reason_Names, Name);
}

}  // namespace rigsync
