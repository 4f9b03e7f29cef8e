// SPDX-License-Identifier: Apache-2.0
//
// The error at the talent against closed forms, and against points seen through mounts that were
// moved at random, with quaternions and the pinhole equation alone.
#include "rigsync/solve/talent_error.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using Eigen::Vector3d;
using pose_rig::Pose;
using rigsync::Error_At_Talent;
using rigsync::Mount_Uncertainty;
using rigsync::Talent_Error;
using rigsync::Vector6d;

constexpr rigsync::Lens Usual_Lens = {2000.0, 2000.0, 960.0, 540.0, 0.0, 0.0};

// From printed tables of t, with three decimals.
constexpr double Factor_Of_10 = 2.228, Factor_Of_Many = 1.960;
constexpr double Table_Precision = 3e-4;  // as a part of the value

Mount_Uncertainty With_Deviations(const Vector3d& Turn_Rad, const Vector3d& Shift) {
  Mount_Uncertainty Mount;
  Mount.Covariance.diagonal() << Turn_Rad.cwiseAbs2(), Shift.cwiseAbs2();
  Mount.Freedom.setConstant(1e9);
  return Mount;
}

Eigen::Isometry3d At(const Vector3d& Translation) {
  return Pose{pose_rig::By_Turn({0.4, 0.2, -0.9}), Translation}.As_Transform();
}

void Expect_Near(double Value, double Expected, double Part) {
  EXPECT_NEAR(Value, Expected, Part * Expected);
}

TEST(TalentError, ATurnActsAtTheEndOfItsLever) {
  // A milliradian at 3 m is 3 mm, and at 2000 pixels 2 pixels.
  const Mount_Uncertainty Mount = With_Deviations({0, 1e-3, 0}, Vector3d::Zero());
  const Talent_Error Error = Error_At_Talent(Mount, At({0, 0, 0}), Usual_Lens, 3.0);
  EXPECT_EQ(Error.Distance, 3.0);
  Expect_Near(Error.Half_Width_Mm, Factor_Of_Many * 3.0, Table_Precision);
  Expect_Near(Error.Half_Width_Px, Factor_Of_Many * 2.0, Table_Precision);
  // The lever begins at the tracker, which is 1 m behind the camera here.
  const Talent_Error Longer = Error_At_Talent(Mount, At({0, 0, -1}), Usual_Lens, 3.0);
  Expect_Near(Longer.Half_Width_Mm, Factor_Of_Many * 4.0, Table_Precision);
}

TEST(TalentError, AShiftCountsAcrossTheViewOnly) {
  const auto Error = [](const Vector3d& Shift) {
    return Error_At_Talent(With_Deviations(Vector3d::Zero(), Shift), At({0.1, 0.2, 0.3}),
                           Usual_Lens, 2.0);
  };
  Expect_Near(Error({1e-3, 0, 0}).Half_Width_Mm, Factor_Of_Many, Table_Precision);
  Expect_Near(Error({0, 1e-3, 0}).Half_Width_Px, Factor_Of_Many, Table_Precision);
  EXPECT_EQ(Error({0, 0, 1e-3}).Half_Width_Mm, 0.0);
}

TEST(TalentError, EachAxisHasItsFocalLength) {
  // Wider in x in millimetres, wider in y in pixels.
  const Mount_Uncertainty Mount = With_Deviations(Vector3d::Zero(), {1.5e-3, 1e-3, 0});
  const Talent_Error Error =
      Error_At_Talent(Mount, At({0, 0, 0}), {1000.0, 2000.0, 0, 0, 0, 0}, 2.0);
  Expect_Near(Error.Half_Width_Mm, Factor_Of_Many * 1.5, Table_Precision);
  Expect_Near(Error.Half_Width_Px, Factor_Of_Many * 1.0, Table_Precision);
}

TEST(TalentError, FewDegreesOfFreedomWidenIt) {
  Mount_Uncertainty Mount = With_Deviations(Vector3d::Zero(), {1e-3, 0, 0});
  Mount.Freedom << 50, 60, 10, 70, 80, 90;
  Expect_Near(Error_At_Talent(Mount, At({0, 0, 0}), Usual_Lens, 2.0).Half_Width_Mm, Factor_Of_10,
              Table_Precision);
}

TEST(TalentError, NaNStaysNaN) {
  Mount_Uncertainty Mount = With_Deviations({1e-3, 1e-3, 1e-3}, {1e-3, 1e-3, 1e-3});
  Mount.Covariance(2, 2) = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(std::isnan(Error_At_Talent(Mount, At({0, 0, 0}), Usual_Lens, 2.0).Half_Width_Mm));
}

// What 100,000 moved mounts show, in 180 directions across the view.
struct Seen_Deviations {
  double Mm = 0, Px = 0;
};

double Widest_Of(const std::vector<Eigen::Vector2d>& Points) {
  double Widest = 0;
  for (int Degree = 0; Degree < 180; ++Degree) {
    const double Angle_Rad = Degree * pose_rig::Radians_In_Degree;
    const Eigen::Vector2d Direction(std::cos(Angle_Rad), std::sin(Angle_Rad));
    double Squares = 0;
    for (const Eigen::Vector2d& Point : Points) Squares += std::pow(Direction.dot(Point), 2);
    Widest = std::max(Widest, std::sqrt(Squares / static_cast<double>(Points.size())));
  }
  return Widest;
}

Seen_Deviations Move_At_Random(const rigsync::Matrix6d& Root, const Pose& Mount,
                               const rigsync::Lens& Lens_Px, double Distance) {
  simulate::Random Random(1, 90);
  const Vector3d Point_Tc = Mount.Turn.conjugate() * (Vector3d(0, 0, Distance) - Mount.Shift);
  std::vector<Eigen::Vector2d> Across_Mm, Pixels;
  for (int i = 0; i < 100'000; ++i) {
    Vector6d Draws;
    Draws << Random.Gaussian_Vector(), Random.Gaussian_Vector();
    const Vector6d Motion = Root * Draws;
    const Vector3d Seen_Cam = pose_rig::By_Turn(Motion.head<3>()) * (Mount.Turn * Point_Tc) +
                              Mount.Shift + Motion.tail<3>();
    Across_Mm.emplace_back(1000.0 * Seen_Cam.head<2>());
    Pixels.emplace_back(Lens_Px.Fx * Seen_Cam.x() / Seen_Cam.z(),
                        Lens_Px.Fy * Seen_Cam.y() / Seen_Cam.z());
  }
  return {Widest_Of(Across_Mm), Widest_Of(Pixels)};
}

TEST(TalentError, IsWhatMountsThatWereMovedAtRandomShow) {
  // A deviation from 100,000 draws is good to 0.22 %; four times that.
  constexpr double Chance = 0.009;
  const Pose Mount{pose_rig::By_Turn({0.7, -0.5, 0.4}), Vector3d(0.06, -0.34, -0.28)};
  const rigsync::Lens Lens_Px = {1800.0, 1500.0, 960.0, 540.0, 0.0, 0.0};
  simulate::Random Random(7, 91);
  for (const double Distance : {0.8, 3.0, 12.0}) {
    SCOPED_TRACE(Distance);
    // Any correlation: turns of about 0.02 degrees, shifts of about 0.7 mm.
    rigsync::Matrix6d Root;
    for (int r = 0; r < 6; ++r) {
      for (int c = 0; c < 6; ++c) Root(r, c) = (r < 3 ? 2e-4 : 3e-4) * Random.Gaussian();
    }
    Mount_Uncertainty Uncertainty;
    Uncertainty.Covariance = Root * Root.transpose();
    Uncertainty.Freedom.setConstant(1e9);
    const Talent_Error Error =
        Error_At_Talent(Uncertainty, Mount.As_Transform(), Lens_Px, Distance);
    const Seen_Deviations Seen = Move_At_Random(Root, Mount, Lens_Px, Distance);
    Expect_Near(Error.Half_Width_Mm, Factor_Of_Many * Seen.Mm, Chance);
    Expect_Near(Error.Half_Width_Px, Factor_Of_Many * Seen.Px, Chance);
  }
}

}  // namespace
