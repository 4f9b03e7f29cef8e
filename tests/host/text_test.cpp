// SPDX-License-Identifier: Apache-2.0
#include "host/text.h"
#include "host/transform_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

TEST(Text, FoldsAtBlanksWithinTheWidthAndIndentsEveryLine) {
  EXPECT_EQ(host::Folded("one two three", 2, 9), "  one two\n  three\n");
  EXPECT_EQ(host::Folded("one two three", 2, 8), "  one\n  two\n  three\n");
  EXPECT_EQ(host::Folded("one\ntwo", 0, 80), "one\ntwo\n");
  EXPECT_EQ(host::Folded("", 4, 80), "");
}

TEST(Text, NeverCutsAWordThatIsWiderThanALine) {
  EXPECT_EQ(host::Folded("see /a/long/path now", 0, 8), "see\n/a/long/path\nnow\n");
}

TEST(Text, OneLineHasNoControlCharactersAndNoBlanksAtItsEnds) {
  EXPECT_EQ(host::One_Line("\n a\tb \r\n\x1b[31mc\x7f\n"), "a b [31mc");
  EXPECT_EQ(host::One_Line("\n\n"), "");
}

TEST(Text, LowerCaseChangesTheLettersFromAToZAndNoOther) {
  EXPECT_EQ(host::Lower_Case("AZ.PNG_@[`{ 0aZ"), "az.png_@[`{ 0az");
  EXPECT_EQ(host::Lower_Case("\xc3\x84\xff"), "\xc3\x84\xff");
  EXPECT_EQ(host::Lower_Case(""), "");
}

// Rotation about z by these degrees, with the translation (x, y, z).
std::vector<double> Turned_About_Z(double Degrees, double x, double y, double z) {
  const double Angle = Degrees * 3.14159265358979323846 / 180.0;
  const double c = std::cos(Angle), s = std::sin(Angle);
  return {c, -s, 0, x, s, c, 0, y, 0, 0, 1, z, 0, 0, 0, 1};
}

// Sine and cosine are good to 1e-16, which at 180 degrees is an angle of 1e-16 rad; a thousand
// times that leaves room for the sums and stays far below the smallest angle asked for.
constexpr double Angle_Tolerance_Deg = 1e-11;

TEST(TransformText, TheRotationDifferenceIsRightFromTinyToHalfATurn) {
  for (const double Degrees : {0.0, 1e-6, 0.01, 45.0, 90.0, 179.0, 180.0}) {
    SCOPED_TRACE(Degrees);
    EXPECT_NEAR(host::Rotation_Difference_Deg(Turned_About_Z(20, 0, 0, 0),
                                              Turned_About_Z(20 + Degrees, 1, 2, 3)),
                Degrees, Angle_Tolerance_Deg);
    EXPECT_NEAR(host::Rotation_Difference_Deg(Turned_About_Z(20 + Degrees, 0, 0, 0),
                                              Turned_About_Z(20, 0, 0, 0)),
                Degrees, Angle_Tolerance_Deg);
  }
}

TEST(TransformText, TheTranslationDifferenceIsInMillimetresAndSigned) {
  const std::vector<double> Difference = host::Translation_Difference_Mm(
      Turned_About_Z(0, 0.5, 0.25, 1.0), Turned_About_Z(0, 0.25, 0.5, 1.0));
  EXPECT_EQ(Difference, (std::vector<double>{250.0, -250.0, 0.0}));
}

TEST(TransformText, NotANumberMakesTheRotationDifferenceNotANumber) {
  std::vector<double> Broken = Turned_About_Z(0, 0, 0, 0);
  Broken[5] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_TRUE(std::isnan(host::Rotation_Difference_Deg(Broken, Turned_About_Z(0, 0, 0, 0))));
}

}  // namespace
