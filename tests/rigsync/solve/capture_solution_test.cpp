// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/capture_solution.h"
#include "rigsync/solve/cross_check.h"
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

// At 90 degrees the other two angles can't be told apart, but the rotation is the same. There the
// rounding of a sine, 1e-16, is an angle of 1.5e-8.
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
  // The board's place is solved to a few hundredths of a degree.
  EXPECT_NEAR(Contradicted.Place->Difference_Deg, 8.0, 0.05);
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

// The camera's tracker moves at 100 mm/s on changing ways, and its samples are late.
Rig With_Late_Samples(double Lag_Seconds) {
  Rig Made = corner_rig::Make_Rig({});
  simulate::Random Random(7, 8);
  for (rigsync::Row_Facts& Row : Made.Facts) {
    Row.Motion.emplace();
    Row.Motion->Camera.Linear = 0.1 * Random.Direction();
    for (std::size_t k = 0; k < 3; ++k) {
      Row.Camera.Position[k] -=
          Lag_Seconds * Row.Motion->Camera.Linear[static_cast<Eigen::Index>(k)];
    }
  }
  return Made;
}

Capture_Solution Solve_With_Lag(const Rig& Made, const std::optional<Stated_Place>& Stated) {
  return rigsync::Solve_Capture(Made.Facts, Made.Board, Made.Square_Size, Made.Lens_Px, Stated,
                                {/*Is_Solved=*/true, 0.0});
}

TEST(CaptureSolution, ALagIsSolvedWithAndWithoutAStatedPlace) {
  const Rig Made = With_Late_Samples(0.1);
  const Capture_Solution Alone = Solve_With_Lag(Made, {});
  const Capture_Solution Helped = Solve_With_Lag(Made, True_Place(Made, 0.1, 0.01));
  ASSERT_TRUE(Helped.Place);
  EXPECT_TRUE(Helped.Place->Is_Prior);
  for (const Capture_Solution& Solution : {Alone, Helped}) {
    ASSERT_TRUE(Solution.Joint.Lag);
    EXPECT_NEAR(Solution.Joint.Lag->Seconds, 0.1, 0.005);
    // The lens check solves once more, with a lens that is right.
    ASSERT_TRUE(Solution.Lens_Check);
    EXPECT_LE(Solution.Lens_Check->Mount_Motion.tail<3>().norm(), 1e-3);
  }
}

TEST(CaptureSolution, HalvesOfALateCaptureHaveTheLagOfTheWhole) {
  const Rig Made = With_Late_Samples(0.1);
  const auto Check = [&Made](const Capture_Solution& Whole) {
    return rigsync::Check_Halves(Made.Facts, Made.Board, Made.Square_Size, Whole, {960, 540}, 3.0);
  };
  const rigsync::Cross_Check With = Check(Solve_With_Lag(Made, {}));
  const rigsync::Cross_Check Without = Check(Solve(Made, {}));
  ASSERT_EQ(With.Status, rigsync::Cross_Status::Compared);
  ASSERT_EQ(Without.Status, rigsync::Cross_Status::Compared);
  EXPECT_LT(With.Mm.Expected, 0.3 * Without.Mm.Expected);
  EXPECT_LT(With.Mm.Seen, 3 * With.Mm.Expected);
}

TEST(CaptureSolution, RowsBringTheMotionThatIsKnownOfThem) {
  std::vector<rigsync::Capture_Row> Rows(3);
  rigsync::Board_Search Search;
  Search.Images.resize(3);
  for (std::size_t i = 0; i < 3; ++i) {
    Rows[i].Is_Sound = true;
    Search.Images[i].State = rigsync::Image_State::Board_Found;
  }
  rigsync::Row_Motions Motions(2);  // a list may be shorter
  Motions[1].emplace();
  Motions[1]->Board.Linear = {1, 2, 3};
  const std::vector<rigsync::Row_Facts> Facts = rigsync::Facts_Of(Rows, Search, Motions);
  ASSERT_EQ(Facts.size(), 3u);
  EXPECT_FALSE(Facts[0].Motion);
  ASSERT_TRUE(Facts[1].Motion);
  EXPECT_EQ(Facts[1].Motion->Board.Linear, Eigen::Vector3d(1, 2, 3));
  EXPECT_FALSE(Facts[2].Motion);
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
