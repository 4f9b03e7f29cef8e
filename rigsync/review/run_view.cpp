// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/run_view.h"

#include "rigsync/calibrate/run_log_rows.h"
#include "rigsync/geometry/transform_list.h"
#include "rigsync/review/recalled_rows.h"

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

// The library's mounts of its last pass belong together; the board's is in the run log alone.
std::optional<Rig_Chain> Library_Chain(const Calibration_Result& Result, const Logged_Run& Logged) {
  const Eigen::Matrix4d Transform_Cam_Tc = Matrix_From_List(Result.Transform_Cam_Tc);
  if (!Transform_Cam_Tc.allFinite() || !Logged.Transform_Tr_Chart) return std::nullopt;
  return Rig_Chain{Eigen::Isometry3d(Transform_Cam_Tc), *Logged.Transform_Tr_Chart,
                   Result.Inputs.Board, Result.Inputs.Square_Size};
}

// One row for each image that the CSV named. The CSV's own names are not known where it came
// through a pipe: then the run log has those that the run got to.
std::vector<Viewed_Row> Named_Rows(const Calibration_Result& Result) {
  std::vector<Capture_Image> Images = Result.Images;
  if (Images.empty()) {
    for (const Image_Report& Image : Result.Report.Images) Images.push_back({0, Image.Name});
  }
  std::vector<Viewed_Row> Rows;
  for (std::size_t i = 0; i < Images.size(); ++i) {
    Viewed_Row Row;
    Row.Image = Images[i];
    Row.File = Result.Inputs.Image_Root / Images[i].Name;
    Row.Report.Name = Images[i].Name;
    Row.Report.Fate = Image_Fate::Unknown;
    if (i < Result.Report.Images.size() && Result.Report.Images[i].Name == Images[i].Name) {
      Row.Report = Result.Report.Images[i];
    }
    Rows.push_back(Row);
  }
  return Rows;
}

void Take_Inspection(const Inspection& Inspected, Run_View& View) {
  const std::vector<Capture_Row>& Rows = Inspected.File.Rows;
  for (std::size_t i = 0; i < View.Rows.size() && i < Rows.size(); ++i) {
    View.Rows[i].Camera = Rows[i].Camera;
    View.Rows[i].Board = Rows[i].Board;
    if (!Inspected.Search) continue;
    View.Rows[i].Corners = Inspected.Search->Images[i].Corners;
    View.Rows[i].Some_Corners = Inspected.Search->Images[i].Some_Corners;
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
  View.Rows = Named_Rows(Result);
  if (!Result.Image_Size.empty()) {
    View.Width = static_cast<int>(Result.Image_Size[0]);
    View.Height = static_cast<int>(Result.Image_Size[1]);
  }
  const Logged_Run Logged = Read_Logged_Run(Result.Run_Log);
  if (Inspected) {
    Take_Inspection(*Inspected, View);
  } else {
    Recall_Rows(Logged, View);
  }
  View.Lens_Px = Lens_Of(Result);
  View.Chain = Result.Inputs.Solution == Solution_Choice::Joint ? Joint_Chain(Result)
                                                                : Library_Chain(Result, Logged);
  return View;
}

}  // namespace rigsync
