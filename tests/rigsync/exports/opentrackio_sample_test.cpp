// SPDX-License-Identifier: Apache-2.0
//
// The OpenTrackIO sample read back: its transforms by the decoder of recordings, its pixels by a
// reader in Python, its form by its schema, its numbers by hand.
#include "rigsync/exports/opentrackio_sample.h"

#include "rigsync/engine/solved_camera.h"
#include "rigsync/exports/file_target.h"
#include "rigsync/record/attitude.h"
#include "rigsync/record/opentrackio.h"
#include "rigsync/system/usage_error.h"
#include "tests/rigsync/exports/projected_points.h"
#include "tests/rigsync/exports/solved_rig.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/largest.h"

#include <gmock/gmock.h>

#include <cmath>
#include <fstream>
#include <opencv2/calib3d.hpp>
#include <sstream>

namespace {

using rigsync::File_Request;
using rigsync::File_Text;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// The sensor of 1920 by 1080 pixels whose pixels are squares of 0.02 mm.
constexpr std::array<double, 2> Sensor_Mm = {38.4, 21.6};

File_Text Sample_Of(const rigsync::Calibration_Result& Result,
                    std::optional<rigsync::Tracker_Axes> Axes = {}) {
  rigsync::Calibration_Result Of_A_Stream = Result;
  Of_A_Stream.Inputs.Camera_Labels = rigsync::Body_Labels::Right_Forward_Up;
  File_Request Request = Request_For(Of_A_Stream);
  Request.Sensor_Mm = Sensor_Mm;
  Request.Axes = Axes;
  return rigsync::Write_Opentrackio(Request);
}

nlohmann::json Json_Of(const rigsync::Calibration_Result& Result) {
  return nlohmann::json::parse(Sample_Of(Result).Text);
}

// The pose that the decoder of recordings makes of the transforms.
Eigen::Isometry3d Decoded(const std::vector<rigsync::Pose_Slots>& Transforms) {
  const rigsync::Tracker_Sample Sample = rigsync::Opentrackio_Pose(Transforms, {});
  Eigen::Isometry3d Pose(rigsync::Sample_Rotation_Body_Base(Sample).conjugate());
  Pose.translation() = Eigen::Map<const Eigen::Vector3d>(Sample.Position.data());
  return Pose;
}

std::vector<rigsync::Pose_Slots> Transforms_Of(const std::string& Text) {
  const auto Sample = rigsync::Decode_Opentrackio(rigsync::Json_Encoding, Text);
  EXPECT_TRUE(Sample);
  return Sample ? Sample->Transforms : std::vector<rigsync::Pose_Slots>();
}

// The camera of the format in Cam: x right, y along the view, z up.
Eigen::Isometry3d Transform_Cam_Camera() {
  Eigen::Matrix3d Axes;
  Axes.col(0) = Eigen::Vector3d(1, 0, 0);
  Axes.col(1) = Eigen::Vector3d(0, 0, 1);
  Axes.col(2) = Eigen::Vector3d(0, -1, 0);
  return Eigen::Isometry3d(Axes);
}

// Angles in degrees and turns of a few metres at the precision of a double.
constexpr double Rounding = 1e-12;

void Expect_Same(const Eigen::Isometry3d& A, const Eigen::Isometry3d& B) {
  EXPECT_LE(Largest_Element(A.matrix() - B.matrix()), Rounding) << A.matrix();
}

TEST(OpentrackioSample, TheChainOfItsTransformsIsTheCameraInTheScene) {
  for (unsigned Seed = 1; Seed <= 200; ++Seed) {
    const Scratch_Folder Scratch;
    const Solved_Rig Rig(Seed);
    const auto Transforms = Transforms_Of(Sample_Of(Rig.Write(Scratch)).Text);
    ASSERT_EQ(Transforms.size(), 2u);
    // The first row is not kept, so the second is the sample.
    Expect_Same(Decoded({Transforms[0]}), Rig.Rows[1].Transform_Base_Camera);
    Expect_Same(Decoded(Transforms), Rig.Rows[1].Transform_Base_Camera * Rig.Transform_Body_Cam *
                                         Transform_Cam_Camera());
  }
}

// What brings samples into a scene names the axes of the scene and those of the body anew alike.
TEST(OpentrackioSample, OtherAxesOfTheTrackerNameTheSceneAnewAndLeaveTheCameraWhereItIs) {
  const Scratch_Folder Scratch;
  const Solved_Rig Rig;
  rigsync::Tracker_Axes Axes;
  Axes << 1, 0, 0, 0, 0, -1, 0, 1, 0;  // x, -z, y: y of the body was up
  const auto Transforms = Transforms_Of(Sample_Of(Rig.Write(Scratch), Axes).Text);
  ASSERT_EQ(Transforms.size(), 2u);
  const Eigen::Isometry3d Scene(Axes);
  Expect_Same(Decoded({Transforms[0]}),
              Scene * Rig.Rows[1].Transform_Base_Camera * Scene.inverse());
  Expect_Same(Decoded(Transforms), Scene * Rig.Rows[1].Transform_Base_Camera *
                                       Rig.Transform_Body_Cam * Transform_Cam_Camera());
}

void Expect_Read_Back(const Eigen::Matrix3d& Rotation) {
  const auto [Pan, Tilt, Roll] = rigsync::Pan_Tilt_Roll_Of(Rotation);
  const Eigen::Matrix3d Back = rigsync::Pan_Tilt_Roll(Pan, Tilt, Roll).toRotationMatrix();
  EXPECT_LE(Largest_Element(Back - Rotation), Rounding) << Pan << " " << Tilt << " " << Roll;
  EXPECT_LE(std::abs(Tilt), 90.0);
}

TEST(OpentrackioSample, PanTiltAndRollGiveTheSameRotationAlsoNearTheVertical) {
  Solved_Rig Random;
  for (int i = 0; i < 2000; ++i) Expect_Read_Back(Random.Random_Pose(0).linear());
  for (const double Off : {1e-3, 1e-6, 1e-9, 1e-11, 1e-12, 1e-13, 1e-14, 0.0}) {
    for (const double Sign : {-1.0, 1.0}) {
      for (int i = 0; i < 20; ++i) {
        const double Tilt_Deg = Sign * (90.0 - 57.29577951308232 * Off);
        Expect_Read_Back(
            rigsync::Pan_Tilt_Roll(180 * Random.Deviate(), Tilt_Deg, 180 * Random.Deviate())
                .toRotationMatrix());
      }
    }
  }
}

// The camera looks straight up or down, and its top is turned by 30 degrees about the vertical.
// Right is (cos 30, sin 30, 0) in the scene.
TEST(OpentrackioSample, StraightUpAndDownRollIsZeroAndPanHoldsTheTurn) {
  const double C = std::sqrt(0.75), S = 0.5;
  Eigen::Matrix3d Up, Down;
  Up << C, 0, S, S, 0, -C, 0, 1, 0;
  Down << C, 0, -S, S, 0, C, 0, -1, 0;
  const auto Near = [](double Value) { return testing::DoubleNear(Value, 1e-9); };
  EXPECT_THAT(rigsync::Pan_Tilt_Roll_Of(Up), ElementsAre(Near(30), Near(90), 0));
  EXPECT_THAT(rigsync::Pan_Tilt_Roll_Of(Down), ElementsAre(Near(30), Near(-90), 0));
  Solved_Rig Random;
  for (int i = 0; i < 100; ++i) {
    const double Turn_Deg = 180 * Random.Deviate();
    const Eigen::Quaterniond Upright = rigsync::Pan_Tilt_Roll(Turn_Deg, 90, 0);
    EXPECT_THAT(rigsync::Pan_Tilt_Roll_Of(Upright.toRotationMatrix()),
                ElementsAre(Near(Turn_Deg), Near(90), 0));
  }
}

// Pixels of 0.02 mm. F = 0.02 * 1440 = 28.8; the image's centre is at (959.5, 539.5).
TEST(OpentrackioSample, TheLensIsInMillimetresFromTheImagesCentre) {
  const Scratch_Folder Scratch;
  Solved_Rig Rig;
  Rig.Cx = 969.5;
  Rig.Cy = 269.5;
  const nlohmann::json Sample = Json_Of(Rig.Write(Scratch));
  const nlohmann::json& Lens = Sample["lens"];
  EXPECT_DOUBLE_EQ(Lens["pinholeFocalLength"].get<double>(), 28.8);
  // The result has the principal point as a part of the image, which costs a digit.
  EXPECT_NEAR(Lens["projectionOffset"]["x"].get<double>(), 0.2, Rounding);
  EXPECT_NEAR(Lens["projectionOffset"]["y"].get<double>(), -5.4, Rounding);
  EXPECT_EQ(Lens["distortionOffset"], nlohmann::json({{"x", 0.0}, {"y", 0.0}}));
  ASSERT_EQ(Lens["distortion"].size(), 1u);
  EXPECT_EQ(Lens["distortion"][0]["model"], "Brown-Conrady U-D");
  const nlohmann::json& Radial = Lens["distortion"][0]["radial"];
  ASSERT_EQ(Radial.size(), 3u);
  EXPECT_DOUBLE_EQ(Radial[0].get<double>(), -0.125 / 829.44);
  EXPECT_EQ(Radial[1], 0.0);
  EXPECT_DOUBLE_EQ(Radial[2].get<double>(), 0.0625 / 687970.7136);
  EXPECT_EQ(Lens["entrancePupilOffset"], 0.0);
  const nlohmann::json& Camera = Sample["static"]["camera"];
  EXPECT_EQ(Camera["activeSensorPhysicalDimensions"],
            nlohmann::json({{"width", 38.4}, {"height", 21.6}}));
  EXPECT_EQ(Camera["activeSensorResolution"], nlohmann::json({{"width", 1920}, {"height", 1080}}));
}

double Worst_Pixel_Difference(const Solved_Rig& Rig, const std::string& Text,
                              const Scratch_Folder& Scratch) {
  const Eigen::Isometry3d Transform_Base_Cam =
      Rig.Rows[1].Transform_Base_Camera * Rig.Transform_Body_Cam;
  const std::vector<Eigen::Vector3d> Points = Points_In_View(Transform_Base_Cam);
  std::string Lines;
  for (const Eigen::Vector3d& Point : Points) {
    Lines += fmt::format("{} {} {}\n", Point.x(), Point.y(), Point.z());
  }
  const Finished Read =
      Run_Program("/usr/bin/env",
                  {"python3", "-B", RIGSYNC_SOURCE_DIR "/tests/rigsync/exports/read_opentrackio.py",
                   Scratch.Write("sample.json", Text), Scratch.Write("points.txt", Lines)});
  EXPECT_EQ(Read.Status, 0) << Read.Error;
  const std::vector<cv::Point2d> Expected =
      Projected(Points, Transform_Base_Cam, {Rig.Fx, Rig.Fy, Rig.Cx, Rig.Cy, Rig.K1, Rig.K2});
  std::istringstream Pixels(Read.Output);
  double Worst = 0;
  for (const cv::Point2d& Each : Expected) {
    double U = std::nan(""), V = std::nan("");
    Pixels >> U >> V;
    const double Off = std::hypot(U - Each.x, V - Each.y);
    Worst = Larger(Worst, Off);
  }
  return Worst;
}

TEST(OpentrackioSample, AReaderOfItsOwnSeesThePixelsOfTheSolvedCamera) {
  constexpr double Last_Digits_Px = 1e-9;  // nine decimals are read, each to half of the last
  for (unsigned Seed = 1; Seed <= 5; ++Seed) {
    const Scratch_Folder Scratch;
    Solved_Rig Rig(Seed);
    Rig.Cx = 971.25;
    Rig.Cy = 512.5;
    const std::string Text = Sample_Of(Rig.Write(Scratch)).Text;
    EXPECT_LE(Worst_Pixel_Difference(Rig, Text, Scratch), Last_Digits_Px) << Seed;
  }
}

// By fy the focal length is 1443 * 0.02 mm. Of 539.5 + 0.5 pixels below the principal point, 540 *
// 3 / 1443 = 1.12 are missing.
TEST(OpentrackioSample, FocalLengthsThatDisagreeAreToldWithThePixelsAtTheEdge) {
  const Scratch_Folder Scratch;
  Solved_Rig Rig;
  Rig.Cy = 539.5;
  Rig.Fy = 1443;
  const File_Text Written = Sample_Of(Rig.Write(Scratch));
  ASSERT_EQ(Written.Warnings.size(), 2u);
  EXPECT_THAT(Written.Warnings[0],
              HasSubstr("one focal length for both axes, here the 28.800 mm of fx; by fy it is "
                        "28.860 mm. That moves pixels by up to 1.12 px"));
  // 21.6 * 1440 / 1443 = 21.5551
  EXPECT_THAT(Written.Warnings[0], HasSubstr("A sensor of 38.4x21.5551 mm would hold both"));
  const double Worst = Worst_Pixel_Difference(Rig, Written.Text, Scratch);
  EXPECT_GT(Worst, 1.0);
  Rig.Fy = 1440.02;  // 540 * 0.02 / 1440 = 0.0075
  EXPECT_EQ(Sample_Of(Rig.Write(Scratch)).Warnings.size(), 1u);
}

TEST(OpentrackioSample, ThePupilIsSaidToBeTheOrigin) {
  const Scratch_Folder Scratch;
  EXPECT_THAT(Sample_Of(Solved_Rig().Write(Scratch)).Warnings,
              ElementsAre(HasSubstr("entrancePupilOffset is 0")));
}

TEST(OpentrackioSample, AsksWhichAxisIsUpWhereNobodyHasSaid) {
  const Scratch_Folder Scratch;
  const auto Result = Solved_Rig().Write(Scratch);  // of an unknown tracking system
  File_Request Request = Request_For(Result);
  Request.Sensor_Mm = Sensor_Mm;
  const auto Asked = HasSubstr("Say --tracker-axes z-up if it is so, or --tracker-axes y-up");
  EXPECT_THAT(rigsync::Write_Opentrackio(Request).Warnings, testing::Contains(Asked));
  Request.Axes = rigsync::Tracker_Axes(rigsync::Tracker_Axes::Identity());
  EXPECT_THAT(rigsync::Write_Opentrackio(Request).Warnings, Not(testing::Contains(Asked)));
}

std::string Text_Without_Capture(const Scratch_Folder& Scratch, const std::string& Why) {
  rigsync::Calibration_Result Result = Solved_Rig().Write(Scratch);
  std::filesystem::remove(Result.Inputs.Csv);
  const File_Text Written = Sample_Of(Result);
  EXPECT_EQ(Written.Warnings.size(), 2u);
  EXPECT_THAT(Written.Warnings.back(), HasSubstr(Why));
  return Written.Text;
}

TEST(OpentrackioSample, WithoutItsCaptureTheTrackerIsAtTheOriginAndThatIsSaid) {
  const Scratch_Folder Scratch;
  const std::string Text = Text_Without_Capture(
      Scratch, "the first transform, the tracker's sample, is the identity: " + Scratch.String() +
                   "/capture.csv: doesn't exist");
  const auto Transforms = Transforms_Of(Text);
  ASSERT_EQ(Transforms.size(), 2u);
  Expect_Same(Decoded({Transforms[0]}), Eigen::Isometry3d::Identity());
  Expect_Same(Decoded(Transforms), Solved_Rig().Transform_Body_Cam * Transform_Cam_Camera());
  EXPECT_THAT(Text, HasSubstr("at the origin for want of a sample"));
}

TEST(OpentrackioSample, TheNotesSayWhichImageTheTrackersSampleIsOf) {
  const Scratch_Folder Scratch;
  EXPECT_THAT(Json_Of(Solved_Rig().Write(Scratch))["tracker"]["notes"].get<std::string>(),
              HasSubstr("as it was for images/2.png (line 3)"));
}

TEST(OpentrackioSample, TheSameResultGivesTheSameFileAndAnotherSampleHasAnotherName) {
  const Scratch_Folder Scratch;
  Solved_Rig Rig;
  const auto Result = Rig.Write(Scratch);
  const std::string Text = Sample_Of(Result).Text;
  EXPECT_EQ(Sample_Of(Result).Text, Text);
  const auto First = nlohmann::json::parse(Text);
  Rig.Rows[1].Is_Kept = false;  // the tracker of the third row: the same source, another sample
  const nlohmann::json Other_Sample = Json_Of(Rig.Write(Scratch));
  EXPECT_EQ(Other_Sample["sourceId"], First["sourceId"]);
  EXPECT_NE(Other_Sample["sampleId"], First["sampleId"]);
  Rig.Fx = 1440.5;
  EXPECT_NE(Json_Of(Rig.Write(Scratch))["sourceId"], First["sourceId"]);
  EXPECT_NE(First["sourceId"], First["sampleId"]);
}

TEST(OpentrackioSample, NeedsASensor) {
  const Scratch_Folder Scratch;
  const auto Result = Solved_Rig().Write(Scratch);
  try {
    rigsync::Write_Opentrackio(Request_For(Result));
    FAIL();
  } catch (const rigsync::Usage_Error& Refusal) {
    EXPECT_THAT(Refusal.what(), testing::StartsWith("--sensor: missing."));
  }
}

TEST(OpentrackioSample, ALensThatNoRunWritesIsRefusedByItsKey) {
  const Scratch_Folder Scratch;
  const auto Refused = [&](auto Change) -> std::string {
    rigsync::Calibration_Result Result = Solved_Rig().Write(Scratch);
    Change(Result);
    try {
      Sample_Of(Result);
    } catch (const rigsync::Usage_Error& Refusal) {
      return Refusal.what();
    }
    return "";
  };
  using Result = rigsync::Calibration_Result;
  EXPECT_THAT(Refused([](Result& In) { In.Image_Size.clear(); }),
              HasSubstr("'lens.image_size' is null"));
  EXPECT_THAT(Refused([](Result& In) { In.Image_Size[1] = 0; }), HasSubstr("'lens.image_size'"));
  EXPECT_THAT(Refused([](Result& In) { In.Image_Size[1] = 1e12; }), HasSubstr("holds 1e+12"));
  EXPECT_THAT(Refused([](Result& In) { In.Norm_Fxy[0] = 0; }),
              HasSubstr("result.json: 'lens.norm_fxy'"));
  EXPECT_THAT(Refused([](Result& In) { In.Norm_Cxy.clear(); }), HasSubstr("'lens.norm_cxy'"));
  EXPECT_THAT(Refused([](Result& In) { In.Distortion.clear(); }), HasSubstr("'lens.distortion'"));
}

// What check_schema.py says; empty when the text follows the schema.
std::string Departures(const std::string& Text) {
  const Scratch_Folder Scratch;
  const Finished Checked = Run_Program(
      "/usr/bin/env",
      {"python3", "-B", RIGSYNC_SOURCE_DIR "/tests/rigsync/formats/check_schema.py",
       RIGSYNC_SOURCE_DIR "/docs/opentrackio.schema.json", Scratch.Write("sample.json", Text)});
  EXPECT_EQ(Checked.Error, "");
  EXPECT_EQ(Checked.Status, Checked.Output.empty() ? 0 : 1);
  return Checked.Output;
}

TEST(OpentrackioSample, FollowsItsSchema) {
  const Scratch_Folder Scratch;
  EXPECT_EQ(Departures(Sample_Of(Solved_Rig().Write(Scratch)).Text), "");
  EXPECT_EQ(Departures(Text_Without_Capture(Scratch, "doesn't exist")), "");
}

TEST(OpentrackioSample, ItsSchemaRefusesWhatTheFormatDoesNotHave) {
  const Scratch_Folder Scratch;
  const nlohmann::json Sample = Json_Of(Solved_Rig().Write(Scratch));
  const auto Without = [&](const char* Pointer, const nlohmann::json& Value) {
    nlohmann::json Changed = Sample;
    Changed[nlohmann::json::json_pointer(Pointer)] = Value;
    return Departures(Changed.dump());
  };
  // Other keys may stand at the top, and nowhere else.
  EXPECT_EQ(Without("/timing", nlohmann::json::object()), "");
  EXPECT_NE(Without("/lens/tilt", 1), "");
  EXPECT_NE(Without("/transforms/0/rotation/yaw", 1), "");
  EXPECT_NE(Without("/sampleId", "urn:uuid:3C1A6CD6-20f2-4f0e-9d8c-54b6a4c6d5b1"), "");
  EXPECT_NE(Without("/lens/distortion/0/model", "Brown-Conrady D-U"), "");
  EXPECT_NE(Without("/lens/distortion/0/radial", {1, 2}), "");
  EXPECT_NE(Without("/lens/entrancePupilOffset", 0.1), "");
  EXPECT_NE(Without("/static/camera/activeSensorPhysicalDimensions/height", nullptr), "");
  EXPECT_NE(Without("/static/camera/activeSensorResolution/height", 1080.5), "");
  EXPECT_NE(Without("/static/lens/calibrationHistory", {""}), "");
  EXPECT_NE(Without("/protocol/version", {0, 9, 3}), "");
  EXPECT_NE(Without("/transforms/1/rotation/tilt", 90.5), "");
  for (const auto& Item : Sample.items()) {
    nlohmann::json Changed = Sample;
    Changed.erase(Item.key());
    EXPECT_NE(Departures(Changed.dump()), "") << Item.key();
  }
}

// With the camera's axes along the body's, and without a sample, everything that is 0 is plainly 0.
TEST(OpentrackioSample, AZeroHasNoSign) {
  const Scratch_Folder Scratch;
  Solved_Rig Rig;
  Rig.Transform_Body_Cam = Transform_Cam_Camera().inverse();
  rigsync::Calibration_Result Result = Rig.Write(Scratch);
  Result.Inputs.Csv = Scratch.Path() / "none.csv";
  for (const std::vector<double>& Mount :
       {Result.Transform_Cam_Tc,
        std::vector<double>{-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1},
        std::vector<double>{1, 0, 0, 0, 0, -1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1},
        std::vector<double>{1, -0.0, -0.0, -0.0, -0.0, 1, -0.0, 0, 0, 0, 1, -0.0, 0, 0, 0, 1}}) {
    Result.Transform_Cam_Tc = Mount;
    const std::string Text = Sample_Of(Result).Text;
    EXPECT_THAT(Text.substr(Text.find("\"transforms\"")), testing::Not(HasSubstr("-0.0")));
  }
}

}  // namespace
