// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/run_view.h"

#include "rigsync/system/file_hash.h"
#include "tests/rigsync/review/calibrated_run.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>

namespace rigsync {
namespace {

using calibrated_run::Calibrated;
using calibrated_run::Usual;
using calibrated_run::Usual_Run;

// A mount that is square with the camera, for which the library gets other axes.
const Calibrated& Turned_Run() {
  static const Calibrated Made = [] {
    simulate::Options Options = Usual();
    Options.Camera_Mount_Euler_Deg = {0.0, 0.0, 0.0};
    return Calibrated(Options);
  }();
  return Made;
}

double Mean_Distance(const Viewed_Row& Row, const std::vector<Eigen::Vector2d>& Predicted) {
  double Sum = 0;
  for (std::size_t k = 0; k < Predicted.size(); ++k) {
    Sum += (Predicted[k] - Eigen::Vector2d(Row.Corners[k][0], Row.Corners[k][1])).norm();
  }
  return Sum / static_cast<double>(Predicted.size());
}

std::vector<Eigen::Vector2d> Predicted_Corners(const Run_View& View, const Viewed_Row& Row) {
  const auto Pose = Predicted_Board_Pose(*View.Chain, *Row.Camera, *Row.Board);
  std::vector<Eigen::Vector3d> Corners_Cam;
  for (const auto& Corner_Chart : Board_Corners_Chart(View.Chain->Board, View.Chain->Square_Size)) {
    Corners_Cam.push_back(*Pose * Corner_Chart);
  }
  return Project(*View.Lens_Px, Corners_Cam);
}

// Half of the log's last digit is 0.5e-6 in each of its numbers. The nine of a rotation turn the
// board by up to sqrt(3) of that: the board's own mount, and each tracker's quaternion twice over,
// in radians. Lengths add the three shifts. At F = 704 pixels and 1 m, the nearest that a board
// comes, with the trackers up to 3 m from what they turn:
//   704 * (3 * (1 + 2 + 2) + 3) * sqrt(3) * 0.5e-6 / 1 = 0.011 pixels.
// The error itself adds half of its own last digit.
constexpr double Log_Tolerance_Px = 0.011;

void Expect_The_Errors_Of_The_Log(const Run_View& View) {
  ASSERT_TRUE(View.Chain && View.Lens_Px);
  std::size_t Compared = 0;
  for (const Viewed_Row& Row : View.Rows) {
    if (Row.Report.Fate != Image_Fate::Kept) continue;
    ASSERT_TRUE(Row.Camera && Row.Board && Row.Report.Reprojection_Px);
    EXPECT_NEAR(Mean_Distance(Row, Predicted_Corners(View, Row)), *Row.Report.Reprojection_Px,
                Log_Tolerance_Px)
        << Row.Image.Name;
    ++Compared;
  }
  EXPECT_GE(Compared, 12u);
}

TEST(RunView, TheChainOfTheLibraryHasTheErrorsThatItsLogStates) {
  EXPECT_FALSE(Usual_Run().Result.Library_Axes.Is_Turned);
  Expect_The_Errors_Of_The_Log(Make_Run_View(Usual_Run().Result, Usual_Run().Inspected));
  Expect_The_Errors_Of_The_Log(Make_Run_View(Usual_Run().Result));
}

TEST(RunView, TheChainOfTheLibraryIsThatOfTheTrackersOwnAxes) {
  EXPECT_TRUE(Turned_Run().Result.Library_Axes.Is_Turned);
  Expect_The_Errors_Of_The_Log(Make_Run_View(Turned_Run().Result, Turned_Run().Inspected));
  Calibration_Result Without_Csv = Turned_Run().Result;
  Without_Csv.Inputs.Csv = Turned_Run().Scratch.Path() / "gone.csv";
  Expect_The_Errors_Of_The_Log(Make_Run_View(Without_Csv));
}

// With this noise the joint mounts are good to a millimetre or two. The library's board comes from
// its first mean, into which the two jumped rows bring an eighth of 80 mm. A chain in the wrong
// direction or order misses by more than ten times as much.
constexpr double Joint_Tolerance = 0.003, Library_Tolerance = 0.010;

TEST(RunView, BothChainsAreNearTheTruth) {
  Calibration_Result Result = Usual_Run().Result;
  for (const Solution_Choice Choice : {Solution_Choice::Library, Solution_Choice::Joint}) {
    Result.Inputs.Solution = Choice;
    const Run_View View = Make_Run_View(Result, Usual_Run().Inspected);
    ASSERT_TRUE(View.Chain);
    const double Tolerance = Choice == Solution_Choice::Joint ? Joint_Tolerance : Library_Tolerance;
    const Eigen::Isometry3d True_Tr_Chart =
        Eigen::Isometry3d(Usual_Run().Plan.Transform_Chart_Tr).inverse();
    EXPECT_LT((View.Chain->Transform_Tr_Chart.translation() - True_Tr_Chart.translation()).norm(),
              Tolerance);
    EXPECT_LT((View.Chain->Transform_Cam_Tc.translation() -
               Usual_Run().Plan.Transform_Cam_Tc.topRightCorner<3, 1>())
                  .norm(),
              Tolerance);
  }
}

bool Same_Corners(const Run_View& Left, const Run_View& Right) {
  for (std::size_t i = 0; i < Left.Rows.size(); ++i) {
    if (Left.Rows[i].Corners != Right.Rows[i].Corners) return false;
  }
  return true;
}

TEST(RunView, TheLogHasTheCornersThatTheInspectionFound) {
  const Run_View Inspected = Make_Run_View(Usual_Run().Result, Usual_Run().Inspected);
  const Run_View Recalled = Make_Run_View(Usual_Run().Result);
  ASSERT_EQ(Recalled.Rows.size(), 18u);
  EXPECT_TRUE(Same_Corners(Inspected, Recalled));
  EXPECT_EQ(Recalled.Width, 640);
  EXPECT_EQ(Recalled.Height, 480);
}

// Copies the run's CSV and changes what To does; the result then names the copy.
template <typename Change>
Calibration_Result With_Csv(const Calibrated& Of, const Scratch_Folder& Scratch, const Change& To) {
  std::ifstream File(Of.Result.Inputs.Csv);
  std::string Text((std::istreambuf_iterator<char>(File)), {});
  To(Text);
  Calibration_Result Result = Of.Result;
  Result.Inputs.Csv = Scratch.Write("capture.csv", Text);
  return Result;
}

TEST(RunView, SamplesHaveAllDigitsWhileTheCsvIsUnchanged) {
  for (const Calibrated* Each : {&Usual_Run(), &Turned_Run()}) {
    const Run_View View = Make_Run_View(Each->Result);
    for (std::size_t i = 0; i < View.Rows.size(); ++i) {
      ASSERT_TRUE(View.Rows[i].Camera && View.Rows[i].Board);
      EXPECT_EQ(*View.Rows[i].Camera, Each->Inspected->File.Rows[i].Camera);
      EXPECT_EQ(*View.Rows[i].Board, Each->Inspected->File.Rows[i].Board);
    }
  }
}

std::size_t First_Good_Row() {
  const auto& Images = Usual_Run().Plan.Images;
  std::size_t Row = 0;
  while (Images[Row].Kind != simulate::Row_Kind::Good) ++Row;
  return Row;
}

TEST(RunView, SamplesAreThoseOfTheLogWhenTheCsvIsAnotherOne) {
  const Scratch_Folder Scratch;
  Calibration_Result Result = With_Csv(Usual_Run(), Scratch, [](std::string& Text) {
    // A 7 before the first number of the first row with a board, which is the third field.
    std::size_t At = 0;
    for (std::size_t Line = 0; Line <= First_Good_Row(); ++Line) At = Text.find('\n', At) + 1;
    At = Text.find(',', Text.find(',', At) + 1) + 1;
    Text.insert(Text[At] == '-' ? At + 1 : At, "7");
  });
  Result.Hashes.Csv = File_Sha256(Usual_Run().Result.Inputs.Csv);
  for (const char* Hash : {Result.Hashes.Csv.c_str(), ""}) {
    Result.Hashes.Csv = Hash;
    const Run_View View = Make_Run_View(Result);
    for (std::size_t i = 0; i < View.Rows.size(); ++i) {
      const Viewed_Row& Row = View.Rows[i];
      EXPECT_EQ(Row.Camera.has_value(), !Row.Corners.empty());
      if (!Row.Camera) continue;
      const Tracker_Sample& Own = Usual_Run().Inspected->File.Rows[i].Camera;
      EXPECT_FALSE(*Row.Camera == Own);  // six decimals
      for (std::size_t k = 0; k < 3; ++k) {
        EXPECT_NEAR(Row.Camera->Position[k], Own.Position[k], 0.51e-6);
      }
    }
  }
}

// Without a hash nothing but the log tells whether the file is the same, and a comment tells
// nothing.
TEST(RunView, AHashDecidesWhereThereIsOne) {
  const Scratch_Folder Scratch;
  Calibration_Result Result =
      With_Csv(Usual_Run(), Scratch, [](std::string& Text) { Text.back() = ' '; });
  EXPECT_TRUE(Make_Run_View(Result).Rows[0].Camera);
  EXPECT_EQ(*Make_Run_View(Result).Rows[0].Camera, Usual_Run().Inspected->File.Rows[0].Camera);
  Result.Hashes.Csv = File_Sha256(Usual_Run().Result.Inputs.Csv);
  EXPECT_FALSE(*Make_Run_View(Result).Rows[0].Camera == Usual_Run().Inspected->File.Rows[0].Camera);
}

TEST(RunView, PhotographsAreSearchedAgainWhereTheLogHasNoCorners) {
  simulate::Options Options = Usual();
  Options.Image_Count = 8;
  Options.Jump_Count = 0;
  const Calibrated Few(Options);
  EXPECT_EQ(Few.Result.Code, 4);
  const Run_View View = Make_Run_View(Few.Result);
  EXPECT_TRUE(Same_Corners(Make_Run_View(Few.Result, Few.Inspected), View));
  std::size_t Corners = 0;
  for (const Viewed_Row& Row : View.Rows) Corners += Row.Corners.size();
  EXPECT_EQ(Corners, 6u * 35u);  // one image is blank and one missing
  EXPECT_EQ(View.Width, 640);
  EXPECT_FALSE(View.Chain);
}

TEST(RunView, ImagesThatTheRunDidNotGetToHaveAnUnknownFate) {
  Calibration_Result Result = Usual_Run().Result;
  Result.Report.Images.resize(5);
  const Run_View View = Make_Run_View(Result);
  EXPECT_EQ(View.Rows.size(), 18u);
  EXPECT_EQ(View.Rows[5].Report.Fate, Image_Fate::Unknown);
  EXPECT_EQ(View.Rows[5].Report.Name, Result.Images[5].Name);
}

// As from a pipe, which can't be read a second time.
TEST(RunView, TheLogNamesTheImagesThatTheCsvDoesNot) {
  Calibration_Result Result = Usual_Run().Result;
  Result.Images.clear();
  Result.Inputs.Csv = "/dev/stdin";
  const Run_View View = Make_Run_View(Result);
  ASSERT_EQ(View.Rows.size(), 18u);
  EXPECT_EQ(View.Rows[3].Image.Name, Usual_Run().Result.Images[3].Name);
  EXPECT_EQ(View.Rows[3].Image.Line, 0u);
  EXPECT_TRUE(View.Chain);
}

TEST(RunView, AResultThatIsAllThereIsLeft) {
  Calibration_Result Result = Usual_Run().Result;
  Result.Run_Log = Result.Inputs.Csv = Result.Inputs.Image_Root = "/gone";
  const Run_View View = Make_Run_View(Result);
  ASSERT_EQ(View.Rows.size(), 18u);
  EXPECT_TRUE(View.Rows[0].Corners.empty());
  EXPECT_FALSE(View.Rows[0].Camera);
  EXPECT_FALSE(View.Chain);
  EXPECT_EQ(View.Width, 640);
}

}  // namespace
}  // namespace rigsync
