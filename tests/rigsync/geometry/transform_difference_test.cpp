// SPDX-License-Identifier: Apache-2.0
#include "rigsync/geometry/transform_difference.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

// Rotation about z by these degrees, with the translation (x, y, z).
std::vector<double> Turned_About_Z(double Degrees, double x, double y, double z) {
  const double Angle = Degrees * 3.14159265358979323846 / 180.0;
  const double c = std::cos(Angle), s = std::sin(Angle);
  return {c, -s, 0, x, s, c, 0, y, 0, 0, 1, z, 0, 0, 0, 1};
}

// Sine and cosine are accurate to 1e-16, which at 180 degrees is an angle of 1e-16 rad. A thousand
// times that leaves room for the sums and is far below the smallest angle that is tested.
constexpr double Angle_Tolerance_Deg = 1e-11;

TEST(TransformDifference, TheRotationDifferenceIsAccurateFromTinyAnglesTo180Degrees) {
  for (const double Degrees : {0.0, 1e-6, 0.01, 45.0, 90.0, 179.0, 180.0}) {
    SCOPED_TRACE(Degrees);
    EXPECT_NEAR(rigsync::Rotation_Difference_Deg(Turned_About_Z(20, 0, 0, 0),
                                                 Turned_About_Z(20 + Degrees, 1, 2, 3)),
                Degrees, Angle_Tolerance_Deg);
    EXPECT_NEAR(rigsync::Rotation_Difference_Deg(Turned_About_Z(20 + Degrees, 0, 0, 0),
                                                 Turned_About_Z(20, 0, 0, 0)),
                Degrees, Angle_Tolerance_Deg);
  }
}

TEST(TransformDifference, TheTranslationDifferenceIsInMillimetresAndSigned) {
  const std::vector<double> Difference = rigsync::Translation_Difference_Mm(
      Turned_About_Z(0, 0.5, 0.25, 1.0), Turned_About_Z(0, 0.25, 0.5, 1.0));
  EXPECT_EQ(Difference, (std::vector<double>{250.0, -250.0, 0.0}));
}

TEST(TransformDifference, ANaNElementMakesTheRotationDifferenceNaN) {
  std::vector<double> Broken = Turned_About_Z(0, 0, 0, 0);
  Broken[5] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(std::isnan(rigsync::Rotation_Difference_Deg(Broken, Turned_About_Z(0, 0, 0, 0))));
}

}  // namespace
