// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/capture_solution.h"
#include "tests/rigsync/solve/corner_rig.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using corner_rig::Rig;
using rigsync::Capture_Solution;
using rigsync::Stated_Place;

// 60.0 degrees about z: the numbers are those of sines and cosines in a table.
TEST(BoardPlace, AnglesAreAppliedInTheOrderZYXAndTheOffsetIsTheFirstCorners) {
  const Eigen::Isometry3d Transform =
      rigsync::Transform_From_Place({{90.0, 0.0, 60.0}, {0.1, -0.2, 0.3}});
  // Rz takes x to (1/2, sqrt(3)/2, 0), and Rx by 90 degrees takes y to z.
  const Eigen::Vector3d X = Transform.linear().col(0);
  EXPECT_NEAR(X.x(), 0.5, 1e-12);
  EXPECT_NEAR(X.y(), 0.0, 1e-12);
  EXPECT_NEAR(X.z(), 0.8660254037844386, 1e-12);
  EXPECT_EQ(Transform.translation(), Eigen::Vector3d(0.1, -0.2, 0.3));
}

TEST(BoardPlace, APlaceComesBack) {
  for (const std::array<double, 3> Euler :
       {std::array<double, 3>{12, -20, 8}, {-170, 89, 179}, {0, 0, 0}, {33, -89.9, -140}}) {
    const rigsync::Board_Place Back =
        rigsync::Place_From_Transform(rigsync::Transform_From_Place({Euler, {-0.17, 0.05, 0.04}}));
    for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(Back.Euler_Deg[k], Euler[k], 1e-9);
    EXPECT_EQ(Back.Offset, (std::array<double, 3>{-0.17, 0.05, 0.04}));
  }
}

// At 90 degrees the other two angles can't be told apart, but the rotation is the same.
TEST(BoardPlace, AtTheGimbalLockTheRotationComesBack) {
  const Eigen::Isometry3d Transform = rigsync::Transform_From_Place({{25, 90, -40}, {}});
  const Eigen::Isometry3d Back =
      rigsync::Transform_From_Place(rigsync::Place_From_Transform(Transform));
  EXPECT_NEAR((Back.linear() - Transform.linear()).norm(), 0.0, 1e-7);
}

Stated_Place True_Place(const Rig& Made, double Deviation_Mm, double Deviation_Deg) {
  return {rigsync::Place_From_Transform(Made.Transform_Tr_Chart),
          {Deviation_Deg, 1e-3 * Deviation_Mm}};
}

Capture_Solution Solve(const Rig& Made, const std::optional<Stated_Place>& Stated) {
  return rigsync::Solve_Capture(Made.Facts, Made.Board, Made.Square_Size, Made.Lens_Px, Stated);
}

TEST(CaptureSolution, AnAccuratePlaceMakesTheMountMoreCertain) {
  corner_rig::Options Of;
  Of.Images = 8;
  Of.Position_Mm = 1.0;
  Of.Rotation_Deg = 0.1;
  const Rig Made = corner_rig::Make_Rig(Of);
  const Capture_Solution Alone = Solve(Made, {});
  const Capture_Solution Helped = Solve(Made, True_Place(Made, 0.1, 0.01));
  EXPECT_FALSE(Alone.Place);
  ASSERT_TRUE(Helped.Place);
  EXPECT_TRUE(Helped.Place->Is_Prior);
  EXPECT_LT(Helped.Joint.Camera_Mount.Widest_Mm.Half_Width,
            0.8 * Alone.Joint.Camera_Mount.Widest_Mm.Half_Width);
}

TEST(CaptureSolution, APlaceThatTheCaptureContradictsIsNoPrior) {
  const Rig Made = corner_rig::Make_Rig({});
  Stated_Place Wrong = True_Place(Made, 5.0, 1.0);
  Wrong.Place.Euler_Deg[1] += 8.0;
  const Capture_Solution Alone = Solve(Made, {}), Contradicted = Solve(Made, Wrong);
  ASSERT_TRUE(Contradicted.Place);
  EXPECT_FALSE(Contradicted.Place->Is_Prior);
  EXPECT_NEAR(Contradicted.Place->Difference_Deg, 8.0, 0.2);
  EXPECT_EQ(Contradicted.Joint.At.Transform_Cam_Tc.matrix(),
            Alone.Joint.At.Transform_Cam_Tc.matrix());
}

// Half of the stated accuracy off, which is many times the capture's own.
TEST(CaptureSolution, APlaceIsComparedAtTheBoardsCentre) {
  const Rig Made = corner_rig::Make_Rig({});
  Stated_Place Off = True_Place(Made, 20.0, 1.0);
  Off.Place.Offset[0] += 0.010;
  const Capture_Solution Solution = Solve(Made, Off);
  ASSERT_TRUE(Solution.Place);
  EXPECT_TRUE(Solution.Place->Is_Prior);
  EXPECT_FALSE(Solution.Place->Is_Within_Uncertainty);
  EXPECT_NEAR(Solution.Place->Difference_Mm, 10.0, 1.0);
  // Turned about its centre, the board's first corner moves by 0.18 m times a degree, its centre
  // not at all.
  Stated_Place Turned = True_Place(Made, 20.0, 1.0);
  const Eigen::Vector3d Centre(0.15, 0.105, 0.0);
  Turned.Place.Euler_Deg[2] += 2.0;
  const Eigen::Isometry3d Now = rigsync::Transform_From_Place(Turned.Place);
  const Eigen::Vector3d Shift = Made.Transform_Tr_Chart * Centre - Now * Centre;
  for (std::size_t k = 0; k < 3; ++k) {
    Turned.Place.Offset[k] += Shift[static_cast<Eigen::Index>(k)];
  }
  EXPECT_LT(Solve(Made, Turned).Place->Difference_Mm, 1.0);
}

TEST(CaptureSolution, RowsThatAreNotSoundOrShowNoBoardBringNothing) {
  std::vector<rigsync::Capture_Row> Rows(4);
  for (rigsync::Capture_Row& Row : Rows) Row.Is_Sound = true;
  Rows[1].Is_Sound = false;
  rigsync::Board_Search Search;
  Search.Images.resize(4);
  for (rigsync::Searched_Image& Image : Search.Images) {
    Image.State = rigsync::Image_State::Board_Found;
  }
  Search.Images[2].State = rigsync::Image_State::Other_Size;
  const std::vector<rigsync::Row_Facts> Facts = rigsync::Facts_Of(Rows, Search);
  ASSERT_EQ(Facts.size(), 2u);
  EXPECT_EQ(Facts[0].Row, 0u);
  EXPECT_EQ(Facts[1].Row, 3u);
}

}  // namespace
