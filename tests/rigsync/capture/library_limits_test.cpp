// SPDX-License-Identifier: Apache-2.0
//
// Each limit that the command repeats, against what the library does just under and just over it:
// single stages where a stage holds the limit, whole calibrations where the sequence does.
//
// The whole calibrations share one set of board photographs. Only the tracker samples differ, and
// they are chosen so that every image has a mount of the test's choice: with the board's tracker on
// the board, Transform_Cam_Tc = Transform_Cam_Chart * Transform_Base_Tc.
#include "rigsync/capture/library_limits.h"

#include "core/capture/detect_corner_and_calibrate.h"
#include "core/solver/rt_filt_outlier.h"
#include "rigsync_core.h"
#include "tests/core/capture/capture_stage.h"
#include "tests/core/solver/derived_numbers.h"
#include "tests/support/synthetic_rig.h"

#include <gtest/gtest.h>
#include <opencv2/core/eigen.hpp>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

namespace limits = rigsync::library_limits;

// --- The search for boards --------------------------------------------------------------------

TEST(LibraryLimits, ImagesFromThisWidthOnAreSearchedInAReducedCopy) {
  const auto Plan = [](int Width) { return Plan_Detection(cv::Size(Width, Width)); };
  EXPECT_FALSE(Plan(limits::Reduced_From_Width - 1).Reduces);
  for (const int Width : {limits::Reduced_From_Width, limits::Reduced_From_Width + 1, 3840}) {
    EXPECT_TRUE(Plan(Width).Reduces) << Width;
    EXPECT_EQ(Plan(Width).Reduced_Size.width, limits::Reduced_Width) << Width;
  }
}

TEST(LibraryLimits, FewerBoardsEndARunWithCode4) {
  const auto Code = [](std::size_t Boards) {
    return Capture_Stage(Good_Paths(static_cast<int>(Boards))).Run();
  };
  EXPECT_EQ(Code(limits::Least_Boards - 1), 4);
  EXPECT_EQ(Code(limits::Least_Boards), 0);
  EXPECT_EQ(Code(limits::Least_Boards + 1), 0);
}

// --- The outlier filter -----------------------------------------------------------------------

// A mount that is rotated by 1.5 radians about an axis Axis_Deg away from x.
Eigen::Matrix4d Mount(double Axis_Deg, const Eigen::Vector3d& Translation = {0, 0, 0}) {
  const double Angle = Axis_Deg * Pi / 180.0;
  return Make_Transform({std::cos(Angle), std::sin(Angle), 0.0}, 1.5 * 180.0 / Pi, Translation);
}

struct Filter_Outcome {
  int Code;
  std::size_t Kept;
};

// The filter on these mounts, with a mean about x at the origin.
Filter_Outcome Filter(std::vector<Eigen::Matrix4d> Mounts) {
  const Scratch_Folder Scratch;
  const Quiet_Output Quiet;
  const std::size_t Count = Mounts.size();
  std::vector<std::vector<cv::Point2f>> Corners(Count);
  std::vector<std::string> Names(Count, "a.png");
  std::vector<Eigen::Matrix4d> Tr_Base(Count, Mount(0)), Base_Tc = Tr_Base, Cam_Chart = Tr_Base;
  const int Code = RT_Filt_Outlier((Scratch.Path() / "log").string(), Mounts, Mount(0), Corners,
                                   Names, Tr_Base, Base_Tc, Cam_Chart);
  return {Code, Mounts.size()};
}

TEST(LibraryLimits, AnImageIsDroppedWhenItsRotationAxisIsFurtherFromTheMeanAxis) {
  // Near this angle a step of the float cosine is 0.0004 degrees.
  constexpr double Step_Deg = 0.001;
  const auto Kept = [](double Axis_Deg) {
    std::vector<Eigen::Matrix4d> Mounts(8, Mount(0));
    Mounts[3] = Mount(Axis_Deg);
    return Filter(Mounts).Kept;
  };
  EXPECT_EQ(Kept(limits::Axis_Deg - Step_Deg), 8u);
  EXPECT_EQ(Kept(limits::Axis_Deg + Step_Deg), 7u);
}

TEST(LibraryLimits, AnImageIsDroppedWhenItsPositionIsMoreStandardDeviationsFromTheMean) {
  // These three are under, on and over the limit where the standard deviation is exactly 1.
  EXPECT_EQ(derived::Limit_First[1], static_cast<float>(limits::Position_Deviations));
  for (int Axis = 0; Axis < 3; ++Axis) {
    for (int Case = 0; Case < 3; ++Case) {
      SCOPED_TRACE(testing::Message() << "axis " << Axis << " case " << Case);
      Eigen::Vector3d Translation = Eigen::Vector3d::Zero();
      Translation(Axis) = static_cast<double>(derived::Limit_First[Case]);
      std::vector<Eigen::Matrix4d> Mounts = {Mount(0, Translation)};
      for (const float Difference : derived::Limit_Rest) {
        Translation(Axis) = static_cast<double>(Difference);
        Mounts.push_back(Mount(0, Translation));
      }
      EXPECT_EQ(Filter(Mounts).Kept, Case < 2 ? 8u : 7u);
    }
  }
}

TEST(LibraryLimits, FewerImagesAfterTheFilterEndARunWithCode13) {
  const auto Code = [](std::size_t Kept) {
    std::vector<Eigen::Matrix4d> Mounts(Kept, Mount(0));
    Mounts.resize(Kept + 3, Mount(90));
    return Filter(Mounts).Code;
  };
  EXPECT_EQ(Code(limits::Least_Kept - 1), 13);
  EXPECT_EQ(Code(limits::Least_Kept), 0);
  EXPECT_EQ(Code(limits::Least_Kept + 1), 0);
}

// --- Whole calibrations -----------------------------------------------------------------------

constexpr int Image_Count = 16;
const cv::Size Image_Size(640, 480);

// The photographs of one camera. The second half is stretched in y, which no single lens explains.
struct Photographs {
  explicit Photographs(double Stretch) {
    for (int i = 0; i < Image_Count; ++i) {
      Pinhole Camera = Make_Pinhole(Image_Size);
      if (i >= Image_Count / 2) Camera.Fy *= Stretch;
      Paths.push_back(
          Write_Image(Folder, std::to_string(i) + ".bmp", Draw_Board(Camera, Make_Pose(i))));
    }
  }
  Scratch_Folder Folder;
  std::vector<std::string> Paths;
};

Eigen::Matrix4d Cam_Chart(int Image) {
  const Board_Pose Pose = Make_Pose(Image);
  cv::Matx33d Rotation;
  cv::Rodrigues(Pose.Rotation, Rotation);
  Eigen::Matrix4d Transform = Eigen::Matrix4d::Identity();
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) Transform(r, c) = Rotation(r, c);
    Transform(r, 3) = Pose.Translation[r];
  }
  return Transform;
}

// The fields of a tracker sample that put the frame Tc or Tr there. A sample's quaternion is the
// inverse of the attitude, and Tc has the axes -x, -z, -y of the body.
std::string Sample_Fields(const Eigen::Matrix4d& Pose) {
  Eigen::Matrix3d Body_Axes;
  Body_Axes << -1, 0, 0, 0, 0, -1, 0, -1, 0;
  const Eigen::Matrix3d Attitude = Pose.topLeftCorner<3, 3>() * Body_Axes;
  const Eigen::Quaterniond Q = Eigen::Quaterniond(Attitude).conjugate();
  std::ostringstream Fields;
  Fields.precision(17);
  for (int r = 0; r < 3; ++r) Fields << ',' << Pose(r, 3);
  Fields << ',' << Q.w() << ',' << Q.x() << ',' << Q.y() << ',' << Q.z();
  return Fields.str();
}

struct Run_Outcome {
  int Code;
  std::vector<std::string> Log;

  // The number between Head and the text after it, in the only line that begins with Head.
  double Number(const std::string& Head) const {
    for (const std::string& Line : Log) {
      if (Line.rfind(Head, 0) == 0) return std::stod(Line.substr(Head.size()));
    }
    throw std::runtime_error("no line " + Head);
  }
  bool Says(const std::string& Text) const {
    return std::any_of(Log.begin(), Log.end(), [&](const std::string& Line) {
      return Line.find(Text) != std::string::npos;
    });
  }
};

// A calibration in which the mount of each image is off by plus or minus these metres. Each axis
// has a pattern of signs of its own, with as many of both, so that all images are at one standard
// deviation on every axis and the outlier filter drops none.
Run_Outcome Calibrate(const Photographs& Images, const Eigen::Vector3d& Offset) {
  const Scratch_Folder Scratch;
  std::ofstream Csv(Scratch.Path() / "capture.csv");
  for (int i = 0; i < Image_Count; ++i) {
    const Eigen::Vector3d Signs((i & 1) != 0 ? 1 : -1, (i & 2) != 0 ? 1 : -1,
                                (i & 4) != 0 ? 1 : -1);
    const Eigen::Matrix4d Transform_Cam_Tc = Make_Transform(
        {0.6, -0.5, 0.4}, 48.0, Eigen::Vector3d(0.06, -0.14, -0.08) + Signs.cwiseProduct(Offset));
    const Eigen::Matrix4d Transform_Base_Tc = Rigid_Inverse(Cam_Chart(i)) * Transform_Cam_Tc;
    Csv << i << ',' << Images.Paths[static_cast<std::size_t>(i)] << Sample_Fields(Transform_Base_Tc)
        << Sample_Fields(Eigen::Matrix4d::Identity()) << '\n';
  }
  Csv.close();
  const Quiet_Output Quiet;
  std::vector<double> Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc;
  const int Code =
      Calibration((Scratch.Path() / "capture.csv").string(), Photograph_Board.width,
                  Photograph_Board.height, Photograph_Square, {0, 0, 0}, {0, 0, 0}, Size, Norm_Fxy,
                  Norm_Cxy, Distortion, Transform_Cam_Tc, Scratch.String());
  return {Code, Read_Run_Log(Scratch.Path())};
}

const Photographs& Good_Images() {
  static const Photographs Images(1.0);
  return Images;
}

// Measured values are within this fraction of a limit.
constexpr double Closeness = 0.03;

// The run whose value is the target, to better than a percent. Run takes a number that its value is
// nearly proportional to, so a few steps by the ratio of target and value lead there.
template <typename Runner>
Run_Outcome Run_With(const std::string& Value_Head, double Target, double Start,
                     const Runner& Run) {
  double Cause = Start;
  for (int Step = 0; Step < 3; ++Step) Cause *= Target / Run(Cause).Number(Value_Head);
  return Run(Cause);
}

TEST(LibraryLimits, ALensWithALargerRmsEndsARunWithCode5) {
  const char* const Head = "reprojection error : ";
  const auto Run = [](double Stretch) { return Calibrate(Photographs(1.0 + Stretch), {0, 0, 0}); };
  const Run_Outcome Under = Run_With(Head, limits::Lens_Rms_Px * 0.98, 0.1, Run);
  const Run_Outcome Over = Run_With(Head, limits::Lens_Rms_Px * 1.02, 0.1, Run);
  EXPECT_NE(Under.Code, 5);
  EXPECT_LE(Under.Number(Head), limits::Lens_Rms_Px);
  EXPECT_GE(Under.Number(Head), limits::Lens_Rms_Px * (1.0 - Closeness));
  EXPECT_EQ(Over.Code, 5);
  EXPECT_GT(Over.Number(Head), limits::Lens_Rms_Px);
  EXPECT_LE(Over.Number(Head), limits::Lens_Rms_Px * (1.0 + Closeness));
  EXPECT_TRUE(Over.Says("(> " + std::to_string(limits::Lens_Rms_Px) + " pixel)"));
}

// The codes of a run just under a limit and of one just over it, and the limit itself as the
// library writes it.
template <typename Runner>
void Expect_Limit(const std::string& Value_Head, double Limit, const std::string& Limit_Head,
                  int Code_Under, int Code_Over, double Start, const Runner& Run) {
  SCOPED_TRACE(Limit_Head);
  const Run_Outcome Under = Run_With(Value_Head, Limit * 0.98, Start, Run);
  const Run_Outcome Over = Run_With(Value_Head, Limit * 1.02, Start, Run);
  const double Value_Under = Under.Number(Value_Head), Value_Over = Over.Number(Value_Head);
  EXPECT_EQ(Under.Code, Code_Under);
  EXPECT_LE(Value_Under, Limit);
  EXPECT_GE(Value_Under, Limit * (1.0 - Closeness));
  EXPECT_EQ(Over.Code, Code_Over);
  EXPECT_GT(Value_Over, Limit);
  EXPECT_LE(Value_Over, Limit * (1.0 + Closeness));
  EXPECT_TRUE(Over.Says(Limit_Head + std::to_string(Value_Over) + " > " + std::to_string(Limit)));
}

// Along the view, a mount's offset hardly moves the corners.
TEST(LibraryLimits, TheSpreadOfTheMountIsJudgedInMillimetres) {
  const auto Run = [](double Offset) { return Calibrate(Good_Images(), {0.001, 0.001, Offset}); };
  const char* const Head = "Max T_STD : ";
  Expect_Limit(Head, limits::Good_Spread_Mm / 1000.0, "Recalibration recommended. ( T_STD ",
               /*Code_Under=*/0, /*Code_Over=*/99, 0.01, Run);
  Expect_Limit(Head, limits::Usable_Spread_Mm / 1000.0, "T_STD too large. ( ",
               /*Code_Under=*/99, /*Code_Over=*/6, 0.01, Run);
}

// Across the view, an offset of a few millimetres moves the corners by several pixels.
TEST(LibraryLimits, TheReprojectionErrorIsJudgedInPixelsOfTheReferenceHeight) {
  const auto Run = [](double Offset) { return Calibrate(Good_Images(), {Offset, 0.001, 0.001}); };
  const char* const Head = "Norm Reprojection error : ";
  Expect_Limit(Head, limits::Good_Reprojection_Px / limits::Reference_Height_Px,
               "Recalibration recommended. ( Reprojection error ",
               /*Code_Under=*/0, /*Code_Over=*/99, 0.005, Run);
  Expect_Limit(Head, limits::Usable_Reprojection_Px / limits::Reference_Height_Px,
               "Reprojection error too large. ( ", /*Code_Under=*/99, /*Code_Over=*/14, 0.005, Run);
  // The library names the height that its limit is stated for.
  std::ostringstream Limit;
  Limit << "(>" << limits::Usable_Reprojection_Px << " pixel in " << limits::Reference_Height_Px
        << "p)";
  EXPECT_TRUE(Run(0.009).Says(Limit.str())) << Limit.str();
}

}  // namespace
