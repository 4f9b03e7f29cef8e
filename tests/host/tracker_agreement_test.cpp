// SPDX-License-Identifier: Apache-2.0
//
// Samples against images on the simulator's plans: its rows and its true board poses, no image
// drawn. What is changed is what a stage gets wrong.
#include "host/tracker_agreement.h"

#include "simulate/simulate.h"

#include <gmock/gmock.h>

#include <cmath>

namespace {

using host::Agreement;
using host::Board_Pose;
using host::Capture_Row;
using host::Findings;
using host::Level;
using host::Tracker_Sample;
using testing::ElementsAre;
using testing::HasSubstr;

using Lines = std::vector<std::size_t>;

struct Compared {
  std::vector<Capture_Row> Rows;
  std::vector<Board_Pose> Poses;

  Agreement Measure() const { return host::Measure_Agreement(Rows, Poses).value(); }
  Findings Judge() const {
    Findings Told;
    host::Judge_Agreement(Rows, Measure(), true, Told);
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

TEST(TrackerAgreement, WithoutTiltedBoardsTheScaleIsNotJudged) {
  Compared Made = Planned();
  For_Samples(Made, [](Tracker_Sample& Sample) {
    for (double& Value : Sample.Position) Value *= 1.1;
  });
  Findings Told;
  host::Judge_Agreement(Made.Rows, Made.Measure(), false, Told);
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
  EXPECT_FALSE(host::Measure_Agreement(Made.Rows, Made.Poses));
  Made = Planned();
  Made.Poses.resize(4);
  EXPECT_TRUE(host::Measure_Agreement(Made.Rows, Made.Poses));
}

}  // namespace
