// SPDX-License-Identifier: Apache-2.0
//
// Samples against images on the simulator's plans: its rows and its true board poses, without drawn
// images. The tests change what goes wrong on a stage.
#include "rigsync/inspect/tracker_agreement.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/tracker_sample.h"
#include "tests/rigsync/inspect/planned_capture.h"

#include "simulate/simulate.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using planned_capture::Compared;
using planned_capture::For_Samples;
using planned_capture::Noisy;
using planned_capture::Planned;
using rigsync::Agreement;
using rigsync::Capture_Row;
using rigsync::Findings;
using rigsync::Level;
using rigsync::Tracker_Sample;
using testing::HasSubstr;

TEST(TrackerAgreement, SamplesOfARigAgreeWithItsImagesWhateverTheMountsAre) {
  simulate::Options Options;
  Options.Camera_Mount_Euler_Deg = {170.0, -60.0, 100.0};
  Options.Board_Mount_Offset = {0.4, -0.3, 0.2};
  const Agreement Measured = Planned(Options).Measure();
  EXPECT_TRUE(Measured.Is_Good());
  EXPECT_EQ(Measured.Rows.size(), 24u);
  // Poses are true and samples without noise, so only rounding remains.
  EXPECT_LE(Measured.Median_Rotation_Residual_Deg, 1e-9);
  EXPECT_LE(*Measured.Median_Axis_Residual_Deg, 1e-9);
  EXPECT_LE(*Measured.Median_Position_Residual, 1e-9);
  EXPECT_NEAR(*Measured.Scale, 1.0, 1e-9);
}

TEST(TrackerAgreement, AGoodCaptureWithNoiseHasNoFindings) {
  for (unsigned Seed = 1; Seed <= 8; ++Seed) {
    SCOPED_TRACE(Seed);
    simulate::Options Options = Noisy();
    Options.Seed = Seed;
    EXPECT_TRUE(Planned(Options).Judge().Sorted().empty());
  }
}

TEST(TrackerAgreement, BadRowsDoNotHideThatTheOthersAgree) {
  simulate::Options Options = Noisy();
  Options.Stale_Count = 3;
  Options.Jump_Count = 3;
  for (Options.Seed = 1; Options.Seed <= 8; ++Options.Seed) {
    SCOPED_TRACE(Options.Seed);
    Compared Capture = Planned(Options);
    Capture.Rows[9].Board.Position[2] += 30.0;  // would pull a plain fit to itself
    EXPECT_TRUE(Capture.Judge().Sorted().empty());
    EXPECT_NEAR(*Capture.Measure().Scale, 1.0, 0.01);
  }
}

TEST(TrackerAgreement, AWrongUnitHidesNoAgreementAndNoDisagreement) {
  // As images measure with a square that is stated 25.4 times too long.
  const auto Enlarged = [](simulate::Options Options) {
    Compared Capture = Planned(Options);
    for (rigsync::Board_Pose& Pose : Capture.Poses) Pose.Centre_Cam *= 25.4;
    return Capture.Measure();
  };
  simulate::Options Options = Noisy();
  Options.Position_Noise_Mm = 2.0;
  const Agreement Measured = Enlarged(Options);
  EXPECT_GT(*Measured.Median_Position_Residual, 0.03);
  EXPECT_TRUE(Measured.Is_Good());
  Options.Position_Noise_Mm = 45.0;
  EXPECT_FALSE(Enlarged(Options).Is_Good());
}

// The finding's text for a capture whose samples all disagree.
std::string Disagreement(const Compared& Capture) {
  const Findings List = Capture.Judge();
  if (List.Sorted().size() != 1 || List.Sorted()[0].Id != "trackers_disagree") return "";
  EXPECT_EQ(List.Gravest(), Level::Error);
  return List.Sorted()[0].What;
}

TEST(TrackerAgreement, AttitudesAreRecognised) {
  Compared Capture = Planned();
  For_Samples(Capture, [](Tracker_Sample& Sample) {
    for (std::size_t k = 1; k < 4; ++k) Sample.Quaternion[k] *= -1;
  });
  EXPECT_THAT(Disagreement(Capture), HasSubstr("read with quaternions as the trackers' attitudes"));
}

TEST(TrackerAgreement, TheOrderXyzwIsRecognised) {
  Compared Capture = Planned();
  const auto Put_W_Last = [](Tracker_Sample& Sample) {
    std::rotate(Sample.Quaternion.begin(), Sample.Quaternion.begin() + 1, Sample.Quaternion.end());
  };
  For_Samples(Capture, Put_W_Last);
  EXPECT_THAT(Disagreement(Capture), HasSubstr("read with quaternions in the order x, y, z, w."));
  // With attitudes written x, y, z, w even the rotations agree; positions decide.
  For_Samples(Capture, [](Tracker_Sample& Sample) {
    for (std::size_t k = 0; k < 3; ++k) Sample.Quaternion[k] *= -1;
  });
  EXPECT_LE(Capture.Measure().Median_Rotation_Residual_Deg, 0.2);
  EXPECT_THAT(Disagreement(Capture),
              HasSubstr("x, y, z, w, and quaternions as the trackers' attitudes"));
}

TEST(TrackerAgreement, NoConventionIsNamedWithoutPositionsThatDecide) {
  Compared Capture = Planned();
  For_Samples(Capture, [](Tracker_Sample& Sample) {
    std::rotate(Sample.Quaternion.begin(), Sample.Quaternion.begin() + 1, Sample.Quaternion.end());
  });
  // Eight rows determine positions. With seven, attitudes explain the rotations as well.
  Capture.Poses.resize(8);
  EXPECT_THAT(Disagreement(Capture), HasSubstr("read with quaternions in the order x, y, z, w."));
  Capture.Poses.resize(7);
  EXPECT_THAT(Disagreement(Capture), testing::Not(testing::AnyOf(HasSubstr("read with"), "")));
}

TEST(TrackerAgreement, ExchangedTrackersAreRecognised) {
  Compared Capture = Planned();
  for (Capture_Row& Row : Capture.Rows) std::swap(Row.Camera, Row.Board);
  // Every rotation keeps its angle; the axes decide.
  EXPECT_LE(Capture.Measure().Median_Rotation_Residual_Deg, 0.2);
  EXPECT_THAT(Disagreement(Capture), HasSubstr("read with camera and board trackers exchanged"));
}

TEST(TrackerAgreement, SamplesOfTheNextImageFitNoConvention) {
  Compared Capture = Planned();
  std::vector<Capture_Row> Moved = Capture.Rows;
  std::rotate(Moved.begin(), Moved.begin() + 1, Moved.end());
  Capture.Rows = Moved;
  EXPECT_THAT(Disagreement(Capture), testing::Not(testing::AnyOf(HasSubstr("read with"), "")));
}

// ---- Handedness ------------------------------------------------------------------------------

struct Mirror {
  Eigen::Matrix3d Axes;
  std::string Position_Correction, Quaternion_Correction;  // what corrects it
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

// Mirrors the rotation's matrix, whatever that changes in the four numbers.
void Mirror_Quaternion(Tracker_Sample& Sample, const Eigen::Matrix3d& Body,
                       const Eigen::Matrix3d& Base) {
  const std::array<double, 4>& Q = Sample.Quaternion;
  const Eigen::Quaterniond Rotation(Q[0], Q[1], Q[2], Q[3]);
  const Eigen::Quaterniond Mirrored(
      Eigen::Matrix3d(Body * Rotation.normalized().toRotationMatrix() * Base.transpose()));
  Sample.Quaternion = {Mirrored.w(), Mirrored.x(), Mirrored.y(), Mirrored.z()};
}

// The same capture by a tracking system that is mounted on the camera: only the board's tracker
// moves.
void Ride_On_The_Camera(Compared& Capture) {
  for (Capture_Row& Row : Capture.Rows) {
    const auto Rotation = [](const Tracker_Sample& Sample) {
      const std::array<double, 4>& Q = Sample.Quaternion;
      return Eigen::Quaterniond(Q[0], Q[1], Q[2], Q[3]).normalized();
    };
    const Eigen::Quaterniond Rotation_Tc_Base = Rotation(Row.Camera);
    const Eigen::Vector3d Position =
        Rotation_Tc_Base *
        (Eigen::Vector3d(Row.Board.Position.data()) - Eigen::Vector3d(Row.Camera.Position.data()));
    const Eigen::Quaterniond Rotation_Tr_Tc = Rotation(Row.Board) * Rotation_Tc_Base.conjugate();
    Row.Camera = {{0, 0, 0}, {1, 0, 0, 0}};
    Row.Board = {{Position.x(), Position.y(), Position.z()},
                 {Rotation_Tr_Tc.w(), Rotation_Tr_Tc.x(), Rotation_Tr_Tc.y(), Rotation_Tr_Tc.z()}};
  }
}

// Without noise, with noise, and with the worst noise of a stage's trackers; from a tracking system
// that does not move, and from one on the camera.
std::vector<Compared> Captures() {
  std::vector<Compared> Capture;
  for (unsigned Seed = 1; Seed <= 4; ++Seed) {
    for (const double Noise : {0.0, 1.0, 10.0}) {
      simulate::Options Options;
      Options.Seed = Seed;
      Options.Position_Noise_Mm = 0.3 * Noise;
      Options.Rotation_Noise_Deg = 0.05 * Noise;
      Capture.push_back(Planned(Options));
      Capture.push_back(Planned(Options));
      Ride_On_The_Camera(Capture.back());
    }
  }
  return Capture;
}

std::string Ids(const Findings& List) {
  std::string Text;
  for (const rigsync::Finding& One : List.Sorted()) Text += (Text.empty() ? "" : " ") + One.Id;
  return Text;
}

TEST(TrackerAgreement, AMirroredTrackingSystemIsReportedWhicheverAxesAreMirrored) {
  const Eigen::Matrix3d All_Reversed = -Eigen::Matrix3d::Identity();
  std::vector<Eigen::Matrix3d> Axes = {All_Reversed};
  for (const Mirror& Axes_Mirror : Mirrors()) Axes.push_back(Axes_Mirror.Axes);
  for (const Compared& Good : Captures()) {
    for (const Eigen::Matrix3d& Base : Axes) {
      SCOPED_TRACE(Base);
      Compared Capture = Good;
      // The bodies' axes may be mirrored differently from Base's.
      for (const Eigen::Matrix3d& Body : {Base, All_Reversed}) {
        Capture = Good;
        For_Samples(Capture, [&](Tracker_Sample& Sample) {
          Mirror_Position(Sample, Base);
          Mirror_Quaternion(Sample, Body, Base);
        });
        const Findings List = Capture.Judge();
        EXPECT_EQ(Ids(List), "left_handed");
        EXPECT_EQ(List.Gravest(), Level::Error);
      }
    }
  }
}

// Mirrored images and samples look alike from either side: only markers tell which of them it is,
// and mirroring the samples too would make both wrong.
TEST(TrackerAgreement, WhereTheImagesAreMirroredTheAxesAreNotBlamed) {
  for (const bool Are_Positions_Alone : {false, true}) {
    Compared Capture = Planned();
    For_Samples(Capture, [&](Tracker_Sample& Sample) {
      Sample.Position[1] *= -1;
      if (Are_Positions_Alone) return;
      Sample.Quaternion[1] *= -1;
      Sample.Quaternion[3] *= -1;
    });
    ASSERT_EQ(Ids(Capture.Judge()), Are_Positions_Alone ? "axis_mirrored" : "left_handed");
    Findings List;
    List.Add({"image_mirrored", Level::Error, "The images are mirrored.", "", "", {}});
    EXPECT_FALSE(rigsync::Judge_Agreement(Capture.Measure(), true, List));
    EXPECT_EQ(Ids(List), "image_mirrored");
  }
}

TEST(TrackerAgreement, TheAdviceForMirroredAxesCorrectsThem) {
  for (const Mirror& Axes_Mirror : Mirrors()) {
    Compared Capture = Planned();
    For_Samples(Capture, [&](Tracker_Sample& Sample) {
      Mirror_Position(Sample, Axes_Mirror.Axes);
      Mirror_Quaternion(Sample, Axes_Mirror.Axes, Axes_Mirror.Axes);
    });
    const Findings List = Capture.Judge();
    ASSERT_EQ(Ids(List), "left_handed");
    EXPECT_THAT(List.Sorted()[0].Advice,
                HasSubstr("negate y of the position and x and z of the quaternion"));
    EXPECT_THAT(List.Sorted()[0].Advice, HasSubstr("If the images are mirrored"));
    For_Samples(Capture, [](Tracker_Sample& Sample) {
      Sample.Position[1] *= -1;
      Sample.Quaternion[1] *= -1;
      Sample.Quaternion[3] *= -1;
    });
    EXPECT_EQ(Ids(Capture.Judge()), "");
  }
}

TEST(TrackerAgreement, MirroredPositionsAreReportedWithTheirAxis) {
  for (const Compared& Good : Captures()) {
    for (const Mirror& Axes_Mirror : Mirrors()) {
      Compared Capture = Good;
      For_Samples(Capture,
                  [&](Tracker_Sample& Sample) { Mirror_Position(Sample, Axes_Mirror.Axes); });
      const Findings List = Capture.Judge();
      ASSERT_EQ(Ids(List), "axis_mirrored") << Axes_Mirror.Position_Correction;
      EXPECT_EQ(List.Gravest(), Level::Error);
      EXPECT_THAT(List.Sorted()[0].What,
                  HasSubstr("They agree with the images if you " + Axes_Mirror.Position_Correction +
                            " in every position."));
    }
  }
}

TEST(TrackerAgreement, MirroredQuaternionsAreReportedWithTheirAxis) {
  for (const Compared& Good : Captures()) {
    for (const Mirror& Axes_Mirror : Mirrors()) {
      Compared Capture = Good;
      For_Samples(Capture, [&](Tracker_Sample& Sample) {
        Mirror_Quaternion(Sample, Axes_Mirror.Axes, Axes_Mirror.Axes);
      });
      const Findings List = Capture.Judge();
      ASSERT_EQ(Ids(List), "axis_mirrored") << Axes_Mirror.Quaternion_Correction;
      EXPECT_THAT(List.Sorted()[0].What,
                  HasSubstr("They agree with the images if you " +
                            Axes_Mirror.Quaternion_Correction + " in every quaternion."));
    }
  }
}

TEST(TrackerAgreement, AttitudesOfAMirroredSystemAreReportedAsBoth) {
  Compared Capture = Planned();
  For_Samples(Capture, [](Tracker_Sample& Sample) {
    Sample.Position[2] *= -1;
    Sample.Quaternion[3] *= -1;  // and x and y for the mirror, all three for the attitude
  });
  const Findings List = Capture.Judge();
  EXPECT_EQ(Ids(List), "trackers_disagree left_handed");
  EXPECT_THAT(List.Sorted()[0].What, HasSubstr("quaternions as the trackers' attitudes"));
}

TEST(TrackerAgreement, WithoutTiltedBoardsHandednessIsNotJudged) {
  Compared Capture = Planned();
  For_Samples(Capture, [](Tracker_Sample& Sample) { Sample.Position[0] *= -1; });
  Findings List;
  rigsync::Judge_Agreement(Capture.Measure(), false, List);
  EXPECT_EQ(Ids(List), "trackers_disagree");
}

TEST(TrackerAgreement, ACaptureThatIsNotMirroredIsNeverReportedAsMirrored) {
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
        Compared Capture = Planned(Options);
        EXPECT_EQ(Capture.Measure().Axes, rigsync::Handedness::Right);
        Ride_On_The_Camera(Capture);
        EXPECT_EQ(Capture.Measure().Axes, rigsync::Handedness::Right);
        // Nor are samples that are wrong in another way.
        std::rotate(Capture.Rows.begin(), Capture.Rows.begin() + 1, Capture.Rows.end());
        EXPECT_EQ(Capture.Measure().Axes, rigsync::Handedness::Right);
      }
    }
  }
}

// For a camera that does not move and a board in the plane z = 0 of Base, positions fit with y
// negated. They fit as well rotated by 180 degrees about y, which is x mirrored in the quaternions.
TEST(TrackerAgreement, NoMirrorIsNamedWhereTwoFit) {
  for (const bool Has_Noise : {false, true}) {
    const simulate::Options Options = Has_Noise ? Noisy() : simulate::Options();
    const simulate::Plan Plan = simulate::Make_Plan(Options);
    const Eigen::Matrix3d Rotation_Cam_Base =
        Plan.Transform_Cam_Tc.topLeftCorner<3, 3>() * rigsync::Tracker_Axes_Relabelling();
    Compared Capture = Planned(Options);
    Ride_On_The_Camera(Capture);
    for (std::size_t i = 0; i < Capture.Rows.size(); ++i) {
      double& Z = Capture.Rows[i].Board.Position[2];
      Capture.Poses[i].Centre_Cam -= Rotation_Cam_Base * Eigen::Vector3d(0, 0, Z);
      Z = 0;
    }
    EXPECT_EQ(Ids(Capture.Judge()), "");
    For_Samples(Capture, [](Tracker_Sample& Sample) { Sample.Position[1] *= -1; });
    EXPECT_EQ(Ids(Capture.Judge()), "trackers_disagree");
  }
}

// Rotations agree and positions do not, so every mirror is tried.
TEST(TrackerAgreement, PositionsThatAreWrongInAnotherWayAreNotReportedAsMirrored) {
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
    // They would not fit without the mirror either.
    For_Samples(Jumping, [](Tracker_Sample& Sample) { Sample.Position[1] *= -1; });
    EXPECT_EQ(Ids(Jumping.Judge()), "trackers_disagree");
  }
}

TEST(TrackerAgreement, RotationsAboutOneAxisDoNotDeterminePositions) {
  simulate::Options Options = Noisy();
  Options.Pose_Spread = simulate::Spread::One_Axis;
  const Agreement Measured = Planned(Options).Measure();
  EXPECT_TRUE(Measured.Is_Good());
  EXPECT_FALSE(Measured.Median_Position_Residual);
  EXPECT_FALSE(Measured.Scale);
}

TEST(TrackerAgreement, ThreeRowsAreTooFewToCompare) {
  Compared Capture = Planned();
  Capture.Poses.resize(3);
  EXPECT_FALSE(rigsync::Measure_Agreement(Capture.Rows, Capture.Poses));
  Capture = Planned();
  Capture.Poses.resize(4);
  EXPECT_TRUE(rigsync::Measure_Agreement(Capture.Rows, Capture.Poses));
}

}  // namespace
