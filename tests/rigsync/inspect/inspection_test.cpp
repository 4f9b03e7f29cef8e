// SPDX-License-Identifier: Apache-2.0
//
// A whole inspection, of boards as a plan of the simulator projects them: no image is drawn.
#include "rigsync/inspect/inspection.h"
#include "tests/support/scratch_folder.h"

#include "simulate/simulate.h"

#include <gtest/gtest.h>

#include <fstream>
#include <limits>

namespace {

using rigsync::Board_Search;
using rigsync::Capture_Row;
using rigsync::Image_State;
using rigsync::Inspection;
using rigsync::Inspection_Inputs;
using rigsync::Searched_Image;

void Write_Sample(std::ostream& Out, const simulate::Sample& Reported) {
  const Eigen::Quaterniond& Q = Reported.Rotation;
  for (const double Number : {Reported.Position.x(), Reported.Position.y(), Reported.Position.z(),
                              Q.w(), Q.x(), Q.y(), Q.z()}) {
    Out << ',' << Number;
  }
}

// A capture's CSV beside images that have names alone.
void Write_Files(const simulate::Plan& Capture, const std::filesystem::path& Folder) {
  std::ofstream Out(Folder / "capture.csv");
  Out.precision(std::numeric_limits<double>::max_digits10);
  for (std::size_t i = 0; i < Capture.Images.size(); ++i) {
    const simulate::Image_Truth& Image = Capture.Images[i];
    std::ofstream(Folder / Image.Name) << "no image";
    Out << i << ',' << Image.Name;
    Write_Sample(Out, Image.Tc);
    Write_Sample(Out, Image.Tr);
    Out << '\n';
  }
}

Board_Search Projected(const simulate::Plan& Capture) {
  const simulate::Options& Settings = Capture.Settings;
  Board_Search Search{Settings.Width, Settings.Height, {}};
  for (const simulate::Image_Truth& Image : Capture.Images) {
    Searched_Image Seen{Image_State::Board_Found, Settings.Width, Settings.Height, {}};
    for (const Eigen::Vector2d& Corner : simulate::Project_Board(Capture, Image)) {
      Seen.Corners.push_back({static_cast<float>(Corner.x()), static_cast<float>(Corner.y())});
    }
    Search.Images.push_back(Seen);
  }
  return Search;
}

// The same capture with boards that are turned towards the image plane about their centres until a
// seventh of each tilt is left, and the samples of the camera that saw them so.
void Flatten(simulate::Plan& Capture) {
  const simulate::Options& Settings = Capture.Settings;
  const Eigen::Vector3d Centre_Chart(0.5 * (Settings.Board_Cols - 1) * Settings.Square_Size,
                                     0.5 * (Settings.Board_Rows - 1) * Settings.Square_Size, 0.0);
  for (simulate::Image_Truth& Image : Capture.Images) {
    Eigen::Isometry3d Transform_Cam_Chart(Image.Transform_Cam_Chart);
    const Eigen::Isometry3d Transform_Base_Chart =
        Eigen::Isometry3d(Image.Transform_Base_Tc) *
        Eigen::Isometry3d(Capture.Transform_Cam_Tc).inverse() * Transform_Cam_Chart;
    const Eigen::Vector3d Centre_Cam = Transform_Cam_Chart * Centre_Chart;
    const Eigen::Vector3d Normal_Cam = Transform_Cam_Chart.linear().col(2);
    const Eigen::Vector3d Ahead(0.0, 0.0, Normal_Cam.z() > 0.0 ? 1.0 : -1.0);
    const auto Flat = Eigen::Quaterniond::FromTwoVectors(Normal_Cam, Ahead);
    const Eigen::Quaterniond Most = Eigen::Quaterniond::Identity().slerp(6.0 / 7.0, Flat);
    Transform_Cam_Chart.linear() = Most.toRotationMatrix() * Transform_Cam_Chart.linear();
    Transform_Cam_Chart.translation() = Centre_Cam - Transform_Cam_Chart.linear() * Centre_Chart;
    Image.Transform_Cam_Chart = Transform_Cam_Chart.matrix();
    Image.Transform_Base_Tc = (Transform_Base_Chart * Transform_Cam_Chart.inverse() *
                               Eigen::Isometry3d(Capture.Transform_Cam_Tc))
                                  .matrix();
    Image.Tc = simulate::Make_Sample(Image.Transform_Base_Tc);
  }
}

// With a square that is stated ten times too long.
Inspection Inspected_With_A_Long_Square(const simulate::Plan& Capture) {
  const simulate::Options& Settings = Capture.Settings;
  const Scratch_Folder Folder;
  Write_Files(Capture, Folder.Path());
  Inspection_Inputs Inputs;
  Inputs.Csv = Folder.Path() / "capture.csv";
  Inputs.Image_Root = Folder.Path();
  Inputs.Board.Board = {Settings.Board_Cols, Settings.Board_Rows};
  Inputs.Board.Square_Size = 10.0 * Settings.Square_Size;
  const auto Search = [&](const std::vector<Capture_Row>&, const std::vector<bool>&) {
    return Projected(Capture);
  };
  return rigsync::Inspect_Capture(Inputs, rigsync::Board_Searcher(Search));
}

// Of a file in UTF-16 no line can be read, a header neither.
TEST(Inspection, AFileInUtf16HasOneLineAndNoRow) {
  const Scratch_Folder Folder;
  Inspection_Inputs Inputs;
  Inputs.Csv = Folder.Write("capture.csv", std::string("\xff\xfeT\0i\0\n\0"
                                                       "1\0\n\0",
                                                       12));
  Inputs.Opens_Images = false;
  const Inspection Result = rigsync::Inspect_Capture(Inputs, rigsync::Board_Searcher());
  EXPECT_EQ(Result.File.Line_Count, 1u);
  EXPECT_EQ(Result.File.Header_Count, 0u);
  EXPECT_TRUE(Result.File.Rows.empty());
}

TEST(Inspection, BlamesTheSquareWhereTiltedBoardsTellTheDistance) {
  const Inspection Tilted = Inspected_With_A_Long_Square(simulate::Make_Plan({}));
  EXPECT_FALSE(Tilted.All_Findings.Has("tilt_too_small"));
  EXPECT_TRUE(Tilted.All_Findings.Has("scale"));
  EXPECT_FALSE(Tilted.Are_Samples_Readable);
  for (const rigsync::Board_Pose& Pose : Tilted.Lens->Poses) {
    EXPECT_NEAR(Pose.Rotation_Cam_Chart.norm(), 1.0, 1e-14);
  }
}

// Flat boards leave focal length and distance open together, so a scale that follows from the
// distance says nothing about the square.
TEST(Inspection, DoesNotBlameTheSquareAtOnceWhereFlatBoardsLeaveTheDistanceOpen) {
  simulate::Plan Capture = simulate::Make_Plan({});
  Flatten(Capture);
  const Inspection Flat = Inspected_With_A_Long_Square(Capture);
  EXPECT_TRUE(Flat.All_Findings.Has("tilt_too_small"));
  ASSERT_TRUE(Flat.Tracker_Agreement);
  EXPECT_TRUE(Flat.Tracker_Agreement->Is_Good());
  EXPECT_NEAR(Flat.Tracker_Agreement->Scale.value(), 10.0, 0.5);
  EXPECT_TRUE(Flat.Are_Samples_Readable);
}

}  // namespace
