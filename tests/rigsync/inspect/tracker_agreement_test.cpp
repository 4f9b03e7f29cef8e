// SPDX-License-Identifier: Apache-2.0
//
// Samples against images on the simulator's plans: its rows and its true board poses, no image
// drawn. What is changed is what a stage gets wrong.
#include "rigsync/inspect/tracker_agreement.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/tracker_sample.h"

#include "simulate/simulate.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using rigsync::Agreement;
using rigsync::Board_Pose;
using rigsync::Capture_Row;
using rigsync::Findings;
using rigsync::Level;
using rigsync::Tracker_Sample;
using testing::ElementsAre;
using testing::HasSubstr;

using Lines = std::vector<std::size_t>;

struct Compared {
  std::vector<Capture_Row> Rows;
  std::vector<Board_Pose> Poses;

  Agreement Measure() const { return rigsync::Measure_Agreement(Rows, Poses).value(); }
  Findings Judge() const {
    Findings Told;
    rigsync::Judge_Agreement(Rows, Measure(), true, Told);
    return Told;
  }
};

Tracker_Sample As_Written(const simulate::Sample& Reported) {
  const Eigen::Quaterniond& Q = Reported.Rotation;
  return {{Reported.Position.x(), Reported.Position.y(), Reported.Position.z()},
          {Q.w(), Q.x(), Q.y(), Q.z()}};
}

simulate::Options Noisy() {
  simulate::Options Options;
  Options.Position_Noise_Mm = 0.3;
  Options.Rotation_Noise_Deg = 0.05;
  return Options;
}

Compared Planned(const simulate::Options& Options = Noisy()) {
  const simulate::Plan Plan = simulate::Make_Plan(Options);
  const Eigen::Vector3d Middle_Chart(0.5 * (Options.Board_Cols - 1) * Options.Square_Size,
                                     0.5 * (Options.Board_Rows - 1) * Options.Square_Size, 0.0);
  Compared Made;
  for (const simulate::Image_Truth& Image : Plan.Images) {
    Capture_Row Row;
    Row.Line = Made.Rows.size() + 2;
    Row.Is_Sound = true;
    Row.Camera = As_Written(Image.Tc);
    Row.Board = As_Written(Image.Tr);
    Board_Pose Pose;
    Pose.Row = Made.Rows.size();
    Pose.Rotation_Cam_Chart =
        Eigen::Quaterniond(Eigen::Matrix3d(Image.Transform_Cam_Chart.topLeftCorner<3, 3>()));
    Pose.Middle_Cam = Image.Transform_Cam_Chart.topLeftCorner<3, 3>() * Middle_Chart +
                      Image.Transform_Cam_Chart.topRightCorner<3, 1>();
    Made.Rows.push_back(Row);
    Made.Poses.push_back(Pose);
  }
  return Made;
}

void For_Samples(Compared& Of, const std::function<void(Tracker_Sample&)>& Change) {
  for (Capture_Row& Row : Of.Rows) {
    Change(Row.Camera);
    Change(Row.Board);
  }
}

TEST(TrackerAgreement, SamplesOfARigFitItsImagesWhateverTheMountsAre) {
  simulate::Options Options;
  Options.Camera_Mount_Euler_Deg = {170.0, -60.0, 100.0};
  Options.Board_Mount_Offset = {0.4, -0.3, 0.2};
  const Agreement Measured = Planned(Options).Measure();
  EXPECT_TRUE(Measured.Is_Good());
  EXPECT_EQ(Measured.Rows.size(), 24u);
  // Nothing but rounding is left: no noise, and true poses.
  EXPECT_LE(Measured.Typical_Turn_Deg, 1e-4);
  EXPECT_LE(*Measured.Typical_Axis_Deg, 1e-4);
  EXPECT_LE(*Measured.Typical_Position, 1e-9);
  EXPECT_NEAR(*Measured.Scale, 1.0, 1e-9);
}

TEST(TrackerAgreement, TellsWhereTheBoardSitsOnItsTracker) {
  simulate::Options Options;
  Options.Camera_Mount_Euler_Deg = {170.0, -60.0, 100.0};
  Options.Board_Mount_Euler_Deg = {100.0, 35.0, -140.0};
  Options.Board_Mount_Offset = {0.4, -0.3, 0.2};
  const Agreement Measured = Planned(Options).Measure();
  const Eigen::Matrix4d Transform_Tr_Chart =
      simulate::Make_Plan(Options).Transform_Chart_Tr.inverse();
  ASSERT_TRUE(Measured.Rotation_Tr_Chart && Measured.Middle_Tr);
  const Eigen::Matrix3d Rotation = Transform_Tr_Chart.topLeftCorner<3, 3>();
  EXPECT_LE((*Measured.Rotation_Tr_Chart - Rotation).cwiseAbs().maxCoeff(), 1e-8);
  // 11 by 8 corners of 30 mm.
  const Eigen::Vector3d Middle =
      Rotation * Eigen::Vector3d(0.15, 0.105, 0.0) + Transform_Tr_Chart.topRightCorner<3, 1>();
  EXPECT_LE((*Measured.Middle_Tr - Middle).norm(), 1e-8);
}

TEST(TrackerAgreement, AGoodCaptureWithNoiseIsNotTalkedAbout) {
  for (unsigned Seed = 1; Seed <= 8; ++Seed) {
    SCOPED_TRACE(Seed);
    simulate::Options Options = Noisy();
    Options.Seed = Seed;
    EXPECT_TRUE(Planned(Options).Judge().Sorted().empty());
  }
}

TEST(TrackerAgreement, StaleAndJumpedRowsAreNamedByLineAndNoOthers) {
  simulate::Options Options = Noisy();
  Options.Image_Count = 40;
  Options.Stale_Count = 3;
  Options.Jump_Count = 3;
  const simulate::Plan Plan = simulate::Make_Plan(Options);
  Lines Bad;
  for (std::size_t i = 0; i < Plan.Images.size(); ++i) {
    if (Plan.Images[i].Kind != simulate::Row_Kind::Good) Bad.push_back(i + 2);
  }
  const Findings Told = Planned(Options).Judge();
  ASSERT_EQ(Told.Sorted().size(), 1u);
  EXPECT_EQ(Told.Sorted()[0].Id, "sample_disagrees");
  EXPECT_EQ(Told.Sorted()[0].Severity, Level::Warning);
  EXPECT_EQ(Told.Sorted()[0].Lines, Bad);
}

TEST(TrackerAgreement, APositionAloneThatIsOffIsFound) {
  Compared Made = Planned();
  Made.Rows[3].Camera.Position[0] += 0.08;
  Made.Rows[9].Board.Position[2] += 30.0;  // would pull a plain fit to itself
  const Findings Told = Made.Judge();
  ASSERT_EQ(Told.Sorted().size(), 1u);
  EXPECT_THAT(Told.Sorted()[0].Lines, ElementsAre(5, 11));
}

TEST(TrackerAgreement, AQuarterOfTheRowsMayBeOffTogether) {
  Compared Made = Planned();
  for (std::size_t i = 0; i < 6; ++i) {
    Made.Rows[4 * i].Camera.Position[0] += 0.3;
    Made.Rows[4 * i].Camera.Position[2] += 0.2;
  }
  const Findings Told = Made.Judge();
  ASSERT_EQ(Told.Sorted().size(), 1u);
  EXPECT_EQ(Told.Sorted()[0].Lines, (Lines{2, 6, 10, 14, 18, 22}));
}

// What is said of a capture whose samples don't fit at all.
std::string All_Off(const Compared& Made) {
  const Findings Told = Made.Judge();
  if (Told.Sorted().size() != 1 || Told.Sorted()[0].Id != "trackers_disagree") return "";
  EXPECT_EQ(Told.Gravest(), Level::Error);
  return Told.Sorted()[0].What;
}

TEST(TrackerAgreement, AttitudesAreRecognised) {
  Compared Made = Planned();
  For_Samples(Made, [](Tracker_Sample& Sample) {
    for (std::size_t k = 1; k < 4; ++k) Sample.Quaternion[k] *= -1;
  });
  EXPECT_THAT(All_Off(Made), HasSubstr("read with quaternions as the trackers' attitudes"));
}

TEST(TrackerAgreement, TheOrderXyzwIsRecognised) {
  Compared Made = Planned();
  const auto Put_W_Last = [](Tracker_Sample& Sample) {
    std::rotate(Sample.Quaternion.begin(), Sample.Quaternion.begin() + 1, Sample.Quaternion.end());
  };
  For_Samples(Made, Put_W_Last);
  EXPECT_THAT(All_Off(Made), HasSubstr("read with quaternions in the order x, y, z, w."));
  // With attitudes written x, y, z, w even the turns fit; positions tell.
  For_Samples(Made, [](Tracker_Sample& Sample) {
    for (std::size_t k = 0; k < 3; ++k) Sample.Quaternion[k] *= -1;
  });
  EXPECT_LE(Made.Measure().Typical_Turn_Deg, 0.2);
  EXPECT_THAT(All_Off(Made), HasSubstr("x, y, z, w, and quaternions as the trackers' attitudes"));
}

TEST(TrackerAgreement, NoReadingIsNamedWherePositionsCantTellTwoApart) {
  Compared Made = Planned();
  For_Samples(Made, [](Tracker_Sample& Sample) {
    std::rotate(Sample.Quaternion.begin(), Sample.Quaternion.begin() + 1, Sample.Quaternion.end());
  });
  // Eight rows give positions; with seven, attitudes would explain the turns as well.
  Made.Poses.resize(8);
  EXPECT_THAT(All_Off(Made), HasSubstr("read with quaternions in the order x, y, z, w."));
  Made.Poses.resize(7);
  EXPECT_THAT(All_Off(Made), testing::Not(testing::AnyOf(HasSubstr("read with"), "")));
}

TEST(TrackerAgreement, ExchangedTrackersAreRecognised) {
  Compared Made = Planned();
  for (Capture_Row& Row : Made.Rows) std::swap(Row.Camera, Row.Board);
  // Every turn has its angle still; the axes tell.
  EXPECT_LE(Made.Measure().Typical_Turn_Deg, 0.2);
  EXPECT_THAT(All_Off(Made), HasSubstr("read with camera and board trackers exchanged"));
}

TEST(TrackerAgreement, SamplesOfTheNextImageFitNoReading) {
  Compared Made = Planned();
  std::vector<Capture_Row> Moved = Made.Rows;
  std::rotate(Moved.begin(), Moved.begin() + 1, Moved.end());
  Made.Rows = Moved;
  EXPECT_THAT(All_Off(Made), testing::Not(testing::AnyOf(HasSubstr("read with"), "")));
}

TEST(TrackerAgreement, AScaleIsToldFromThreePercentOn) {
  const auto Scaled = [](double Factor) {
    Compared Made = Planned();
    For_Samples(Made, [&](Tracker_Sample& Sample) {
      for (double& Value : Sample.Position) Value *= Factor;
    });
    const Findings Told = Made.Judge();
    return Told.Sorted().empty() ? "" : Told.Sorted()[0].Id;
  };
  EXPECT_EQ(Scaled(1.02), "");
  EXPECT_EQ(Scaled(1.04), "scale");
  EXPECT_EQ(Scaled(0.98), "");
  EXPECT_EQ(Scaled(0.96), "scale");
  EXPECT_EQ(Scaled(1000.0), "scale");
}

TEST(TrackerAgreement, AScaleThatASquareMayHaveNamesTheSquareThatFits) {
  const auto Example = [](double Factor) {
    Compared Made = Planned();
    For_Samples(Made, [&](Tracker_Sample& Sample) {
      for (double& Value : Sample.Position) Value *= Factor;
    });
    const Findings Told = Made.Judge();
    return Told.Sorted().empty() ? "nothing told" : Told.Sorted()[0].Example;
  };
  // Trackers whose metre is too long make the board look as if its squares were larger.
  EXPECT_EQ(Example(1.2), "A --square of 1.20 times the given one would fit.");
  EXPECT_EQ(Example(0.8), "A --square of 0.80 times the given one would fit.");
  EXPECT_EQ(Example(2.1), "");
  EXPECT_EQ(Example(0.48), "");
}

// ---- Axes of the wrong hand ------------------------------------------------------------------

struct Mirror {
  Eigen::Matrix3d Axes;
  std::string Of_Positions, Of_Quaternions;  // what undoes it
};

std::vector<Mirror> Mirrors() {
  const auto Signs = [](double X, double Y, double Z) {
    return Eigen::Matrix3d(Eigen::Vector3d(X, Y, Z).asDiagonal());
  };
  Eigen::Matrix3d Y_And_Z, X_And_Z, X_And_Y;
  Y_And_Z << 1, 0, 0, 0, 0, 1, 0, 1, 0;
  X_And_Z << 0, 0, 1, 0, 1, 0, 1, 0, 0;
  X_And_Y << 0, 1, 0, 1, 0, 0, 0, 0, 1;
  return {{Signs(-1, 1, 1), "negate x", "negate y and z"},
          {Signs(1, -1, 1), "negate y", "negate x and z"},
          {Signs(1, 1, -1), "negate z", "negate x and y"},
          {Y_And_Z, "exchange y and z", "exchange y and z and negate x, y and z"},
          {X_And_Z, "exchange x and z", "exchange x and z and negate x, y and z"},
          {X_And_Y, "exchange x and y", "exchange x and y and negate x, y and z"}};
}

void Mirror_Position(Tracker_Sample& Sample, const Eigen::Matrix3d& Axes) {
  const Eigen::Vector3d Position = Axes * Eigen::Vector3d(Sample.Position.data());
  for (std::size_t k = 0; k < 3; ++k) Sample.Position[k] = Position[static_cast<Eigen::Index>(k)];
}

// By the rotation's matrix, whatever that does to the four numbers.
void Mirror_Quaternion(Tracker_Sample& Sample, const Eigen::Matrix3d& Of_Body,
                       const Eigen::Matrix3d& Of_Base) {
  const std::array<double, 4>& Q = Sample.Quaternion;
  const Eigen::Quaterniond Written(Q[0], Q[1], Q[2], Q[3]);
  const Eigen::Quaterniond Made(
      Eigen::Matrix3d(Of_Body * Written.normalized().toRotationMatrix() * Of_Base.transpose()));
  Sample.Quaternion = {Made.w(), Made.x(), Made.y(), Made.z()};
}

// The same capture by a tracking system that rides on the camera: only the board's tracker moves.
void Ride_On_The_Camera(Compared& Of) {
  for (Capture_Row& Row : Of.Rows) {
    const auto Rotation = [](const Tracker_Sample& Sample) {
      const std::array<double, 4>& Q = Sample.Quaternion;
      return Eigen::Quaterniond(Q[0], Q[1], Q[2], Q[3]).normalized();
    };
    const Eigen::Quaterniond Rotation_Tc_Base = Rotation(Row.Camera);
    const Eigen::Vector3d Place = Rotation_Tc_Base * (Eigen::Vector3d(Row.Board.Position.data()) -
                                                      Eigen::Vector3d(Row.Camera.Position.data()));
    const Eigen::Quaterniond Turn = Rotation(Row.Board) * Rotation_Tc_Base.conjugate();
    Row.Camera = {{0, 0, 0}, {1, 0, 0, 0}};
    Row.Board = {{Place.x(), Place.y(), Place.z()}, {Turn.w(), Turn.x(), Turn.y(), Turn.z()}};
  }
}

// Without noise and with noise, and with the worst that a stage's trackers have; from a tracking
// system that stands, and from one on the camera.
std::vector<Compared> Captures() {
  std::vector<Compared> Made;
  for (unsigned Seed = 1; Seed <= 4; ++Seed) {
    for (const double Noise : {0.0, 1.0, 10.0}) {
      simulate::Options Options;
      Options.Seed = Seed;
      Options.Position_Noise_Mm = 0.3 * Noise;
      Options.Rotation_Noise_Deg = 0.05 * Noise;
      Made.push_back(Planned(Options));
      Made.push_back(Planned(Options));
      Ride_On_The_Camera(Made.back());
    }
  }
  return Made;
}

std::string Ids(const Findings& Told) {
  std::string Text;
  for (const rigsync::Finding& One : Told.Sorted()) Text += (Text.empty() ? "" : " ") + One.Id;
  return Text;
}

TEST(TrackerAgreement, AMirroredTrackingSystemIsToldWhicheverAxesAreMirrored) {
  const Eigen::Matrix3d All_Reversed = -Eigen::Matrix3d::Identity();
  std::vector<Eigen::Matrix3d> Axes = {All_Reversed};
  for (const Mirror& By : Mirrors()) Axes.push_back(By.Axes);
  for (const Compared& Good : Captures()) {
    for (const Eigen::Matrix3d& Base : Axes) {
      SCOPED_TRACE(Base);
      Compared Made = Good;
      // The bodies' axes may be mirrored in another way than Base's.
      for (const Eigen::Matrix3d& Body : {Base, All_Reversed}) {
        Made = Good;
        For_Samples(Made, [&](Tracker_Sample& Sample) {
          Mirror_Position(Sample, Base);
          Mirror_Quaternion(Sample, Body, Base);
        });
        const Findings Told = Made.Judge();
        EXPECT_EQ(Ids(Told), "left_handed");
        EXPECT_EQ(Told.Gravest(), Level::Error);
      }
    }
  }
}

TEST(TrackerAgreement, WhatIsAdvisedAgainstMirroredAxesMakesThemRight) {
  for (const Mirror& By : Mirrors()) {
    Compared Made = Planned();
    For_Samples(Made, [&](Tracker_Sample& Sample) {
      Mirror_Position(Sample, By.Axes);
      Mirror_Quaternion(Sample, By.Axes, By.Axes);
    });
    const Findings Told = Made.Judge();
    ASSERT_EQ(Ids(Told), "left_handed");
    EXPECT_THAT(Told.Sorted()[0].Advice,
                HasSubstr("negate y of the position and x and z of the quaternion"));
    For_Samples(Made, [](Tracker_Sample& Sample) {
      Sample.Position[1] *= -1;
      Sample.Quaternion[1] *= -1;
      Sample.Quaternion[3] *= -1;
    });
    EXPECT_EQ(Ids(Made.Judge()), "");
  }
}

TEST(TrackerAgreement, PositionsThatAreMirroredOnTheirOwnAreToldWithTheirAxis) {
  for (const Compared& Good : Captures()) {
    for (const Mirror& By : Mirrors()) {
      Compared Made = Good;
      For_Samples(Made, [&](Tracker_Sample& Sample) { Mirror_Position(Sample, By.Axes); });
      const Findings Told = Made.Judge();
      ASSERT_EQ(Ids(Told), "axis_mirrored") << By.Of_Positions;
      EXPECT_EQ(Told.Gravest(), Level::Error);
      EXPECT_THAT(Told.Sorted()[0].What, HasSubstr("They fit the images if you " + By.Of_Positions +
                                                   " in every position."));
    }
  }
}

TEST(TrackerAgreement, QuaternionsThatAreMirroredOnTheirOwnAreToldWithTheirAxis) {
  for (const Compared& Good : Captures()) {
    for (const Mirror& By : Mirrors()) {
      Compared Made = Good;
      For_Samples(Made,
                  [&](Tracker_Sample& Sample) { Mirror_Quaternion(Sample, By.Axes, By.Axes); });
      const Findings Told = Made.Judge();
      ASSERT_EQ(Ids(Told), "axis_mirrored") << By.Of_Quaternions;
      EXPECT_THAT(Told.Sorted()[0].What, HasSubstr("They fit the images if you " +
                                                   By.Of_Quaternions + " in every quaternion."));
    }
  }
}

TEST(TrackerAgreement, AttitudesOfAMirroredSystemAreToldAsBoth) {
  Compared Made = Planned();
  For_Samples(Made, [](Tracker_Sample& Sample) {
    Sample.Position[2] *= -1;
    Sample.Quaternion[3] *= -1;  // and x and y for the mirror, all three for the attitude
  });
  const Findings Told = Made.Judge();
  EXPECT_EQ(Ids(Told), "trackers_disagree left_handed");
  EXPECT_THAT(Told.Sorted()[0].What, HasSubstr("quaternions as the trackers' attitudes"));
}

TEST(TrackerAgreement, OfAMirroredSystemRowsAndScaleAreToldToo) {
  Compared Made = Planned({});  // without noise
  Made.Rows[3].Camera.Position[0] += 0.08;
  For_Samples(Made, [](Tracker_Sample& Sample) {
    for (double& Value : Sample.Position) Value *= -1.1;
  });
  const Findings Told = Made.Judge();
  EXPECT_EQ(Ids(Told), "sample_disagrees left_handed scale");
  EXPECT_THAT(Told.Sorted()[0].Lines, ElementsAre(5));
  EXPECT_THAT(Told.Sorted()[2].What, HasSubstr("about 0.909 m by the board"));
}

TEST(TrackerAgreement, WithoutTiltedBoardsTheHandIsNotJudged) {
  Compared Made = Planned();
  For_Samples(Made, [](Tracker_Sample& Sample) { Sample.Position[0] *= -1; });
  Findings Told;
  rigsync::Judge_Agreement(Made.Rows, Made.Measure(), false, Told);
  EXPECT_EQ(Ids(Told), "trackers_disagree");
}

TEST(TrackerAgreement, ACaptureThatIsNotMirroredNeverGetsThatTold) {
  for (const auto Spread :
       {simulate::Spread::Good, simulate::Spread::Frontal, simulate::Spread::Centred,
        simulate::Spread::One_Axis, simulate::Spread::Same_Pose}) {
    for (unsigned Seed = 1; Seed <= 8; ++Seed) {
      for (const double Noise : {0.0, 1.0, 10.0, 40.0}) {
        simulate::Options Options;
        Options.Pose_Spread = Spread;
        Options.Seed = Seed;
        Options.Position_Noise_Mm = 0.3 * Noise;
        Options.Rotation_Noise_Deg = 0.05 * Noise;
        Options.Stale_Count = Options.Jump_Count = static_cast<int>(Seed % 4);
        SCOPED_TRACE(testing::Message() << static_cast<int>(Spread) << " " << Seed << " " << Noise);
        Compared Made = Planned(Options);
        EXPECT_EQ(Made.Measure().Hand, rigsync::Mirrored::Nothing);
        Ride_On_The_Camera(Made);
        EXPECT_EQ(Made.Measure().Hand, rigsync::Mirrored::Nothing);
        // Nor do samples that are wrong in another way.
        std::rotate(Made.Rows.begin(), Made.Rows.begin() + 1, Made.Rows.end());
        EXPECT_EQ(Made.Measure().Hand, rigsync::Mirrored::Nothing);
      }
    }
  }
}

// Seen from a camera that stands, a board that stays in the plane z = 0 of Base: with y negated
// positions fit, and turned half about y, which is x mirrored in the quaternions, they fit as well.
TEST(TrackerAgreement, NoMirrorIsNamedWhereTwoFit) {
  for (const bool Has_Noise : {false, true}) {
    const simulate::Options Options = Has_Noise ? Noisy() : simulate::Options();
    const simulate::Plan Plan = simulate::Make_Plan(Options);
    Eigen::Matrix3d Relabelled;  // the body's axes to those of Tc
    Relabelled << -1, 0, 0, 0, 0, -1, 0, -1, 0;
    const Eigen::Matrix3d Rotation_Cam_Base =
        Plan.Transform_Cam_Tc.topLeftCorner<3, 3>() * Relabelled;
    Compared Made = Planned(Options);
    Ride_On_The_Camera(Made);
    for (std::size_t i = 0; i < Made.Rows.size(); ++i) {
      double& Z = Made.Rows[i].Board.Position[2];
      Made.Poses[i].Middle_Cam -= Rotation_Cam_Base * Eigen::Vector3d(0, 0, Z);
      Z = 0;
    }
    EXPECT_EQ(Ids(Made.Judge()), "");
    For_Samples(Made, [](Tracker_Sample& Sample) { Sample.Position[1] *= -1; });
    EXPECT_EQ(Ids(Made.Judge()), "trackers_disagree");
  }
}

// Turns fit and positions don't, so that every mirror is tried.
TEST(TrackerAgreement, PositionsThatAreWrongInAnotherWayAreNotCalledMirrored) {
  for (unsigned Seed = 1; Seed <= 8; ++Seed) {
    SCOPED_TRACE(Seed);
    simulate::Options Options = Noisy();
    Options.Seed = Seed;
    Compared Late = Planned(Options);  // positions of the next image
    const std::vector<Capture_Row> Rows = Late.Rows;
    for (std::size_t i = 0; i < Rows.size(); ++i) {
      Late.Rows[i].Camera.Position = Rows[(i + 1) % Rows.size()].Camera.Position;
      Late.Rows[i].Board.Position = Rows[(i + 1) % Rows.size()].Board.Position;
    }
    EXPECT_EQ(Ids(Late.Judge()), "trackers_disagree");
    Options.Position_Noise_Mm = 45.0;
    Compared Jumping = Planned(Options);
    EXPECT_EQ(Ids(Jumping.Judge()), "trackers_disagree");
    // Unmirrored they wouldn't fit either.
    For_Samples(Jumping, [](Tracker_Sample& Sample) { Sample.Position[1] *= -1; });
    EXPECT_EQ(Ids(Jumping.Judge()), "trackers_disagree");
  }
}

TEST(TrackerAgreement, WithoutTiltedBoardsTheScaleIsNotJudged) {
  Compared Made = Planned();
  For_Samples(Made, [](Tracker_Sample& Sample) {
    for (double& Value : Sample.Position) Value *= 1.1;
  });
  Findings Told;
  rigsync::Judge_Agreement(Made.Rows, Made.Measure(), false, Told);
  EXPECT_TRUE(Told.Sorted().empty());
}

TEST(TrackerAgreement, TurnsAboutOneAxisLeavePositionsOpen) {
  simulate::Options Options = Noisy();
  Options.Pose_Spread = simulate::Spread::One_Axis;
  const Agreement Measured = Planned(Options).Measure();
  EXPECT_TRUE(Measured.Is_Good());
  EXPECT_FALSE(Measured.Typical_Position);
  EXPECT_FALSE(Measured.Scale);
}

TEST(TrackerAgreement, ThreeRowsAreTooFewToCompare) {
  Compared Made = Planned();
  Made.Poses.resize(3);
  EXPECT_FALSE(rigsync::Measure_Agreement(Made.Rows, Made.Poses));
  Made = Planned();
  Made.Poses.resize(4);
  EXPECT_TRUE(rigsync::Measure_Agreement(Made.Rows, Made.Poses));
}

}  // namespace
