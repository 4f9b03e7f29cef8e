// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/library_inputs.h"

#include "rigsync/geometry/transform_list.h"
#include "rigsync/system/whole_file.h"

#include <fmt/format.h>

namespace rigsync {
namespace {

bool Has_Mounts(const Calibration_Result& Result) {
  return Result.Solved && Result.Solved->Joint.Status == Solve_Status::Solved;
}

std::string Row_Text(std::size_t Number, const Capture_Row& Row, const Body_Axes& Axes) {
  const Tracker_Sample Camera = With_Axes(Row.Camera, Axes);
  std::string Text = fmt::format("{},{}", Number, Row.Image);
  for (const Tracker_Sample& Sample : {Camera, Row.Board}) {
    for (const double Value : Sample.Position) Text += fmt::format(",{}", Value);
    for (const double Value : Sample.Quaternion) Text += fmt::format(",{}", Value);
  }
  return Text + "\n";
}

}  // namespace

void Choose_Library_Inputs(Calibration_Result& Result) {
  if (Has_Mounts(Result) && !Result.Inputs.Is_Library_Only) {
    const Mounts& Solved = Result.Solved->Joint.At;
    Result.Library_Board = Place_From_Transform(Solved.Transform_Tr_Chart);
    if (!Result.Inputs.Keeps_Body_Axes) {
      Result.Library_Axes = Choose_Body_Axes(Solved.Transform_Cam_Tc.linear());
    }
  } else if (Result.Inputs.Stated_Board) {
    Result.Library_Board = *Result.Inputs.Stated_Board;
  }
}

void Write_Turned_Capture(const std::filesystem::path& File, const std::vector<Capture_Row>& Rows,
                          const Body_Axes& Axes) {
  std::string Text;
  for (std::size_t i = 0; i < Rows.size(); ++i) Text += Row_Text(i + 1, Rows[i], Axes);
  Write_Whole(File, Text);
}

void Restore_Own_Axes(Calibration_Result& Result) {
  if (!Result.Library_Axes.Is_Turned || Result.Transform_Cam_Tc.empty()) return;
  const Eigen::Isometry3d Own = With_Own_Axes(
      Eigen::Isometry3d(Matrix_From_List(Result.Transform_Cam_Tc)), Result.Library_Axes);
  Result.Transform_Cam_Tc = List_From_Matrix(Own.matrix());
}

}  // namespace rigsync
