// SPDX-License-Identifier: Apache-2.0
//
// What the stage tests of the solver share: a run log of a test's own, and numbers as text that
// shows every bit.
#ifndef RIGSYNC_TESTS_CORE_SOLVER_SOLVER_TEST_SUPPORT_H
#define RIGSYNC_TESTS_CORE_SOLVER_SOLVER_TEST_SUPPORT_H

#include "tests/support/quiet_output.h"
#include "tests/support/run_log_reader.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/synthetic_rig.h"

#include <gtest/gtest.h>
#include <Eigen/Core>
#include <Eigen/Geometry>

#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

// A folder with a run log, and the captured standard output.
class Stage_Log {
 public:
  // Captures standard output while it exists. A stage is called while one of these exists.
  class Listener {
   public:
    explicit Listener(Stage_Log& Owner) : Log(Owner) {}
    ~Listener() { Log.Mirrored += Output.Captured(); }

   private:
    Stage_Log& Log;
    Quiet_Output Output;
  };

  Listener Listen() { return Listener(*this); }
  std::string Path() const { return (Folder.Path() / "log").string(); }
  const Scratch_Folder& Scratch() const { return Folder; }

  // The messages so far. Throws when standard output has had other ones.
  std::vector<std::string> Lines() const {
    const std::vector<std::string> In_File = Read_Log_File(Path());
    if (Messages(Mirrored) != In_File) {
      throw std::runtime_error("standard output and run log differ");
    }
    return In_File;
  }

 private:
  Scratch_Folder Folder;
  std::string Mirrored;
};

// Every bit of a number as text, the sign of zero included. Whether a NaN carries a sign is the
// processor's business, so it shows none.
inline std::string Hex(double Value) {
  if (std::isnan(Value)) return "nan";
  char Text[40];
  std::snprintf(Text, sizeof Text, "%a", Value);
  return Text;
}

template <typename Derived>
std::string Hex(const Eigen::MatrixBase<Derived>& Matrix) {
  std::string Text;
  for (Eigen::Index r = 0; r < Matrix.rows(); ++r) {
    for (Eigen::Index c = 0; c < Matrix.cols(); ++c) {
      Text += Hex(static_cast<double>(Matrix(r, c))) + (c + 1 < Matrix.cols() ? " " : "\n");
    }
  }
  return Text;
}

// The same lines, with NaN printed the same on every machine.
inline std::vector<std::string> Unsigned_Nans(std::vector<std::string> Lines) {
  for (std::string& Line : Lines) {
    for (std::size_t At = Line.find("-nan"); At != std::string::npos; At = Line.find("-nan")) {
      Line.erase(At, 1);
    }
  }
  return Lines;
}

// A pose that turns by an angle in radians about an axis of any length.
inline Eigen::Matrix4d Turned(const Eigen::Vector3d& Axis, double Angle_Rad,
                              const Eigen::Vector3d& Translation = Eigen::Vector3d::Zero()) {
  Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
  Pose.topLeftCorner<3, 3>() = Eigen::AngleAxisd(Angle_Rad, Axis.normalized()).toRotationMatrix();
  Pose.topRightCorner<3, 1>() = Translation;
  return Pose;
}

inline Eigen::Matrix4d Shifted(const Eigen::Vector3d& Translation) {
  Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
  Pose.topRightCorner<3, 1>() = Translation;
  return Pose;
}

// A pose that also scales. A rigid inverse of it, one that transposes the rotation block, is wrong.
inline Eigen::Matrix4d Scaled(double Factor) {
  Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
  Pose.topLeftCorner<3, 3>() *= Factor;
  return Pose;
}

#endif  // RIGSYNC_TESTS_CORE_SOLVER_SOLVER_TEST_SUPPORT_H
