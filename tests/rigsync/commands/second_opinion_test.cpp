// SPDX-License-Identifier: Apache-2.0
//
// The second opinion of 'rigsync calibrate' on simulated captures, from CSV to exit status.
#include "simulate/simulate.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <Eigen/Geometry>

#include <cmath>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

using Words = std::vector<std::string>;

Words operator+(Words Left, const Words& Right) {
  Left.insert(Left.end(), Right.begin(), Right.end());
  return Left;
}

// A capture with the noise of a usual tracking system.
fs::path Simulate(const Scratch_Folder& Scratch, const Words& More) {
  const fs::path Folder = Scratch.Path() / "capture";
  const Finished Done =
      Rigsync(Words{"simulate", Folder.string(), "--images", "20", "--size", "960x540",
                    "--position-noise", "0.3mm", "--rotation-noise", "0.03", "--quiet"} +
              More);
  EXPECT_EQ(Done.Status, 0) << Done.Error;
  return Folder;
}

struct Calibrated {
  Finished Done;
  nlohmann::json File;
};

Calibrated Calibrate(const fs::path& Capture, const Words& More = {},
                     const std::string& Square = "30mm") {
  const fs::path Out = Capture.parent_path() / "out";
  Calibrated Result;
  Result.Done = Rigsync(Words{"calibrate", (Capture / "capture.csv").string(), "--board", "11x8",
                              "--square", Square, "--out", Out.string(), "--quiet"} +
                        More);
  if (fs::exists(Out / "result.json")) Result.File = Read_Json(Out / "result.json");
  return Result;
}

double Error_Mm(const nlohmann::json& Transform, const fs::path& Capture) {
  const Eigen::Matrix4d Truth = simulate::Read_Truth(Capture / "truth.json").Transform_Cam_Tc;
  double Sum = 0;
  for (int r = 0; r < 3; ++r) {
    Sum +=
        std::pow(Transform.at(static_cast<std::size_t>(4 * r + 3)).get<double>() - Truth(r, 3), 2);
  }
  return 1000.0 * std::sqrt(Sum);
}

// A capture of 20 images with this noise is good to a millimetre.
constexpr double Tolerance_Mm = 1.0;

TEST(SecondOpinion, NobodyHasToMeasureWhereTheBoardIs) {
  const Scratch_Folder Scratch;
  const fs::path Capture = Simulate(Scratch, {});
  const Calibrated Result = Calibrate(Capture);
  EXPECT_EQ(Result.Done.Status, 0) << Result.Done.Output;
  EXPECT_THAT(Result.Done.Output, StartsWith("Usable. "));
  EXPECT_EQ(Result.File["usable"], true);
  EXPECT_EQ(Result.File["verdict"], "agree");
  EXPECT_LT(Error_Mm(Result.File["transform_cam_tc"], Capture), Tolerance_Mm);
  EXPECT_LT(Error_Mm(Result.File["joint"]["transform_cam_tc"], Capture), Tolerance_Mm);
  EXPECT_TRUE(Result.File["inputs"]["board_euler_deg"].is_null());
  const simulate::Truth Truth = simulate::Read_Truth(Capture / "truth.json");
  for (int k = 0; k < 3; ++k) {
    const auto Axis = static_cast<std::size_t>(k);
    EXPECT_NEAR(Result.File["library"]["board_euler_deg"][Axis], Truth.Chart_Euler_Deg[k], 0.05);
    EXPECT_NEAR(Result.File["library"]["board_offset_m"][Axis], Truth.Chart_Translation[k], 0.003);
  }
}

// The rotations of these mounts have no steady axis.
TEST(SecondOpinion, AMountThatIsSquareWithTheCameraIsNoTrouble) {
  for (const char* Euler : {"0,0,0", "0,180,0"}) {
    const Scratch_Folder Scratch;
    const fs::path Capture = Simulate(Scratch, {"--camera-mount-euler", Euler});
    const Calibrated Result = Calibrate(Capture);
    EXPECT_EQ(Result.Done.Status, 0) << Result.Done.Output;
    EXPECT_EQ(Result.File["body_axes"]["turned"], true);
    EXPECT_THAT(Result.Done.Output, HasSubstr("the library got the camera's samples"));
    EXPECT_LT(Error_Mm(Result.File["transform_cam_tc"], Capture), Tolerance_Mm);
    const std::vector<double> Solved = Result.File["transform_cam_tc"];
    const Eigen::Matrix4d Truth = simulate::Read_Truth(Capture / "truth.json").Transform_Cam_Tc;
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 3; ++c) {
        EXPECT_NEAR(Solved[static_cast<std::size_t>(4 * r + c)], Truth(r, c), 0.001);
      }
    }
  }
  const Scratch_Folder Scratch;
  const Calibrated As_Given =
      Calibrate(Simulate(Scratch, {"--camera-mount-euler", "0,0,0"}), {"--body-axes", "as-given"});
  EXPECT_EQ(As_Given.Done.Status, 13);
  EXPECT_EQ(As_Given.File["body_axes"]["turned"], false);
  EXPECT_EQ(As_Given.File["usable"], false);
}

TEST(SecondOpinion, AMountThatNeedsNoOtherAxesKeepsItsOwn) {
  const Scratch_Folder Scratch;
  const Calibrated Result = Calibrate(Simulate(Scratch, {}));
  EXPECT_EQ(Result.File["body_axes"]["turned"], false);
  EXPECT_THAT(Result.Done.Output, Not(HasSubstr("the library got the camera's samples")));
}

TEST(SecondOpinion, AWrongPlaceOfTheBoardIsToldAndDoesNotSpoilTheMount) {
  const Scratch_Folder Scratch;
  const fs::path Capture = Simulate(Scratch, {});
  const Words Wrong = {"--board-euler", "20,-20,8", "--board-offset", "-0.17,0.05,0.04"};
  const Calibrated Result = Calibrate(Capture, Wrong);
  EXPECT_EQ(Result.Done.Status, 20);
  EXPECT_EQ(Result.File["verdict"], "look");
  EXPECT_EQ(Result.File["cause"]["id"], "board_euler");
  EXPECT_THAT(Result.Done.Output, StartsWith("Look before you use it. The stated place"));
  EXPECT_LT(Error_Mm(Result.File["transform_cam_tc"], Capture), Tolerance_Mm);
  // The plain run believes it.
  const Calibrated Plain = Calibrate(Capture, Wrong + Words{"--library-only"});
  EXPECT_TRUE(Plain.File["verdict"].is_null());
  EXPECT_THAT(Plain.Done.Output, StartsWith("Code "));
  EXPECT_TRUE(Plain.Done.Status != 0 ||
              Error_Mm(Plain.File["transform_cam_tc"], Capture) > 10 * Tolerance_Mm);
}

TEST(SecondOpinion, StaleRowsAreNamedAndTheJointMountIsOffered) {
  const Scratch_Folder Scratch;
  const fs::path Capture = Simulate(Scratch, {"--stale", "7"});
  const Calibrated Result = Calibrate(Capture);
  EXPECT_LT(Error_Mm(Result.File["joint"]["transform_cam_tc"], Capture), Tolerance_Mm);
  EXPECT_NE(Result.Done.Status, 0) << Result.Done.Output;
  EXPECT_EQ(Result.File["cause"]["id"], "sample_disagrees");
  EXPECT_EQ(Result.File["cause"]["lines"].size(), 7u);
  EXPECT_THAT(Result.Done.Output, HasSubstr("--solution joint"));
  const Calibrated Joint = Calibrate(Capture, {"--solution", "joint"});
  EXPECT_EQ(Joint.File["solution"], "joint");
  EXPECT_EQ(Joint.File["transform_cam_tc"], Joint.File["joint"]["transform_cam_tc"]);
}

TEST(SecondOpinion, TurnsAboutOneAxisAreNotToBeUsed) {
  const Scratch_Folder Scratch;
  const Calibrated Result = Calibrate(Simulate(Scratch, {"--spread", "one-axis"}));
  EXPECT_NE(Result.Done.Status, 0);
  EXPECT_THAT(Result.Done.Output, StartsWith("Don't use it."));
  EXPECT_EQ(Result.File["usable"], false);
}

TEST(SecondOpinion, AWrongSquareIsNotUsable) {
  const Scratch_Folder Scratch;
  const Calibrated Result = Calibrate(Simulate(Scratch, {}), {}, "25mm");
  EXPECT_NE(Result.Done.Status, 0);
  EXPECT_EQ(Result.File["usable"], false);
  EXPECT_EQ(Result.File["cause"]["id"], "scale");
}

TEST(SecondOpinion, LimitsAndFlagsAreChecked) {
  const Scratch_Folder Scratch;
  const std::string Csv = Capture_File("capture.csv").string();
  const Words Basic = {"calibrate", Csv,    "--board", "7x5",
                       "--square",  "30mm", "--out",   Scratch.String()};
  for (const auto& [More, Message] :
       {std::pair<Words, const char*>{{"--solution", "both"}, "library or joint"},
        {{"--body-axes", "turned"}, "auto or as-given"},
        {{"--limits", "3mm"}, "for example 3mm,0.3deg"},
        {{"--board-accuracy", "x"}, "for example 3mm,0.3deg"},
        {{"--talent-distance", "0"}, "above 0"},
        {{"--library-only"}, "leave out --library-only"},
        {{"--board-euler", "1,2,3"}, "board-offset"},
        {{"--library-only", "--solution", "joint", "--board-euler", "1,2,3", "--board-offset",
          "0,0,0"},
         "makes no joint solution"}}) {
    const Finished Refused = Rigsync(Basic + More);
    EXPECT_EQ(Refused.Status, 2) << More.front();
    EXPECT_THAT(Refused.Said, HasSubstr(Message));
  }
}

TEST(SecondOpinion, TooManyImagesAreRefusedUnlessTheyAreMeant) {
  const Scratch_Folder Scratch;
  const fs::path Csv = Write_Long_Csv(Scratch.Path(), 29);  // 406 images
  const Finished Refused = Rigsync(Calibrate_Arguments(Csv, Scratch.Path() / "out"));
  EXPECT_EQ(Refused.Status, 2);
  EXPECT_THAT(Refused.Said, AllOf(HasSubstr("406 images"), HasSubstr("--many-images"),
                                  HasSubstr("keep one line of the CSV in 7")));
  EXPECT_FALSE(fs::exists(Scratch.Path() / "out"));
}

}  // namespace
