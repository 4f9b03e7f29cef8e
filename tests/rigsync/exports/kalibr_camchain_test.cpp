// SPDX-License-Identifier: Apache-2.0
//
// The camchain read back by Python's YAML and a projection of its own.
#include "rigsync/exports/kalibr_camchain.h"

#include "tests/rigsync/exports/projected_points.h"
#include "tests/rigsync/exports/solved_rig.h"
#include "tests/rigsync/support/program.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

namespace {

TEST(KalibrCamchain, AReaderOfYamlSeesThePixelsOfTheSolvedCamera) {
  constexpr double Last_Digits_Px = 1e-9;  // nine decimals are read, each to half of the last
  for (unsigned Seed = 1; Seed <= 3; ++Seed) {
    const Scratch_Folder Scratch;
    Solved_Rig Rig(Seed);
    Rig.Cy = 512.5;
    Rig.Fy = 1443;
    Rig.K2 = 1e-5;  // written with an exponent
    const std::string Text = rigsync::Write_Kalibr(Request_For(Rig.Write(Scratch))).Text;
    const std::vector<Eigen::Vector3d> Points_Body = Points_In_View(Rig.Transform_Body_Cam);
    std::string Lines;
    for (const Eigen::Vector3d& Point : Points_Body) {
      Lines += fmt::format("{} {} {}\n", Point.x(), Point.y(), Point.z());
    }
    const Finished Read = Run_Program(
        "/usr/bin/python3", {"-B", RIGSYNC_SOURCE_DIR "/tests/rigsync/exports/read_camchain.py",
                             Scratch.Write("camchain.yaml", Text), Scratch.Write("points", Lines)});
    ASSERT_EQ(Read.Status, 0) << Read.Error;
    const auto Expected = Projected(Points_Body, Rig.Transform_Body_Cam,
                                    {Rig.Fx, Rig.Fy, Rig.Cx, Rig.Cy, Rig.K1, Rig.K2});
    std::istringstream Pixels(Read.Output);
    for (const cv::Point2d& Each : Expected) {
      double U = std::nan(""), V = std::nan("");
      Pixels >> U >> V;
      EXPECT_LE(std::hypot(U - Each.x, V - Each.y), Last_Digits_Px);
    }
  }
}

}  // namespace
