// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/square_findings.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// Squares that are measured at all are right to this part. What is beyond is a unit or a mistyped
// number.
constexpr double Gross_Part = 0.03;
// With the scale held at 1 the residuals are at least twice as large. By the F test of one unknown
// that is chance in less than one of 100,000 captures with the fewest rows that are fitted. It also
// has to outweigh errors that depend on the pose, which no test of noise knows.
constexpr double Least_Held_Factor = 2.0;

// A small error is told when it is this many standard deviations and this part of the square.
constexpr double Sure_Deviations = 4.0;
constexpr double Least_Part = 0.001;

std::string Length_Text(double Metres) {
  return fmt::format("{:.4g} mm", 1000.0 * Metres);
}

}  // namespace

bool Is_Scale_Gross(const Agreement& Measured) {
  // A scale below 0 is that of left-handed axes.
  return Measured.Scale && *Measured.Scale > 0.0 && std::abs(*Measured.Scale - 1.0) > Gross_Part &&
         Measured.Held_Scale_Factor >= Least_Held_Factor;
}

void Add_Gross_Scale(const Agreement& Measured, double Square_Size, Findings& List) {
  const double Scale = *Measured.Scale;
  List.Add({"scale",
            Level::Error,
            fmt::format("Board and trackers differ in scale: a metre of the trackers is about "
                        "{:.3g} m of the board. With equal metres the positions differ {:.0f} "
                        "times as much.",
                        Scale, std::min(Measured.Held_Scale_Factor, 1000.0)),
            fmt::format("A --square of {} would fit, {:.3g} times the current one.",
                        Length_Text(Square_Size / Scale), 1.0 / Scale),
            "Measure --square over the whole board, and check its unit and that positions are in "
            "metres.",
            {}});
}

void Judge_Square(const Joint_Solution& Joint, double Square_Size, Findings& List) {
  if (Joint.Status != Solve_Status::Solved) return;
  const double Part = Joint.At.Square_Scale - 1.0;
  const double Deviation = Joint.Scale_Deviation;
  if (!(std::abs(Part) > Least_Part && std::abs(Part) > Sure_Deviations * Deviation)) return;
  const double Fitting = Square_Size * Joint.At.Square_Scale;
  List.Add({"scale",
            Level::Warning,
            fmt::format("The squares seem to be {:.2f} percent {} than --square: {:.3f} mm +- "
                        "{:.3f} (95 percent) fits, {:.3f} mm is stated.",
                        100.0 * std::abs(Part), Part > 0 ? "longer" : "shorter", 1000.0 * Fitting,
                        2.0 * 1000.0 * Square_Size * Deviation, 1000.0 * Square_Size),
            fmt::format("The difference is {:.0f} standard deviations.",
                        std::min(std::abs(Part) / Deviation, 1000.0)),
            "Measure --square over the whole board: the length of many squares, divided by their "
            "number. If it is right, the trackers' metre is off by as much.",
            {}});
}

}  // namespace rigsync
