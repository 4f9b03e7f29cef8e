// SPDX-License-Identifier: Apache-2.0
//
// A result and its capture whose truth is known, for the tests of the files: the poses are chosen,
// and everything that the result holds follows from them by the definitions of docs/conventions.md.
#ifndef RIGSYNC_TESTS_RIGSYNC_EXPORTS_SOLVED_RIG_H
#define RIGSYNC_TESTS_RIGSYNC_EXPORTS_SOLVED_RIG_H

#include "rigsync/exports/file_target.h"
#include "rigsync/system/file_hash.h"
#include "tests/support/scratch_folder.h"

#include <fmt/format.h>
#include <Eigen/Geometry>

#include <random>
#include <string>
#include <vector>

struct Rig_Row {
  std::string Image;
  bool Is_Kept = true;
  Eigen::Isometry3d Transform_Base_Camera, Transform_Base_Board;  // the bodies, their own axes
};

class Solved_Rig {
 public:
  explicit Solved_Rig(unsigned Seed = 1) : Random(Seed) {
    Transform_Body_Cam = Random_Pose(0.2);
    Transform_Body_Chart = Random_Pose(0.2);
    for (int i = 0; i < 4; ++i) {
      Rows.push_back({fmt::format("images/{}.png", i + 1), i != 0, Random_Pose(2), Random_Pose(2)});
    }
  }

  // The result, with the CSV in Folder. Row i is in line i + 2.
  rigsync::Calibration_Result Write(const Scratch_Folder& Folder) const {
    std::string Csv = "T,image,camera,board\n";
    rigsync::Calibration_Result Result;
    for (std::size_t i = 0; i < Rows.size(); ++i) {
      const Rig_Row& Row = Rows[i];
      Csv += fmt::format("{},{}{}{}\n", i, Row.Image, Sample_Text(Row.Transform_Base_Camera),
                         Sample_Text(Row.Transform_Base_Board));
      Result.Images.push_back({i + 2, Row.Image});
      rigsync::Image_Report Report;
      Report.Name = Row.Image;
      Report.Fate = Row.Is_Kept ? rigsync::Image_Fate::Kept : rigsync::Image_Fate::Outlier;
      Result.Report.Images.push_back(Report);
    }
    Result.Inputs.Csv = Folder.Write("capture.csv", Csv);
    Result.Inputs.Image_Root = Folder.Path();
    Result.Inputs.Board = {7, 5};
    Result.Inputs.Square_Size = 0.03;
    Result.Hashes.Csv = rigsync::File_Sha256(Result.Inputs.Csv);
    Result.Code = 0;
    Result.Image_Size = {1920, 1080};
    Result.Norm_Fxy = {Fx / 1920, Fy / 1080};
    Result.Norm_Cxy = {Cx / 1920, Cy / 1080};
    Result.Distortion = {K1, K2, 0, 0, 0};
    Result.Transform_Cam_Tc =
        List((Eigen::Isometry3d(Rotation_Tc_Body()) * Transform_Body_Cam).inverse());
    return Result;
  }

  // Away by at most Reach on each axis, and turned by anything.
  Eigen::Isometry3d Random_Pose(double Reach) {
    Eigen::Quaterniond Turn(Deviate(), Deviate(), Deviate(), Deviate());
    Eigen::Isometry3d Pose(Turn.normalized());
    Pose.translation() = Reach * Eigen::Vector3d(Deviate(), Deviate(), Deviate());
    return Pose;
  }

  // From -1 to 1, the same on every machine.
  double Deviate() { return 2.0 * static_cast<double>(Random()) / 4294967295.0 - 1.0; }

  static std::vector<double> List(const Eigen::Isometry3d& Pose) {
    std::vector<double> Numbers;
    for (int r = 0; r < 4; ++r) {
      for (int c = 0; c < 4; ++c) Numbers.push_back(Pose.matrix()(r, c));
    }
    return Numbers;
  }

  // Body coordinates (a, b, c) are (-a, -c, -b) in Tc and Tr.
  static Eigen::Matrix3d Rotation_Tc_Body() {
    Eigen::Matrix3d Rotation;
    Rotation << -1, 0, 0, 0, 0, -1, 0, -1, 0;
    return Rotation;
  }

  double Fx = 1440, Fy = 1440, Cx = 960, Cy = 540, K1 = -0.125, K2 = 0.0625;  // pixels
  Eigen::Isometry3d Transform_Body_Cam, Transform_Body_Chart;
  std::vector<Rig_Row> Rows;  // the first is not kept

 private:
  // The CSV has the way from Base to the body.
  static std::string Sample_Text(const Eigen::Isometry3d& Pose) {
    const Eigen::Vector3d At = Pose.translation();
    const Eigen::Quaterniond Q = Eigen::Quaterniond(Pose.linear()).conjugate();
    return fmt::format(",{},{},{},{},{},{},{}", At.x(), At.y(), At.z(), Q.w(), Q.x(), Q.y(), Q.z());
  }

  std::mt19937 Random;
};

inline rigsync::File_Request Request_For(const rigsync::Calibration_Result& Result) {
  return rigsync::Request_From("result.json", Result);
}

#endif  // RIGSYNC_TESTS_RIGSYNC_EXPORTS_SOLVED_RIG_H
