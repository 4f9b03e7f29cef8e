// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/run_view.h"

#include "rigsync/geometry/transform_list.h"

#include <algorithm>
#include <cstddef>

namespace rigsync {
namespace {

Lens Library_Lens(const Calibration_Result& Result) {
  const double Width = Result.Image_Size[0], Height = Result.Image_Size[1];
  return {Result.Norm_Fxy[0] * Width,  Result.Norm_Fxy[1] * Height, Result.Norm_Cxy[0] * Width,
          Result.Norm_Cxy[1] * Height, Result.Distortion[0],        Result.Distortion[1]};
}

std::optional<Lens> Lens_Of(const Calibration_Result& Result) {
  if (!Result.Norm_Fxy.empty()) return Library_Lens(Result);
  if (Result.Solved) return Result.Solved->Lens_Px;
  return std::nullopt;
}

std::optional<Rig_Chain> Joint_Chain(const Calibration_Result& Result) {
  if (!Result.Solved || Result.Joint_Transform_Cam_Tc.empty()) return std::nullopt;
  const Mounts& At = Result.Solved->Joint.At;
  return Rig_Chain{At.Transform_Cam_Tc, At.Transform_Tr_Chart, Result.Inputs.Board,
                   At.Square_Scale * Result.Inputs.Square_Size};
}

void Take_Inspection(const Inspection& Inspected, Run_View& View) {
  const std::vector<Capture_Row>& Rows = Inspected.File.Rows;
  for (std::size_t i = 0; i < View.Rows.size() && i < Rows.size(); ++i) {
    View.Rows[i].Camera = Rows[i].Camera;
    View.Rows[i].Board = Rows[i].Board;
    if (Inspected.Search) View.Rows[i].Corners = Inspected.Search->Images[i].Corners;
  }
  if (!Inspected.Search) return;
  View.Width = Inspected.Search->Width;
  View.Height = Inspected.Search->Height;
}

}  // namespace

Run_View Make_Run_View(const Calibration_Result& Result,
                       const std::optional<Inspection>& Inspected) {
  Run_View View;
  View.Result = Result;
  for (std::size_t i = 0; i < Result.Images.size(); ++i) {
    Viewed_Row Row;
    Row.Image = Result.Images[i];
    Row.File = Result.Inputs.Image_Root / Result.Images[i].Name;
    if (i < Result.Report.Images.size()) Row.Report = Result.Report.Images[i];
    View.Rows.push_back(Row);
  }
  if (!Result.Image_Size.empty()) {
    View.Width = static_cast<int>(Result.Image_Size[0]);
    View.Height = static_cast<int>(Result.Image_Size[1]);
  }
  if (Inspected) Take_Inspection(*Inspected, View);
  View.Lens_Px = Lens_Of(Result);
  View.Chain = Joint_Chain(Result);
  return View;
}

}  // namespace rigsync
