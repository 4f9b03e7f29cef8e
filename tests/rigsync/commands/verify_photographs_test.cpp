// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync verify' on results of the chessboard photographs that Debian ships with OpenCV's
// examples: 13 of each of two cameras, 640 by 480, 9 by 6 inner corners. The trackers' rows are
// made up around the boards that they show, three rows to a photograph. scripts/fetch-photographs
// puts the photographs into the build tree; without them these tests are skipped.
#include "rigsync/capture/board_search.h"
#include "rigsync/geometry/angle.h"
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <Eigen/Geometry>

#include <filesystem>
#include <iostream>

namespace {

using Eigen::Isometry3d;
using Eigen::Vector3d;

namespace fs = std::filesystem;

constexpr rigsync::Board_Size Board{9, 6};
constexpr double Square_Size = 0.025;  // metres; the true size is unknown, and any value works

Isometry3d Pose(const Vector3d& Axis, double Deg, const Vector3d& Position) {
  Isometry3d Made = Isometry3d::Identity();
  Made.linear() = Eigen::AngleAxisd(Deg / rigsync::Degrees_Per_Radian, Axis.normalized()).matrix();
  Made.translation() = Position;
  return Made;
}

// The fields of a tracker whose relabelled axes have this pose in Base: the quaternion takes Base's
// directions to the body's own axes (x = -x, y = -z, z = -y of the relabelled ones).
std::string Sample_Fields(const Isometry3d& Base_Tracker) {
  Eigen::Matrix3d Body;
  Body << -Base_Tracker.linear().col(0), -Base_Tracker.linear().col(2),
      -Base_Tracker.linear().col(1);
  const Eigen::Quaterniond Q(Body.transpose().eval());
  const Vector3d At = Base_Tracker.translation();
  return fmt::format("{},{},{},{},{},{},{}", At.x(), At.y(), At.z(), Q.w(), Q.x(), Q.y(), Q.z());
}

// The names of one camera's photographs; the series has no number 10.
std::vector<rigsync::Capture_Row> Photographs_Of(const std::string& Camera) {
  std::vector<rigsync::Capture_Row> Rows;
  for (int i = 1; i <= 14; ++i) {
    if (i == 10) continue;
    rigsync::Capture_Row Row;
    Row.Image = (fs::path(RIGSYNC_PHOTOGRAPHS) / fmt::format("{}{:02}.jpg", Camera, i)).string();
    Row.Is_Sound = true;
    Rows.push_back(Row);
  }
  return Rows;
}

// A capture of these photographs by a rig with this mount.
std::string Capture_Text(const std::vector<rigsync::Capture_Row>& Rows,
                         const rigsync::Lens_Fit& Fit, const Isometry3d& Cam_Tc) {
  const Isometry3d Tr_Chart = Pose({1.0, 0.0, 0.0}, 30.0, {-0.1, 0.05, 0.02});
  const Vector3d Centre_Chart(0.5 * 8 * Square_Size, 0.5 * 5 * Square_Size, 0);
  std::string Text = "Time,Image\n";
  for (int k = 0; k < 3 * static_cast<int>(Rows.size()); ++k) {
    const std::size_t i = static_cast<std::size_t>(k) % Rows.size();
    Isometry3d Cam_Chart = Isometry3d::Identity();
    Cam_Chart.linear() = Fit.Poses[i].Rotation_Cam_Chart.toRotationMatrix();
    Cam_Chart.translation() = Fit.Poses[i].Centre_Cam - Cam_Chart.linear() * Centre_Chart;
    const Isometry3d Base_Tr = Pose({0.3, 1.0, 0.2}, 11.0 * k, {1.0, 0.1 * k, 2.0});
    Text += fmt::format("{},{},{},{}\n", k, Rows[i].Image,
                        Sample_Fields(Base_Tr * Tr_Chart * Cam_Chart.inverse() * Cam_Tc),
                        Sample_Fields(Base_Tr));
  }
  return Text;
}

class Verify_Photographs : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    if (!fs::exists(fs::path(RIGSYNC_PHOTOGRAPHS) / "left01.jpg")) {
      std::cerr << "\n*** SKIPPED: the real photographs aren't in " RIGSYNC_PHOTOGRAPHS
                   "; run scripts/fetch-photographs ***\n\n";
      GTEST_SKIP() << "no photographs";
    }
  }
};

TEST_P(Verify_Photographs, EveryExportOfARealLensIsProven) {
  const std::vector<rigsync::Capture_Row> Rows = Photographs_Of(GetParam());
  const rigsync::Board_Search Search =
      rigsync::Search_Boards(Rows, std::vector<bool>(Rows.size(), true), "", Board, {});
  const auto Fit = rigsync::Fit_Lens(Search, Board, Square_Size);
  ASSERT_TRUE(Fit);
  ASSERT_EQ(Fit->Poses.size(), Rows.size());
  const Isometry3d Cam_Tc = Pose({0.6, -0.5, 0.4}, 48.0, {0.06, -0.14, -0.08});
  const Scratch_Folder Scratch;
  const std::string Csv = Scratch.Write("capture.csv", Capture_Text(Rows, *Fit, Cam_Tc));
  const std::string Out = Scratch.String() + "/out";
  const Finished Made = Rigsync({"calibrate", Csv, "--board", "9x6", "--square", "0.025",
                                 "--sensor", "6.4x4.8", "--out", Out});
  ASSERT_EQ(Made.Status, 0) << Made.Output << Made.Error;
  for (const std::string Solution : {"library", "joint"}) {
    const Finished Proven = Rigsync({"verify", Out, "--solution", Solution, "--json"});
    EXPECT_EQ(Proven.Status, 0) << Proven.Output << Proven.Error;
    const nlohmann::json Root = nlohmann::json::parse(Proven.Output);
    EXPECT_EQ(Root["samples"], 39);
    std::size_t Within = 0;
    for (const nlohmann::json& Target : Root["targets"]) Within += Target["outcome"] == "within";
    EXPECT_EQ(Within, 9u) << Proven.Output;
  }
}

INSTANTIATE_TEST_SUITE_P(BothCameras, Verify_Photographs, testing::Values("left", "right"));

}  // namespace
