// SPDX-License-Identifier: Apache-2.0
//
// A doubtful result in a file: the doubts are there, and every reader still finds what it found.
#include "rigsync/exports/file_target.h"
#include "rigsync/exports/unreal_lens_script.h"
#include "tests/rigsync/exports/solved_rig.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <optional>
#include <string>

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::StartsWith;

constexpr const char* Doubts = "this result must not be used: the mounts contradict each other.";

std::string Text_Of(const std::string& Name, const std::string& Doubts_Of_Result) {
  const Scratch_Folder Scratch;
  rigsync::Calibration_Result Result = Solved_Rig().Write(Scratch);
  Result.Inputs.Sensor_Size_Mm = {36.0, 20.25};
  rigsync::File_Request Request = Request_For(Result);
  Request.Doubts = Doubts_Of_Result;
  for (const rigsync::File_Target& Target : rigsync::File_Targets()) {
    if (Target.Name == Name) return Target.Write(Request).Text;
  }
  return "";
}

TEST(Doubts, StandAtTheTopOfAScriptAndOfACamchain) {
  for (const char* Name : {"blender", "unreal-lens", "kalibr"}) {
    const std::string Doubted = Text_Of(Name, Doubts);
    EXPECT_THAT(Doubted, StartsWith("# Warning: this result must not be used: ")) << Name;
    EXPECT_THAT(Doubted, EndsWith("\n#\n" + Text_Of(Name, ""))) << Name;
  }
}

TEST(Doubts, OfOneOfSeveralResultsNameIt) {
  const Scratch_Folder Scratch;
  const rigsync::Calibration_Result Result = Solved_Rig().Write(Scratch);
  const std::string Text = rigsync::Unreal_Lens_Script(
                               {{"wide.json", Result, {}, ""}, {"tele.json", Result, {}, Doubts}},
                               std::nullopt, std::nullopt)
                               .Text;
  EXPECT_THAT(Text, StartsWith("# Warning: tele.json: this result must not be used: "));
  EXPECT_EQ(Text.find("Warning"), Text.rfind("Warning"));
}

TEST(Doubts, AreACommentThatOpencvSkips) {
  const std::string Doubted = Text_Of("opencv", Doubts);
  EXPECT_THAT(Doubted, StartsWith("%YAML:1.0\n---\n# Warning: this result must not be used: "));
  const cv::FileStorage File(Doubted, cv::FileStorage::READ | cv::FileStorage::MEMORY);
  EXPECT_EQ(static_cast<int>(File["image_width"]), 1920);
  cv::Mat Camera_Matrix;
  File["camera_matrix"] >> Camera_Matrix;
  EXPECT_EQ(Camera_Matrix.at<double>(0, 0), 1440.0);
}

std::string Notes_With(const std::string& Doubts_Of_Result) {
  return nlohmann::json::parse(Text_Of("opentrackio", Doubts_Of_Result))["tracker"]["notes"];
}

// A text of the format has 1,023 characters; "Warning: " has nine of them. Each of these letters
// has two bytes.
TEST(Doubts, ThatAreTooLongAreCutBetweenLetters) {
  std::string Long;
  for (int i = 0; i < 1100; ++i) Long += "\xC3\xBC";
  EXPECT_EQ(Notes_With(Long), "Warning: " + Long.substr(0, std::size_t{2} * 1014));
  EXPECT_EQ(Notes_With("a" + Long), "Warning: a" + Long.substr(0, std::size_t{2} * 1013));
}

TEST(Doubts, AreTheFirstNoteOfASample) {
  EXPECT_EQ(Notes_With(Doubts), std::string("Warning: ") + Doubts + " " + Notes_With(""));
}

// A text of the format has at most 1023 characters.
TEST(Doubts, StayWithinTheLengthOfANote) {
  EXPECT_THAT(
      Notes_With(std::string(900, 'x') + "."),
      AllOf(StartsWith("Warning: xxx"), EndsWith("x. transforms: the tracker; the camera on "
                                                 "it")));
  EXPECT_EQ(Notes_With(std::string(2000, 'x')).size(), 1023U);
}

}  // namespace
