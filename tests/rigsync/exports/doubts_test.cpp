// SPDX-License-Identifier: Apache-2.0
//
// A doubtful result in a file: the doubts are there, and every reader still finds what it found.
#include "rigsync/exports/doubts.h"

#include "rigsync/exports/file_target.h"
#include "tests/rigsync/exports/solved_rig.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <opencv2/core.hpp>
#include <string>

namespace {

using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* Doubts = "this result must not be used: the mounts contradict each other.";

std::string Text_Of(const std::string& Name) {
  const Scratch_Folder Scratch;
  rigsync::Calibration_Result Result = Solved_Rig().Write(Scratch);
  Result.Inputs.Sensor_Size_Mm = {36.0, 20.25};
  rigsync::File_Request Request = Request_For(Result);
  Request.Sensor_Mm = Result.Inputs.Sensor_Size_Mm;
  for (const rigsync::File_Target& Target : rigsync::File_Targets()) {
    if (Target.Name == Name) return Target.Write(Request).Text;
  }
  return "";
}

TEST(Doubts, OfAGoodResultThereIsNothingInTheFile) {
  for (const rigsync::File_Target& Target : rigsync::File_Targets()) {
    EXPECT_EQ(rigsync::With_Doubts(Target.Name, "as it was", ""), "as it was");
  }
}

TEST(Doubts, StandAtTheTopOfAScriptAndOfACamchain) {
  for (const char* Name : {"blender", "unreal-lens", "kalibr"}) {
    const std::string Text = Text_Of(Name), Doubted = rigsync::With_Doubts(Name, Text, Doubts);
    EXPECT_THAT(Doubted, StartsWith("# Warning: this result must not be used: ")) << Name;
    EXPECT_THAT(Doubted, testing::EndsWith("\n#\n" + Text)) << Name;
  }
}

TEST(Doubts, AreACommentThatOpencvSkips) {
  const std::string Doubted = rigsync::With_Doubts("opencv", Text_Of("opencv"), Doubts);
  EXPECT_THAT(Doubted, StartsWith("%YAML:1.0\n---\n# Warning: this result must not be used: "));
  const cv::FileStorage File(Doubted, cv::FileStorage::READ | cv::FileStorage::MEMORY);
  EXPECT_EQ(static_cast<int>(File["image_width"]), 1920);
  cv::Mat Camera_Matrix;
  File["camera_matrix"] >> Camera_Matrix;
  EXPECT_EQ(Camera_Matrix.at<double>(0, 0), 1440.0);
}

TEST(Doubts, AreTheFirstNoteOfASample) {
  const std::string Text = Text_Of("opentrackio");
  const std::string Doubted = rigsync::With_Doubts("opentrackio", Text, Doubts);
  nlohmann::json Plain = nlohmann::json::parse(Text), Noted = nlohmann::json::parse(Doubted);
  EXPECT_EQ(Noted["tracker"]["notes"],
            std::string("Warning: ") + Doubts + " " + Plain["tracker"]["notes"].get<std::string>());
  Noted["tracker"].erase("notes");
  Plain["tracker"].erase("notes");
  EXPECT_EQ(Noted, Plain);
}

TEST(Doubts, AreNoneOfCorners) {
  EXPECT_EQ(rigsync::With_Doubts("corners", "# filename x y level\n", Doubts),
            "# filename x y level\n");
}

}  // namespace
