// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/opencv_yaml.h"

#include "rigsync/engine/solved_camera.h"
#include "rigsync/exports/kept_rows.h"
#include "rigsync/exports/script_text.h"
#include "rigsync/exports/yaml_text.h"
#include "rigsync/formats/opinion_words.h"
#include "rigsync/geometry/transform_list.h"

#include <fmt/format.h>
#include <Eigen/Geometry>

#include <algorithm>
#include <optional>

namespace rigsync {
namespace {

// The board on its tracker, and how long its squares are in units of the stated one.
struct Mounted_Board {
  Eigen::Isometry3d Transform_Tr_Chart;
  double Square_Scale = 1.0;
};

bool Is_Zero(const std::array<double, 3>& Values) {
  return std::all_of(Values.begin(), Values.end(), [](double Value) { return Value == 0.0; });
}

// Of the chosen solution. The library got the solved place, or the one that was stated. A result of
// an early version has neither.
std::optional<Mounted_Board> Mounted_Board_Of(const Calibration_Result& Result) {
  if (Result.Inputs.Solution == Solution_Choice::Joint) {
    if (!Result.Solved) return std::nullopt;
    return Mounted_Board{Result.Solved->Joint.At.Transform_Tr_Chart,
                         Result.Solved->Joint.At.Square_Scale};
  }
  const Board_Place& Place = Result.Library_Board;
  const bool Is_Missing = !Result.Solved && !Result.Inputs.Stated_Board &&
                          Is_Zero(Place.Euler_Deg) && Is_Zero(Place.Offset);
  if (Is_Missing) return std::nullopt;
  return Mounted_Board{Transform_From_Place(Place), 1.0};
}

// A tracker in Base with the axes of Tc or Tr.
Eigen::Isometry3d Transform_Base_Of(const Tracker_Sample& Sample) {
  Eigen::Isometry3d Transform;
  Transform.setIdentity();
  Transform.linear() = Sample_Rotation_Body_Base(Sample).conjugate().toRotationMatrix() *
                       Tracker_Axes_Relabelling().transpose();
  Transform.translation() = Eigen::Map<const Eigen::Vector3d>(Sample.Position.data());
  return Transform;
}

std::string Transform_Line(const char* Key, const Eigen::Isometry3d& Transform,
                           std::size_t Indent) {
  return fmt::format("{}{}: {}\n", std::string(Indent, ' '), Key,
                     Opencv_Matrix(Transform.matrix(), Indent + 3));
}

std::string Lens_Text(const Solved_Camera& Camera) {
  const Lens& Px = Camera.Lens_Px;
  Eigen::Matrix3d Matrix;
  Matrix << Px.Fx, 0, Px.Cx, 0, Px.Fy, Px.Cy, 0, 0, 1;
  Eigen::RowVectorXd Distortion(5);
  Distortion << Px.K1, Px.K2, 0, 0, 0;
  return fmt::format(
      "image_width: {}\nimage_height: {}\ncamera_matrix: {}\n"
      "distortion_coefficients: {}\n",
      Camera.Width, Camera.Height, Opencv_Matrix(Matrix, 3), Opencv_Matrix(Distortion, 3));
}

std::string Board_Text(const Calibration_Inputs& Inputs) {
  return fmt::format("board_width: {}\nboard_height: {}\nsquare_size: {}\n", Inputs.Board.Cols,
                     Inputs.Board.Rows, Yaml_Number(Inputs.Square_Size));
}

std::string Row_Text(const Kept_Row& Row, const Eigen::Isometry3d& Transform_Cam_Tc,
                     const std::optional<Mounted_Board>& Board) {
  constexpr std::size_t Indent = 6;
  const Eigen::Isometry3d Transform_Base_Tc = Transform_Base_Of(Row.Camera);
  const Eigen::Isometry3d Transform_Base_Tr = Transform_Base_Of(Row.Board);
  std::string Text =
      fmt::format("   -\n      line: {}\n      image: {}\n", Row.Line, Yaml_Quoted(Row.Image));
  Text += Transform_Line("Transform_Base_Tc", Transform_Base_Tc, Indent);
  Text += Transform_Line("Transform_Base_Tr", Transform_Base_Tr, Indent);
  if (!Board) return Text;
  return Text + Transform_Line("Transform_Cam_Chart",
                               Transform_Cam_Tc * Transform_Base_Tc.inverse() * Transform_Base_Tr *
                                   Board->Transform_Tr_Chart,
                               Indent);
}

std::string Rows_Text(const Kept_Rows& Kept, const Eigen::Isometry3d& Transform_Cam_Tc,
                      const std::optional<Mounted_Board>& Board) {
  if (Kept.Rows.empty()) return "rows: []\n";
  std::string Text = "rows:\n";
  for (const Kept_Row& Row : Kept.Rows) Text += Row_Text(Row, Transform_Cam_Tc, Board);
  return Text;
}

std::vector<std::string> Warnings_Of(const Calibration_Result& Result, const Kept_Rows& Kept,
                                     bool Has_Board) {
  std::vector<std::string> Warnings;
  if (Kept.Rows.empty()) Warnings.push_back("the file has no rows with poses: " + Kept.Problem);
  if (!Has_Board) {
    Warnings.emplace_back(
        "the result does not say where the board is on its tracker, so the file has neither that "
        "nor predicted poses of the board");
  }
  const bool Is_Joint = Result.Inputs.Solution == Solution_Choice::Joint && Result.Solved;
  const double Lag_Ms = Is_Joint ? 1000.0 * Result.Solved->Joint.At.Lag_Seconds : 0.0;
  if (Lag_Ms != 0.0) {
    Warnings.push_back(
        fmt::format("the joint solution takes {:.1f} ms of lag out of the samples; "
                    "the poses of the file are as they were recorded",
                    Lag_Ms));
  }
  return Warnings;
}

}  // namespace

File_Text Write_Opencv(const File_Request& Request) {
  const Calibration_Result& Result = Request.Result;
  const Solved_Camera Camera = Solved_Camera_Of(Request.Result, Request.Result_File);
  const std::optional<Mounted_Board> Board = Mounted_Board_Of(Result);
  const Kept_Rows Kept = Read_Kept_Rows(Request);
  const Eigen::Isometry3d Transform_Cam_Tc(Matrix_From_List(Chosen_Transform_Cam_Tc(Result)));
  std::string Text = "%YAML:1.0\n---\n" + Doubts_Comment(Request.Doubts);
  Text += fmt::format("calibration_time: {}\n", Yaml_Quoted(Result.Start_Time));
  Text += Lens_Text(Camera) + Board_Text(Result.Inputs);
  Text += fmt::format("solution: {}\n", Yaml_Quoted(Solution_Name(Result.Inputs.Solution)));
  Text += Transform_Line("Transform_Cam_Tc", Transform_Cam_Tc, 0);
  if (Board) {
    Text += Transform_Line("Transform_Tr_Chart", Board->Transform_Tr_Chart, 0);
    Text += fmt::format("square_scale: {}\n", Yaml_Number(Board->Square_Scale));
  }
  Text += Rows_Text(Kept, Transform_Cam_Tc, Board);
  return {Text, Warnings_Of(Result, Kept, Board.has_value())};
}

}  // namespace rigsync
