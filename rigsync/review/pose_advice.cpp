// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/pose_advice.h"

#include <cstddef>
#include <vector>

namespace rigsync {
namespace {

std::vector<Row_Facts> Facts_Of(const Run_View& View) {
  std::vector<Row_Facts> Facts;
  for (std::size_t i = 0; i < View.Rows.size(); ++i) {
    const Viewed_Row& Row = View.Rows[i];
    if (Row.Corners.empty() || !Row.Camera || !Row.Board) continue;
    Facts.push_back({i, *Row.Camera, *Row.Board, Row.Corners});
  }
  return Facts;
}

}  // namespace

std::optional<Capture_Advice> Advise_Run(const Run_View& View) {
  const Calibration_Result& Result = View.Result;
  Unfinished_Capture Capture;
  Capture.Facts = Facts_Of(View);
  if (Capture.Facts.empty() || !View.Lens_Px || View.Width <= 0 || View.Height <= 0) {
    return std::nullopt;
  }
  Capture.Board = Result.Inputs.Board;
  Capture.Square_Size = Result.Inputs.Square_Size;
  Capture.Width = View.Width;
  Capture.Height = View.Height;
  Capture.Lens_Px = View.Lens_Px;
  Capture.Limits = Result.Inputs.Limits;
  Capture.Is_Faulty = Result.Cause && Result.Cause->Severity == Level::Error;
  // A file has the solution without the observations that it was solved from.
  std::optional<Capture_Solution> Solved = Result.Solved;
  if (!Solved || Solved->Joint.Settled.empty()) {
    Solved = Solve_Capture(Capture.Facts, Capture.Board, Capture.Square_Size, *View.Lens_Px);
  }
  Capture.Solution = &*Solved;
  return Advise(Capture);
}

}  // namespace rigsync
