// SPDX-License-Identifier: Apache-2.0
//
// Shared by the export tests: the two transforms of every table, the four calls with their results,
// and expected values computed by other methods than the library's.
#ifndef RIGSYNC_TESTS_CORE_EXPORT_EXPORT_FIXTURES_H
#define RIGSYNC_TESTS_CORE_EXPORT_EXPORT_FIXTURES_H

#include <gtest/gtest.h>
#include <Eigen/Dense>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "rigsync_core.h"
#include "tests/support/quiet_output.h"
#include "tests/support/run_log_reader.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/synthetic_rig.h"

using Numbers = std::vector<double>;
using Lines = std::vector<std::string>;

inline const Numbers Identity_Flat = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

// A rotation in whole hundredths and a translation in whole tenths, so that results are easy to
// check.
inline const Numbers Reference_Flat = {0.8, -0.36, -0.48, 0.1, 0, 0.8, -0.6, -0.2,
                                       0.6, 0.48,  0.64,  0.3, 0, 0,   0,    1};

inline Eigen::Quaterniond Quaternion_XYZW(const double (&C)[4]) {
  return {C[3], C[0], C[1], C[2]};
}

inline Eigen::Quaterniond Random_Quaternion(Random_Numbers& Random) {
  const double X = Random.Between(-1, 1), Y = Random.Between(-1, 1), Z = Random.Between(-1, 1);
  return Eigen::Quaterniond(Random.Between(-1, 1), X, Y, Z).normalized();
}

inline Numbers Flat(const Eigen::Matrix4d& Pose) {
  Numbers Elements;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) Elements.push_back(Pose(r, c));
  }
  return Elements;
}

inline Eigen::Matrix4d Pose_Of(const Numbers& Elements) {
  Eigen::Matrix4d Pose;
  Pose << Elements[0], Elements[1], Elements[2], Elements[3], Elements[4], Elements[5], Elements[6],
      Elements[7], Elements[8], Elements[9], Elements[10], Elements[11], Elements[12], Elements[13],
      Elements[14], Elements[15];
  return Pose;
}

// --- comparison to the last bit ---------------------------------------------------------------

inline std::uint32_t Bits(float Value) {
  std::uint32_t Result = 0;
  std::memcpy(&Result, &Value, sizeof Result);
  return Result;
}

inline std::uint64_t Bits(double Value) {
  std::uint64_t Result = 0;
  std::memcpy(&Result, &Value, sizeof Result);
  return Result;
}

inline std::string Hex(double Value) {
  char Text[40];
  std::snprintf(Text, sizeof Text, "%a", Value);
  return Text;
}

template <typename Number>
testing::AssertionResult Same_Bits(Number Actual, Number Expected) {
  if (Bits(Actual) == Bits(Expected)) return testing::AssertionSuccess();
  return testing::AssertionFailure() << Hex(static_cast<double>(Actual)) << " instead of "
                                     << Hex(static_cast<double>(Expected));
}

inline testing::AssertionResult Same_Bits_Each(const Numbers& Actual, const Numbers& Expected) {
  if (Actual.size() != Expected.size()) {
    return testing::AssertionFailure() << Actual.size() << " values instead of " << Expected.size();
  }
  for (std::size_t i = 0; i < Expected.size(); ++i) {
    if (Bits(Actual[i]) != Bits(Expected[i])) {
      return testing::AssertionFailure()
             << "value " << i << " is " << Hex(Actual[i]) << " instead of " << Hex(Expected[i]);
    }
  }
  return testing::AssertionSuccess();
}

inline testing::AssertionResult Same_Bits(const Eigen::Matrix4d& Actual,
                                          const Eigen::Matrix4d& Expected) {
  return Same_Bits_Each(Flat(Actual), Flat(Expected));
}

// --- expected values --------------------------------------------------------------------------

inline Eigen::Matrix4d Rows(const double (&Elements)[3][3]) {
  Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) Pose(r, c) = Elements[r][c];
  }
  return Pose;
}

// How an engine names the axes: Tracker takes Tc coordinates to the engine's, Camera takes the
// engine's camera coordinates to Cam coordinates. A rigid Transform_Cam_Tc then has to come out as
// Tracker * inverse * Camera.
struct Engine_Axes {
  Eigen::Matrix4d Tracker;
  Eigen::Matrix4d Camera;

  Eigen::Matrix4d Expected_Tc_Cam(const Eigen::Matrix4d& Transform_Cam_Tc) const {
    return Tracker * Rigid_Inverse(Transform_Cam_Tc) * Camera;
  }
  // The transform whose conversion gives this result.
  Eigen::Matrix4d Cam_Tc_That_Gives(const Eigen::Matrix4d& Transform_Tc_Cam) const {
    return Camera * Rigid_Inverse(Transform_Tc_Cam) * Tracker;
  }
};

inline const Engine_Axes UE4_Axes = {Rows({{0, -1, 0}, {1, 0, 0}, {0, 0, -1}}),
                                     Rows({{0, 1, 0}, {0, 0, -1}, {1, 0, 0}})};
inline const Engine_Axes UE5_Axes = {Rows({{1, 0, 0}, {0, 0, 1}, {0, -1, 0}}),
                                     Rows({{1, 0, 0}, {0, 1, 0}, {0, 0, 1}})};
inline const Engine_Axes ExportxN_Axes = {Rows({{0, 0, -1}, {0, -1, 0}, {-1, 0, 0}}),
                                          Rows({{0, 0, -1}, {-1, 0, 0}, {0, 1, 0}})};
inline const Engine_Axes AX_Axes = {Rows({{1, 0, 0}, {0, 0, -1}, {0, -1, 0}}),
                                    Rows({{1, 0, 0}, {0, -1, 0}, {0, 0, 1}})};

inline double Radians(double Angle_Deg) {
  return Angle_Deg * (std::acos(-1.0) / 180.0);
}

// A right-handed rotation about x (0), y (1) or z (2).
inline Eigen::Matrix3d Turn(int Axis, double Angle_Deg) {
  return Eigen::AngleAxisd(Radians(Angle_Deg), Eigen::Vector3d::Unit(Axis)).toRotationMatrix();
}

// Angles in single precision, as a rotation again. Narrowing a unit quaternion and the few single
// products of each angle leave up to 4e-7 in the arguments of asin and atan2, which near the
// singularity turn into an angle error that grows with 1 / cosine. Three angles add up.
constexpr double Rebuild_Tolerance = 2e-6;

inline std::string Text(double Value) {
  char Digits[400];
  std::snprintf(Digits, sizeof Digits, "%f", Value);
  return Digits;
}

inline std::string Row_Text(const Numbers& Values) {
  std::string Row;
  for (std::size_t i = 0; i < Values.size(); ++i) Row += (i == 0 ? "" : ", ") + Text(Values[i]);
  return Row;
}

inline Lines Matrix_Lines(const std::string& Label, const Eigen::Matrix4d& Pose) {
  const Numbers E = Flat(Pose);
  return {Label + " : ", "[[" + Row_Text({E[0], E[1], E[2], E[3]}) + "],",
          " [" + Row_Text({E[4], E[5], E[6], E[7]}) + "],",
          " [" + Row_Text({E[8], E[9], E[10], E[11]}) + "],",
          " [" + Row_Text({E[12], E[13], E[14], E[15]}) + "]]"};
}

inline Lines Joined(const std::vector<Lines>& Blocks) {
  Lines All;
  for (const Lines& Block : Blocks) All.insert(All.end(), Block.begin(), Block.end());
  return All;
}

// --- the calls --------------------------------------------------------------------------------

// The results of a call. Rotation and Translation are its two result vectors, Lens and Shift the
// two that only Aximmetry has. Log is the run log; it is compared with standard output.
struct Exported {
  int Code = -1;
  Numbers Rotation, Translation, Lens, Shift;
  Lines Log;
};

template <typename Call>
Exported Run_Export(Exported Before, const Call& Do) {
  const Scratch_Folder Folder;
  Exported Result = Before;
  const Quiet_Output Screen;
  Result.Code = Do(Result, Folder.String());
  Result.Log = Read_Run_Log(Folder.Path());
  EXPECT_EQ(Messages(Screen.Captured()), Result.Log);
  return Result;
}

inline Exported To_UE4(const Numbers& Transform, const Exported& Before = {}) {
  return Run_Export(Before, [&](Exported& Result, const std::string& Folder) {
    return CamAxisToUE4(Transform, Result.Rotation, Result.Translation, Folder);
  });
}

inline Exported To_UE5(const Numbers& Transform, const Exported& Before = {}) {
  return Run_Export(Before, [&](Exported& Result, const std::string& Folder) {
    return CamAxisToUE5(Transform, Result.Rotation, Result.Translation, Folder);
  });
}

inline Exported To_UE5_ExportxN(const Numbers& Transform, const Exported& Before = {}) {
  return Run_Export(Before, [&](Exported& Result, const std::string& Folder) {
    return CamAxisToUE5_ExportxN(Transform, Result.Rotation, Result.Translation, Folder);
  });
}

inline const Numbers Reference_Fxy = {0.75, 1.3333333};
inline const Numbers Reference_Cxy = {0.52, 0.47};

inline Exported To_Aximmetry(const Numbers& Transform, const Exported& Before = {},
                             const Numbers& Norm_Fxy = Reference_Fxy,
                             const Numbers& Norm_Cxy = Reference_Cxy) {
  return Run_Export(Before, [&](Exported& Result, const std::string& Folder) {
    return CamAxisToAximmetry(Norm_Fxy, Norm_Cxy, Transform, Result.Lens, Result.Shift,
                              Result.Rotation, Result.Translation, Folder);
  });
}

// Runs Call, which must throw std::invalid_argument with this text, and returns the run log up to
// the exception. Call keeps references to the vectors that it fills.
template <typename Call>
Lines Log_Until_Refused(const std::string& Expected_Text, const Call& Do) {
  const Scratch_Folder Folder;
  const Quiet_Output Screen;
  try {
    Do(Folder.String());
    ADD_FAILURE() << "nothing was thrown";
  } catch (const std::invalid_argument& Refusal) {
    EXPECT_EQ(Refusal.what(), Expected_Text);
  }
  return Read_Run_Log(Folder.Path());
}

#endif  // RIGSYNC_TESTS_CORE_EXPORT_EXPORT_FIXTURES_H
