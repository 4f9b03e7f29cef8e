// SPDX-License-Identifier: Apache-2.0
//
// Prints what the pose solver makes of seeded rigs to the file named by the argument: every number
// as a hexadecimal float, and every log line. Builds by different compilers and at different levels
// have to print the same. The rigs are plain arithmetic on the generator's numbers, so they are the
// same everywhere too.
#include "core/solver/cal_reproj_error.h"
#include "core/solver/calculate_transform_cam_tc.h"
#include "core/solver/calculate_transform_chart_tr.h"
#include "core/solver/evaluate_result.h"
#include "core/solver/organize_rt.h"
#include "core/solver/pose_averaging.h"
#include "core/solver/rt_filt_outlier.h"

#include <Eigen/LU>

#include <cmath>
#include <cstdio>
#include <iostream>
#include <random>
#include <sstream>

namespace {

std::mt19937 Engine(30);
std::FILE* Bits_File = nullptr;

// One call in a statement, or in a braced list: the order of a function's arguments is open.
double Between(double Low, double High) {
  return Low + (High - Low) * (static_cast<double>(Engine()) / 4294967296.0);
}

// NaN carries a sign and a payload that differ between compilers; that it is NaN doesn't.
void Print(double Value) {
  if (std::isnan(Value)) {
    std::fputs(" nan", Bits_File);
  } else {
    std::fprintf(Bits_File, " %a", Value);
  }
}

template <typename Matrix>
void Print_Matrix(const Matrix& Values) {
  for (int r = 0; r < Values.rows(); ++r) {
    for (int c = 0; c < Values.cols(); ++c) Print(static_cast<double>(Values(r, c)));
  }
  std::fputc('\n', Bits_File);
}

template <typename Matrix>
void Print_All(const std::vector<Matrix>& List) {
  for (const Matrix& Values : List) Print_Matrix(Values);
}

// What the stages have logged since, without the time texts.
void Print_Log(std::ostringstream& Log) {
  std::istringstream Lines(Log.str());
  for (std::string Line; std::getline(Lines, Line);) {
    const std::string Message = Line.substr(Line.find('\t') + 1);
    std::fprintf(Bits_File, "%s\n", Message.c_str());
  }
  Log.str("");
}

// One row of a capture with arbitrary tracker samples.
std::vector<double> Row() {
  std::vector<double> Numbers = {0.0};
  for (int Body = 0; Body < 2; ++Body) {
    for (int c = 0; c < 3; ++c) Numbers.push_back(Between(-2, 2));
    for (int c = 0; c < 4; ++c) Numbers.push_back(Between(-1, 1));
  }
  return Numbers;
}

// A rotation by a unit quaternion with vector part near X, Y, Z, and a translation.
Eigen::Matrix4d Pose_Near(double X, double Y, double Z, double Noise, double Reach) {
  X += Between(-Noise, Noise);
  Y += Between(-Noise, Noise);
  Z += Between(-Noise, Noise);
  const double S = 2.0 / (X * X + Y * Y + Z * Z + 1.0);
  const double T[3] = {Between(-Reach, Reach), Between(-Reach, Reach), Between(-Reach, Reach)};
  Eigen::Matrix4d Pose;
  Pose << 1 - S * (Y * Y + Z * Z), S * (X * Y - Z), S * (X * Z + Y), T[0],  //
      S * (X * Y + Z), 1 - S * (X * X + Z * Z), S * (Y * Z - X), T[1],      //
      S * (X * Z - Y), S * (Y * Z + X), 1 - S * (X * X + Y * Y), T[2],      //
      0, 0, 0, 1;
  return Pose;
}

void Print_Mean_Quaternions() {
  for (int List = 0; List < 300; ++List) {
    std::vector<Eigen::Vector4f> Quaternion_all;
    const int Samples = List == 0 ? 0 : 1 + List % 40;
    for (int i = 0; i < Samples; ++i) {
      Eigen::Vector4f Quaternion;
      for (int c = 0; c < 4; ++c) Quaternion(c) = static_cast<float>(Between(-1, 1));
      Quaternion_all.push_back(Quaternion);
    }
    Print_Matrix(Calculate_Mean_Quaternion("", Quaternion_all));
  }
}

// A rig of its own: the samples agree on nothing, so every digit is used.
void Print_Organized() {
  const int Images = 8;
  std::vector<std::vector<double>> Raw_Data_all;
  cv::Mat Rvecs(Images, 3, CV_64F), Tvecs(Images, 3, CV_64F);
  for (int i = 0; i < Images; ++i) {
    Raw_Data_all.push_back(Row());
    for (int c = 0; c < 3; ++c) {
      Rvecs.at<double>(i, c) = Between(-3, 3);
      Tvecs.at<double>(i, c) = Between(-1, 1);
    }
  }
  std::vector<Eigen::Matrix4d> Base_Tc_all, Tr_Base_all, Cam_Chart_all;
  Eigen::Matrix4d Chart_Tr;
  const std::vector<double> Angles = {Between(-180, 180), Between(-180, 180), Between(-180, 180)};
  const std::vector<double> Offsets = {Between(-1, 1), Between(-1, 1), Between(-1, 1)};
  OrganizeRT("", Base_Tc_all, Tr_Base_all, Chart_Tr, Cam_Chart_all, Rvecs, Tvecs, Angles, Offsets,
             Raw_Data_all);
  Print_Matrix(Chart_Tr);
  Print_All(Base_Tc_all);
  Print_All(Tr_Base_all);
  Print_All(Cam_Chart_all);
}

// The stages from the first solve to the verdict, on mounts that agree to about a degree and to
// some millimetres, or to some metres.
void Print_Solved(double Reach) {
  std::vector<Eigen::Matrix4d> Cam_Chart_all, Tr_Base_all, Base_Tc_all;
  const Eigen::Matrix4d Chart_Tr = Pose_Near(0.2, 0.4, -0.1, 0.1, 0.2);
  for (int i = 0; i < 14; ++i) {
    Cam_Chart_all.push_back(Pose_Near(0, 0, 0, 0.4, 0.3));
    Cam_Chart_all.back()(2, 3) += 1.5;
    Tr_Base_all.push_back(Pose_Near(0, 0, 0, 2.0, 2.0));
    const Eigen::Matrix4d Cam_Base = Cam_Chart_all.back() * Chart_Tr * Tr_Base_all.back();
    const Eigen::Matrix4d Base_Cam = Cam_Base.inverse();
    Base_Tc_all.push_back(Base_Cam * Pose_Near(0.5, -0.4, 0.3, 0.004, Reach));
  }

  std::vector<Eigen::Matrix4d> Cam_Tc_all;
  std::vector<Eigen::Vector4f> Quaternion_Cam_Tc_all;
  std::vector<Eigen::Vector3f> Translation_Cam_Tc_all;
  Eigen::Matrix4d Mean_Cam_Tc = Eigen::Matrix4d::Identity(), Mean_Chart_Tr;
  Calculate_Transform_Cam_Tc("", Mean_Cam_Tc, Cam_Tc_all, Quaternion_Cam_Tc_all,
                             Translation_Cam_Tc_all, Cam_Chart_all, Chart_Tr, Tr_Base_all,
                             Base_Tc_all);
  Print_All(Cam_Tc_all);
  Print_All(Quaternion_Cam_Tc_all);
  Print_Matrix(Mean_Cam_Tc);

  std::vector<std::vector<cv::Point2f>> ImageCoordinate;
  std::vector<std::string> Image_name;
  for (std::size_t i = 0; i < Cam_Tc_all.size(); ++i) {
    std::vector<cv::Point2f> Corners;
    for (int j = 0; j < 20; ++j) {
      const double X = Between(0, 1920);
      const double Y = Between(0, 1080);
      Corners.emplace_back(static_cast<float>(X), static_cast<float>(Y));
    }
    ImageCoordinate.push_back(Corners);
    Image_name.push_back(std::to_string(i));
  }
  std::vector<cv::Point3f> Board_Index;
  for (int j = 0; j < 20; ++j) {
    const int Column = j % 5, Row = j / 5;
    Board_Index.emplace_back(0.03f * static_cast<float>(Column), 0.03f * static_cast<float>(Row),
                             0.0f);
  }
  RT_Filt_Outlier("", Cam_Tc_all, Mean_Cam_Tc, ImageCoordinate, Image_name, Tr_Base_all,
                  Base_Tc_all, Cam_Chart_all);
  for (const std::string& Name : Image_name) std::fprintf(Bits_File, " %s", Name.c_str());
  Calculate_Transform_Chart_Tr("", Mean_Chart_Tr, Cam_Chart_all, Mean_Cam_Tc, Base_Tc_all,
                               Tr_Base_all);
  Print_Matrix(Mean_Chart_Tr);
  Calculate_Transform_Cam_Tc("", Mean_Cam_Tc, Cam_Tc_all, Quaternion_Cam_Tc_all,
                             Translation_Cam_Tc_all, Cam_Chart_all, Mean_Chart_Tr, Tr_Base_all,
                             Base_Tc_all);
  Print_All(Translation_Cam_Tc_all);
  Print_Matrix(Mean_Cam_Tc);

  const cv::Mat Camera_Matrix =
      (cv::Mat_<double>(3, 3) << 1500.0, 0.0, 940.0, 0.0, 1450.0, 530.0, 0.0, 0.0, 1.0);
  const cv::Mat Distortion = (cv::Mat_<double>(1, 5) << -0.12, 0.05, 0.001, -0.002, 0.01);
  float Reproj_Error = 0.0f;
  Cal_Reproj_Error("", Reproj_Error, Board_Index, ImageCoordinate, Camera_Matrix, Distortion,
                   Mean_Cam_Tc, Base_Tc_all, Tr_Base_all, Mean_Chart_Tr, Image_name, false, "");
  Print(static_cast<double>(Reproj_Error));
  std::fprintf(Bits_File, " verdict %d\n",
               Evaluate_Result("", Reproj_Error / 1080.0f, 0.5f, 1.0f, Mean_Cam_Tc,
                               Translation_Cam_Tc_all, 0.01f, 0.015f));
}

}  // namespace

int main(int Count, char** Arguments) {
  Bits_File = Count == 2 ? std::fopen(Arguments[1], "w") : nullptr;
  if (Bits_File == nullptr) {
    std::fputs("usage: solver_bits FILE\n", stderr);
    return 2;
  }
  std::ostringstream Log;
  std::streambuf* const Before = std::cout.rdbuf(Log.rdbuf());
  Print_Mean_Quaternions();
  for (int Rig = 0; Rig < 30; ++Rig) Print_Organized();
  for (int Rig = 0; Rig < 60; ++Rig) {
    // Millimetres, where verdicts lie, and tens of metres, where the log shows the last bits.
    Print_Solved(Rig % 2 == 0 ? 0.02 : 50.0);
    Print_Log(Log);
  }
  std::cout.rdbuf(Before);
  return std::fclose(Bits_File) == 0 ? 0 : 1;
}
