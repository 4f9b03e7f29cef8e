// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/result_file.h"
#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/system/version.h"

#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace {

using testing::AllOf;
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
  return Result;
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

TEST(ResultFile, ANumberThatIsNotFiniteIsNullAndRefusedWhenRead) {
  for (const double Value :
       {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
    const Scratch_Folder Scratch;
    rigsync::Calibration_Result Result = Whole_Result();
    Result.Transform_Cam_Tc[3] = Value;
    rigsync::Write_Result(Scratch.Path(), Result);
    const nlohmann::json File = Read_Json(Scratch.Path() / "result.json");
    EXPECT_TRUE(File["transform_cam_tc"][3].is_null());
    EXPECT_EQ(File["usable"], false);
    EXPECT_THAT(Refusal((Scratch.Path() / "result.json").string()),
                AllOf(HasSubstr("result.json: 'transform_cam_tc' has NaN or infinite values"),
                      HasSubstr("a NaN tracker value in the CSV"), HasSubstr("'rigsync inspect'"),
                      Not(HasSubstr("expected a result.json"))));
  }
}

TEST(ResultFile, IsUsableWithCode0Or99AndFiniteNumbersOnly) {
  const auto Written = [](const rigsync::Calibration_Result& Result) {
    const Scratch_Folder Scratch;
    rigsync::Write_Result(Scratch.Path(), Result);
    return Read_Json(Scratch.Path() / "result.json")["usable"];
  };
  rigsync::Calibration_Result Result = Whole_Result();
  for (const int Code : {0, 99}) {
    Result.Code = Code;
    EXPECT_EQ(Written(Result), true) << Code;
  }
  for (const int Code : {1, 4, 6, 13, 14}) {
    Result.Code = Code;
    EXPECT_EQ(Written(Result), false) << Code;
  }
  Result.Code = std::nullopt;
  EXPECT_EQ(Written(Result), false);
  Result = Whole_Result();
  Result.Norm_Cxy[1] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(Written(Result), false);
}

TEST(ResultFile, ListsImagesWithAnUnknownFateSeparately) {
  const Scratch_Folder Scratch;
  rigsync::Calibration_Result Result = Whole_Result();
  Result.Report.Images = {{"a.png", rigsync::Image_Fate::Unknown, 0.25, 1.5},
                          {"b.png", rigsync::Image_Fate::Outlier, 2.0, 9.0}};
  Result.Images = {{2, "a.png"}, {3, "b.png"}};
  rigsync::Write_Result(Scratch.Path(), Result);
  const nlohmann::json Images = Read_Json(Scratch.Path() / "result.json")["images"];
  EXPECT_TRUE(Images["kept"].empty());
  EXPECT_EQ(Images["dropped"].size(), 1u);
  EXPECT_EQ(Images["unknown"], nlohmann::json::parse(R"([{"image": "a.png", "line": 2,
      "axis_difference_deg": 0.25, "reprojection_px": 1.5}])"));
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
