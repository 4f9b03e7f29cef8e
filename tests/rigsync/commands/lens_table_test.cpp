// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync lens-table' on results written by hand. The mounts have no uncertainty; tables that have
// one are tests of rigsync/calibrate. What the script does is a test of rigsync/exports.
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using Json = nlohmann::json;

// The tracker is Right and Ahead mm from the camera, with the axes of Cam.
std::string Result_Text(double Norm_Fx, double Right_Mm, double Ahead_Mm,
                        const std::string& Inputs = "{}",
                        const std::string& Size = "[1920, 1080]") {
  const Json Pose = {1, 0, 0, Right_Mm / 1000, 0, 1, 0, -0.14,
                     0, 0, 1, Ahead_Mm / 1000, 0, 0, 0, 1};
  return R"({"format": "rigsync-result", "format_version": 1, "code": 0, "message": "",
             "lens": {"image_size": )" +
         Size + R"(, "norm_fxy": )" + Json({Norm_Fx, Norm_Fx * 16 / 9}).dump() +
         R"(, "norm_cxy": [0.5, 0.5], "distortion": [-0.1, 0.02, 0, 0, 0]},
             "transform_cam_tc": )" +
         Pose.dump() + R"(, "inputs": )" + Inputs + "}";
}

constexpr const char* With_Sensor = R"({"sensor_mm": [24, 13.5]})";

// Finds wide.json, tele.json and moved.json in a folder of their own.
class LensTable : public testing::Test {
 protected:
  LensTable() {
    Scratch.Write("wide.json", Result_Text(1.0, 60, -80));
    Scratch.Write("tele.json", Result_Text(2.5, 60, -45));
    Scratch.Write("moved.json", Result_Text(2.5, 64, -45));
  }

  Finished Run(std::vector<std::string> Arguments) const {
    Arguments.insert(Arguments.begin(), "lens-table");
    return Rigsync(Arguments, Scratch.Path());
  }

  // What it says to a wrong command line.
  std::string Refusal(const std::vector<std::string>& Arguments) const {
    const Finished Done = Run(Arguments);
    EXPECT_EQ(Done.Status, 2) << Done.Error;
    EXPECT_EQ(Done.Output, "");
    return Done.Said;
  }

  Scratch_Folder Scratch;
};

const std::vector<std::string> Good = {"tele.json", "wide.json", "--at",
                                       "0.5,70",    "--at",      "0.5,24"};

std::vector<std::string> With(std::vector<std::string> Arguments,
                              const std::vector<std::string>& More) {
  Arguments.insert(Arguments.end(), More.begin(), More.end());
  return Arguments;
}

TEST_F(LensTable, ResultsOfOneLensAreATable) {
  const Finished Done = Run(With(Good, {"--json"}));
  EXPECT_EQ(Done.Status, 0) << Done.Error;
  const Json Table = Json::parse(Done.Output);
  EXPECT_EQ(Table["format"], "rigsync-lens-table");
  EXPECT_EQ(Table["agrees"], true);
  EXPECT_THAT(Table["messages"], SizeIs(0));
  EXPECT_EQ(Table["reference"], 0);
  EXPECT_EQ(Table["image_size"], Json({1920, 1080}));
  ASSERT_THAT(Table["rows"], SizeIs(2));
  const Json &Wide = Table["rows"][0], &Tele = Table["rows"][1];
  EXPECT_EQ(Wide["result"], "wide.json");
  EXPECT_EQ(Wide["zoom"], 24.0);
  EXPECT_EQ(Tele["result"], "tele.json");
  EXPECT_EQ(Tele["focus"], 0.5);
  EXPECT_EQ(Tele["zoom"], 70.0);
  EXPECT_EQ(Tele["fx_fy_px"], Json({4800.0, 4800.0}));
  EXPECT_EQ(Tele["cx_cy_px"], Json({960.0, 540.0}));
  EXPECT_EQ(Tele["k1_k2"], Json({-0.1, 0.02}));
  EXPECT_EQ(Tele["focal_length_mm"], nullptr);
  EXPECT_EQ(Tele["agreement"], "agrees");
  // The tracker is seen 35 mm farther ahead, so the camera is 35 mm farther back.
  EXPECT_NEAR(Tele["camera_from_reference"]["right_down_ahead_mm"][2].get<double>(), -35.0, 1e-9);
  EXPECT_EQ(Tele["camera_from_reference"]["half_width_mm"], nullptr);
}

TEST_F(LensTable, AMovedTrackerEndsWithStatus1AndWritesNoFile) {
  const Finished Done = Run({"wide.json", "moved.json", "--at", "0.5,24", "--at", "0.5,70", "--to",
                             "unreal-lens", "-o", "lens.py"});
  EXPECT_EQ(Done.Status, 1);
  EXPECT_THAT(Done.Output,
              AllOf(HasSubstr("These results don't make one table."),
                    HasSubstr("moved.json: the mount differs from that of wide.json")));
  EXPECT_THAT(Done.Said, HasSubstr("--output: lens.py is not written"));
  EXPECT_FALSE(std::filesystem::exists(Scratch.Path() / "lens.py"));
  // The same mounts within wider limits.
  EXPECT_EQ(
      Run({"wide.json", "moved.json", "--at", "0.5,24", "--at", "0.5,70", "--limits", "5mm,0.3deg"})
          .Status,
      0);
}

TEST_F(LensTable, TheFileHasAPointForEachResult) {
  const Finished Done = Run(With(Good, {"--to", "unreal-lens", "-o", "lens.py"}));
  EXPECT_EQ(Done.Status, 0) << Done.Error;
  EXPECT_THAT(Done.Output, HasSubstr("Unreal Engine, LensFile: lens.py"));
  EXPECT_THAT(Done.Said, HasSubstr("not yet tried in an engine"));
  const std::string Script = Read_Text(Scratch.Path() / "lens.py");
  EXPECT_THAT(Script, AllOf(HasSubstr("\"zoom\": 24.0"), HasSubstr("\"zoom\": 70.0")));
}

TEST_F(LensTable, ZoomIsTheFocalLengthWhereTheSensorIsKnown) {
  Scratch.Write("wide.json", Result_Text(1.0, 60, -80, With_Sensor));
  const Finished Done = Run({"wide.json", "tele.json", "--json"});
  EXPECT_EQ(Done.Status, 0) << Done.Error;
  const Json Rows = Json::parse(Done.Output)["rows"];
  EXPECT_EQ(Rows[0]["zoom"], 24.0);
  EXPECT_EQ(Rows[0]["focus"], 0.0);
  EXPECT_EQ(Rows[1]["zoom"], 60.0);
  EXPECT_EQ(Rows[1]["focal_length_mm"], 60.0);
  EXPECT_THAT(
      Refusal({"tele.json", "moved.json", "--sensor", "24x13.5"}),
      AllOf(HasSubstr("--at: tele.json and moved.json have nearly the same focal length, 60 "
                      "and 60 mm"),
            HasSubstr("--at 0.5,24")));
}

TEST_F(LensTable, APositionIsNeededOnceForEachResult) {
  EXPECT_THAT(Refusal({"wide.json", "tele.json"}),
              AllOf(HasSubstr("--at: say focus and zoom of each result"), HasSubstr("--sensor")));
  EXPECT_THAT(Refusal({"wide.json", "tele.json", "--at", "0.5,24"}),
              HasSubstr("--at: 1 for 2 results"));
  EXPECT_THAT(Refusal({"wide.json", "tele.json", "--at", "1,2", "--at", "1,2"}),
              HasSubstr("--at 1,2: wide.json and tele.json can't be at the same focus and zoom"));
  EXPECT_THAT(Refusal({"wide.json", "tele.json", "--at", "1,2", "--at", "24"}),
              HasSubstr("--at: '24' is wrong; expected two numbers separated by a comma"));
}

TEST_F(LensTable, ResultsThatMakeNoTableAreRefused) {
  EXPECT_THAT(Refusal({"wide.json", "--at", "0,24"}),
              HasSubstr("RESULT: a table needs two results"));
  EXPECT_THAT(Refusal({"wide.json", "wide.json"}), HasSubstr("RESULT: wide.json is given twice"));
  Scratch.Write("small.json", Result_Text(2.5, 60, -45, "{}", "[1280, 720]"));
  EXPECT_THAT(Refusal({"wide.json", "small.json", "--at", "0,24", "--at", "0,70"}),
              HasSubstr("the images of wide.json have 1920 x 1080 pixels and those of small.json "
                        "1280 x 720"));
  EXPECT_THAT(Refusal({"wide.json", "none.json", "--at", "0,24", "--at", "0,70"}),
              HasSubstr("none.json"));
}

TEST_F(LensTable, SensorsThatContradictEachOtherAreRefusedUnlessOneIsStated) {
  Scratch.Write("wide.json", Result_Text(1.0, 60, -80, With_Sensor));
  Scratch.Write("tele.json", Result_Text(2.5, 60, -45, R"({"sensor_mm": [36, 20.25]})"));
  EXPECT_THAT(Refusal(With(Good, {})),
              HasSubstr("--sensor: tele.json has 36x20.25 mm and wide.json 24x13.5 mm"));
  const Finished Done = Run(With(Good, {"--sensor", "30x16.875", "--json"}));
  EXPECT_EQ(Done.Status, 0) << Done.Error;
  EXPECT_EQ(Json::parse(Done.Output)["rows"][0]["focal_length_mm"], 30.0);
}

TEST_F(LensTable, AFlagWithoutItsPartnerIsRefused) {
  EXPECT_THAT(Refusal(With(Good, {"-o", "lens.py"})), HasSubstr("--output needs --to"));
  EXPECT_THAT(Refusal(With(Good, {"--to", "unreal-lens"})), HasSubstr("--to needs --output"));
  EXPECT_THAT(Refusal(With(Good, {"--tracker-axes", "z-up"})),
              HasSubstr("--tracker-axes needs --to"));
  EXPECT_THAT(Refusal(With(Good, {"--to", "blender", "-o", "lens.py"})),
              HasSubstr("--to: 'blender' is wrong"));
  EXPECT_THAT(Refusal(With(Good, {"--to", "unreal-lens", "-o", "none/lens.py"})),
              HasSubstr("--output none/lens.py"));
}

TEST_F(LensTable, AnUnusableResultIsTakenWithAWarning) {
  std::string Text = Result_Text(2.5, 60, -45);
  Text.replace(Text.find("\"code\": 0"), 9, "\"code\": 13");
  Scratch.Write("tele.json", Text);
  const Finished Done = Run(Good);
  EXPECT_EQ(Done.Status, 0) << Done.Error;
  EXPECT_THAT(Done.Said, HasSubstr("tele.json: this result must not be used:"));
}

TEST_F(LensTable, OneFileByTwoPathsIsGivenTwice) {
  std::filesystem::create_directory(Scratch.Path() / "res");
  Scratch.Write("res/result.json", Result_Text(1.0, 60, -80));
  EXPECT_THAT(Refusal({"res", "./res/result.json", "--at", "0,24", "--at", "0,70"}),
              HasSubstr("RESULT: res/result.json is given twice, also as ./res/result.json"));
}

TEST_F(LensTable, NoResultIsOverwritten) {
  const std::string Before = Read_Text(Scratch.Path() / "tele.json");
  EXPECT_THAT(Refusal(With(Good, {"--to", "unreal-lens", "-o", "./tele.json"})),
              HasSubstr("--output ./tele.json: that is tele.json"));
  EXPECT_EQ(Read_Text(Scratch.Path() / "tele.json"), Before);
}

}  // namespace
