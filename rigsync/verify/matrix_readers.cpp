// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/matrix_readers.h"

#include "rigsync/verify/numbers_read.h"

#include <Eigen/LU>
#include <opencv2/core.hpp>

#include <algorithm>
#include <array>
#include <locale>
#include <sstream>
#include <stdexcept>

namespace rigsync {
namespace {

using Values_List = std::vector<double>;

// Values: 4 by 4 elements of a transform from the object to Cam, row by row; fx, fy, cx, cy; k1,
// k2.
Composed_Camera Composed(const Values_List& V) {
  const Eigen::Matrix4d Transform_Cam_Object =
      Eigen::Map<const Eigen::Matrix<double, 4, 4, Eigen::RowMajor>>(V.data());
  Composed_Camera Camera;
  Camera.Transform_Object_Cam = Eigen::Affine3d(Transform_Cam_Object).inverse();
  Camera.Own_Lens = Lens{V.at(16), V.at(17), V.at(18), V.at(19), V.at(20), V.at(21)};
  return Camera;
}

// Lens is fx, fy, cx, cy; Distortion begins with k1, k2, and the others have to be 0.
Exported_Camera Camera_Of(const Values_List& Transform, const Values_List& Lens_Px,
                          const Values_List& Distortion, const True_Pose& True,
                          const Tracker_Axes& Axes) {
  const auto Is_Zero = [](double Value) { return Value == 0.0; };
  if (Transform.size() != 16 || Lens_Px.size() != 4 || Distortion.size() < 4 ||
      !std::all_of(Distortion.begin() + 2, Distortion.end(), Is_Zero)) {
    throw std::runtime_error("a file has not the numbers of a solved camera");
  }
  Exported_Camera Camera = Empty_Camera(True, Axes);
  const double Arm = 1.0 + True.Position_Object.norm();
  for (std::size_t i = 0; i < 12; ++i) {
    Add_Field(Camera, "transform." + std::to_string(i), Transform[i], i % 4 == 3 ? Arm : 1.0);
  }
  for (std::size_t i = 12; i < 16; ++i) Add_Field(Camera, "last row", Transform[i], 0.0);
  for (const double Value : Lens_Px) Add_Field(Camera, "lens", Value, 0.0);  // as they are
  for (std::size_t i = 0; i < 2; ++i) Add_Field(Camera, "distortion", Distortion[i], 0.0);
  Camera.Compose = Composed;
  Camera.Lens_Of_Target = True.Solved.Lens_Px;
  return Camera;
}

Values_List Elements(const cv::FileNode& Node) {
  cv::Mat Matrix;
  Node >> Matrix;
  Values_List Values;
  for (int i = 0; i < static_cast<int>(Matrix.total()); ++i) Values.push_back(Matrix.at<double>(i));
  return Values;
}

// The numbers after "KEY:", up to the next key.
Values_List Numbers_After(const std::string& Text, const std::string& Key) {
  const std::size_t At = Text.find("\n  " + Key + ":");
  if (At == std::string::npos) throw std::runtime_error("a camchain has no " + Key);
  const std::size_t From = Text.find(':', At) + 1;
  std::string Part = Text.substr(From, Text.find(':', From) - From);
  Part.erase(Part.rfind('\n'));  // where the next key begins
  // A dash with a blank behind it begins a line of a list; with a digit it is a sign.
  for (std::size_t i = 0; i < Part.size(); ++i) {
    const bool Is_List = Part[i] == '-' && i + 1 < Part.size() && Part[i + 1] == ' ';
    if (Is_List || Part[i] == '[' || Part[i] == ']' || Part[i] == ',') Part[i] = ' ';
  }
  std::istringstream Stream(Part);
  Stream.imbue(std::locale::classic());
  Values_List Values;
  for (double Value = 0; Stream >> Value;) Values.push_back(Value);
  if (!Stream.eof()) throw std::runtime_error("a camchain has no numbers at " + Key);
  return Values;
}

}  // namespace

Exported_Camera Read_Opencv_Yaml(const std::string& Text, const Read_Request& Request) {
  const cv::FileStorage File(Text, cv::FileStorage::READ | cv::FileStorage::MEMORY);
  const True_Pose True = True_Pose_Of(Request.Result, Request.Axes);
  if (static_cast<int>(File["image_width"]) != True.Solved.Width ||
      static_cast<int>(File["image_height"]) != True.Solved.Height) {
    throw std::runtime_error("a file has another frame than the solved camera");
  }
  const Values_List K = Elements(File["camera_matrix"]);
  if (K.size() != 9 || K[1] != 0.0 || K[3] != 0.0) {
    throw std::runtime_error("a file has a camera that is skewed");
  }
  Exported_Camera Camera = Camera_Of(Elements(File["Transform_Cam_Tc"]), {K[0], K[4], K[2], K[5]},
                                     Elements(File["distortion_coefficients"]), True, Request.Axes);
  Camera.Turn_Rad = Camera.Shift_M = 0.0;  // the very matrix of the library, exact or not
  return Camera;
}

Exported_Camera Read_Kalibr_Camchain(const std::string& Text, const Read_Request& Request) {
  const True_Pose True = True_Pose_Of(Request.Result, Request.Axes);
  const Values_List Size = Numbers_After(Text, "resolution");
  if (Size.size() != 2 || Size[0] != True.Solved.Width || Size[1] != True.Solved.Height) {
    throw std::runtime_error("a camchain has another frame than the solved camera");
  }
  if (Text.find("camera_model: pinhole\n") == std::string::npos ||
      Text.find("distortion_model: radtan\n") == std::string::npos) {
    throw std::runtime_error("a camchain has another model than the solved lens");
  }
  return Camera_Of(Numbers_After(Text, "T_cam_imu"), Numbers_After(Text, "intrinsics"),
                   Numbers_After(Text, "distortion_coeffs"), True, Request.Axes);
}

}  // namespace rigsync
