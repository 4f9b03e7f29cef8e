// SPDX-License-Identifier: Apache-2.0
#include "rigsync/engine/solved_camera.h"

#include "rigsync/system/usage_error.h"

#include <gmock/gmock.h>

#include <cmath>
#include <string>
#include <vector>

namespace {

using testing::StartsWith;

rigsync::Calibration_Result Result_Of(const std::vector<double>& Transform_Cam_Tc) {
  rigsync::Calibration_Result Result;
  Result.Image_Size = {1920, 1080};
  Result.Norm_Fxy = {0.75, 1.5};
  Result.Norm_Cxy = {0.5, 0.25};
  Result.Distortion = {-0.125, 0.0625, 0, 0, 0};
  Result.Transform_Cam_Tc = Transform_Cam_Tc;
  return Result;
}

TEST(SolvedCamera, TheLensIsInPixels) {
  const rigsync::Solved_Camera Camera =
      rigsync::Solved_Camera_Of(Result_Of({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
  EXPECT_EQ(Camera.Width, 1920);
  EXPECT_EQ(Camera.Height, 1080);
  EXPECT_EQ(Camera.Lens_Px.Fx, 1440.0);
  EXPECT_EQ(Camera.Lens_Px.Fy, 1620.0);
  EXPECT_EQ(Camera.Lens_Px.Cx, 960.0);
  EXPECT_EQ(Camera.Lens_Px.Cy, 270.0);
  EXPECT_EQ(Camera.Lens_Px.K1, -0.125);
  EXPECT_EQ(Camera.Lens_Px.K2, 0.0625);
}

// The tracker is 0.1 m to the right of the camera, and Tc has the axes of Cam. So the camera is 0.1
// along -x of Tc, which is the body's own x.
TEST(SolvedCamera, ThePoseIsAlongTheBodysOwnAxes) {
  const rigsync::Solved_Camera Camera =
      rigsync::Solved_Camera_Of(Result_Of({1, 0, 0, 0.1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
  const Eigen::Vector3d Centre_Body = Camera.Transform_Body_Cam.translation();
  EXPECT_EQ(Centre_Body, Eigen::Vector3d(0.1, 0, 0));
  const Eigen::Vector3d View_Body = Camera.Transform_Body_Cam.linear() * Eigen::Vector3d::UnitZ();
  EXPECT_EQ(View_Body, Eigen::Vector3d(0, -1, 0));  // z of Tc is the body's -y
  const Eigen::Vector3d Down_Body = Camera.Transform_Body_Cam.linear() * Eigen::Vector3d::UnitY();
  EXPECT_EQ(Down_Body, Eigen::Vector3d(0, 0, -1));  // y of Tc is the body's -z
}

// The joint mount is exported when it is the result.
TEST(SolvedCamera, TheChosenMountIsTaken) {
  rigsync::Calibration_Result Result =
      Result_Of({1, 0, 0, 0.1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
  Result.Joint_Transform_Cam_Tc = {1, 0, 0, 0.2, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  Result.Inputs.Solution = rigsync::Solution_Choice::Joint;
  EXPECT_EQ(rigsync::Solved_Camera_Of(Result).Transform_Body_Cam.translation().x(), 0.2);
}

// No run writes such a result; hands can.
TEST(SolvedCamera, AResultThatHandsHaveBrokenIsRefusedByItsKey) {
  const std::vector<double> Mount = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  const auto Refused = [&](auto Change) -> std::string {
    rigsync::Calibration_Result Result = Result_Of(Mount);
    Change(Result);
    try {
      rigsync::Solved_Camera_Of(Result, "take.json");
    } catch (const rigsync::Usage_Error& Refusal) {
      return Refusal.what();
    }
    return "";
  };
  using Result = rigsync::Calibration_Result;
  EXPECT_EQ(Refused([](Result&) {}), "");
  EXPECT_THAT(Refused([](Result& In) { In.Distortion.clear(); }),
              StartsWith("take.json: 'lens.distortion' is null"));
  EXPECT_THAT(Refused([](Result& In) {
                In.Norm_Fxy = {0, 0};
              }),
              StartsWith("take.json: 'lens.norm_fxy' holds 0"));
  EXPECT_THAT(Refused([](Result& In) { In.Transform_Cam_Tc.clear(); }),
              StartsWith("take.json: 'transform_cam_tc' is null"));
  EXPECT_THAT(Refused([](Result& In) { In.Transform_Cam_Tc[5] = std::nan(""); }),
              StartsWith("take.json: 'transform_cam_tc' is not finite"));
}

}  // namespace
