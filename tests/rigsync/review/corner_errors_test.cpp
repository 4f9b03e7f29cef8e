// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/corner_errors.h"

#include "tests/rigsync/review/calibrated_run.h"

#include <gtest/gtest.h>

#include <cmath>

namespace rigsync {
namespace {

Tracker_Sample At_Origin() {
  Tracker_Sample Still;
  Still.Quaternion = {1.0, 0.0, 0.0, 0.0};
  return Still;
}

// A board of three by two corners, 0.1 m apart, whose first corner is 2 m ahead on the axis; every
// corner was found 3 pixels to the right of where it belongs and 4 below. F is 1000 pixels.
Run_View Shifted_By_Five_Pixels() {
  Run_View View;
  View.Width = 1920;
  View.Height = 1080;
  View.Lens_Px = Lens{1000, 1000, 960, 540, 0, 0};
  View.Result.Inputs.Board = {3, 2};
  View.Result.Inputs.Square_Size = 0.1;
  Rig_Chain Chain;
  Chain.Transform_Cam_Tc.translation() = Eigen::Vector3d(0, 0, 2);
  Chain.Board = View.Result.Inputs.Board;
  Chain.Square_Size = 0.1;
  View.Chain = Chain;
  Viewed_Row Row;
  Row.Camera = Row.Board = At_Origin();
  for (int r = 0; r < 2; ++r) {
    for (int c = 0; c < 3; ++c) {
      Row.Corners.push_back(
          {963.0f + 50.0f * static_cast<float>(c), 544.0f + 50.0f * static_cast<float>(r)});
    }
  }
  View.Rows = {Row};
  return View;
}

TEST(CornerErrors, AreTheDistancesFromTheRigsPrediction) {
  const Row_Error Error = Measure_Row_Errors(Shifted_By_Five_Pixels())[0];
  ASSERT_EQ(Error.Predicted_Px.size(), 6u);
  EXPECT_NEAR((Error.Found_Px[4] - Error.Predicted_Px[4] - Eigen::Vector2d(3, 4)).norm(), 0, 1e-9);
  EXPECT_NEAR(Error.Mean_Px, 5.0, 1e-9);
  EXPECT_NEAR(Error.Rms_Px, 5.0, 1e-9);
  EXPECT_NEAR(Error.Distance, 2.0, 1e-9);
  EXPECT_NEAR(Error.Mean_Mm, 10.0, 1e-9);
}

// One corner is 6 pixels off and five are exact: the mean is 1, the square root of 36 / 6 is not.
TEST(CornerErrors, MeanAndRmsDiffer) {
  Run_View View = Shifted_By_Five_Pixels();
  for (auto& [X, Y] : View.Rows[0].Corners) X -= 3.0f, Y -= 4.0f;
  View.Rows[0].Corners[2][0] += 6.0f;
  const Row_Error Error = Measure_Row_Errors(View)[0];
  EXPECT_NEAR(Error.Mean_Px, 1.0, 1e-9);
  EXPECT_NEAR(Error.Rms_Px, std::sqrt(6.0), 1e-9);
}

TEST(CornerErrors, WithoutSamplesOrAMountThereIsABoardButNoError) {
  for (const bool Has_Chain : {true, false}) {
    Run_View View = Shifted_By_Five_Pixels();
    if (!Has_Chain) View.Chain.reset();
    if (Has_Chain) View.Rows[0].Camera.reset();
    const Row_Error Error = Measure_Row_Errors(View)[0];
    EXPECT_EQ(Error.Found_Px.size(), 6u);
    EXPECT_TRUE(Error.Predicted_Px.empty());
    EXPECT_TRUE(std::isnan(Error.Mean_Px) && std::isnan(Error.Mean_Mm));
    EXPECT_NEAR(Error.Distance, 2.0, 1e-9);
  }
}

TEST(CornerErrors, ABoardBehindTheCameraHasNoError) {
  Run_View View = Shifted_By_Five_Pixels();
  View.Chain->Transform_Cam_Tc.translation() = Eigen::Vector3d(0, 0, -2);
  EXPECT_TRUE(std::isnan(Measure_Row_Errors(View)[0].Mean_Px));
}

// The simulator's two jumped samples are off by 80 mm and 4 degrees, its noise by 0.3 mm.
TEST(CornerErrors, JumpedSamplesAreDroppedAndFarOff) {
  const calibrated_run::Calibrated& Run = calibrated_run::Usual_Run();
  for (const Solution_Choice Choice : {Solution_Choice::Library, Solution_Choice::Joint}) {
    Calibration_Result Result = Run.Result;
    Result.Inputs.Solution = Choice;
    const auto Errors = Measure_Row_Errors(Make_Run_View(Result, Run.Inspected));
    for (std::size_t i = 0; i < Errors.size(); ++i) {
      SCOPED_TRACE(i);
      const simulate::Row_Kind Kind = Run.Plan.Images[i].Kind;
      EXPECT_EQ(Errors[i].Is_Kept, Kind == simulate::Row_Kind::Good);
      EXPECT_EQ(Errors[i].Drop_Reason.empty(), Errors[i].Is_Kept);
      if (Kind == simulate::Row_Kind::Good) {
        EXPECT_LT(Errors[i].Mean_Px, 3.0);
      } else if (Kind == simulate::Row_Kind::Jumped) {
        EXPECT_GT(Errors[i].Mean_Px, 15.0);
      } else {
        const bool Is_Blank = Kind == simulate::Row_Kind::Blank_Image;
        EXPECT_EQ(Errors[i].Drop_Reason, Is_Blank ? "no board found" : "cannot be read");
      }
    }
  }
}

TEST(CornerErrors, BeforeAndAfterAreTheNumbersOfTheLog) {
  const calibrated_run::Calibrated& Run = calibrated_run::Usual_Run();
  const Run_View View = Make_Run_View(Run.Result, Run.Inspected);
  const auto Errors = Measure_Row_Errors(View);
  for (std::size_t i = 0; i < Errors.size(); ++i) {
    const Image_Report& Report = View.Rows[i].Report;
    if (Report.First_Reprojection_Px) {
      EXPECT_EQ(Errors[i].First_Mean_Px, *Report.First_Reprojection_Px);
    }
    if (Report.Fate == Image_Fate::Kept) {
      EXPECT_EQ(Errors[i].Mean_Px, *Report.Reprojection_Px);
    }
  }
}

// By the simulator's own poses of the board.
TEST(CornerErrors, DistancesAreThoseOfTheSimulator) {
  const calibrated_run::Calibrated& Run = calibrated_run::Usual_Run();
  const auto Errors = Measure_Row_Errors(Make_Run_View(Run.Result, Run.Inspected));
  const simulate::Options& Options = Run.Plan.Settings;
  const Eigen::Vector4d Centre(0.5 * (Options.Board_Cols - 1) * Options.Square_Size,
                               0.5 * (Options.Board_Rows - 1) * Options.Square_Size, 0, 1);
  for (std::size_t i = 0; i < Errors.size(); ++i) {
    if (!Errors[i].Is_Kept) continue;
    const double True_Distance = (Run.Plan.Images[i].Transform_Cam_Chart * Centre).z();
    // As well as fourteen images tell the focal length, which goes with the distance.
    EXPECT_NEAR(Errors[i].Distance / True_Distance, 1.0, 0.003);
  }
}

TEST(CornerErrors, TheMedianLeavesOutWhatIsNotKnown) {
  EXPECT_EQ(Finite_Median({NAN, 3, 1, INFINITY, 2}), 2.0);
  EXPECT_TRUE(std::isnan(Finite_Median({NAN})));
}

TEST(CornerErrors, AnImageIsSetAsideWhereOnlyTheLibraryDroppedIt) {
  Row_Error Error;
  EXPECT_FALSE(Is_Set_Aside(Error));  // no board: nothing to keep
  Error.Joint.emplace();
  Error.Joint->Is_Kept = true;
  EXPECT_TRUE(Is_Set_Aside(Error));
  Error.Joint->Is_Kept = false;
  EXPECT_FALSE(Is_Set_Aside(Error));
  Error.Joint->Is_Kept = true;
  Error.Is_Kept = true;
  EXPECT_FALSE(Is_Set_Aside(Error));
}

}  // namespace
}  // namespace rigsync
