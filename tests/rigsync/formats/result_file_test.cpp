// SPDX-License-Identifier: Apache-2.0
//
// result.json written, read back, and compared with its page and its schema. The second opinion is
// that of a capture made with quaternions, solved by the command's own solver.
#include "rigsync/formats/result_file.h"
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/formats/json_fields.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/system/version.h"

#include "tests/rigsync/solve/pose_rig.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <regex>
#include <set>
#include <sstream>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// Doubles that need all their digits.
rigsync::Calibration_Result Whole_Result() {
  rigsync::Calibration_Result Result;
  Result.Code = 0;
  Result.Message = "Calibrated.";
  Result.Image_Size = {1920, 1080};
  Result.Norm_Fxy = {1.0 / 3.0, std::nextafter(2.0, 3.0)};
  Result.Norm_Cxy = {0.1 + 0.2, 0.5};
  Result.Distortion = {-0.09, 0.03, 0, 0, -0.0};
  for (int i = 0; i < 16; ++i) Result.Transform_Cam_Tc.push_back(std::sqrt(i + 2.0));
  Result.FoV = {48.8, 28.6};
  Result.Focal_Length_mm = {26.1};
  Result.Run_Log = "/out/log_x";
  Result.Inputs.Csv = "/in/capture.csv";
  Result.Inputs.Board = {11, 8};
  Result.Inputs.Square_Size = 0.03;
  Result.Inputs.Image_Root = "/in";
  Result.Run_Folder = "/out/run";
  Result.Start_Time = "2026-11-20T09:05:33+0100";
  return Result;
}

std::vector<double> By_Row(const Eigen::Isometry3d& Transform) {
  std::vector<double> Values;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) Values.push_back(Transform(r, c));
  }
  return Values;
}

// A capture of 24 images with the board's tracker slipped by 8 mm from image 14 on, and row 3
// stale.
pose_rig::Options Slipped_Capture() {
  pose_rig::Options Options;
  Options.Lens_Mm = 0.2;
  Options.Stale = {3};
  Options.Slipped_From = 14;
  Options.Board_Slip = {pose_rig::By_Turn({0, 0.01, 0}), {0.008, 0, 0}};
  return Options;
}

rigsync::Cross_Check Compared_Halves() {
  rigsync::Cross_Check Check;
  Check.Status = rigsync::Cross_Status::Compared;
  Check.Halves[0] = {12, {1500, 1501, 960, 541, -0.1, 0.02}, Eigen::Isometry3d::Identity()};
  Check.Halves[1] = {11, {1499, 1502, 961, 540, -0.11, 0.03}, Eigen::Isometry3d::Identity()};
  Check.Halves[1].Transform_Cam_Tc.translation().x() = 0.0005;
  Check.Mm = {0.5, 0.625};
  Check.Deg = {0.03125, 0.0625};
  Check.Px = {1.5, 1.25};
  Check.Probability_Nearer = 0.375;
  Check.Distance = 4.5;
  Check.Cols = 2;
  Check.Rows = 1;
  Check.Points = {{{480.5, 540}, {1, -2}, 0.75}, {{1440.5, 540}, {-0.5, 0.25}, 1.75}};
  return Check;
}

// A result with a second opinion in every part; the library's mount is 4 mm beside the joint one.
rigsync::Calibration_Result Judged_Result(const pose_rig::Options& Capture) {
  rigsync::Calibration_Result Result = Whole_Result();
  rigsync::Capture_Solution Solved;
  Solved.Lens_Px = {1500, 1500.5, 960, 540, -0.1, 0.02};
  Solved.Seen = pose_rig::Make_Rig(Capture).Seen;
  Solved.Joint = rigsync::Solve_Mounts(Solved.Seen);
  Solved.Likeliest_Slip = rigsync::Find_Slip(Solved.Joint);
  Solved.Place = rigsync::Place_Comparison{0.7, 4.5, false, true};
  Solved.Lens_Check.emplace();
  Solved.Lens_Check->Coefficients = {0.001, -0.002, 0.03};
  Solved.Lens_Check->F = 12.5;
  Solved.Lens_Check->Mount_Motion << 0.001, 0, 0, 0, 0, 0.002;
  for (std::size_t i = 0; i < Solved.Seen.Rows.size(); ++i) {
    Result.Images.push_back({i + 2, "image_" + std::to_string(i) + ".png"});
  }
  Eigen::Isometry3d Library = Solved.Joint.At.Transform_Cam_Tc;
  Library.translation().y() += 0.004;
  Result.Transform_Cam_Tc = By_Row(Library);
  if (Solved.Joint.Status == rigsync::Solve_Status::Solved) {
    Result.Joint_Transform_Cam_Tc = By_Row(Solved.Joint.At.Transform_Cam_Tc);
  }
  Result.Opinion = rigsync::Judge_Mount(Library.matrix(), Solved.Joint, Solved.Likeliest_Slip);
  Result.Cause = rigsync::Finding{"slip", rigsync::Level::Error, "What.", "", "Advice.", {16, 17}};
  Result.Library_Board = {{1, 2, 3}, {0.1, 0.2, 0.3}};
  Result.Library_Axes = rigsync::Choose_Body_Axes(Eigen::Matrix3d::Identity());
  Result.Inputs.Stated_Board = rigsync::Board_Place{{4, 5, 6}, {0.4, 0.5, 0.6}};
  Result.Solved = std::move(Solved);
  Result.Halves = Compared_Halves();
  return Result;
}

nlohmann::json Written(const rigsync::Calibration_Result& Result) {
  const Scratch_Folder Scratch;
  rigsync::Write_Result(Scratch.Path(), Result);
  return Read_Json(Scratch.Path() / "result.json");
}

rigsync::Calibration_Result Written_And_Read(const rigsync::Calibration_Result& Result) {
  const Scratch_Folder Scratch;
  rigsync::Write_Result(Scratch.Path(), Result);
  return rigsync::Read_Result(Scratch.Path() / "result.json");
}

// What a script of this folder says about a result and the schema; empty when all is well.
std::string Said_By(const std::string& Script, const rigsync::Calibration_Result& Result) {
  const Scratch_Folder Scratch;
  rigsync::Write_Result(Scratch.Path(), Result);
  const std::string Top = RIGSYNC_SOURCE_DIR;
  const Finished Checked =
      Run_Program("/usr/bin/env",
                  {"python3", Top + "/tests/rigsync/formats/" + Script,
                   Top + "/docs/result.schema.json", (Scratch.Path() / "result.json").string()});
  return Checked.Status == 0 ? "" : Checked.Output + Checked.Error;
}

std::string Refusal(const std::string& File) {
  try {
    rigsync::Read_Result(File);
  } catch (const rigsync::Usage_Error& Error) {
    return Error.what();
  }
  return "";
}

TEST(ResultFile, ReadsBackToTheBitWhatItWrote) {
  const Scratch_Folder Scratch;
  const rigsync::Calibration_Result Written = Whole_Result();
  rigsync::Write_Result(Scratch.Path(), Written);
  const rigsync::Calibration_Result Read = rigsync::Read_Result(Scratch.Path() / "result.json");
  EXPECT_EQ(Read.Code, Written.Code);
  EXPECT_EQ(Read.Message, Written.Message);
  EXPECT_EQ(Read.Image_Size, Written.Image_Size);
  EXPECT_EQ(Read.Norm_Fxy, Written.Norm_Fxy);
  EXPECT_EQ(Read.Norm_Cxy, Written.Norm_Cxy);
  EXPECT_EQ(Read.Transform_Cam_Tc, Written.Transform_Cam_Tc);
  EXPECT_EQ(Read.Distortion, Written.Distortion);
  EXPECT_TRUE(std::signbit(Read.Distortion[4]));
}

TEST(ResultFile, HasTheKeysOfTheFormat) {
  const Scratch_Folder Scratch;
  rigsync::Write_Result(Scratch.Path(), Whole_Result());
  const nlohmann::json File = Read_Json(Scratch.Path() / "result.json");
  EXPECT_EQ(File["format"], "rigsync-result");
  EXPECT_EQ(File["format_version"], 1);
  EXPECT_EQ(File["version"], rigsync::Command_Version);
  EXPECT_EQ(File["lens"]["fov_deg"], (std::vector<double>{48.8, 28.6}));
  EXPECT_EQ(File["lens"]["focal_length_mm"], 26.1);
  EXPECT_EQ(File["run_log"], "/out/log_x");
  EXPECT_EQ(File["inputs"]["board"], (std::vector<int>{11, 8}));
  EXPECT_EQ(File["inputs"]["square_m"], 0.03);
  EXPECT_TRUE(File["inputs"]["sensor_mm"].is_null());
}

TEST(ResultFile, WhatTheLibraryLeftEmptyIsNull) {
  const Scratch_Folder Scratch;
  rigsync::Calibration_Result Result;
  Result.Message = "An exception ended the run: x";
  rigsync::Write_Result(Scratch.Path(), Result);
  const nlohmann::json File = Read_Json(Scratch.Path() / "result.json");
  EXPECT_TRUE(File["code"].is_null());
  EXPECT_TRUE(File["transform_cam_tc"].is_null());
  EXPECT_TRUE(File["run_log"].is_null());
  for (const auto& [Key, Value] : File["lens"].items()) EXPECT_TRUE(Value.is_null()) << Key;
  EXPECT_TRUE(rigsync::Read_Result(Scratch.Path() / "result.json").Transform_Cam_Tc.empty());
}

TEST(ResultFile, ANumberThatIsNotFiniteIsNullAndRefusedInTheLens) {
  for (const double Value :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    const Scratch_Folder Scratch;
    rigsync::Calibration_Result Result = Whole_Result();
    Result.Norm_Fxy[1] = Value;
    rigsync::Write_Result(Scratch.Path(), Result);
    const nlohmann::json File = Read_Json(Scratch.Path() / "result.json");
    EXPECT_TRUE(File["lens"]["norm_fxy"][1].is_null());
    EXPECT_EQ(File["usable"], false);
    EXPECT_THAT(Refusal((Scratch.Path() / "result.json").string()),
                AllOf(HasSubstr("result.json: 'norm_fxy' has NaN or infinite values"),
                      HasSubstr("a NaN tracker value in the CSV"), HasSubstr("'rigsync inspect'"),
                      Not(HasSubstr("expected a result.json"))));
  }
}

// The joint mount may be good where the library's is not.
TEST(ResultFile, AMountThatIsNotFiniteIsReadAsNaNAndRefusedWhereItIsRequired) {
  rigsync::Calibration_Result Result = Whole_Result();
  Result.Transform_Cam_Tc[3] = std::numeric_limits<double>::infinity();
  EXPECT_TRUE(Written(Result)["transform_cam_tc"][3].is_null());
  EXPECT_EQ(Written(Result)["usable"], false);
  const rigsync::Calibration_Result Read = Written_And_Read(Result);
  EXPECT_TRUE(std::isnan(Read.Transform_Cam_Tc[3]));
  EXPECT_EQ(Read.Transform_Cam_Tc[4], Result.Transform_Cam_Tc[4]);
  try {
    rigsync::Require_Mount("r.json", Read.Transform_Cam_Tc);
    FAIL();
  } catch (const rigsync::Usage_Error& Error) {
    EXPECT_STREQ(Error.what(),
                 "r.json: 'transform_cam_tc' has NaN or infinite values, so the result cannot be "
                 "used. The probable cause is a NaN tracker value in the CSV: 'rigsync inspect' "
                 "names its line. Remove that line and calibrate again");
  }
}

// Each of these was exported: as a camera that is mirrored, of another size, or without numbers.
TEST(ResultFile, AMountThatIsNoRotationWithAPositionIsRefused) {
  // From 3, 4 and 5: rows of 0.6 and 0.8.
  const std::vector<double> Sound = {0.6, 0, 0.8, 1, 0, 1, 0, 2, -0.8, 0, 0.6, 3, 0, 0, 0, 1};
  rigsync::Require_Mount("r.json", Sound);
  const auto Changed = [&Sound](const std::vector<int>& Elements, double Factor) {
    std::vector<double> Mount = Sound;
    for (const int i : Elements) Mount[static_cast<std::size_t>(i)] *= Factor;
    return Mount;
  };
  std::vector<double> Last_Row = Sound;
  Last_Row[12] = 1;
  const std::vector<int> Rotation = {0, 1, 2, 4, 5, 6, 8, 9, 10};
  for (const std::vector<double>& Mount :
       {Changed(Rotation, 0.0), Changed(Rotation, 2.0), Changed(Rotation, 1e300),
        Changed(Rotation, 1e-300), Changed(Rotation, -1.0), Changed({5}, -1.0),
        Changed({0, 10}, 1.01), Changed({15}, 0.0), Last_Row}) {
    try {
      rigsync::Require_Mount("r.json", Mount);
      ADD_FAILURE() << testing::PrintToString(Mount);
    } catch (const rigsync::Usage_Error& Error) {
      EXPECT_THAT(Error.what(), HasSubstr("r.json: 'transform_cam_tc' is no rotation"));
    }
  }
}

TEST(ResultFile, IsUsableWithCode0Or99AndFiniteNumbersOnly) {
  const auto Usable = [](const rigsync::Calibration_Result& Written_One) {
    return Written(Written_One)["usable"];
  };
  rigsync::Calibration_Result Result = Whole_Result();
  for (const int Code : {0, 99}) {
    Result.Code = Code;
    EXPECT_EQ(Usable(Result), true) << Code;
  }
  for (const int Code : {1, 4, 6, 13, 14}) {
    Result.Code = Code;
    EXPECT_EQ(Usable(Result), false) << Code;
  }
  Result.Code = std::nullopt;
  EXPECT_EQ(Usable(Result), false);
  Result = Whole_Result();
  Result.Norm_Cxy[1] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(Usable(Result), false);
}

TEST(ResultFile, IsUsableOnlyWhereTheSecondOpinionAgrees) {
  rigsync::Calibration_Result Result = Whole_Result();
  const std::pair<rigsync::Verdict, const char*> Cases[] = {
      {rigsync::Verdict::Agree, "agree"},
      {rigsync::Verdict::Look, "look"},
      {rigsync::Verdict::Dont_Use, "dont_use"}};
  for (const auto& [Judgement, Name] : Cases) {
    Result.Opinion = rigsync::Second_Opinion{Judgement, {}, 0.5, 0.02, 0.4, 0.6, 0.03};
    EXPECT_EQ(Written(Result)["verdict"], Name);
    EXPECT_EQ(Written(Result)["usable"], Judgement == rigsync::Verdict::Agree) << Name;
    EXPECT_EQ(Written_And_Read(Result).Opinion->Judgement, Judgement);
  }
  Result.Opinion = std::nullopt;
  EXPECT_TRUE(Written(Result)["verdict"].is_null());
  EXPECT_TRUE(Written(Result)["second_opinion"].is_null());
  EXPECT_FALSE(Written_And_Read(Result).Opinion.has_value());
}

TEST(ResultFile, TheMountIsThatOfTheChosenSolution) {
  rigsync::Calibration_Result Result = Whole_Result();
  Result.Joint_Transform_Cam_Tc = Result.Transform_Cam_Tc;
  Result.Joint_Transform_Cam_Tc[3] += 0.25;
  Result.Solved.emplace();
  Result.Solved->Joint.Status = rigsync::Solve_Status::Solved;
  for (const auto Solution : {rigsync::Solution_Choice::Library, rigsync::Solution_Choice::Joint}) {
    Result.Inputs.Solution = Solution;
    const bool Is_Joint = Solution == rigsync::Solution_Choice::Joint;
    const nlohmann::json File = Written(Result);
    EXPECT_EQ(File["solution"], Is_Joint ? "joint" : "library");
    EXPECT_EQ(File["transform_cam_tc"],
              Is_Joint ? Result.Joint_Transform_Cam_Tc : Result.Transform_Cam_Tc);
    EXPECT_EQ(File["library"]["transform_cam_tc"], Result.Transform_Cam_Tc);
    EXPECT_EQ(File["joint"]["transform_cam_tc"], Result.Joint_Transform_Cam_Tc);
    const rigsync::Calibration_Result Read = Written_And_Read(Result);
    EXPECT_EQ(Read.Inputs.Solution, Solution);
    EXPECT_EQ(Read.Transform_Cam_Tc, Result.Transform_Cam_Tc);
    EXPECT_EQ(Read.Joint_Transform_Cam_Tc, Result.Joint_Transform_Cam_Tc);
  }
}

TEST(ResultFile, AMountThatSomeoneEditedAtTheTopOfTheFileCounts) {
  const Scratch_Folder Scratch;
  rigsync::Write_Result(Scratch.Path(), Whole_Result());
  nlohmann::json File = Read_Json(Scratch.Path() / "result.json");
  File["transform_cam_tc"][3] = 0.125;
  const rigsync::Calibration_Result Read =
      rigsync::Read_Result(Scratch.Write("edited.json", File.dump()));
  EXPECT_EQ(rigsync::Chosen_Transform_Cam_Tc(Read)[3], 0.125);
}

TEST(ResultFile, ASecondOpinionIsReadBackWithReasonsLimitsAndCause) {
  using rigsync::Verdict_Reason;
  const std::pair<Verdict_Reason, const char*> Reasons[] = {
      {Verdict_Reason::No_Library_Transform, "no_library_transform"},
      {Verdict_Reason::Library_Code, "library_code"},
      {Verdict_Reason::Not_Solved, "not_solved"},
      {Verdict_Reason::Difference_Beyond_Limit, "difference_beyond_limit"},
      {Verdict_Reason::Width_Beyond_Limit, "width_beyond_limit"},
      {Verdict_Reason::Slip_Found, "slip_found"},
      {Verdict_Reason::Difference_Unlikely, "difference_unlikely"},
      {Verdict_Reason::Difference_And_Width, "difference_and_width"},
      {Verdict_Reason::Slip_Suspected, "slip_suspected"},
      {Verdict_Reason::Last_Rows_Left_Out, "last_rows_left_out"},
      {Verdict_Reason::Lens_Does_Not_Fit, "lens_does_not_fit"},
      {Verdict_Reason::Capture_Faulty, "capture_faulty"},
      {Verdict_Reason::Place_Contradicted, "place_contradicted"}};
  rigsync::Calibration_Result Result = Whole_Result();
  Result.Inputs.Limits = {2.5, 0.2};
  Result.Cause =
      rigsync::Finding{"stale", rigsync::Level::Error, "Old\nsamples.", "Off by 3 mm.", "Go.", {7}};
  for (const auto& [Reason, Name] : Reasons) {
    Result.Opinion = rigsync::Second_Opinion{
        rigsync::Verdict::Look, {Reason, Verdict_Reason::Slip_Found}, 1.0 / 3, 0.02, 0.995, 1, 1};
    EXPECT_EQ(Written(Result)["second_opinion"]["reasons"],
              (std::vector<std::string>{Name, "slip_found"}));
    const rigsync::Calibration_Result Read = Written_And_Read(Result);
    EXPECT_THAT(Read.Opinion->Reasons, ElementsAre(Reason, Verdict_Reason::Slip_Found));
    EXPECT_EQ(Read.Opinion->Difference_Mm, 1.0 / 3);
    EXPECT_EQ(Read.Opinion->Difference_Deg, 0.02);
    EXPECT_EQ(Read.Opinion->Probability_Nearer, 0.995);
    EXPECT_EQ(Read.Inputs.Limits.Mm, 2.5);
    EXPECT_EQ(Read.Inputs.Limits.Deg, 0.2);
    EXPECT_EQ(Read.Cause->Id, "stale");
    EXPECT_EQ(Read.Cause->What, "Old samples.");
    EXPECT_EQ(Read.Cause->Example, "Off by 3 mm.");
    EXPECT_EQ(Read.Cause->Advice, "Go.");
  }
}

// Files from before there was a second opinion have none of its keys.
TEST(ResultFile, AnEarlierFileHasTheLibrarysMountAndNoOpinion) {
  const Scratch_Folder Scratch;
  rigsync::Write_Result(Scratch.Path(), Whole_Result());
  nlohmann::json File = Read_Json(Scratch.Path() / "result.json");
  for (const char* Key :
       {"verdict", "solution", "second_opinion", "cause", "joint", "library", "body_axes"}) {
    File.erase(Key);
  }
  const rigsync::Calibration_Result Read =
      rigsync::Read_Result(Scratch.Write("earlier.json", File.dump()));
  EXPECT_EQ(Read.Transform_Cam_Tc, Whole_Result().Transform_Cam_Tc);
  EXPECT_EQ(Read.Inputs.Solution, rigsync::Solution_Choice::Library);
  EXPECT_TRUE(Read.Joint_Transform_Cam_Tc.empty());
  EXPECT_FALSE(Read.Opinion.has_value());
  EXPECT_FALSE(Read.Cause.has_value());
  EXPECT_TRUE(rigsync::Is_Usable(Read));
}

TEST(ResultFile, TheJointSolutionIsWrittenInDegreesMillimetresAndRows) {
  const rigsync::Calibration_Result Result = Judged_Result(Slipped_Capture());
  const rigsync::Joint_Solution& Joint = Result.Solved->Joint;
  ASSERT_EQ(Joint.Status, rigsync::Solve_Status::Solved);
  const nlohmann::json Written_One = Written(Result);
  const nlohmann::json File = Written_One["joint"];
  EXPECT_EQ(File["status"], "solved");
  EXPECT_EQ(File["half_width_mm"][2], Joint.Camera_Mount.Half_Width_Mm.z());
  EXPECT_EQ(File["half_width_deg"][0], Joint.Camera_Mount.Half_Width_Deg.x());
  EXPECT_EQ(File["covariance"][1][5], Joint.Camera_Mount.Covariance(1, 5));
  EXPECT_EQ(File["degrees_of_freedom"][4], Joint.Camera_Mount.Freedom[4]);
  EXPECT_EQ(File["board_place"]["half_width_mm"][1], Joint.Board_Mount.Half_Width_Mm.y());
  EXPECT_EQ(File["board_place"]["covariance"][5][1], Joint.Board_Mount.Covariance(5, 1));
  // The rig's board is 170 mm from its tracker and slips by 8 mm.
  EXPECT_NEAR(File["board_place"]["offset_m"][0], -0.17, 0.009);
  EXPECT_EQ(File["board_place"]["stated"]["difference_mm"], 4.5);
  EXPECT_EQ(File["board_place"]["stated"]["within_uncertainty"], false);
  EXPECT_EQ(File["board_place"]["stated"]["prior"], true);
  EXPECT_EQ(File["at_talent"]["distance_m"], 3.0);
  EXPECT_EQ(File["square"]["scale"], Joint.At.Square_Scale);
  EXPECT_EQ(File["lens"]["fy"], 1500.5);
  EXPECT_EQ(File["lens_check"]["p2"], -0.002);
  EXPECT_DOUBLE_EQ(File["lens_check"]["turn_deg"][0], 0.001 * 57.29577951308232);
  EXPECT_EQ(File["lens_check"]["shift_mm"][2], 2.0);
  // 0.2 mm for each metre is the deviation of the rig's lens.
  EXPECT_NEAR(File["lens"]["half_width"][0], 1.960 * 0.2, 1e-4);
  EXPECT_EQ(File["rows"].size(), 24u);
  const nlohmann::json Stale = File["rows"][3];
  EXPECT_EQ(Stale["line"], 5);
  EXPECT_EQ(Stale["image"], "image_3.png");
  EXPECT_EQ(Stale["kept"], false);
  // The camera's sample of the stale row is 2 degrees off, and the trackers' noise is 0.03 degrees:
  // of both and with what the solve gives way, within five times that.
  const std::vector<double> Mm = Stale["residual_mm"], Deg = Stale["residual_deg"];
  EXPECT_DOUBLE_EQ(Mm[2], 1000.0 * Joint.Rows[3].Residual[5]);
  EXPECT_NEAR(std::hypot(Deg[0], Deg[1], Deg[2]), 2.0, 0.15);
  EXPECT_NEAR(Written_One["second_opinion"]["difference_mm"], 4.0, 1e-12);
  // 8 mm and a hundredth of a radian, from the 15th image on.
  const nlohmann::json Slip = File["slip"];
  EXPECT_EQ(Slip["evidence"], "found");
  EXPECT_EQ(Slip["tracker"], "board");
  EXPECT_EQ(Slip["line"], 16);
  EXPECT_EQ(Slip["image"], "image_14.png");
  const std::vector<double> Shift_Mm = Slip["shift_mm"], Turn_Deg = Slip["turn_deg"];
  EXPECT_NEAR(std::hypot(Shift_Mm[0], Shift_Mm[1], Shift_Mm[2]), 8.0, 1.5);
  EXPECT_NEAR(std::hypot(Turn_Deg[0], Turn_Deg[1], Turn_Deg[2]), 0.573, 0.06);
}

rigsync::Calibration_Result With_A_Lag(rigsync::Calibration_Result Result) {
  Result.Inputs.Lag.Is_Solved = true;
  Result.Solved->Joint.Lag = rigsync::Lag_Estimate{0.0983, 0.0137, false, {0.0098, 0.0087}};
  Result.Solved->Joint.At.Lag_Seconds = 0.0983;
  return Result;
}

rigsync::Calibration_Result With_A_Stated_Lag(rigsync::Calibration_Result Result) {
  Result.Inputs.Lag.Seconds = -0.0403;
  Result.Solved->Joint.Lag = rigsync::Lag_Estimate{-0.0403, 0.0, true, {0.0098, 0.0087}};
  return Result;
}

TEST(ResultFile, TheLagIsWrittenInMillisecondsWithWhatTheCaptureSaysOfIt) {
  const rigsync::Calibration_Result Result = Judged_Result({});
  EXPECT_TRUE(Written(Result)["joint"]["lag"].is_null());
  EXPECT_TRUE(Written(Result)["inputs"]["lag"].is_null());
  const nlohmann::json Solved = Written(With_A_Lag(Result));
  EXPECT_EQ(Solved["joint"]["lag"]["evidence"], "found");
  EXPECT_DOUBLE_EQ(Solved["joint"]["lag"]["ms"], 98.3);
  EXPECT_DOUBLE_EQ(Solved["joint"]["lag"]["half_width_ms"], 13.7);
  EXPECT_DOUBLE_EQ(Solved["joint"]["lag"]["speed_mm_s"], 9.8);
  EXPECT_NEAR(Solved["joint"]["lag"]["turn_deg_s"], 0.4985, 1e-4);
  EXPECT_EQ(Solved["inputs"]["lag"]["solved"], true);
  EXPECT_TRUE(Solved["inputs"]["lag"]["stated_ms"].is_null());
  const nlohmann::json Stated = Written(With_A_Stated_Lag(Result));
  EXPECT_EQ(Stated["joint"]["lag"]["evidence"], "stated");
  EXPECT_DOUBLE_EQ(Stated["inputs"]["lag"]["stated_ms"], -40.3);
}

TEST(ResultFile, EachEvidenceOfALagHasItsWord) {
  rigsync::Calibration_Result Result = With_A_Lag(Judged_Result({}));
  const std::pair<double, const char*> Cases[] = {
      {0.05, "found"}, {0.0983, "not_seen"}, {0.11, "open"}};
  for (const auto& [Half_Width, Word] : Cases) {
    Result.Solved->Joint.Lag->Half_Width_Seconds = Half_Width;
    EXPECT_EQ(Written(Result)["joint"]["lag"]["evidence"], Word);
  }
}

TEST(ResultFile, AnUnsolvedMountHasItsStatusAndNulls) {
  pose_rig::Options Few;
  Few.Images = 4;
  const nlohmann::json File = Written(Judged_Result(Few))["joint"];
  EXPECT_EQ(File["status"], "too_few_rows");
  for (const char* Key : {"transform_cam_tc", "covariance", "board_place", "noise", "at_talent"}) {
    EXPECT_TRUE(File[Key].is_null()) << Key;
  }
  EXPECT_EQ(File["lens"]["fx"], 1500);
}

TEST(ResultFile, NumbersOfAListStandOnOneLine) {
  const Scratch_Folder Scratch;
  rigsync::Calibration_Result Result = Whole_Result();
  Result.Transform_Cam_Tc = {1, 0, 0, 0.5, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  Result.Images = {{2, "a.png"}};
  rigsync::Write_Result(Scratch.Path(), Result);
  const std::string Text = Read_Text((Scratch.Path() / "result.json").string());
  EXPECT_THAT(Text, HasSubstr("\n  \"transform_cam_tc\": [1.0, 0.0, 0.0, 0.5, 0.0, "));
  EXPECT_THAT(Text, HasSubstr("\n    \"kept\": [],\n"));
  EXPECT_THAT(Text, testing::EndsWith("\n  }\n}\n"));
}

// Every kind of result there is.
std::vector<std::pair<std::string, rigsync::Calibration_Result>> Kinds_Of_Result() {
  pose_rig::Options Few, Clean;
  Few.Images = 4;
  Few.Lens_Mm = Clean.Lens_Mm = 0.2;
  rigsync::Calibration_Result Library_Only = Whole_Result();
  Library_Only.Inputs.Is_Library_Only = Library_Only.Inputs.Keeps_Body_Axes = true;
  Library_Only.Inputs.Stated_Board = rigsync::Board_Place{};
  rigsync::Calibration_Result Not_Finite = Judged_Result(Clean);
  Not_Finite.Transform_Cam_Tc[5] = std::numeric_limits<double>::quiet_NaN();
  Not_Finite.Opinion = rigsync::Judge_Mount(
      Eigen::Matrix4d::Constant(Not_Finite.Transform_Cam_Tc[5]), Not_Finite.Solved->Joint, {});
  rigsync::Calibration_Result Exception = Judged_Result(Clean);
  Exception.Code = std::nullopt;
  Exception.Transform_Cam_Tc.clear();
  rigsync::Calibration_Result Piped = Judged_Result(Slipped_Capture());
  Piped.Images.clear();
  Piped.Inputs.Solution = rigsync::Solution_Choice::Joint;
  return {{"slipped", Judged_Result(Slipped_Capture())},
          {"clean", Judged_Result(Clean)},
          {"few images", Judged_Result(Few)},
          {"library only", Library_Only},
          {"late", With_A_Lag(Judged_Result(Clean))},
          {"stated lag", With_A_Stated_Lag(Judged_Result(Clean))},
          {"not finite", Not_Finite},
          {"exception", Exception},
          {"piped", Piped}};
}

// With every key of the report, so that each is read back.
rigsync::Calibration_Result With_Report(rigsync::Calibration_Result Result) {
  using rigsync::Image_Fate;
  Result.Report.Version = "v0.0.9";
  Result.Report.Lens_Rms_Px = 0.123456;
  Result.Report.First_Reprojection_Px = 3.5;
  Result.Report.Reprojection_Px = 1.25;
  Result.Report.Norm_Reprojection = 1.25 / 1080.0;
  Result.Report.Filter_Spread_M = {0.002, 0.004, 0.01};
  Result.Report.Spread_M = {0.0005, 0.0006, std::nan("")};
  Result.Report.Max_Spread_M = 0.0006;
  Result.Report.Images = {{"image_0.png", Image_Fate::Kept, 0.25, 1.5, 2.5},
                          {"image_1.png", Image_Fate::Outlier, 0.5, 9.0, 9.0},
                          {"image_2.png", Image_Fate::No_Board, {}, {}, {}},
                          {"image_3.png", Image_Fate::Kept, 0.125, 1.0, 2.0},
                          {"image_4.png", Image_Fate::Unreadable, {}, {}, {}},
                          {"image_5.png", Image_Fate::Unknown, 0.5, {}, 3.0}};
  if (Result.Images.empty()) {
    for (int i = 0; i < 8; ++i) {
      Result.Images.push_back({std::size_t(i) + 2, "image_" + std::to_string(i) + ".png"});
    }
  }
  Result.Hashes.Csv = std::string(64, 'a');
  for (std::size_t i = 0; i < Result.Images.size(); ++i) {
    Result.Hashes.Images.push_back(i == 4 ? "" : std::string(64, char('0' + i % 10)));
  }
  Result.Seconds = 12.0625;
  Result.Inputs.Sensor_Size_Mm = {{23.7, 13.3}};
  Result.Inputs.Board_Accuracy = {0.7, 0.003};
  Result.Inputs.Talent_Distance = 4.2;
  Result.Inputs.Limits = {2.5, 0.2};
  Result.Inputs.Camera_Labels = rigsync::Body_Labels::Right_Forward_Up;
  return Result;
}

std::vector<std::pair<std::string, rigsync::Calibration_Result>> Kinds_With_Reports() {
  auto Kinds = Kinds_Of_Result();
  for (const auto& [Name, Result] : Kinds_Of_Result()) {
    Kinds.emplace_back(Name + ", with report", With_Report(Result));
  }
  rigsync::Calibration_Result Refused = With_Report(Whole_Result());
  Refused.Code = 13;
  Refused.Transform_Cam_Tc.clear();
  Refused.Report.Too_Few_Remaining = 3;
  Kinds.emplace_back("refused", Refused);
  rigsync::Calibration_Result Of_Another_Version = With_Report(Whole_Result());
  Of_Another_Version.Versions = {"0.0.1", "4.5.0", "3.4.1"};
  Kinds.emplace_back("of another version", Of_Another_Version);
  return Kinds;
}

// The second file is made from what was read of the first, so every number that is not read, or is
// read as another, shows.
TEST(ResultFile, WhatWasReadIsWrittenAgainWithTheSameBytes) {
  for (const auto& [Name, Result] : Kinds_With_Reports()) {
    const Scratch_Folder First, Second;
    rigsync::Write_Result(First.Path(), Result);
    rigsync::Write_Result(Second.Path(), rigsync::Read_Result(First.Path() / "result.json"));
    EXPECT_EQ(Read_Text((Second.Path() / "result.json").string()),
              Read_Text((First.Path() / "result.json").string()))
        << Name;
  }
}

TEST(ResultFile, TheAxesOfTheCamerasTrackerAreReadBackAndNullWhereTheyAreUnknown) {
  using rigsync::Body_Labels;
  rigsync::Calibration_Result Result = Whole_Result();
  EXPECT_TRUE(Written(Result)["inputs"].at("camera_tracker_axes").is_null());
  EXPECT_EQ(Written_And_Read(Result).Inputs.Camera_Labels, Body_Labels::Unknown);
  Result.Inputs.Camera_Labels = Body_Labels::Right_Forward_Up;
  EXPECT_EQ(Written(Result)["inputs"]["camera_tracker_axes"], "right_forward_up");
  EXPECT_EQ(Written_And_Read(Result).Inputs.Camera_Labels, Body_Labels::Right_Forward_Up);
  const Scratch_Folder Scratch;
  nlohmann::json Root = Written(Result);
  Root["inputs"]["camera_tracker_axes"] = "up";
  EXPECT_THAT(Refusal(Scratch.Write("result.json", Root.dump())),
              HasSubstr("'camera_tracker_axes' is not right_forward_up"));
  Root["inputs"].erase("camera_tracker_axes");  // as an earlier version wrote it
  EXPECT_EQ(rigsync::Read_Result(Scratch.Write("result.json", Root.dump())).Inputs.Camera_Labels,
            Body_Labels::Unknown);
}

TEST(ResultFile, AnotherUnitInTheFileMovesNoBit) {
  std::mt19937 Random(7);
  for (int i = 0; i < 20000; ++i) {
    const double Value = std::ldexp(static_cast<double>(Random()) / 3.0, int(Random() % 40) - 60);
    for (const double Factor : {rigsync::Degrees_Per_Radian, 1000.0, 1080.0, 1.37}) {
      const double Told = Factor * Value;
      ASSERT_EQ(Factor * rigsync::Unscaled(Told, Factor), Told) << Value;
    }
  }
  EXPECT_TRUE(std::isnan(rigsync::Unscaled(std::nan(""), 1000.0)));
  EXPECT_EQ(rigsync::Unscaled(HUGE_VAL, 1000.0), HUGE_VAL);
}

TEST(ResultFile, TheReportIsReadBackInTheOrderOfItsLines) {
  using rigsync::Image_Fate;
  const rigsync::Calibration_Result Read = Written_And_Read(With_Report(Whole_Result()));
  ASSERT_EQ(Read.Report.Images.size(), 6u);
  const Image_Fate Fates[] = {Image_Fate::Kept, Image_Fate::Outlier,    Image_Fate::No_Board,
                              Image_Fate::Kept, Image_Fate::Unreadable, Image_Fate::Unknown};
  for (std::size_t i = 0; i < 6; ++i) {
    EXPECT_EQ(Read.Report.Images[i].Name, "image_" + std::to_string(i) + ".png");
    EXPECT_EQ(Read.Report.Images[i].Fate, Fates[i]) << i;
    EXPECT_EQ(rigsync::Csv_Line(Read, i), i + 2);
  }
  EXPECT_EQ(Read.Report.Images[0].First_Reprojection_Px, 2.5);
  EXPECT_EQ(Read.Report.Images[0].Reprojection_Px, 1.5);
  EXPECT_EQ(Read.Report.Images[3].Axis_Difference_Deg, 0.125);
  EXPECT_EQ(Read.Report.Images[2].Reprojection_Px, std::nullopt);
  EXPECT_THAT(rigsync::Drop_Reason(Read.Report, Read.Report.Images[1]),
              HasSubstr("position over 2.6, 5.2 or 13.0 mm"));
  EXPECT_EQ(Read.Images.size(), 8u);
  EXPECT_EQ(Read.Report.Norm_Reprojection, 1.25 / 1080.0);
  EXPECT_EQ(Read.Inputs.Talent_Distance, 4.2);
  EXPECT_EQ(Read.Hashes.Images[3], std::string(64, '3'));
  EXPECT_EQ(Read.Hashes.Images[4], "");
}

TEST(ResultFile, RowsWithABoardThatIsCutOffAreToldAndReadBackOnlyWhereThereAreSome) {
  rigsync::Calibration_Result Result = Judged_Result(Slipped_Capture());
  const nlohmann::json Without = Written(Result)["joint"];
  EXPECT_FALSE(Without.contains("cut_off_boards"));
  EXPECT_FALSE(Without["rows"][0].contains("cut_off"));
  rigsync::Joint_Solution& Joint = Result.Solved->Joint;
  // Row 3 was left out.
  for (const std::size_t i : {1u, 2u, 3u}) Joint.Rows[i].Is_Cut_Off = true;
  const nlohmann::json With = Written(Result)["joint"];
  EXPECT_EQ(With["cut_off_boards"], 2);
  EXPECT_EQ(With["rows"][1]["cut_off"], true);
  EXPECT_FALSE(With["rows"][0].contains("cut_off"));
  EXPECT_EQ(Said_By("check_schema.py", Result), "");
  const rigsync::Calibration_Result Read = Written_And_Read(Result);
  for (std::size_t i = 0; i < Joint.Rows.size(); ++i) {
    EXPECT_EQ(Read.Solved->Joint.Rows[i].Is_Cut_Off, Joint.Rows[i].Is_Cut_Off) << i;
  }
}

TEST(ResultFile, TheJointSolutionIsReadBackAsItWasSolved) {
  const rigsync::Calibration_Result Result = Judged_Result(Slipped_Capture());
  const rigsync::Calibration_Result Read = Written_And_Read(Result);
  const rigsync::Joint_Solution &Joint = Result.Solved->Joint, &Read_Joint = Read.Solved->Joint;
  EXPECT_EQ(Read_Joint.Status, rigsync::Solve_Status::Solved);
  EXPECT_EQ(Read_Joint.At.Transform_Cam_Tc.matrix(), Joint.At.Transform_Cam_Tc.matrix());
  EXPECT_EQ(Read_Joint.At.Transform_Tr_Chart.matrix(), Joint.At.Transform_Tr_Chart.matrix());
  EXPECT_EQ(Read_Joint.At.Square_Scale, Joint.At.Square_Scale);
  EXPECT_EQ(Read_Joint.Camera_Mount.Covariance, Joint.Camera_Mount.Covariance);
  EXPECT_EQ(Read_Joint.Camera_Mount.Freedom, Joint.Camera_Mount.Freedom);
  EXPECT_EQ(Read_Joint.Camera_Mount.Widest_Mm.Half_Width, Joint.Camera_Mount.Widest_Mm.Half_Width);
  EXPECT_EQ(Read_Joint.Board_Mount.Covariance, Joint.Board_Mount.Covariance);
  EXPECT_DOUBLE_EQ(Read_Joint.Noise.Rotation_Rad, Joint.Noise.Rotation_Rad);
  EXPECT_DOUBLE_EQ(Read.Solved->Seen.Corner_Variance, Result.Solved->Seen.Corner_Variance);
  EXPECT_EQ(Read.Solved->Seen.Lens_Covariance, Result.Solved->Seen.Lens_Covariance);
  EXPECT_EQ(Read.Solved->Lens_Px.Fy, 1500.5);
  ASSERT_EQ(Read_Joint.Rows.size(), 24u);
  EXPECT_EQ(Read_Joint.Rows[3].Row, 3u);
  EXPECT_FALSE(Read_Joint.Rows[3].Is_Kept);
  EXPECT_NEAR((Read_Joint.Rows[3].Residual - Joint.Rows[3].Residual).norm(), 0.0, 1e-15);
  EXPECT_EQ(Read.Solved->Likeliest_Slip->First_Row, 14u);
  EXPECT_EQ(Read.Solved->Likeliest_Slip->Tracker, rigsync::Slipped_Tracker::Board);
  EXPECT_EQ(Read.Solved->Lens_Check->F, 12.5);
  EXPECT_EQ(Read.Solved->Place->Difference_Mm, 4.5);
  EXPECT_EQ(Read.Opinion->Half_Width_Mm, Result.Opinion->Half_Width_Mm);
  EXPECT_THAT(Read.Cause->Lines, ElementsAre(16u, 17u));
}

TEST(ResultFile, TheCrossCheckIsReadBackAsItWasMade) {
  const rigsync::Cross_Check Read = *Written_And_Read(Judged_Result(Slipped_Capture())).Halves;
  EXPECT_EQ(Read.Status, rigsync::Cross_Status::Compared);
  EXPECT_EQ(Read.Halves[1].Rows, 11u);
  EXPECT_EQ(Read.Halves[1].Lens_Px.K2, 0.03);
  EXPECT_EQ(Read.Halves[1].Transform_Cam_Tc.translation().x(), 0.0005);
  EXPECT_EQ(Read.Mm.Seen, 0.5);
  EXPECT_EQ(Read.Deg.Expected, 0.0625);
  EXPECT_EQ(Read.Px.Ratio(), 1.2);
  EXPECT_EQ(Read.Cols, 2);
  EXPECT_EQ(Read.Rows, 1);
  EXPECT_EQ(Read.Points[1].Pixel, Eigen::Vector2d(1440.5, 540));
  EXPECT_EQ(Read.Points[0].Difference_Px, Eigen::Vector2d(1, -2));
}

// Without a comparison only the status says why; a result without a check has null.
TEST(ResultFile, ACrossCheckThatWasNotMadeSaysWhy) {
  using rigsync::Cross_Status;
  const std::pair<Cross_Status, const char*> Cases[] = {
      {Cross_Status::Too_Few_Rows, "too_few_rows"},
      {Cross_Status::Whole_Unsolved, "whole_unsolved"},
      {Cross_Status::Half_Unsolved, "half_unsolved"}};
  for (const auto& [Status, Name] : Cases) {
    rigsync::Calibration_Result Result = Judged_Result(Slipped_Capture());
    Result.Halves = rigsync::Cross_Check{};
    Result.Halves->Status = Status;
    const nlohmann::json File = Written(Result)["cross_check"];
    EXPECT_EQ(File["status"], Name);
    EXPECT_TRUE(File["difference_mm"].is_null());
    EXPECT_EQ(Said_By("check_schema.py", Result), "");
    EXPECT_EQ(Written_And_Read(Result).Halves->Status, Status);
  }
  EXPECT_TRUE(Written(Whole_Result())["cross_check"].is_null());
  EXPECT_FALSE(Written_And_Read(Whole_Result()).Halves);
}

// Nothing is known of a mount that was not solved.
TEST(ResultFile, AnUnsolvedMountIsReadAsOneOfWhichNothingIsKnown) {
  pose_rig::Options Few;
  Few.Images = 4;
  const rigsync::Calibration_Result Read = Written_And_Read(Judged_Result(Few));
  EXPECT_EQ(Read.Solved->Joint.Status, rigsync::Solve_Status::Too_Few_Rows);
  EXPECT_EQ(Read.Solved->Joint.Camera_Mount.Half_Width_Mm.x(), HUGE_VAL);
  EXPECT_EQ(Read.Opinion->Half_Width_Deg, HUGE_VAL);
  EXPECT_TRUE(std::isnan(Read.Solved->Joint.Noise.Position));
  EXPECT_TRUE(Read.Joint_Transform_Cam_Tc.empty());
}

// The list of all images came with the hashes.
TEST(ResultFile, AFileWithoutHashesHasTheImagesThatItNames) {
  const Scratch_Folder Scratch;
  rigsync::Calibration_Result Result = With_Report(Judged_Result(Slipped_Capture()));
  Result.Images.push_back({30, "never reached.png"});
  rigsync::Write_Result(Scratch.Path(), Result);
  nlohmann::json File = Read_Json(Scratch.Path() / "result.json");
  File["inputs"].erase("hashes");
  for (const char* List : {"kept", "dropped", "unknown"}) {
    for (nlohmann::json& Image : File["images"][List]) Image.erase("first_reprojection_px");
  }
  const rigsync::Calibration_Result Read =
      rigsync::Read_Result(Scratch.Write("earlier.json", File.dump()));
  ASSERT_EQ(Read.Images.size(), 25u);
  EXPECT_EQ(Read.Images[14].Name, "image_14.png");
  EXPECT_EQ(Read.Images[14].Line, 16u);
  EXPECT_EQ(Read.Images[24].Name, "");
  EXPECT_EQ(Read.Hashes.Csv, "");
  EXPECT_TRUE(Read.Hashes.Images.empty());
  EXPECT_EQ(Read.Report.Images[0].First_Reprojection_Px, std::nullopt);
  EXPECT_EQ(Read.Report.Images[0].Reprojection_Px, 1.5);
  EXPECT_EQ(Read.Solved->Joint.Rows[3].Row, 3u);
}

TEST(ResultFile, FollowsItsSchema) {
  for (const auto& [Name, Result] : Kinds_With_Reports()) {
    EXPECT_EQ(Said_By("check_schema.py", Result), "") << Name;
  }
}

// Any key beside those that are written, and any that is missing, at every level.
TEST(ResultFile, TheSchemaRefusesUnknownAndMissingKeys) {
  EXPECT_EQ(Said_By("check_schema_is_sharp.py", Judged_Result(Slipped_Capture())), "");
}

// Paths of all values, "joint.slip.line"; elements of lists have that of the list.
// NOLINTNEXTLINE(misc-no-recursion): as deep as the document
void Add_Paths(const nlohmann::json& Value, const std::string& Path, std::set<std::string>& Paths) {
  if (!Path.empty()) Paths.insert(Path);
  if (!Value.is_structured()) return;
  for (const auto& [Key, Element] : Value.items()) {
    Add_Paths(Element, Value.is_array() ? Path : Path + (Path.empty() ? "" : ".") + Key, Paths);
  }
}

// The text behind each key in the page's tables.
std::map<std::string, std::string> Keys_Of_The_Page() {
  std::map<std::string, std::string> Texts;
  std::istringstream Page(Read_Text(std::string(RIGSYNC_SOURCE_DIR) + "/docs/result-file.md"));
  const std::regex Row_Form("\\| (`[^|]*`) \\|(.*)\\|"), Key_Form("`([^`]*)`");
  bool Is_Key_Table = false;
  for (std::string Line; std::getline(Page, Line);) {
    if (Line.rfind("| Key |", 0) == 0) Is_Key_Table = true;
    if (Line.empty()) Is_Key_Table = false;
    std::smatch Row;
    if (!Is_Key_Table || !std::regex_match(Line, Row, Row_Form)) continue;
    const std::string Names = Row[1];
    for (std::sregex_iterator Name(Names.begin(), Names.end(), Key_Form), End; Name != End;
         ++Name) {
      Texts[(*Name)[1]] = Row[2];
    }
  }
  return Texts;
}

// A key has a row of its own, or is named in the row of an object that holds it.
bool Is_On_The_Page(const std::string& Path, const std::map<std::string, std::string>& Texts) {
  if (Texts.count(Path) > 0) return true;
  const std::string Name = "`" + Path.substr(Path.rfind('.') + 1) + "`";
  for (std::size_t Dot = Path.rfind('.'); Dot != std::string::npos && Dot > 0;
       Dot = Path.rfind('.', Dot - 1)) {
    const auto Row = Texts.find(Path.substr(0, Dot));
    if (Row != Texts.end()) return Row->second.find(Name) != std::string::npos;
  }
  return false;
}

TEST(ResultFile, ThePageHasEveryKeyAndNoOther) {
  rigsync::Calibration_Result Result = Judged_Result(Slipped_Capture());
  Result.Report.Images = {{"a.png", rigsync::Image_Fate::Kept, 0.25, 1.5, 2.5},
                          {"b.png", rigsync::Image_Fate::Outlier, 2.0, 9.0, 9.5}};
  Result.Solved->Joint.Rows[0].Is_Cut_Off = true;
  std::set<std::string> Paths;
  Add_Paths(Written(Result), "", Paths);
  const auto Texts = Keys_Of_The_Page();
  for (const std::string& Path : Paths) {
    const auto Is_Inside = [&](const std::string& Other) {
      return Other.rfind(Path + ".", 0) == 0;
    };
    const bool Has_Parts = std::any_of(Paths.begin(), Paths.end(), Is_Inside);
    EXPECT_TRUE(Has_Parts || Is_On_The_Page(Path, Texts)) << Path << " is not on the page";
  }
  for (const auto& [Key, Text] : Texts) {
    EXPECT_EQ(Paths.count(Key), 1u) << Key << " is on the page only";
  }
}

TEST(ResultFile, ListsImagesWithAnUnknownFateSeparately) {
  const Scratch_Folder Scratch;
  rigsync::Calibration_Result Result = Whole_Result();
  Result.Report.Images = {{"a.png", rigsync::Image_Fate::Unknown, 0.25, 1.5, 2.5},
                          {"b.png", rigsync::Image_Fate::Outlier, 2.0, 9.0, 9.5}};
  Result.Images = {{2, "a.png"}, {3, "b.png"}};
  rigsync::Write_Result(Scratch.Path(), Result);
  const nlohmann::json Images = Read_Json(Scratch.Path() / "result.json")["images"];
  EXPECT_TRUE(Images["kept"].empty());
  EXPECT_EQ(Images["dropped"].size(), 1u);
  EXPECT_EQ(Images["unknown"], nlohmann::json::parse(R"([{"image": "a.png", "line": 2,
      "axis_difference_deg": 0.25, "first_reprojection_px": 2.5, "reprojection_px": 1.5}])"));
}

TEST(ResultFile, WritingLeavesOneFileAndReplacesAnEarlierOne) {
  const Scratch_Folder Scratch;
  Scratch.Write("result.json", "earlier");
  rigsync::Write_Result(Scratch.Path(), Whole_Result());
  EXPECT_EQ(Read_Json(Scratch.Path() / "result.json")["code"], 0);
  std::size_t Files = 0;
  for (const auto& Entry : std::filesystem::directory_iterator(Scratch.Path())) {
    ++Files;
    EXPECT_EQ(Entry.path().filename(), "result.json");
  }
  EXPECT_EQ(Files, 1u);
}

TEST(ResultFile, AFailedWriteThrowsAndKeepsTheEarlierFile) {
  const Scratch_Folder Scratch;
  EXPECT_THROW(rigsync::Write_Result(Scratch.Path() / "none", Whole_Result()), std::runtime_error);
  // A file can't replace a folder of the same name.
  std::filesystem::create_directories(Scratch.Path() / "result.json/inside");
  EXPECT_THROW(rigsync::Write_Result(Scratch.Path(), Whole_Result()), std::runtime_error);
  EXPECT_TRUE(std::filesystem::is_directory(Scratch.Path() / "result.json/inside"));
}

// A document within a document, as many levels deep.
std::string Nested(const std::string& Key, std::size_t Levels) {
  return "{\"format\":\"rigsync-result\",\"format_version\":1,\"" + Key +
         "\":" + std::string(Levels, '[') + std::string(Levels, ']') + "}";
}

// Copying such a value ended the program: each level takes a part of the stack.
TEST(ResultFile, AFileThatIsNestedTooDeepIsRefused) {
  const Scratch_Folder Scratch;
  for (const char* const Key : {"format", "code", "lens", "unknown"}) {
    const std::string File = Scratch.Write("r.json", Nested(Key, 1'000'000));
    EXPECT_THAT(Refusal(File), HasSubstr("r.json: is not a result file"));
    EXPECT_FALSE(rigsync::Is_Result_File(File));
  }
  EXPECT_THAT(Refusal(Scratch.Write("r.json", Nested("unknown", 64))), HasSubstr("'lens'"));
  EXPECT_THAT(Refusal(Scratch.Write("r.json", Nested("unknown", 65))),
              HasSubstr("is not a result"));
}

TEST(ResultFile, APipeOrADeviceIsRefusedUnread) {
  const Scratch_Folder Scratch;
  ASSERT_EQ(mkfifo((Scratch.Path() / "pipe").c_str(), 0600), 0);
  for (const std::string& File : {(Scratch.Path() / "pipe").string(), std::string("/dev/zero")}) {
    EXPECT_THAT(
        Refusal(File),
        HasSubstr(": is a pipe or a device, to be saved as a file first; expected a result.json"));
    EXPECT_FALSE(rigsync::Is_Result_File(File));
  }
}

TEST(ResultFile, AFileThatIsNoResultIsRefusedByName) {
  const Scratch_Folder Scratch;
  const std::pair<const char*, const char*> Cases[] = {
      {"", "not a result file"},
      {"{", "not a result file"},
      {"[1]", "not a result file"},
      {"{\"format\":\"other\"}", "not a result file"},
      {"{\"format\":\"rigsync-result\"}", "another version"},
      {"{\"format\":\"rigsync-result\",\"format_version\":2}", "another version"},
      {"{\"format\":\"rigsync-result\",\"format_version\":1}", "'lens' is missing"},
      // 2 to the 32nd: cut to an int, it would be 0.
      {"{\"format\":\"rigsync-result\",\"format_version\":1,\"code\":4294967296}",
       "'code' is 4294967296"},
      {"{\"format\":\"rigsync-result\",\"format_version\":1,\"lens\":{}}",
       "'image_size' is missing"},
      {"{\"format\":\"rigsync-result\",\"format_version\":1,\"lens\":{\"image_size\":[1]}}",
       "'image_size' is not a list of 2 numbers"},
      {"{\"format\":\"rigsync-result\",\"format_version\":1,\"lens\":{\"image_size\":[1,\"2\"]}}",
       "'image_size' has an element that is not a number; expected a result.json"},
      {R"({"format":"rigsync-result","format_version":1,"verdict":"good","transform_cam_tc":null,
           "lens":{"image_size":null,"norm_fxy":null,"norm_cxy":null,"distortion":null}})",
       "'verdict' is not agree, look, dont_use or null"},
      {R"({"format":"rigsync-result","format_version":1,"solution":"both","transform_cam_tc":null,
           "lens":{"image_size":null,"norm_fxy":null,"norm_cxy":null,"distortion":null}})",
       "'solution' is not library or joint"},
      {R"({"format":"rigsync-result","format_version":1,"inputs":{"board":[11,-8]},
           "lens":{"image_size":null,"norm_fxy":null,"norm_cxy":null,"distortion":null}})",
       "'board' has an element that is not a whole number"},
      {R"({"format":"rigsync-result","format_version":1,"inputs":{"board":[11,1001]},
           "lens":{"image_size":null,"norm_fxy":null,"norm_cxy":null,"distortion":null}})",
       "'board' is no board"},
      {R"({"format":"rigsync-result","format_version":1,"transform_cam_tc":null,
           "images":{"given":4000000000},
           "lens":{"image_size":null,"norm_fxy":null,"norm_cxy":null,"distortion":null}})",
       "'given' is not a whole number"},
      {R"({"format":"rigsync-result","format_version":1,"transform_cam_tc":null,
           "joint":{"status":"solved","transform_cam_tc":null},
           "lens":{"image_size":null,"norm_fxy":null,"norm_cxy":null,"distortion":null}})",
       "'transform_cam_tc' is null"},
      {R"({"format":"rigsync-result","format_version":1,"transform_cam_tc":null,"solution":"joint",
           "joint":{"status":"solved","transform_cam_tc":[1,0,0,0,0,1,0,0,0,0,1,0,0,0,0,1]},
           "lens":{"image_size":null,"norm_fxy":null,"norm_cxy":null,"distortion":null}})",
       "'transform_cam_tc' is null"},
      {R"({"format":"rigsync-result","format_version":1,"transform_cam_tc":null,
           "joint":{"status":"too_few_rows","rows":[{"line":7}]},"inputs":{"hashes":{"images":[]}},
           "lens":{"image_size":null,"norm_fxy":null,"norm_cxy":null,"distortion":null}})",
       "no image of the capture is in line 7"},
  };
  for (const auto& [Text, Why] : Cases) {
    SCOPED_TRACE(Text);
    EXPECT_THAT(Refusal(Scratch.Write("r.json", Text)),
                testing::AllOf(HasSubstr("r.json"), HasSubstr(Why)));
  }
  EXPECT_THAT(Refusal((Scratch.Path() / "none.json").string()),
              HasSubstr("can't be opened (No such file or directory)"));
}

}  // namespace
