// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync export' on results written by hand. The expected numbers are those of the worked example
// in docs/engines.md: a mount with the rows 0.8 -0.36 -0.48 0.1; 0 0.8 -0.6 -0.2; 0.6 0.48 0.64
// 0.3.
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <filesystem>

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const std::string Reference_Pose =
    "[0.8,-0.36,-0.48,0.1, 0,0.8,-0.6,-0.2, 0.6,0.48,0.64,0.3, 0,0,0,1]";
const std::string Identity = "[1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1]";

// Expected values are given to six decimals for quaternions and to four for angles. Centimetres
// of the single-precision exports are good to about 2e-6 at this size.
constexpr double Quaternion_Tolerance = 6e-7;
constexpr double Angle_Tolerance_Deg = 6e-5;
constexpr double Centimetre_Tolerance = 5e-6;

std::string Result_Text(const std::string& Transform, const std::string& Code = "0") {
  return R"({"format": "rigsync-result", "format_version": 1, "code": )" + Code +
         R"(, "message": "Said before.", "lens": {"image_size": [1920, 1080],
             "norm_fxy": [0.75, 1.3333333], "norm_cxy": [0.52, 0.47],
             "distortion": [0, 0, 0, 0, 0]}, "transform_cam_tc": )" +
         Transform + "}";
}

// A result with a second opinion: the library's mount is at Library, the joint one at Joint.
std::string Judged_Text(const std::string& Verdict, const std::string& Reasons,
                        const std::string& Library, const std::string& Joint,
                        const std::string& More = "") {
  std::string Text = Result_Text(Library);
  Text.pop_back();
  return Text + R"(, "solution": "library", "verdict": ")" + Verdict +
         R"(", "second_opinion": {"difference_mm": 14.236, "difference_deg": 0.7104,
             "probability_nearer": 1, "reasons": [)" +
         Reasons + R"(], "limits": {"mm": 3, "deg": 0.3}}, "library": {"transform_cam_tc": )" +
         Library + R"(}, "joint": {"transform_cam_tc": )" + Joint + "}" + More + "}";
}

Finished Export(const std::string& File, const std::string& Engine,
                std::vector<std::string> More = {}) {
  std::vector<std::string> Arguments = {"export", File, "--to", Engine};
  Arguments.insert(Arguments.end(), More.begin(), More.end());
  return Rigsync(Arguments);
}

nlohmann::json Export_Json(const std::string& Engine) {
  const Scratch_Folder Scratch;
  const Finished Result =
      Export(Scratch.Write("result.json", Result_Text(Reference_Pose)), Engine, {"--json"});
  EXPECT_EQ(Result.Status, 0) << Result.Error;
  EXPECT_EQ(Result.Error, "");
  const nlohmann::json Root = nlohmann::json::parse(Result.Output);
  EXPECT_EQ(Root["engine"], Engine);
  EXPECT_EQ(Root["code"], 0);
  EXPECT_EQ(Root["usable"], true);
  return Root;
}

void Expect_Fields(const nlohmann::json& Group, const std::vector<std::string>& Names,
                   const std::vector<double>& Values, double Tolerance) {
  ASSERT_EQ(Group.size(), Names.size());
  for (std::size_t i = 0; i < Names.size(); ++i) {
    EXPECT_NEAR(Group[Names[i]].get<double>(), Values[i], Tolerance) << Names[i];
  }
}

TEST(Export, UE4GetsRollPitchYawAndCentimetres) {
  const nlohmann::json Root = Export_Json("ue4");
  Expect_Fields(Root["rotation_deg"], {"roll", "pitch", "yaw"}, {-141.3402, -39.7918, 128.6598},
                Angle_Tolerance_Deg);
  Expect_Fields(Root["location_cm"], {"x", "y", "z"}, {-5.2, -26.0, 26.4}, Centimetre_Tolerance);
}

TEST(Export, UE5GetsAQuaternionAndCentimetres) {
  const nlohmann::json Root = Export_Json("ue5");
  Expect_Fields(Root["quaternion"], {"x", "y", "z", "w"},
                {0.848528, -0.141421, 0.282843, -0.424264}, Quaternion_Tolerance);
  Expect_Fields(Root["location_cm"], {"x", "y", "z"}, {-26.0, -26.4, -5.2}, Centimetre_Tolerance);
}

TEST(Export, UE5ExportxNGetsTheOtherAxes) {
  const nlohmann::json Root = Export_Json("ue5-xn");
  Expect_Fields(Root["quaternion"], {"x", "y", "z", "w"},
                {-0.141421, -0.282843, 0.848528, 0.424264}, Quaternion_Tolerance);
  Expect_Fields(Root["location_cm"], {"x", "y", "z"}, {26.4, -5.2, 26.0}, Centimetre_Tolerance);
}

TEST(Export, AximmetryGetsTheLensToo) {
  const nlohmann::json Root = Export_Json("aximmetry");
  Expect_Fields(Root["rotation_deg"], {"x", "y", "z"}, {39.7918, 128.6598, 141.3402},
                Angle_Tolerance_Deg);
  Expect_Fields(Root["position_cm"], {"x", "y", "z"}, {-26.0, -26.4, 5.2}, Centimetre_Tolerance);
  Expect_Fields(Root["field_of_view_deg"], {"horizontal"}, {67.380135}, 6e-7);
  Expect_Fields(Root["centre_shift"], {"x", "y"}, {0.02, 0.03}, 1e-15);
}

TEST(Export, JsonCarriesEveryDigit) {
  // 0.3 m, narrowed to single precision before it is multiplied by 100, and then widened.
  const Scratch_Folder Scratch;
  const std::string File =
      Scratch.Write("result.json", Result_Text("[0,0,1,0, 1,0,0,0, 0,1,0,0, 0,0,0,1]"));
  const Finished Zero = Export(File, "aximmetry", {"--json"});
  ASSERT_EQ(Zero.Status, 0) << Zero.Error;
  const nlohmann::json Root = nlohmann::json::parse(Zero.Output);
  EXPECT_EQ(Root["centre_shift"]["x"].get<double>(), 0.52 - 0.5);
  EXPECT_EQ(Root["centre_shift"]["y"].get<double>(), -(0.47 - 0.5));
}

TEST(Export, ThePrintedFieldsAreInTheEnginesOrderWithUnits) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("result.json", Result_Text(Reference_Pose));
  struct Case {
    const char* Engine;
    std::vector<const char*> In_Order;
  };
  const Case Cases[] = {
      {"ue4",
       {"Unreal Engine 4", "Location", "X", "cm", "Y", "Z", "Rotation", "Roll", "deg", "Pitch",
        "Yaw"}},
      {"ue5",
       {"Unreal Engine 5", "Location", "X", "Y", "Z", "Quaternion", "X", "0.8485", "Y", "-0.1414",
        "Z", "0.2828", "W", "-0.4242"}},
      {"ue5-xn", {"ExportxN", "Location", "Quaternion", "W", "0.4242"}},
      {"aximmetry",
       {"Aximmetry", "Position", "X", "Y", "Z", "Rotation", "X", "deg", "Y", "Z", "Field of view",
        "Horizontal", "67.380135 deg", "Centre shift", "X", "0.020000", "Y", "0.030000"}},
  };
  for (const Case& Expected : Cases) {
    SCOPED_TRACE(Expected.Engine);
    const Finished Result = Export(File, Expected.Engine);
    EXPECT_EQ(Result.Status, 0);
    EXPECT_EQ(Result.Error, "");
    EXPECT_LE(Widest_Line(Result.Output), 80u);
    std::size_t At = 0;
    for (const char* Word : Expected.In_Order) {
      At = Result.Output.find(Word, At);
      ASSERT_NE(At, std::string::npos) << Word << " is missing or too early in\n" << Result.Output;
      At += std::string(Word).size();
    }
  }
}

TEST(Export, GimbalLockIsExitStatus3AndAPlainSentence) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("result.json", Result_Text(Identity));
  const Finished Result = Export(File, "ue4");
  EXPECT_EQ(Result.Status, 3);
  EXPECT_EQ(Result.Output, "");
  EXPECT_THAT(Result.Said, AllOf(HasSubstr("code 3. Gimbal lock"), HasSubstr("ue5"),
                                 HasSubstr("--tracker-axes")));

  const Finished Json = Export(File, "ue4", {"--json"});
  EXPECT_EQ(Json.Status, 3);
  const nlohmann::json Root = nlohmann::json::parse(Json.Output);
  EXPECT_EQ(Root["code"], 3);
  EXPECT_EQ(Root["usable"], false);
  EXPECT_TRUE(Root["rotation_deg"].is_null());
  EXPECT_TRUE(Root["location_cm"].is_null());
  // The other engines take this mount.
  EXPECT_EQ(Export(File, "ue5").Status, 0);
  EXPECT_EQ(Export(File, "aximmetry").Status, 0);
}

// The camera of the worked example is at -26, 5.2, -26.4 cm in Tc, so along the body's own axes at
// 26, 26.4, -5.2.
TEST(Export, TheTrackerObjectHasTheAxesThatAreAskedFor) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("result.json", Result_Text(Reference_Pose));
  const auto Root = [&](const std::vector<std::string>& More) {
    std::vector<std::string> Arguments = {"--json"};
    Arguments.insert(Arguments.end(), More.begin(), More.end());
    return nlohmann::json::parse(Export(File, "ue5", Arguments).Output);
  };
  const nlohmann::json Plain = Root({});
  EXPECT_EQ(Plain["tracker_axes"], "-x, -y, z");
  Expect_Fields(Plain["location_cm"], {"x", "y", "z"}, {-26, -26.4, -5.2}, Centimetre_Tolerance);
  const nlohmann::json Y_Up = Root({"--tracker-axes", "y-up"});
  EXPECT_EQ(Y_Up["tracker_axes"], "x, -z, y");
  Expect_Fields(Y_Up["location_cm"], {"x", "y", "z"}, {26, 5.2, 26.4}, Centimetre_Tolerance);
  const nlohmann::json Named = Root({"--tracker-axes", "-x,-y,z"});
  EXPECT_EQ(Named["location_cm"], Plain["location_cm"]);
  EXPECT_EQ(Named["quaternion"], Plain["quaternion"]);

  EXPECT_THAT(Export(File, "ue4", {"--tracker-axes", "z-up"}).Output,
              HasSubstr("  tracker axes: x, -y, z of the tracked body\n"));
  EXPECT_THAT(Export(File, "ue4").Output,
              HasSubstr("  tracker axes: z, -x, y of the tracked body\n"));
  const Finished Refused = Export(File, "ue5", {"--tracker-axes", "x,y,-z"});
  EXPECT_EQ(Refused.Status, 2);
  EXPECT_THAT(Refused.Said, HasSubstr("--tracker-axes x,y,-z: these axes are left-handed"));
}

// The fields run against the object's second and third axis. With z up that has the body's x, z and
// y.
TEST(Export, AximmetrySaysThatItsPositionRunsAgainstTwoAxesOfTheTracker) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("result.json", Result_Text(Reference_Pose));
  const auto Shown = Export(File, "aximmetry", {"--tracker-axes", "z-up"});
  EXPECT_THAT(Shown.Output, HasSubstr("  tracker axes: x, z, y of the tracked body\n"
                                      "  position fields: along x, -y, -z of the tracker\n"));
  const nlohmann::json Root =
      nlohmann::json::parse(Export(File, "aximmetry", {"--tracker-axes", "z-up", "--json"}).Output);
  EXPECT_EQ(Root["position_axes"], "x, -y, -z");
  // The same place by the fields of another engine, whose object has the axes x, y, z of the body.
  const nlohmann::json Body =
      nlohmann::json::parse(Export(File, "ue5", {"--tracker-axes", "x,y,z", "--json"}).Output);
  EXPECT_EQ(Body["position_axes"], "x, y, z");
  const nlohmann::json& In = Body["location_cm"];
  Expect_Fields(Root["position_cm"], {"x", "y", "z"},
                {In["x"].get<double>(), -In["z"].get<double>(), -In["y"].get<double>()},
                Centimetre_Tolerance);
  EXPECT_THAT(Export(File, "ue4").Output, testing::Not(HasSubstr("position fields")));
}

// With other axes the tracker of the identity isn't at the lock.
TEST(Export, OtherTrackerAxesLeadOutOfTheGimbalLock) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("result.json", Result_Text(Identity));
  EXPECT_EQ(Export(File, "ue4", {"--tracker-axes", "z-up"}).Status, 0);
}

TEST(Export, WritesItsRunLogNextToTheResultOrIntoTheGivenFolder) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("result.json", Result_Text(Reference_Pose));
  const auto Log_Count = [](const std::filesystem::path& Folder) {
    std::size_t Count = 0;
    for (const auto& Entry : std::filesystem::directory_iterator(Folder)) {
      Count += Entry.path().filename().string().rfind("log_", 0) == 0 ? 1 : 0;
    }
    return Count;
  };
  const std::filesystem::path Elsewhere = Scratch.Path() / "a/b";
  ASSERT_EQ(Export(File, "ue5", {"--out", Elsewhere.string()}).Status, 0);
  EXPECT_EQ(Log_Count(Elsewhere), 1u);
  EXPECT_EQ(Log_Count(Scratch.Path()), 0u);
  // A folder in which no file can be created.
  const Finished Refused = Export(File, "ue5", {"--out", "/proc/self/task"});
  EXPECT_EQ(Refused.Status, 2);
  EXPECT_THAT(Refused.Said, AllOf(HasSubstr("--out"), HasSubstr("files can be written (No such")));
  // A relative path without a folder.
  ASSERT_EQ(Rigsync({"export", "result.json", "--to", "ue5"}, Scratch.Path()).Status, 0);
  EXPECT_EQ(Log_Count(Scratch.Path()), 1u);
}

TEST(Export, AResultThatWasJudgedAFailureIsExportedWithAWarning) {
  const Scratch_Folder Scratch;
  for (const char* Code : {"6", "14"}) {
    const Finished Result =
        Export(Scratch.Write("result.json", Result_Text(Reference_Pose, Code)), "ue5");
    EXPECT_EQ(Result.Status, 0);
    EXPECT_THAT(Result.Output, HasSubstr("Quaternion"));
    EXPECT_THAT(Result.Said, AllOf(HasSubstr("warning"), HasSubstr("Said before.")));
    const Finished Json = Export(Scratch.Path() / "result.json", "ue5", {"--json"});
    EXPECT_EQ(nlohmann::json::parse(Json.Output)["code"], 0);
    EXPECT_EQ(nlohmann::json::parse(Json.Output)["usable"], false);
  }
  const Finished Usable =
      Export(Scratch.Write("result.json", Result_Text(Reference_Pose, "99")), "ue5");
  EXPECT_EQ(Usable.Error, "");
}

TEST(Export, AResultWithoutATransformIsRefusedWithItsOwnReason) {
  const Scratch_Folder Scratch;
  const Finished Result = Export(Scratch.Write("result.json", Result_Text("null", "4")), "ue5");
  EXPECT_EQ(Result.Status, 2);
  EXPECT_EQ(Result.Output, "");
  EXPECT_THAT(Result.Said, HasSubstr("Said before."));
}

// The reference pose with its x in Tc shifted: the first column of its rotation, 0.2 m long.
const std::string Shifted_Pose =
    "[0.8,-0.36,-0.48,0.26, 0,0.8,-0.6,-0.2, 0.6,0.48,0.64,0.42, 0,0,0,1]";

double X_In_Centimetres(const Finished& Result) {
  return nlohmann::json::parse(Result.Output)["location_cm"]["x"].get<double>();
}

TEST(Export, MountsThatContradictEachOtherAreAskedAbout) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write(
      "result.json",
      Judged_Text("dont_use", R"("difference_beyond_limit")", Reference_Pose, Shifted_Pose));
  const Finished Refused = Export(File, "ue5");
  EXPECT_EQ(Refused.Status, 2);
  EXPECT_EQ(Refused.Output, "");
  EXPECT_THAT(
      Refused.Said,
      HasSubstr("the mounts of the library and of the joint solve are 14.24 mm and 0.710 "
                "degrees apart; the limits are 3 mm and 0.3 degrees; choose one with --solution "
                "joint (in most captures the nearer one) or --solution library"));
}

TEST(Export, TheMountThatIsAskedForIsExportedWithAWarning) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write(
      "result.json",
      Judged_Text("dont_use", R"("difference_beyond_limit")", Reference_Pose, Shifted_Pose,
                  R"(, "cause": {"id": "stale", "text": "Samples are old.", "advice": ""})"));
  const Finished Library = Export(File, "ue5", {"--solution", "library", "--json"});
  EXPECT_EQ(Library.Status, 0);
  EXPECT_NEAR(X_In_Centimetres(Library), -26.0, Centimetre_Tolerance);
  EXPECT_THAT(Library.Said, AllOf(HasSubstr("warning: this result must not be used: the mounts"),
                                  HasSubstr("14.24 mm"), HasSubstr("Cause: Samples are old.")));
  const Finished Joint = Export(File, "ue5", {"--solution", "joint", "--json"});
  EXPECT_EQ(Joint.Status, 0);
  EXPECT_NEAR(X_In_Centimetres(Joint), -46.0, Centimetre_Tolerance);
  EXPECT_THAT(Joint.Said, AllOf(HasSubstr("warning: check this result on the set"),
                                HasSubstr("14.24 mm"), Not(HasSubstr("must not be used"))));
  for (const Finished& Result : {Library, Joint}) {
    EXPECT_EQ(nlohmann::json::parse(Result.Output)["usable"], false);
  }
  EXPECT_EQ(nlohmann::json::parse(Library.Output)["solution"], "library");
  EXPECT_EQ(nlohmann::json::parse(Joint.Output)["solution"], "joint");
  EXPECT_THAT(Export(File, "ue4", {"--solution", "joint"}).Output,
              HasSubstr("as seen from its tracker (joint solution)"));
  EXPECT_THAT(Export(File, "ue4", {"--solution", "library"}).Output,
              Not(HasSubstr("joint solution")));
}

TEST(Export, AMissingOrBrokenMountOfTheLibraryLeavesTheJointOne) {
  const Scratch_Folder Scratch;
  const std::string Reasons = R"("no_library_transform", "library_code")";
  const std::string Missing =
      Scratch.Write("missing.json", Judged_Text("dont_use", Reasons, "null", Reference_Pose));
  const std::string Broken = Scratch.Write(
      "broken.json", Judged_Text("dont_use", R"("no_library_transform")",
                                 "[0.8,-0.36,-0.48,null, 0,0.8,-0.6,-0.2, 0.6,0.48,0.64,0.42, "
                                 "0,0,0,1]",
                                 Reference_Pose));
  const std::pair<std::string, const char*> Cases[] = {
      {Missing, "the library gave no transform; choose the joint one with --solution joint"},
      {Broken, "the library's transform holds NaN or infinite numbers; choose the joint one with"}};
  for (const auto& [File, Sentence] : Cases) {
    SCOPED_TRACE(Sentence);
    const Finished Refused = Export(File, "ue5");
    EXPECT_EQ(Refused.Status, 2);
    EXPECT_THAT(Refused.Said, HasSubstr(Sentence));
    const Finished Joint = Export(File, "ue5", {"--solution", "joint", "--json"});
    EXPECT_EQ(Joint.Status, 0);
    EXPECT_NEAR(X_In_Centimetres(Joint), -26.0, Centimetre_Tolerance);
    EXPECT_EQ(Export(File, "ue5", {"--solution", "library"}).Status, 2);
  }
  const std::string Lost = Scratch.Write(
      "lost.json", Judged_Text("dont_use", R"("no_library_transform", "width_beyond_limit")",
                               "null", Reference_Pose));
  EXPECT_THAT(Export(Lost, "ue5").Said,
              HasSubstr("no transform; the joint one is doubtful as well. Take the capture again"));
  EXPECT_THAT(Export(Missing, "ue5", {"--solution", "library"}).Said,
              HasSubstr("no result to export: Said before."));
  EXPECT_THAT(Export(Broken, "ue5", {"--solution", "library"}).Said,
              HasSubstr("'transform_cam_tc' has NaN or infinite values"));
}

TEST(Export, ADoubtfulResultIsExportedWithItsReasons) {
  const Scratch_Folder Scratch;
  struct Case {
    const char *Verdict, *Reasons, *Sentence;
  };
  const Case Cases[] = {
      {"look", R"("difference_unlikely")",
       "check this result on the set before it is used: the mounts of the library and of the joint "
       "solve are 14.24 mm and 0.710 degrees apart, more than the noise of the capture explains."},
      {"look", R"("difference_and_width", "slip_suspected")",
       "degrees: together this is beyond the limits; a tracker may have slipped on its mount "
       "during "
       "the capture."},
      {"look", R"("last_rows_left_out", "lens_does_not_fit")",
       "this is the mount before; the lens model does not fit the camera"},
      {"look", R"("place_contradicted")", "the stated place of the board is not the one"},
      {"dont_use", R"("library_code")",
       "this result must not be used: the library refuses its result with code 0."},
      {"dont_use", R"("not_solved")",
       "this result must not be used: fewer than 5 rows have a board and sound samples"},
      {"dont_use", R"("width_beyond_limit")",
       "this result must not be used: the capture tells the mount only to +- "},
      {"dont_use", R"("slip_found")", "must not be used: a tracker slipped on its mount during"},
      {"dont_use", "", "this result must not be used."},
  };
  for (const Case& Doubt : Cases) {
    SCOPED_TRACE(Doubt.Sentence);
    const Finished Result = Export(
        Scratch.Write("result.json",
                      Judged_Text(Doubt.Verdict, Doubt.Reasons, Reference_Pose, Shifted_Pose)),
        "ue5", {"--json"});
    EXPECT_EQ(Result.Status, 0);
    EXPECT_NEAR(X_In_Centimetres(Result), -26.0, Centimetre_Tolerance);
    EXPECT_EQ(nlohmann::json::parse(Result.Output)["usable"], false);
    EXPECT_THAT(Result.Said, HasSubstr(Doubt.Sentence));
  }
}

TEST(Export, AnAgreementIsExportedWithoutAWordWhicheverMountIsAskedFor) {
  const Scratch_Folder Scratch;
  const std::string File =
      Scratch.Write("result.json", Judged_Text("agree", "", Reference_Pose, Shifted_Pose));
  for (const char* Solution : {"library", "joint"}) {
    const Finished Result = Export(File, "ue5", {"--solution", Solution, "--json"});
    EXPECT_EQ(Result.Error, "");
    EXPECT_EQ(nlohmann::json::parse(Result.Output)["usable"], true);
  }
  EXPECT_THAT(Export(File, "ue5", {"--solution", "both"}).Said,
              HasSubstr("--solution: 'both' is wrong; expected one of library, joint"));
  const Finished None = Export(Scratch.Write("old.json", Result_Text(Reference_Pose)), "ue5",
                               {"--solution", "joint"});
  EXPECT_EQ(None.Status, 2);
  EXPECT_THAT(None.Said, HasSubstr("has no joint solution to export"));
}

// A mount that does not determine itself, or a slip, speaks against the joint one too.
TEST(Export, ADoubtfulJointMountIsNotRecommended) {
  const Scratch_Folder Scratch;
  for (const char* Reason : {R"("slip_found")", R"("width_beyond_limit")"}) {
    const std::string File = Scratch.Write(
        "result.json",
        Judged_Text("dont_use", R"("difference_beyond_limit", )" + std::string(Reason),
                    Reference_Pose, Shifted_Pose));
    EXPECT_THAT(Export(File, "ue5").Said,
                AllOf(HasSubstr("choose one with --solution joint or --solution library"),
                      Not(HasSubstr("nearer"))));
    EXPECT_THAT(Export(File, "ue5", {"--solution", "joint"}).Said,
                HasSubstr("warning: this result must not be used"));
  }
}

// A singular one, a reflection, a rotation of twice the size, and a last row of another transform.
TEST(Export, AMountThatIsNoRotationWithAPositionIsRefused) {
  const Scratch_Folder Scratch;
  for (const char* const Transform :
       {"[0,0,0,0, 0,0,0,0, 0,0,0,0, 0,0,0,1]", "[-1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1]",
        "[2,0,0,0, 0,2,0,0, 0,0,2,0, 0,0,0,1]", "[1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0.1,1]"}) {
    const Finished Result =
        Export(Scratch.Write("result.json", Result_Text(Transform)), "ue5", {"--json"});
    EXPECT_EQ(Result.Status, 2) << Transform;
    EXPECT_EQ(Result.Output, "");
    EXPECT_THAT(Result.Said, HasSubstr("result.json: 'transform_cam_tc' is no rotation with a "
                                       "position, so the file was changed"));
  }
}

TEST(Export, PrintsThePathOfItsRunLogWithoutDots) {
  const Scratch_Folder Scratch;
  Scratch.Write("result.json", Result_Text(Reference_Pose));
  std::filesystem::create_directory(Scratch.Path() / "down");
  const Finished Result = Export(Scratch.String() + "/down/../result.json", "ue5", {"--json"});
  EXPECT_THAT(nlohmann::json::parse(Result.Output)["run_log"],
              testing::StartsWith(Scratch.String() + "/log_"));
}

TEST(Export, KeepsTheRunLogOffTheTerminal) {
  const Scratch_Folder Scratch;
  const Finished Result = Export(Scratch.Write("result.json", Result_Text(Reference_Pose)), "ue4");
  ASSERT_EQ(Result.Status, 0) << Result.Error;
  EXPECT_THAT(Result.Output, Not(HasSubstr("Version : ")));
}

// ---- Targets that are files --------------------------------------------------------------------

TEST(Export, AFileIsWrittenOrPrinted) {
  const Scratch_Folder Scratch;
  Scratch.Write("result.json", Result_Text(Reference_Pose));
  const std::vector<std::string> Arguments = {"export", "result.json", "--to", "blender"};
  const Finished Printed = Rigsync(Arguments, Scratch.Path());
  EXPECT_EQ(Printed.Status, 0) << Printed.Error;
  EXPECT_THAT(Printed.Output, HasSubstr("import bpy"));
  EXPECT_THAT(Printed.Said, HasSubstr("rigsync: warning: The size of the sensor is not known"));
  std::vector<std::string> To_File = Arguments;
  To_File.insert(To_File.end(), {"-o", "camera.py"});
  const Finished Written = Rigsync(To_File, Scratch.Path());
  EXPECT_EQ(Written.Status, 0) << Written.Error;
  EXPECT_EQ(Written.Output, "Blender: camera.py\n");
  EXPECT_EQ(Read_Text(Scratch.Path() / "camera.py"), Printed.Output);
}

TEST(Export, AFolderStandsForTheResultInIt) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("result.json", Result_Text(Reference_Pose));
  const Finished Done = Export(Scratch.String(), "kalibr");
  EXPECT_EQ(Done.Status, 0) << Done.Error;
  EXPECT_EQ(Done.Output, Export(File, "kalibr").Output);
}

TEST(Export, TheSensorOfAFileIsTheStatedOne) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("result.json", Result_Text(Reference_Pose));
  const Finished Done = Export(File, "blender", {"--sensor", "24x13.5"});
  EXPECT_EQ(Done.Status, 0) << Done.Error;
  EXPECT_EQ(Done.Error, "");
  EXPECT_THAT(Done.Output, HasSubstr("\"lens_mm\": 18.0"));
}

TEST(Export, AFileHasTheTrackerAxesThatAreStated) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("result.json", Result_Text(Reference_Pose));
  EXPECT_THAT(Export(File, "blender", {"--tracker-axes", "y-up"}).Output,
              HasSubstr("\"tracker_axes\": [\"x\", \"-z\", \"y\"]"));
  EXPECT_THAT(Export(File, "unreal-lens", {"--tracker-axes", "y-up"}).Output,
              HasSubstr("\"tracker_axes\": [\"x\", \"z\", \"y\"]"));
  const Finished Mirrored = Export(File, "blender", {"--tracker-axes", "x,z,y"});
  EXPECT_EQ(Mirrored.Status, 2);
  EXPECT_THAT(Mirrored.Said, HasSubstr("these axes are left-handed"));
}

TEST(Export, FlagsThatAFileHasNoUseForAreRefused) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("result.json", Result_Text(Reference_Pose));
  for (const std::vector<std::string>& Flags :
       {std::vector<std::string>{"--json"}, {"--out", "."}, {"--zoom", "24"}, {"--focus", "1"}}) {
    SCOPED_TRACE(Flags[0]);
    const Finished Done = Export(File, "blender", Flags);
    EXPECT_EQ(Done.Status, 2);
    EXPECT_EQ(Done.Output, "");
    EXPECT_THAT(Done.Said,
                AllOf(HasSubstr(Flags[0]), HasSubstr("the export to Blender has no use")));
  }
}

}  // namespace
