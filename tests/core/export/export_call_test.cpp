// SPDX-License-Identifier: Apache-2.0
#include "core/export/export_call.h"

#include <limits>

#include "core/export/axis_conversion.h"
#include "tests/core/export/export_fixtures.h"

namespace {

int Refuse_With_7(std::string /*Log_Path*/, Eigen::Matrix4d /*Pose*/,
                  Eigen::Matrix4d& /*Converted*/) {
  return 7;
}

}  // namespace

TEST(StartExport, LogsVersionAndNameToAFileNamedByTheSecond) {
  const Scratch_Folder Folder;
  const Quiet_Output Screen;
  const std::string Log_Path = Start_Export(Folder.String(), "CamAxisToAnything");
  const Lines Expected = {"Version : v0.0.9", "CamAxisToAnything start."};
  EXPECT_EQ(Read_Log_File(Log_Path), Expected);
  EXPECT_EQ(Messages(Screen.Captured()), Expected);
  // Folder, separator, log_2022-11-17-09.05.33txt: the name has no dot before "txt".
  std::string Form = std::filesystem::path(Log_Path).filename().string();
  for (char& Character : Form) {
    if (Character >= '0' && Character <= '9') Character = '0';
  }
  EXPECT_EQ(Form, "log_0000-00-00-00.00.00txt");
  EXPECT_EQ(std::filesystem::path(Log_Path).parent_path(), Folder.Path());
}

TEST(DecodeFlatTransform, ReadsElement4RPlusCAsRowRColumnC) {
  Numbers Elements;
  for (int i = 0; i < 16; ++i) Elements.push_back(i);
  const Eigen::Matrix4d Pose = Decode_Flat_Transform(Elements);
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) EXPECT_EQ(Pose(r, c), 4 * r + c);
  }
}

TEST(DecodeFlatTransform, IgnoresElementsFrom16On) {
  Numbers Elements = Reference_Flat;
  Elements.insert(Elements.end(), {17.0, std::numeric_limits<double>::quiet_NaN()});
  EXPECT_EQ(Decode_Flat_Transform(Elements), Pose_Of(Reference_Flat));
}

TEST(DecodeFlatTransform, TestsNoValue) {
  const Numbers Elements = {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 2, 3, 5, 7};
  EXPECT_EQ(Decode_Flat_Transform(Elements), Pose_Of(Elements));
}

TEST(DecodeFlatTransform, RefusesAnyVectorOfFewerThan16) {
  for (std::size_t Size = 0; Size < 16; ++Size) {
    SCOPED_TRACE(Size);
    try {
      Decode_Flat_Transform(Numbers(Size, 1.0));
      ADD_FAILURE() << "nothing was thrown";
    } catch (const std::invalid_argument& Refusal) {
      EXPECT_EQ(Refusal.what(),
                "Transform_Cam_Tc needs 16 elements and has " + std::to_string(Size));
    }
  }
}

TEST(ConvertFlatTransform, LeavesAtOnceWithWhatTheConversionReturns) {
  const Scratch_Folder Folder;
  const Quiet_Output Screen;
  const std::string Log_Path = (Folder.Path() / "log").string();
  Eigen::Matrix4d Transform_Tc_Cam;
  Eigen::Quaterniond Quat_Tc_Cam;
  EXPECT_EQ(Convert_Flat_Transform(Log_Path, Reference_Flat, Refuse_With_7, "Never",
                                   Transform_Tc_Cam, Quat_Tc_Cam),
            7);
  EXPECT_EQ(Read_Log_File(Log_Path), Matrix_Lines("Transform_Cam_Tc", Pose_Of(Reference_Flat)));
}

TEST(ConvertFlatTransform, TakesTheQuaternionAsEigenMakesItWithNoSignChosen) {
  const Quiet_Output Screen;
  Random_Numbers Random(41);
  int Negative = 0;
  for (int i = 0; i < 500; ++i) {
    const Eigen::Matrix4d Transform_Cam_Tc = Random.Transform(1.0);
    Eigen::Matrix4d Transform_Tc_Cam;
    Eigen::Quaterniond Quat_Tc_Cam;
    ASSERT_EQ(Convert_Flat_Transform("", Flat(Transform_Cam_Tc), Cam_Tc_To_UE5, "Any",
                                     Transform_Tc_Cam, Quat_Tc_Cam),
              0);
    const Eigen::Matrix3d Rotation = Transform_Tc_Cam.topLeftCorner<3, 3>();
    const Eigen::Quaterniond Expected(Rotation);
    ASSERT_TRUE(Same_Bits_Each({Quat_Tc_Cam.x(), Quat_Tc_Cam.y(), Quat_Tc_Cam.z(), Quat_Tc_Cam.w()},
                               {Expected.x(), Expected.y(), Expected.z(), Expected.w()}));
    if (Quat_Tc_Cam.w() < 0) ++Negative;
  }
  EXPECT_GT(Negative, 50);
}

TEST(ConvertFlatTransform, DoesNotNormaliseTheQuaternionOfAScaledTransform) {
  const Quiet_Output Screen;
  Numbers Shrunk = Identity_Flat;  // rotation block halved: the result's is doubled
  Shrunk[0] = Shrunk[5] = Shrunk[10] = 0.5;
  Eigen::Matrix4d Transform_Tc_Cam;
  Eigen::Quaterniond Quat_Tc_Cam;
  EXPECT_EQ(Convert_Flat_Transform("", Shrunk, Cam_Tc_To_UE5, "Any", Transform_Tc_Cam, Quat_Tc_Cam),
            0);
  // Rows 2 0 0, 0 0 2, 0 -2 0: trace 2, so w = sqrt(3) / 2 and x = -4 / (2 sqrt(3)).
  EXPECT_DOUBLE_EQ(Quat_Tc_Cam.w(), std::sqrt(3.0) / 2.0);
  EXPECT_DOUBLE_EQ(Quat_Tc_Cam.x(), -2.0 / std::sqrt(3.0));
}

TEST(NumberRow, JoinsWithCommaAndBlankInSixDecimals) {
  EXPECT_EQ(Number_Row({1.0, -0.0, 1e-7, 12345.6789}, 4),
            "1.000000, -0.000000, 0.000000, "
            "12345.678900");
  EXPECT_EQ(Number_Row({1.0, 2.0, 3.0}, 2), "1.000000, 2.000000");
  EXPECT_EQ(Number_Row(Eigen::Vector3f(30.0000019f, -0.1f, 0.0f)),
            "30.000002, -0.100000, 0.000000");
}
