// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/kalibr_camchain.h"

#include "rigsync/engine/solved_camera.h"
#include "rigsync/exports/script_text.h"
#include "rigsync/exports/yaml_text.h"

#include <fmt/format.h>

namespace rigsync {
namespace {

std::string Matrix_Text(const Eigen::Matrix4d& Matrix) {
  std::string Text;
  for (int r = 0; r < 4; ++r) {
    Text += fmt::format("  - {}\n",
                        Yaml_List({Matrix(r, 0), Matrix(r, 1), Matrix(r, 2), Matrix(r, 3)}));
  }
  return Text;
}

}  // namespace

File_Text Write_Kalibr(const File_Request& Request) {
  const Solved_Camera Camera = Solved_Camera_Of(Request.Result, Request.Result_File);
  const Lens& Px = Camera.Lens_Px;
  std::string Text = Doubts_Comment(Request.Doubts) + "cam0:\n";
  Text += "  T_cam_imu:\n" + Matrix_Text(Camera.Transform_Body_Cam.inverse().matrix());
  Text += "  cam_overlaps: []\n";
  Text += "  camera_model: pinhole\n";
  Text += "  distortion_coeffs: " + Yaml_List({Px.K1, Px.K2, 0.0, 0.0}) + "\n";
  Text += "  distortion_model: radtan\n";
  Text += "  intrinsics: " + Yaml_List({Px.Fx, Px.Fy, Px.Cx, Px.Cy}) + "\n";
  Text += fmt::format("  resolution: [{}, {}]\n", Camera.Width, Camera.Height);
  Text += "  rostopic: /cam0/image_raw\n";
  return {Text, {}};
}

}  // namespace rigsync
