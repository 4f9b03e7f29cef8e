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

constexpr std::array<std::pair<Cross_Status, const char*>, 4> Cross_Status_Names = {
    {{Cross_Status::Compared, "compared"},
     {Cross_Status::Too_Few_Rows, "too_few_rows"},
     {Cross_Status::Whole_Unsolved, "whole_unsolved"},
     {Cross_Status::Half_Unsolved, "half_unsolved"}}};

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

const char* Lag_Evidence_Name(Lag_Evidence Evidence) {
  switch (Evidence) {
    case Lag_Evidence::Stated:
      return "stated";
    case Lag_Evidence::Open:
      return "open";
    case Lag_Evidence::Not_Seen:
      return "not_seen";
    case Lag_Evidence::Found:
      return "found";
  }
  return "";
}

const char* Status_Name(Solve_Status Status) {
  switch (Status) {
    case Solve_Status::Solved:
      return "solved";
    case Solve_Status::Too_Few_Rows:
      return "too_few_rows";
    case Solve_Status::No_Majority:
      return "no_majority";
    case Solve_Status::Not_Converged:
      return "not_converged";
  }
  return "";
}

std::optional<Solve_Status> Status_Named(const std::string& Name) {
  for (const auto Status : {Solve_Status::Solved, Solve_Status::Too_Few_Rows,
                            Solve_Status::No_Majority, Solve_Status::Not_Converged}) {
    if (Name == Status_Name(Status)) return Status;
  }
  return std::nullopt;
}

const char* Cross_Status_Name(Cross_Status Status) {
  return Name_In(Cross_Status_Names, Status);
}

std::optional<Cross_Status> Cross_Status_Named(const std::string& Name) {
  return Value_In(Cross_Status_Names, Name);
}

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

// A switch, so that a reason without a word is found by the compiler.
const char* Reason_Name(Verdict_Reason Reason) {
  switch (Reason) {
    case Verdict_Reason::No_Library_Transform:
      return "no_library_transform";
    case Verdict_Reason::Library_Code:
      return "library_code";
    case Verdict_Reason::Not_Solved:
      return "not_solved";
    case Verdict_Reason::Difference_Beyond_Limit:
      return "difference_beyond_limit";
    case Verdict_Reason::Width_Beyond_Limit:
      return "width_beyond_limit";
    case Verdict_Reason::Slip_Found:
      return "slip_found";
    case Verdict_Reason::Difference_Unlikely:
      return "difference_unlikely";
    case Verdict_Reason::Difference_And_Width:
      return "difference_and_width";
    case Verdict_Reason::Slip_Suspected:
      return "slip_suspected";
    case Verdict_Reason::Last_Rows_Left_Out:
      return "last_rows_left_out";
    case Verdict_Reason::Lens_Does_Not_Fit:
      return "lens_does_not_fit";
    case Verdict_Reason::Capture_Faulty:
      return "capture_faulty";
    case Verdict_Reason::Place_Contradicted:
      return "place_contradicted";
  }
  return "";
}

std::optional<Verdict_Reason> Reason_Named(const std::string& Name) {
  constexpr auto Last = static_cast<int>(Verdict_Reason::Place_Contradicted);
  for (int i = 0; i <= Last; ++i) {
    const auto Reason = static_cast<Verdict_Reason>(i);
    if (Name == Reason_Name(Reason)) return Reason;
  }
  return std::nullopt;
}

}  // namespace rigsync
