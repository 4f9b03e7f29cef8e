// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/row_findings.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/statistics.h"
#include "rigsync/inspect/amount.h"

#include <fmt/format.h>

#include <algorithm>

namespace rigsync {
namespace {

// A row that is off by less than both is none that is stale or has jumped: it stands out in a
// capture with very little noise, and moves no mount.
constexpr double Least_Row_Error = 0.001;  // metres
constexpr double Least_Row_Error_Deg = 0.1;

double Shift_Of(const Solved_Row& Row) {
  return Row.Residual.tail<3>().norm();
}

double Turn_Deg_Of(const Solved_Row& Row) {
  return Degrees_Per_Radian * Row.Residual.head<3>().norm();
}

bool Is_Bad(const Solved_Row& Row) {
  return !Row.Is_Kept &&
         (Shift_Of(Row) >= Least_Row_Error || Turn_Deg_Of(Row) >= Least_Row_Error_Deg);
}

// How far several rows are off.
struct Row_Errors {
  std::vector<double> Shifts, Turns_Deg;

  void Add(const Solved_Row& Row) {
    Shifts.push_back(Shift_Of(Row));
    Turns_Deg.push_back(Turn_Deg_Of(Row));
  }
};

std::string Range_Text(std::vector<double> Values, double Factor, const char* Unit) {
  const auto [Least, Most] = std::minmax_element(Values.begin(), Values.end());
  const std::string From = Amount(Factor * *Least), To = Amount(Factor * *Most);
  return From == To ? fmt::format("{} {}", From, Unit) : fmt::format("{} to {} {}", From, To, Unit);
}

std::string Evidence(const std::vector<std::size_t>& Lines, const Row_Errors& Bad,
                     const Row_Errors& Kept) {
  const std::string Off =
      Lines.size() == 1
          ? fmt::format("Line {} is off by {} and {}", Lines[0], Amount_Mm(Bad.Shifts[0]),
                        Amount_Deg(Bad.Turns_Deg[0]))
          : fmt::format("They are off by {} and {}", Range_Text(Bad.Shifts, 1000.0, "mm"),
                        Range_Text(Bad.Turns_Deg, 1.0, "degrees"));
  if (Kept.Shifts.empty()) return Off + ".";
  return Off + fmt::format("; the median of the other lines is {} and {}.",
                           Amount_Mm(Median(Kept.Shifts)), Amount_Deg(Median(Kept.Turns_Deg)));
}

// With bad rows at the end, what is left may show a mount that no longer exists.
std::string Bad_Rows_Advice(const Joint_Solution& Joint, std::size_t Count) {
  const std::string Removal = Count == 1 ? "emove the line." : "emove these lines.";
  if (Joint.Rows.back().Is_Kept) return "R" + Removal;
  return "Check that the trackers are tight. If one has moved, capture again: the other lines show "
         "the mount before. If none has moved, r" +
         Removal;
}

void Add_Bad_Rows(const std::vector<Capture_Row>& Rows, const Joint_Solution& Joint,
                  Findings& List) {
  std::vector<std::size_t> Lines;
  Row_Errors Bad, Kept;
  for (const Solved_Row& Row : Joint.Rows) {
    if (Row.Is_Kept) Kept.Add(Row);
    if (!Is_Bad(Row)) continue;
    Bad.Add(Row);
    Lines.push_back(Rows[Row.Row].Line);
  }
  if (Lines.empty()) return;
  List.Add({"sample_disagrees", Level::Warning,
            Lines.size() == 1
                ? "The samples of this line disagree with its image. One of them is stale, has "
                  "jumped, or belongs to another image."
                : "The samples of these lines disagree with their images. In each, a sample is "
                  "stale, has jumped, or belongs to another image.",
            Evidence(Lines, Bad, Kept), Bad_Rows_Advice(Joint, Lines.size()), Lines});
}

void Add_Too_Few(std::size_t Count, Findings& List) {
  List.Add({"too_few_samples",
            Level::Error,
            fmt::format("Only {} lines have both a board and valid samples of both trackers, so "
                        "the mounts cannot be solved. {} are needed.",
                        Count, Least_Rows),
            "",
            "Capture more images, and check that both trackers report in every line.",
            {}});
}

void Add_No_Majority(const Joint_Solution& Joint, Findings& List) {
  const auto Agreeing =
      std::count_if(Joint.Rows.begin(), Joint.Rows.end(), [](auto& Row) { return Row.Is_Kept; });
  List.Add({"no_majority",
            Level::Error,
            fmt::format("Only {} of {} lines agree with each other, so it is not known which of "
                        "them are right.",
                        Agreeing, Joint.Rows.size()),
            "",
            "Check that each sample was taken at the same moment as its image, that both trackers "
            "are firmly mounted and that they are not covered. Then capture again.",
            {}});
}

void Add_Not_Solved(std::size_t Count, Findings& List) {
  List.Add({"mounts_not_solved",
            Level::Error,
            fmt::format("The mounts cannot be solved from the {} lines that have a board and "
                        "samples: no mount explains them.",
                        Count),
            "",
            "Check that each sample was taken at the same moment as its image and by the right "
            "tracker, and that camera and board turn relative to each other.",
            {}});
}

}  // namespace

void Judge_Solved_Rows(const std::vector<Capture_Row>& Rows, const Joint_Solution& Joint,
                       Findings& List) {
  switch (Joint.Status) {
    case Solve_Status::Solved:
      return Add_Bad_Rows(Rows, Joint, List);
    case Solve_Status::Too_Few_Rows:
      return Add_Too_Few(Joint.Settled.size(), List);
    case Solve_Status::No_Majority:
      return Add_No_Majority(Joint, List);
    case Solve_Status::Not_Converged:
      return Add_Not_Solved(Joint.Settled.size(), List);
  }
}

}  // namespace rigsync
