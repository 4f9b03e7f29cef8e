// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync compare' on results that differ from the ground truth by known amounts.
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/formats/result_file.h"
#include "rigsync/geometry/transform_list.h"
#include "simulate/simulate.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <regex>
#include <utility>

namespace {

using testing::AllOf;
using testing::HasSubstr;

// A result that holds the capture's true transform, shifted and turned about its x axis.
rigsync::Calibration_Result Result_Off_By(double Shift_Mm, double Turn_Deg) {
  const simulate::Truth Truth = simulate::Read_Truth(Capture_File("truth.json"));
  const double Angle = Turn_Deg * 3.14159265358979323846 / 180.0;
  Eigen::Matrix4d Turn = Eigen::Matrix4d::Identity();
  Turn(1, 1) = Turn(2, 2) = std::cos(Angle);
  Turn(2, 1) = std::sin(Angle);
  Turn(1, 2) = -std::sin(Angle);
  const Eigen::Matrix4d Turned = Truth.Transform_Cam_Tc * Turn;
  rigsync::Calibration_Result Result;
  Result.Code = 0;
  Result.Image_Size = {640, 480};
  Result.Norm_Fxy = {Truth.True_Lens.Fx / 640 + 1.0 / 640, Truth.True_Lens.Fy / 480};
  Result.Norm_Cxy = {Truth.True_Lens.Cx / 640, Truth.True_Lens.Cy / 480};
  Result.Distortion = {Truth.True_Lens.K1, Truth.True_Lens.K2, 0, 0, 0};
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) {
      Result.Transform_Cam_Tc.push_back(c < 3 ? Turned(r, c) : Truth.Transform_Cam_Tc(r, c));
    }
  }
  Result.Transform_Cam_Tc[7] += Shift_Mm / 1000.0;
  return Result;
}

std::string Write_Result_Off_By(const Scratch_Folder& Scratch, double Shift_Mm, double Turn_Deg) {
  const rigsync::Calibration_Result Result = Result_Off_By(Shift_Mm, Turn_Deg);
  rigsync::Write_Result(Scratch.Path(), Result);
  return (Scratch.Path() / "result.json").string();
}

Finished Compare(const std::string& Result, std::vector<std::string> More = {}) {
  std::vector<std::string> Arguments = {"compare", Result, Capture_File("truth.json").string()};
  Arguments.insert(Arguments.end(), More.begin(), More.end());
  return Rigsync(Arguments);
}

TEST(Compare, ShowsDifferencesInMillimetresDegreesAndPixels) {
  const Scratch_Folder Scratch;
  const Finished Result = Compare(Write_Result_Off_By(Scratch, -2.5, 0.125));
  EXPECT_EQ(Result.Status, 0) << Result.Error;
  EXPECT_THAT(Result.Output,
              AllOf(HasSubstr("translation      2.500 mm   (x 0.000, y -2.500, z 0.000"),
                    HasSubstr("rotation        0.1250 deg"), HasSubstr("Within the bounds."),
                    HasSubstr("         1.000 pixels")));
  EXPECT_LE(Widest_Line(Result.Output), 80u);
}

// 2, 3 and 6 mm along the axes are 7 mm together.
TEST(Compare, MeasuresTheOffsetAlongAllAxesAndEachCoordinateInItsOwnPixels) {
  const Scratch_Folder Scratch;
  rigsync::Calibration_Result Off = Result_Off_By(-3.0, 0.0);
  Off.Transform_Cam_Tc[3] += 2e-3;
  Off.Transform_Cam_Tc[11] += 6e-3;
  Off.Norm_Fxy[1] += 2.0 / 480;
  Off.Norm_Cxy[0] += 3.0 / 640;
  Off.Norm_Cxy[1] += 4.0 / 480;
  rigsync::Write_Result(Scratch.Path(), Off);
  const Finished Result = Compare((Scratch.Path() / "result.json").string());
  EXPECT_THAT(Result.Output, HasSubstr("translation      7.000 mm   (x 2.000, y -3.000, z 6.000"));
  for (const char* Line :
       {"focal length x .* 1\\.000 pixels\n", "focal length y .* 2\\.000 pixels\n",
        "principal point x .* 3\\.000 pixels\n", "principal point y .* 4\\.000 pixels\n"}) {
    EXPECT_TRUE(std::regex_search(Result.Output, std::regex(Line))) << Line << Result.Output;
  }
}

TEST(Compare, EndsIn1WhenOneOfTheDifferencesIsBeyondItsBound) {
  const Scratch_Folder Scratch;
  const std::string Shifted = Write_Result_Off_By(Scratch, 2.5, 0.0);
  EXPECT_EQ(Compare(Shifted, {"--max-offset", "2.6mm"}).Status, 0);
  const Finished Beyond = Compare(Shifted, {"--max-offset", "2.4mm"});
  EXPECT_EQ(Beyond.Status, 1);
  EXPECT_THAT(Beyond.Output, HasSubstr("BEYOND the bounds."));
  const std::string Turned = Write_Result_Off_By(Scratch, 0.0, 0.125);
  EXPECT_EQ(Compare(Turned, {"--max-angle", "0.126"}).Status, 0);
  EXPECT_EQ(Compare(Turned, {"--max-angle", "0.124"}).Status, 1);
}

// A joint mount this far off along y, known to a standard deviation of 1 mm on each axis.
std::string Write_Joint_Off_By(const Scratch_Folder& Scratch, double Shift_Mm,
                               rigsync::Solution_Choice Solution) {
  rigsync::Calibration_Result Result = Result_Off_By(-2.5, 0.0);
  Result.Inputs.Solution = Solution;
  Result.Joint_Transform_Cam_Tc = Result_Off_By(Shift_Mm, 0.0).Transform_Cam_Tc;
  rigsync::Joint_Solution& Joint = Result.Solved.emplace().Joint;
  Joint.Status = rigsync::Solve_Status::Solved;
  Joint.Camera_Mount.Covariance = 1e-6 * rigsync::Matrix6d::Identity();
  Joint.Camera_Mount.Joint_Freedom = 10;
  rigsync::Write_Result(Scratch.Path(), Result);
  return (Scratch.Path() / "result.json").string();
}

// F with 6 and 10 degrees of freedom is above 3.217 in 5 % of cases, by printed tables: the region
// ends at the root of 6 * 3.217 standard deviations, 4.393 mm.
TEST(Compare, SaysWhetherTheTruthIsInsideTheUncertaintyOfTheJointMount) {
  const Scratch_Folder Scratch;
  const Finished Within =
      Compare(Write_Joint_Off_By(Scratch, 4.39, rigsync::Solution_Choice::Library));
  EXPECT_EQ(Within.Status, 0) << Within.Error;
  EXPECT_THAT(Within.Output,
              AllOf(HasSubstr("translation      2.500 mm"),
                    HasSubstr("\n  Joint solution: 4.390 mm and 0.0000 deg off, within its 95 % "
                              "uncertainty.\n")));
  EXPECT_LE(Widest_Line(Within.Output), 80u);
  const Finished Beyond =
      Compare(Write_Joint_Off_By(Scratch, 4.40, rigsync::Solution_Choice::Library));
  EXPECT_EQ(Beyond.Status, 0);
  EXPECT_THAT(Beyond.Output, HasSubstr("off, BEYOND its 95 % uncertainty."));
  EXPECT_THAT(Compare(Write_Result_Off_By(Scratch, 0.0, 0.0)).Output,
              testing::Not(HasSubstr("Joint")));
}

TEST(Compare, TheMountOfTheChosenSolutionIsCompared) {
  const Scratch_Folder Scratch;
  const Finished Result =
      Compare(Write_Joint_Off_By(Scratch, 4.0, rigsync::Solution_Choice::Joint));
  EXPECT_THAT(Result.Output, HasSubstr("translation      4.000 mm   (x 0.000, y 4.000, z 0.000"));
}

TEST(Compare, AMountThatIsNotFiniteIsRefused) {
  const Scratch_Folder Scratch;
  rigsync::Calibration_Result Result = Result_Off_By(0.0, 0.0);
  Result.Transform_Cam_Tc[0] = std::nan("");
  rigsync::Write_Result(Scratch.Path(), Result);
  const Finished Refused = Compare((Scratch.Path() / "result.json").string());
  EXPECT_EQ(Refused.Status, 2);
  EXPECT_THAT(Refused.Said, HasSubstr("'transform_cam_tc' has NaN or infinite values"));
}

// Its principal point would be no number of pixels away, and no bound would be exceeded.
TEST(Compare, AnImageWithoutASizeIsRefused) {
  const Scratch_Folder Scratch;
  rigsync::Calibration_Result Result = Result_Off_By(0.0, 0.0);
  Result.Image_Size = {0, 0};
  rigsync::Write_Result(Scratch.Path(), Result);
  const Finished Refused = Compare((Scratch.Path() / "result.json").string());
  EXPECT_EQ(Refused.Status, 2);
  EXPECT_THAT(Refused.Said,
              HasSubstr("result.json: 'lens.image_size' holds 0; expected width and"));
}

TEST(Compare, AResultWithoutATransformIsRefused) {
  const Scratch_Folder Scratch;
  rigsync::Calibration_Result Empty;
  Empty.Code = 4;
  Empty.Message = "The board was found in fewer than 12 images.";
  rigsync::Write_Result(Scratch.Path(), Empty);
  const Finished Result = Compare((Scratch.Path() / "result.json").string());
  EXPECT_EQ(Result.Status, 2);
  EXPECT_THAT(Result.Said, HasSubstr("no transform: The board was found in fewer"));
}

TEST(Compare, AFileThatIsNoGroundTruthIsRefusedInPlainWords) {
  const Scratch_Folder Scratch;
  const std::string Result = Write_Result_Off_By(Scratch, 0.0, 0.0);
  for (const std::string& Truth : {Scratch.Write("stage.json", "{}"), Scratch.String() + "/none"}) {
    const Finished Refused = Rigsync({"compare", Result, Truth});
    EXPECT_EQ(Refused.Status, 2);
    EXPECT_THAT(Refused.Said, HasSubstr(Truth + ": can't be read as ground truth; expected"));
    EXPECT_THAT(Refused.Said, testing::Not(HasSubstr("json.exception")));
  }
}

// ---- Two results -------------------------------------------------------------------------------

// The rig of the capture, known to 0.1 mm, 0.006 degrees and 0.1 pixels, with the tracker shifted
// along y and turned about x of the camera.
std::string Write_Day(const Scratch_Folder& Scratch, const std::string& Day, double Shift_Mm,
                      double Turn_Deg, bool Has_Uncertainty = true, double Known_To_Mm = 0.1) {
  rigsync::Calibration_Result Result = Result_Off_By(0.0, 0.0);
  const Eigen::Isometry3d Rig(simulate::Read_Truth(Capture_File("truth.json")).Transform_Cam_Tc);
  rigsync::Vector6d Motion = rigsync::Vector6d::Zero();
  Motion[0] = Turn_Deg * 3.14159265358979323846 / 180.0;
  Motion[4] = Shift_Mm / 1000.0;
  const Eigen::Isometry3d Mount = rigsync::Moved(Rig, Motion);
  Result.Transform_Cam_Tc = rigsync::List_From_Matrix(Mount.matrix());
  Result.Inputs.Square_Size = 0.03;
  Result.Inputs.Board = {7, 5};
  if (Has_Uncertainty) {
    Result.Joint_Transform_Cam_Tc = Result.Transform_Cam_Tc;
    rigsync::Capture_Solution& Solved = Result.Solved.emplace();
    rigsync::Vector6d Deviations;
    Deviations << 0.1, 0.1, 0.1, 0.1, 1e-4, 1e-4;
    Solved.Lens_Px = {Result.Norm_Fxy[0] * 640, Result.Norm_Fxy[1] * 480, Result.Norm_Cxy[0] * 640,
                      Result.Norm_Cxy[1] * 480, Result.Distortion[0],     Result.Distortion[1]};
    Solved.Seen.Lens_Covariance = Deviations.cwiseAbs2().asDiagonal();
    Solved.Joint.Status = rigsync::Solve_Status::Solved;
    Solved.Joint.At.Transform_Cam_Tc = Mount;
    Solved.Joint.Camera_Mount.Covariance = 1e-8 * rigsync::Matrix6d::Identity();
    Solved.Joint.Camera_Mount.Covariance(4, 4) = 1e-6 * Known_To_Mm * Known_To_Mm;
    Solved.Joint.Camera_Mount.Widest_Mm.Half_Width = 2 * Known_To_Mm;
    Solved.Joint.Camera_Mount.Widest_Deg.Half_Width = 0.012;
    Solved.Joint.Camera_Mount.Freedom = rigsync::Vector6d::Constant(30);
    Solved.Joint.Camera_Mount.Joint_Freedom = 30;
    Solved.Joint.Scale_Deviation = 0.0005;
  }
  const std::filesystem::path Folder = Scratch.Path() / Day;
  std::filesystem::create_directories(Folder);
  rigsync::Write_Result(Folder, Result);
  return (Folder / "result.json").string();
}

TEST(CompareResults, SaysThatNothingChangedWithinTheUncertainty) {
  const Scratch_Folder Scratch;
  const Finished Result = Rigsync(
      {"compare", Write_Day(Scratch, "now", 0.1, 0.0), Write_Day(Scratch, "then", 0.0, 0.0)});
  EXPECT_EQ(Result.Status, 0) << Result.Error;
  EXPECT_THAT(Result.Output, testing::StartsWith("No change: lens and mount are the same"));
  EXPECT_THAT(Result.Output, HasSubstr("Within the bounds."));
  EXPECT_LE(Widest_Line(Result.Output), 80u);
}

TEST(CompareResults, NamesTheCauseWithItsDirectionAndEndsIn1BeyondABound) {
  const Scratch_Folder Scratch;
  const std::string Then = Write_Day(Scratch, "then", 0.0, 0.0);
  const std::string Shifted = Write_Day(Scratch, "shifted", -4.0, 0.0);
  const Finished Within = Rigsync({"compare", Shifted, Then});
  EXPECT_EQ(Within.Status, 0);
  EXPECT_THAT(Within.Output, testing::StartsWith(
                                 "The camera's tracker has shifted on the camera by 4.0 mm, as the "
                                 "camera looks:\nup 4.0. Fasten it"));
  EXPECT_EQ(Rigsync({"compare", Shifted, Then, "--max-offset", "3.9mm"}).Status, 1);
  const Finished Turned = Rigsync({"compare", Write_Day(Scratch, "turned", 0.0, -0.5), Then});
  EXPECT_EQ(Turned.Status, 1);
  EXPECT_THAT(Turned.Output, HasSubstr("tilted down 0.50."));
  EXPECT_THAT(Turned.Output, HasSubstr("BEYOND the bounds."));
  EXPECT_LE(Widest_Line(Turned.Output), 80u);
}

// 4 mm at 3 m are 4/3000 of the focal length in pixels, here times 1080 over 480 lines.
TEST(CompareResults, ThePictureHasABoundOfItsOwn) {
  const Scratch_Folder Scratch;
  const std::string Now = Write_Day(Scratch, "now", 4.0, 0.0);
  const std::string Then = Write_Day(Scratch, "then", 0.0, 0.0);
  const double Fy = simulate::Read_Truth(Capture_File("truth.json")).True_Lens.Fy;
  const double Px = Fy * 4.0 / 3000.0 * 1080.0 / 480.0;
  const auto Status_With = [&](double Bound) {
    return Rigsync({"compare", Now, Then, "--max-pixels", std::to_string(Bound)}).Status;
  };
  // Distortion changes the corners by some percent.
  EXPECT_EQ(Status_With(1.15 * Px), 0);
  EXPECT_EQ(Status_With(0.95 * Px), 1);
  EXPECT_EQ(Rigsync({"compare", Now, Then, "--max-pixels", "-1"}).Status, 2);
}

TEST(CompareResults, JsonHasTheNumbersAndTheCauses) {
  const Scratch_Folder Scratch;
  const std::string Then = Write_Day(Scratch, "then", 0.0, 0.0);
  const Finished Result = Rigsync({"compare", Write_Day(Scratch, "now", 6.0, 0.0), Then, "--json"});
  EXPECT_EQ(Result.Status, 1);
  const nlohmann::json File = nlohmann::json::parse(Result.Output);
  EXPECT_EQ(File["format"], "rigsync-drift");
  EXPECT_EQ(File["within_bounds"], false);
  EXPECT_EQ(File["within_uncertainty"], false);
  ASSERT_EQ(File["causes"].size(), 1u);
  EXPECT_EQ(File["causes"][0]["id"], "mount_shifted");
  EXPECT_NEAR(File["mount"]["difference_mm"], 6.0, 1e-9);
  EXPECT_NEAR(File["mount"]["joint"]["shift_mm"][1], 6.0, 1e-9);
  EXPECT_EQ(File["picture"]["distance_m"], 3.0);
  EXPECT_EQ(File["picture"]["shifts"].size(), 5u);
  EXPECT_NEAR(File["lens"]["joint"]["difference"][0], 0.0, 1e-9);
}

// The chosen mount of a result, 12 mm off the joint one that stays as it was.
std::string Write_Library_Off(const Scratch_Folder& Scratch, const std::string& Day,
                              double Shift_Mm) {
  const std::string File = Write_Day(Scratch, Day, 0.0, 0.0);
  rigsync::Calibration_Result Result = rigsync::Read_Result(File);
  Result.Transform_Cam_Tc[7] += Shift_Mm / 1000.0;
  rigsync::Write_Result(Scratch.Path() / Day, Result);
  return File;
}

TEST(CompareResults, AMountThatIsHardlyKnownIsNeverCalledTheSame) {
  const Scratch_Folder Scratch;
  const std::string Then = Write_Day(Scratch, "then", 0.0, 0.0);
  for (const double Shift_Mm : {0.0, 60.0}) {
    const std::string Now = Write_Day(Scratch, "now", Shift_Mm, 0.0, true, 1250.0);
    const Finished Result = Rigsync({"compare", Now, Then});
    EXPECT_THAT(Result.Output,
                testing::StartsWith("Can't tell whether the tracker shifted on the camera: the "
                                    "mount of the result is\nknown only to +- 2500 mm. "));
    EXPECT_THAT(Result.Output, testing::Not(HasSubstr("No change")));
    auto File = nlohmann::json::parse(Rigsync({"compare", Now, Then, "--json"}).Output);
    EXPECT_EQ(File["causes"][0]["id"], "unknown");
    EXPECT_EQ(File["within_uncertainty"], false);
    EXPECT_EQ(File["mount"]["joint"]["within_uncertainty"], true);
    EXPECT_GT(File["mount"]["joint"]["widest_mm"], 2500.0);
  }
}

TEST(CompareResults, ADifferenceOfTheMountsThatTheJointOnesDoNotShowIsNotWithinTheUncertainty) {
  const Scratch_Folder Scratch;
  const std::string Then = Write_Day(Scratch, "then", 0.0, 0.0);
  const std::string Far = Write_Library_Off(Scratch, "far", 12.0);
  const Finished Result = Rigsync({"compare", Far, Then});
  EXPECT_EQ(Result.Status, 1);
  EXPECT_THAT(Result.Output, testing::StartsWith("Can't tell what changed: the mounts that are the "
                                                 "results differ by 12.0 mm and\n0.00 degrees"));
  auto File = nlohmann::json::parse(Rigsync({"compare", Far, Then, "--json"}).Output);
  EXPECT_EQ(File["causes"][0]["id"], "unknown");
  EXPECT_EQ(File["within_bounds"], false);
  EXPECT_EQ(File["within_uncertainty"], false);
  EXPECT_EQ(File["mount"]["joint"]["within_uncertainty"], true);
  EXPECT_EQ(File["lens"]["joint"]["within_uncertainty"], true);
  const std::string Near = Write_Library_Off(Scratch, "near", 4.0);
  const Finished Within = Rigsync({"compare", Near, Then});
  EXPECT_EQ(Within.Status, 0);
  EXPECT_THAT(Within.Output, testing::StartsWith("No change beyond the bounds: the mounts that are "
                                                 "the results differ by 4.0 mm"));
  EXPECT_EQ(nlohmann::json::parse(
                Rigsync({"compare", Near, Then, "--json"}).Output)["within_uncertainty"],
            false);
}

TEST(CompareResults, AFolderStandsForTheResultInIt) {
  const Scratch_Folder Scratch;
  const std::string Now = Write_Day(Scratch, "now", 6.0, 0.0);
  const std::string Then = Write_Day(Scratch, "then", 0.0, 0.0);
  const Finished Folders =
      Rigsync({"compare", (Scratch.Path() / "now").string(), (Scratch.Path() / "then").string()});
  EXPECT_EQ(Folders.Status, 1) << Folders.Said;
  EXPECT_EQ(Folders.Output, Rigsync({"compare", Now, Then}).Output);
}

TEST(CompareResults, TheCauseComesBeforeTheSameFiles) {
  const Scratch_Folder Scratch;
  for (const auto& [Day, Square] : {std::pair("now", 0.0303), std::pair("then", 0.03)}) {
    rigsync::Calibration_Result Result = rigsync::Read_Result(Write_Day(Scratch, Day, 0.0, 0.0));
    Result.Images.emplace_back().Name = "a.png";
    Result.Hashes = {std::string(64, 'a'), {std::string(64, 'b')}};
    Result.Inputs.Square_Size = Square;
    rigsync::Write_Result(Scratch.Path() / Day, Result);
  }
  const Finished Result = Rigsync({"compare", (Scratch.Path() / "now/result.json").string(),
                                   (Scratch.Path() / "then/result.json").string()});
  EXPECT_THAT(Result.Output, testing::StartsWith("Another length of a square was stated"));
  EXPECT_THAT(Result.Output, HasSubstr("\nBoth results were made from the same files.\n"));
}

TEST(CompareResults, NoNumberIsANegativeZero) {
  const Scratch_Folder Scratch;
  const std::string Then = Write_Day(Scratch, "then", 0.0, 0.0);
  const Finished Result = Rigsync({"compare", Write_Day(Scratch, "now", -0.004, -0.0004), Then});
  EXPECT_THAT(Result.Output, HasSubstr("result         0.00     0.00     0.00"));
  EXPECT_THAT(Result.Output, testing::Not(testing::ContainsRegex("-0[.]0+[^0-9]")));
  const Finished With_Truth = Compare(Write_Result_Off_By(Scratch, -0.0004, 0.0));
  EXPECT_THAT(With_Truth.Output, HasSubstr("(x 0.000, y 0.000, z 0.000;"));
}

TEST(CompareResults, AResultWithoutAnUncertaintyIsNamed) {
  const Scratch_Folder Scratch;
  const Finished Result = Rigsync({"compare", Write_Day(Scratch, "now", 4.0, 0.0),
                                   Write_Day(Scratch, "then", 0.0, 0.0, false)});
  EXPECT_EQ(Result.Status, 0);
  EXPECT_THAT(Result.Output, testing::StartsWith("The reference has no uncertainty"));
  const Finished Json = Rigsync({"compare", (Scratch.Path() / "now/result.json").string(),
                                 (Scratch.Path() / "then/result.json").string(), "--json"});
  EXPECT_TRUE(nlohmann::json::parse(Json.Output)["within_uncertainty"].is_null());
}

TEST(CompareResults, ATruthHasNoJsonAndAnUnusableResultIsWarnedOf) {
  const Scratch_Folder Scratch;
  const std::string Now = Write_Day(Scratch, "now", 0.0, 0.0);
  const Finished Refused = Compare(Now, {"--json"});
  EXPECT_EQ(Refused.Status, 2);
  EXPECT_THAT(Refused.Said, HasSubstr("--json is for the comparison of two results"));
  rigsync::Calibration_Result Bad = rigsync::Read_Result(Now);
  Bad.Code = 6;
  rigsync::Write_Result(Scratch.Path(), Bad);
  EXPECT_THAT(Rigsync({"compare", (Scratch.Path() / "result.json").string(), Now}).Said,
              HasSubstr("result.json is not usable by its own verdict"));
}

}  // namespace
