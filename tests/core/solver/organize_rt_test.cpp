// SPDX-License-Identifier: Apache-2.0
//
// Conversion of rows, board poses and the board estimate. Expected poses come from axis and angle,
// rotation matrices and rigid inverses; the stage uses quaternions and general inverses.
#include "core/solver/organize_rt.h"
#include "core/base/rotation_block.h"

#include "tests/core/solver/solver_test_support.h"
#include "tests/support/largest.h"

#include <Eigen/LU>
#include <opencv2/core.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <stdexcept>

namespace {

// A handful of roundings of numbers near 1, and of positions of a few metres.
constexpr double Rotation_Tolerance = 2e-15;
constexpr double Pose_Tolerance = 2e-14;

// Half the difference between pi = 3.14159265358979323846 and the short pi 3.1415926535: a rotation
// by 90 degrees computed with it is too small by this angle, one by 180 degrees by twice as much.
constexpr double Shortfall = 8.979323846e-11 / 2.0;

// The axis change C = Rx(90 deg) * Rz(180 deg) with both angles short, transposed. To first order
// in the shortfall; its square, 2e-21, is far below the tolerance.
Eigen::Matrix3d Axis_Change_Transposed() {
  const double E = Shortfall;
  Eigen::Matrix3d Expected;
  Expected << -1.0, 0.0, 2.0 * E,  //
      -2.0 * E, -E, -1.0,          //
      0.0, -1.0, E;
  return Expected;
}

Eigen::Matrix4d Axis_Change_Transposed_Pose() {
  Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
  Pose.topLeftCorner<3, 3>() = Axis_Change_Transposed();
  return Pose;
}

// A tracker sample: position, and quaternion in the order of a row, w, x, y, z.
struct Sample {
  Eigen::Vector3d Position = Eigen::Vector3d::Zero();
  std::array<double, 4> Quaternion = {1.0, 0.0, 0.0, 0.0};
};

// A sample whose quaternion turns by an angle about an axis.
Sample Turned_Sample(const Eigen::Vector3d& Axis, double Angle_Rad,
                     const Eigen::Vector3d& Position) {
  const Eigen::Vector3d Unit = Axis.normalized();
  const double Sine = std::sin(Angle_Rad / 2.0);
  return {Position, {std::cos(Angle_Rad / 2.0), Unit.x() * Sine, Unit.y() * Sine, Unit.z() * Sine}};
}

// The pose of a rotated sample: the rotation transposed, the position unchanged, axes relabelled.
Eigen::Matrix4d Expected_Base(const Eigen::Vector3d& Axis, double Angle_Rad,
                              const Eigen::Vector3d& Position) {
  return Turned(Axis, -Angle_Rad, Position) * Axis_Change_Transposed_Pose();
}

std::vector<double> Row(const Sample& Tc, const Sample& Tr, double Element_0 = 0.0) {
  std::vector<double> Numbers = {Element_0};
  for (const Sample& Each : {Tc, Tr}) {
    Numbers.insert(Numbers.end(), Each.Position.data(), Each.Position.data() + 3);
    Numbers.insert(Numbers.end(), Each.Quaternion.begin(), Each.Quaternion.end());
  }
  return Numbers;
}

// Inputs, outputs and log of one call.
struct Organizer {
  std::vector<double> Chart_Euler_Deg = {0.0, 0.0, 0.0};
  std::vector<double> Chart_Translation = {0.0, 0.0, 0.0};
  std::vector<std::vector<double>> Raw_Data_all;
  cv::Mat Rvecs, Tvecs;

  std::vector<Eigen::Matrix4d> Transform_Base_Tc_all, Transform_Tr_Base_all,
      Transform_Cam_Chart_all;
  Eigen::Matrix4d Transform_Chart_Tr = Eigen::Matrix4d::Constant(7.0);
  Stage_Log Log;

  // As many rows, all different, and as many zero rotation and translation vectors.
  explicit Organizer(int Images = 0)
      : Rvecs(cv::Mat::zeros(Images, 3, CV_64F)), Tvecs(cv::Mat::zeros(Images, 3, CV_64F)) {
    Random_Numbers Random(3);
    for (int i = 0; i < Images; ++i) {
      // One draw per statement: the evaluation order of a call's arguments is unspecified.
      Sample Bodies[2];
      for (Sample& Body : Bodies) {
        const Eigen::Vector3d Axis = Random.Vector(0.1, 1.0);
        const double Angle_Rad = Random.Between(0.1, 3.0);
        const Eigen::Vector3d Position = Random.Vector(-2.0, 2.0);
        Body = Turned_Sample(Axis, Angle_Rad, Position);
      }
      Raw_Data_all.push_back(Row(Bodies[0], Bodies[1]));
    }
  }

  int Run() {
    const Stage_Log::Listener Quiet = Log.Listen();
    return OrganizeRT(Log.Path(), Transform_Base_Tc_all, Transform_Tr_Base_all, Transform_Chart_Tr,
                      Transform_Cam_Chart_all, Rvecs, Tvecs, Chart_Euler_Deg, Chart_Translation,
                      Raw_Data_all);
  }

  std::array<std::size_t, 3> List_Sizes() const {
    return {Transform_Base_Tc_all.size(), Transform_Tr_Base_all.size(),
            Transform_Cam_Chart_all.size()};
  }
};

using Sizes = std::array<std::size_t, 3>;

const std::vector<std::string> Success_Log = {"Transform_Chart_Tr successful."};

// --- the board on its tracker ---------------------------------------------------------------

TEST(OrganizeRT, ZeroAnglesAndOffsetsGiveTheIdentity) {
  Organizer Stage;
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Transform_Chart_Tr, Eigen::Matrix4d(Eigen::Matrix4d::Identity()));
}

TEST(OrganizeRT, NinetyDegreesTurnAboutTheAngleOwnAxisAndFallShortByTheShortPi) {
  // The inverse of a turn by 90 degrees less the shortfall: sine 1, cosine the shortfall.
  const double E = Shortfall;
  Eigen::Matrix3d About[3];
  About[0] << 1, 0, 0, 0, E, 1, 0, -1, E;
  About[1] << E, 0, -1, 0, 1, 0, 1, 0, E;
  About[2] << E, 1, 0, -1, E, 0, 0, 0, 1;
  for (int Axis = 0; Axis < 3; ++Axis) {
    SCOPED_TRACE(Axis);
    Organizer Stage;
    Stage.Chart_Euler_Deg[static_cast<std::size_t>(Axis)] = 90.0;
    EXPECT_EQ(Stage.Run(), 0);
    Eigen::Matrix4d Expected = Eigen::Matrix4d::Identity();
    Expected.topLeftCorner<3, 3>() = About[Axis];
    EXPECT_LE(Max_Difference(Stage.Transform_Chart_Tr, Expected), Rotation_Tolerance);
  }
}

TEST(OrganizeRT, AnglesComposeAsRxTimesRyTimesRz) {
  Organizer Stage;
  Stage.Chart_Euler_Deg = {20.0, -35.0, 70.0};
  Stage.Chart_Translation = {0.4, -0.3, 0.2};
  EXPECT_EQ(Stage.Run(), 0);

  // From rotation matrices, with the full pi: the short one moves this by less than 1e-10.
  const double Radian = static_cast<double>(EIGEN_PI) / 180.0;
  const Eigen::Matrix4d Rx = Turned({1, 0, 0}, 20.0 * Radian);
  const Eigen::Matrix4d Ry = Turned({0, 1, 0}, -35.0 * Radian);
  const Eigen::Matrix4d Rz = Turned({0, 0, 1}, 70.0 * Radian);
  const Eigen::Matrix4d Offset = Shifted({0.4, -0.3, 0.2});
  constexpr double Short_Pi_Tolerance = 1e-10;
  EXPECT_LE(Max_Difference(Stage.Transform_Chart_Tr, Rigid_Inverse(Offset * Rx * Ry * Rz)),
            Short_Pi_Tolerance);
  // The test data give different results for other orders and for the inverse.
  EXPECT_GT(Max_Difference(Offset * Rx * Ry * Rz, Offset * Rz * Ry * Rx), 0.1);
  EXPECT_GT(Max_Difference(Stage.Transform_Chart_Tr, Offset * Rx * Ry * Rz), 0.1);
}

TEST(OrganizeRT, BoardOffsetIsGivenAsSeenFromTheTracker) {
  Organizer Stage;
  Stage.Chart_Translation = {0.25, -0.5, 2.0};
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.Transform_Chart_Tr, Shifted({-0.25, 0.5, -2.0}));
}

// The result of wrong steps for the board estimate.
enum class Steps { In_Order, Y_Z_First, Normalised, Rigid_Inverse };

// A quaternion from axis and angle.
Eigen::Quaterniond About(double Angle_Rad, const Eigen::Vector3d& Axis) {
  const Eigen::Vector3d Vector = std::sin(0.5 * Angle_Rad) * Axis;
  return Eigen::Quaterniond(std::cos(0.5 * Angle_Rad), Vector.x(), Vector.y(), Vector.z());
}

std::string Chart_Tr_By(Steps Which, const Eigen::Vector3d& Rad, const Eigen::Vector3d& Offset) {
  const Eigen::Quaterniond Qx = About(Rad.x(), Eigen::Vector3d::UnitX());
  const Eigen::Quaterniond Qy = About(Rad.y(), Eigen::Vector3d::UnitY());
  const Eigen::Quaterniond Qz = About(Rad.z(), Eigen::Vector3d::UnitZ());
  Eigen::Quaterniond Q = (Qx * Qy) * Qz;
  if (Which == Steps::Y_Z_First) Q = Qx * (Qy * Qz);
  if (Which == Steps::Normalised) Q.normalize();
  Eigen::Matrix4d Pose = Shifted(Offset);
  Pose.topLeftCorner<3, 3>() = Q.toRotationMatrix();
  return Hex(Which == Steps::Rigid_Inverse ? Rigid_Inverse(Pose) : Eigen::Matrix4d(Pose.inverse()));
}

TEST(OrganizeRT, BoardPoseHasTheBitsOfItsStepsInTheirOrder) {
  const double Degrees[] = {54.2, 1.6, -75.0};
  const Eigen::Vector3d Offset(0.31, -0.07, 0.19);
  constexpr double Pi = 3.1415926535;
  Eigen::Vector3d Rad, Factor_First, Quotient_First;
  for (int r = 0; r < 3; ++r) {
    Rad(r) = Degrees[r] * Pi / 180.0;
    Factor_First(r) = Degrees[r] * (Pi / 180.0);
    Quotient_First(r) = Degrees[r] / 180.0 * Pi;
  }
  Organizer Stage;
  Stage.Chart_Euler_Deg.assign(std::begin(Degrees), std::end(Degrees));
  Stage.Chart_Translation = {Offset.x(), Offset.y(), Offset.z()};
  EXPECT_EQ(Stage.Run(), 0);
  const std::string Bits = Hex(Stage.Transform_Chart_Tr);
  EXPECT_EQ(Bits, Chart_Tr_By(Steps::In_Order, Rad, Offset));
  // The test data give a different result for every wrong method.
  EXPECT_NE(Bits, Chart_Tr_By(Steps::In_Order, Factor_First, Offset));
  EXPECT_NE(Bits, Chart_Tr_By(Steps::In_Order, Quotient_First, Offset));
  EXPECT_NE(Bits, Chart_Tr_By(Steps::Y_Z_First, Rad, Offset));
  EXPECT_NE(Bits, Chart_Tr_By(Steps::Normalised, Rad, Offset));
  EXPECT_NE(Bits, Chart_Tr_By(Steps::Rigid_Inverse, Rad, Offset));
}

// --- tracker samples ------------------------------------------------------------------------

TEST(OrganizeRT, AnUnturnedTrackerKeepsItsPositionAndTakesTheAxisChangeInverted) {
  Organizer Stage(1);
  Stage.Raw_Data_all = {
      Row({{1.5, -2.25, 0.75}, {1, 0, 0, 0}}, {{-0.5, 0.125, 3.0}, {1, 0, 0, 0}})};
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_LE(Max_Difference(Stage.Transform_Base_Tc_all.at(0),
                           Shifted({1.5, -2.25, 0.75}) * Axis_Change_Transposed_Pose()),
            Rotation_Tolerance);
  EXPECT_LE(
      Max_Difference(Stage.Transform_Tr_Base_all.at(0),
                     Rigid_Inverse(Shifted({-0.5, 0.125, 3.0}) * Axis_Change_Transposed_Pose())),
      Rotation_Tolerance);
}

TEST(OrganizeRT, RotationsAreTransposedAndPositionsAreNotNegated) {
  const Eigen::Vector3d Tc_Axis(0.3, -0.8, 0.5), Tr_Axis(-0.7, 0.1, 0.6);
  const Eigen::Vector3d Tc_Position(1.2, -0.7, 2.1), Tr_Position(-0.4, 0.9, 1.3);
  Organizer Stage(1);
  Stage.Raw_Data_all = {
      Row(Turned_Sample(Tc_Axis, 0.9, Tc_Position), Turned_Sample(Tr_Axis, 1.7, Tr_Position))};
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_LE(
      Max_Difference(Stage.Transform_Base_Tc_all.at(0), Expected_Base(Tc_Axis, 0.9, Tc_Position)),
      Pose_Tolerance);
  EXPECT_LE(Max_Difference(Stage.Transform_Tr_Base_all.at(0),
                           Rigid_Inverse(Expected_Base(Tr_Axis, 1.7, Tr_Position))),
            Pose_Tolerance);
}

TEST(OrganizeRT, AQuaternionIsReadAsWXYZ) {
  // A quarter turn about each axis alone, so that components in another place turn about another
  // axis. About axis k the transposed turn takes axis k + 1 to minus axis k + 2.
  for (int Axis = 0; Axis < 3; ++Axis) {
    SCOPED_TRACE(Axis);
    Sample Quarter;
    Quarter.Quaternion = {std::sqrt(0.5), 0.0, 0.0, 0.0};
    Quarter.Quaternion[static_cast<std::size_t>(Axis) + 1] = std::sqrt(0.5);
    Eigen::Matrix4d Expected = Eigen::Matrix4d::Zero();
    Expected(Axis, Axis) = 1.0;
    Expected((Axis + 2) % 3, (Axis + 1) % 3) = -1.0;
    Expected((Axis + 1) % 3, (Axis + 2) % 3) = 1.0;
    Expected(3, 3) = 1.0;
    Expected = Expected * Axis_Change_Transposed_Pose();

    Organizer Stage(1);
    Stage.Raw_Data_all = {Row(Quarter, Quarter)};
    EXPECT_EQ(Stage.Run(), 0);
    EXPECT_LE(Max_Difference(Stage.Transform_Base_Tc_all.at(0), Expected), Rotation_Tolerance);
    EXPECT_LE(Max_Difference(Stage.Transform_Tr_Base_all.at(0), Rigid_Inverse(Expected)),
              Rotation_Tolerance);
  }
}

TEST(OrganizeRT, TheTrackerOnTheBoardIsInvertedInGeneralToTheBit) {
  // Both bodies report the same sample, so the one pose is the other's inverse.
  Organizer Stage(6);
  bool Tells_Rigid_Apart = false;
  for (std::vector<double>& Each : Stage.Raw_Data_all) {
    std::copy(Each.begin() + 1, Each.begin() + 8, Each.begin() + 8);
  }
  EXPECT_EQ(Stage.Run(), 0);
  for (std::size_t i = 0; i < 6; ++i) {
    SCOPED_TRACE(i);
    const Eigen::Matrix4d& Base_Tc = Stage.Transform_Base_Tc_all.at(i);
    EXPECT_EQ(Hex(Stage.Transform_Tr_Base_all.at(i)), Hex(Eigen::Matrix4d(Base_Tc.inverse())));
    Tells_Rigid_Apart |= Hex(Stage.Transform_Tr_Base_all.at(i)) != Hex(Rigid_Inverse(Base_Tc));
  }
  EXPECT_TRUE(Tells_Rigid_Apart);
}

TEST(OrganizeRT, SamplePosesHaveTheBitsOfTheirStepsInTheirOrder) {
  Organizer Stage(1);
  const std::array<double, 4> Q = {0.83, -0.41, 1.27, 0.59};  // of length about 1.7
  const Eigen::Vector3d Position(1.37, -0.29, 0.83);
  Stage.Raw_Data_all = {Row({Position, Q}, {})};
  EXPECT_EQ(Stage.Run(), 0);

  Eigen::Quaterniond Conjugate(Q[0], -Q[1], -Q[2], -Q[3]);
  Conjugate.normalize();
  Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
  Pose.topLeftCorner<3, 3>() = Conjugate.toRotationMatrix();
  Pose.topRightCorner<3, 1>() = Position;
  Eigen::Matrix4d By_Stage;
  EXPECT_EQ(Tracker_To_Camera_Axes(Stage.Log.Path(), Pose, By_Stage), 0);
  EXPECT_EQ(Hex(Stage.Transform_Base_Tc_all.at(0)), Hex(By_Stage));
}

TEST(OrganizeRT, AnAllZeroQuaternionTurnsNothing) {
  Organizer Stage(2);
  const Eigen::Vector3d Tc_Position(0.3, 0.2, -0.6), Tr_Position(-1.1, 0.4, 0.5);
  Stage.Raw_Data_all = {Row({Tc_Position, {0, 0, 0, 0}}, {Tr_Position, {0, 0, 0, 0}}),
                        Row({Tc_Position, {1, 0, 0, 0}}, {Tr_Position, {1, 0, 0, 0}})};
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Hex(Stage.Transform_Base_Tc_all.at(0)), Hex(Stage.Transform_Base_Tc_all.at(1)));
  EXPECT_EQ(Hex(Stage.Transform_Tr_Base_all.at(0)), Hex(Stage.Transform_Tr_Base_all.at(1)));
}

TEST(OrganizeRT, AQuaternionWhoseSquaresVanishIsLeftUnnormalised) {
  // 1e-200 squared is 0, so the sum isn't greater than 0, and such a quaternion turns nothing,
  // where a scaled norm would have made a half turn of it.
  Organizer Stage(2);
  Stage.Raw_Data_all = {Row({{1, 2, 3}, {0, 1e-200, 0, 0}}, {{3, 2, 1}, {0, 0, 1e-200, 0}}),
                        Row({{1, 2, 3}, {1, 0, 0, 0}}, {{3, 2, 1}, {1, 0, 0, 0}})};
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Hex(Stage.Transform_Base_Tc_all.at(0)), Hex(Stage.Transform_Base_Tc_all.at(1)));
  EXPECT_EQ(Hex(Stage.Transform_Tr_Base_all.at(0)), Hex(Stage.Transform_Tr_Base_all.at(1)));
}

TEST(OrganizeRT, AQuaternionOfAnyLengthGivesThePoseOfItsUnitForm) {
  const Eigen::Vector3d Axis(0.5, -0.2, 0.9), Position(0.8, -1.6, 0.1);
  for (const double Length : {1e-3, 0.5, -1.0, 3.0, 1e6}) {
    SCOPED_TRACE(Length);
    Sample Long = Turned_Sample(Axis, 2.1, Position);
    for (double& Component : Long.Quaternion) Component *= Length;
    Organizer Stage(1);
    Stage.Raw_Data_all = {Row(Long, Long)};
    EXPECT_EQ(Stage.Run(), 0);
    const Eigen::Matrix4d Expected = Expected_Base(Axis, 2.1, Position);
    EXPECT_LE(Max_Difference(Stage.Transform_Base_Tc_all.at(0), Expected), Pose_Tolerance);
    EXPECT_LE(Max_Difference(Stage.Transform_Tr_Base_all.at(0), Rigid_Inverse(Expected)),
              Pose_Tolerance);
  }
}

TEST(OrganizeRT, ElementZeroOfARowAndElementsBehindTheFifteenthChangeNothing) {
  Organizer Plain(2), Decorated(2);
  for (std::vector<double>& Each : Decorated.Raw_Data_all) {
    Each[0] = -1e300;
    Each.push_back(1e300);
  }
  EXPECT_EQ(Plain.Run(), 0);
  EXPECT_EQ(Decorated.Run(), 0);
  for (std::size_t i = 0; i < 2; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(Hex(Plain.Transform_Base_Tc_all.at(i)), Hex(Decorated.Transform_Base_Tc_all.at(i)));
    EXPECT_EQ(Hex(Plain.Transform_Tr_Base_all.at(i)), Hex(Decorated.Transform_Tr_Base_all.at(i)));
    EXPECT_EQ(Hex(Plain.Transform_Cam_Chart_all.at(i)),
              Hex(Decorated.Transform_Cam_Chart_all.at(i)));
  }
  EXPECT_EQ(Hex(Plain.Transform_Chart_Tr), Hex(Decorated.Transform_Chart_Tr));
}

// --- poses of the lens solve ----------------------------------------------------------------

TEST(OrganizeRT, LensVectorsBecomeCamChartPosesRowByRow) {
  const Eigen::Vector3d Axes[] = {{0.2, 0.9, -0.4}, {1.0, 0.0, 0.0}, {0.0, 0.0, 1.0}};
  const double Angles[] = {0.8, -1.9, 0.0};
  const Eigen::Vector3d Translations[] = {{0.1, -0.2, 1.5}, {-0.3, 0.4, 2.5}, {0.6, 0.5, 0.75}};
  Organizer Stage(3);
  for (int i = 0; i < 3; ++i) {
    const Eigen::Vector3d Rvec = Axes[i].normalized() * Angles[i];
    for (int c = 0; c < 3; ++c) {
      Stage.Rvecs.at<double>(i, c) = Rvec(c);
      Stage.Tvecs.at<double>(i, c) = Translations[i](c);
    }
  }
  // The lens solve returns one column of three channels: the same memory in another shape.
  Organizer Three_Channels(3);
  Three_Channels.Rvecs = Stage.Rvecs.reshape(3, 3);
  Three_Channels.Tvecs = Stage.Tvecs.reshape(3, 3);
  ASSERT_EQ(Three_Channels.Rvecs.cols, 1);

  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Three_Channels.Run(), 0);
  for (std::size_t i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    EXPECT_LE(Max_Difference(Stage.Transform_Cam_Chart_all.at(i),
                             Turned(Axes[i], Angles[i], Translations[i])),
              Rotation_Tolerance);
    EXPECT_EQ(Hex(Three_Channels.Transform_Cam_Chart_all.at(i)),
              Hex(Stage.Transform_Cam_Chart_all.at(i)));
  }
}

// --- lists, log, result ---------------------------------------------------------------------

TEST(OrganizeRT, AppendsOneEntryPerRowAndLogsOneLine) {
  for (const int Images : {0, 1, 13}) {
    SCOPED_TRACE(Images);
    Organizer Stage(Images);
    // The lists are not cleared; the caller must clear them.
    Stage.Transform_Base_Tc_all = {Shifted({1, 0, 0})};
    Stage.Transform_Tr_Base_all = {Shifted({2, 0, 0})};
    Stage.Transform_Cam_Chart_all = {Shifted({3, 0, 0})};
    EXPECT_EQ(Stage.Run(), 0);
    const std::size_t Expected = static_cast<std::size_t>(Images) + 1;
    EXPECT_EQ(Stage.List_Sizes(), (Sizes{Expected, Expected, Expected}));
    EXPECT_EQ(Stage.Transform_Base_Tc_all[0], Shifted({1, 0, 0}));
    EXPECT_EQ(Stage.Transform_Tr_Base_all[0], Shifted({2, 0, 0}));
    EXPECT_EQ(Stage.Transform_Cam_Chart_all[0], Shifted({3, 0, 0}));
    EXPECT_EQ(Stage.Log.Lines(), Success_Log);
  }
}

TEST(OrganizeRT, NumbersThatAreNotFinitePassThroughWithCode0) {
  Organizer Stage(1);
  Stage.Raw_Data_all[0][4] = std::nan("");
  Stage.Raw_Data_all[0][8] = HUGE_VAL;
  Stage.Chart_Translation[1] = -HUGE_VAL;
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.List_Sizes(), (Sizes{1, 1, 1}));
  EXPECT_FALSE(Stage.Transform_Base_Tc_all[0].allFinite());
  EXPECT_FALSE(Stage.Transform_Tr_Base_all[0].allFinite());
  EXPECT_FALSE(Stage.Transform_Chart_Tr.allFinite());
}

// --- inputs that are too short --------------------------------------------------------------

std::string Refusal(Organizer& Stage) {
  try {
    Stage.Run();
  } catch (const std::invalid_argument& Error) {
    return Error.what();
  }
  return "no std::invalid_argument";
}

TEST(OrganizeRT, AShortBoardEstimateIsRefusedByNameBeforeAnythingIsFilledOrLogged) {
  for (std::size_t Size = 0; Size < 3; ++Size) {
    SCOPED_TRACE(Size);
    Organizer Angles(1), Offsets(1), Both(1);
    Angles.Chart_Euler_Deg.resize(Size);
    Offsets.Chart_Translation.resize(Size);
    Both.Chart_Euler_Deg.resize(Size);
    Both.Chart_Translation.resize(Size);
    const std::string Needs = " needs 3 elements and has " + std::to_string(Size);
    EXPECT_EQ(Refusal(Angles), "Chart_Euler_Deg" + Needs);
    EXPECT_EQ(Refusal(Offsets), "Chart_Translation" + Needs);
    EXPECT_EQ(Refusal(Both), "Chart_Euler_Deg" + Needs);  // read first
    for (const Organizer* Stage : {&Angles, &Offsets, &Both}) {
      EXPECT_EQ(Stage->Transform_Chart_Tr, Eigen::Matrix4d(Eigen::Matrix4d::Constant(7.0)));
      EXPECT_EQ(Stage->List_Sizes(), (Sizes{0, 0, 0}));
      EXPECT_TRUE(Stage->Log.Lines().empty());
    }
  }
}

TEST(OrganizeRT, ALongerBoardEstimateIsReadFromItsFront) {
  Organizer Stage, Longer;
  Stage.Chart_Euler_Deg = {10.0, 20.0, 30.0};
  Stage.Chart_Translation = {0.1, 0.2, 0.3};
  Longer.Chart_Euler_Deg = {10.0, 20.0, 30.0, 40.0};
  Longer.Chart_Translation = {0.1, 0.2, 0.3, 0.4};
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Longer.Run(), 0);
  EXPECT_EQ(Hex(Stage.Transform_Chart_Tr), Hex(Longer.Transform_Chart_Tr));
}

TEST(OrganizeRT, AShortRowIsRefusedByNumberWithTheRowsBeforeItInTheLists) {
  for (const std::size_t Size : {0u, 1u, 8u, 14u}) {
    SCOPED_TRACE(Size);
    Organizer Stage(4);
    Stage.Raw_Data_all[2].resize(Size);
    EXPECT_EQ(Refusal(Stage), "Raw_Data_all[2] needs 15 elements and has " + std::to_string(Size));
    EXPECT_EQ(Stage.List_Sizes(), (Sizes{2, 2, 2}));
    EXPECT_EQ(Stage.Transform_Chart_Tr, Eigen::Matrix4d(Eigen::Matrix4d::Identity()));
    EXPECT_EQ(Stage.Log.Lines(), Success_Log);
  }
}

TEST(OrganizeRT, FewerLensVectorsThanRowsThrowFromOpenCvWithTheRowsBeforeInTheLists) {
  Organizer Few_Rotations(4), Few_Translations(4), None(1);
  Few_Rotations.Rvecs = Few_Rotations.Rvecs.rowRange(0, 3).clone();
  Few_Translations.Tvecs = Few_Translations.Tvecs.rowRange(0, 1).clone();
  None.Rvecs = cv::Mat();
  EXPECT_THROW(Few_Rotations.Run(), cv::Exception);
  EXPECT_THROW(Few_Translations.Run(), cv::Exception);
  EXPECT_THROW(None.Run(), cv::Exception);
  EXPECT_EQ(Few_Rotations.List_Sizes(), (Sizes{3, 3, 3}));
  EXPECT_EQ(Few_Translations.List_Sizes(), (Sizes{1, 1, 1}));
  EXPECT_EQ(None.List_Sizes(), (Sizes{0, 0, 0}));
  EXPECT_EQ(Few_Rotations.Log.Lines(), Success_Log);
}

TEST(OrganizeRT, MoreLensVectorsThanRowsAreLeftUnread) {
  Organizer Stage(2);
  Stage.Rvecs = cv::Mat::zeros(5, 3, CV_64F);
  Stage.Tvecs = cv::Mat::zeros(4, 3, CV_64F);
  EXPECT_EQ(Stage.Run(), 0);
  EXPECT_EQ(Stage.List_Sizes(), (Sizes{2, 2, 2}));
}

// --- the small operations -------------------------------------------------------------------

TEST(SetRotationBlock, OverwritesTheBlockElementForElementAndNothingElse) {
  Eigen::Matrix3d Block;
  Block << 1, 2, 3, 4, 5, 6, 7, 8, 9;
  Eigen::Matrix4d Pose, Expected;
  Pose << -1, -2, -3, -4, -5, -6, -7, -8, -9, -10, -11, -12, -13, -14, -15, -16;
  Expected << 1, 2, 3, -4, 4, 5, 6, -8, 7, 8, 9, -12, -13, -14, -15, -16;
  EXPECT_EQ(Set_Rotation_Block("", Block, Pose), 0);
  EXPECT_EQ(Pose, Expected);
}

TEST(TrackerToCameraAxes, KeepsTheSmallEntriesOfTheShortAngles) {
  Eigen::Matrix4d Changed;
  EXPECT_EQ(Tracker_To_Camera_Axes("", Eigen::Matrix4d::Identity(), Changed), 0);
  // The rounded matrix, with zeros, and one from a fuller pi both miss by 4e-11 and more.
  EXPECT_LE(Max_Difference(Changed, Axis_Change_Transposed_Pose()), Rotation_Tolerance);
}

TEST(TrackerToCameraAxes, RelabelsTheAxesOfTheBodyAndLeavesItsPosition) {
  const Eigen::Matrix4d Body = Turned({0.4, 0.7, -0.2}, 1.1, {2.0, -3.0, 0.5});
  Eigen::Matrix4d Changed;
  EXPECT_EQ(Tracker_To_Camera_Axes("", Body, Changed), 0);
  // Up to the small entries: new x is old x reversed, new y old z reversed, new z old y reversed.
  constexpr double Small_Entries = 2e-10;
  EXPECT_LE(Largest_Element(Changed.col(0) + Body.col(0)), Small_Entries);
  EXPECT_LE(Largest_Element(Changed.col(1) + Body.col(2)), Small_Entries);
  EXPECT_LE(Largest_Element(Changed.col(2) + Body.col(1)), Small_Entries);
  EXPECT_LE(Largest_Element(Changed.col(3) - Body.col(3)), Pose_Tolerance);
  EXPECT_LE(Max_Difference(Changed, Body * Axis_Change_Transposed_Pose()), Pose_Tolerance);
}

TEST(TrackerToCameraAxes, UsesGeneralInverses) {
  // inverse(C * inverse(Body)) is Body * inverse(C) whatever Body is. Rigid inverses would give a
  // scaled body another scale.
  const Eigen::Matrix4d Body = Scaled(2.0);
  Eigen::Matrix4d Changed;
  EXPECT_EQ(Tracker_To_Camera_Axes("", Body, Changed), 0);
  EXPECT_LE(Max_Difference(Changed, Body * Axis_Change_Transposed_Pose()), Pose_Tolerance);
}

TEST(TrackerToCameraAxes, HasTheBitsOfBothInversesAroundTheComputedProduct) {
  const Eigen::Quaterniond Q =
      (About(1.57079632675, Eigen::Vector3d::UnitX()) * About(0.0, Eigen::Vector3d::UnitY())) *
      About(3.1415926535, Eigen::Vector3d::UnitZ());
  Eigen::Matrix4d C = Eigen::Matrix4d::Identity();
  C.topLeftCorner<3, 3>() = Q.toRotationMatrix();

  const Eigen::Matrix4d Body = Turned({0.4, 0.7, -0.2}, 1.1, {2.3, -3.1, 0.7});
  const Eigen::Matrix4d Inverse = Body.inverse();
  const Eigen::Matrix4d Product = C * Inverse;
  const Eigen::Matrix4d Expected = Product.inverse();
  const Eigen::Matrix4d Shortcut = Body * C.inverse();
  Eigen::Matrix4d Changed;
  EXPECT_EQ(Tracker_To_Camera_Axes("", Body, Changed), 0);
  EXPECT_EQ(Hex(Changed), Hex(Expected));
  EXPECT_NE(Hex(Changed), Hex(Shortcut));  // the test data distinguish them
}

}  // namespace
