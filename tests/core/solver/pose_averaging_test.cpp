// SPDX-License-Identifier: Apache-2.0
//
// Samples of poses and their mean. Exactly known means come from lists whose products cancel,
// others from the closed form for rotations about one axis.
#include "core/solver/pose_averaging.h"
#include "core/base/rotation_block.h"

#include "tests/core/solver/solver_test_support.h"
#include "tests/support/largest.h"

#include <Eigen/SVD>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// The decomposition of a 4 by 4 matrix in float rounds a few dozen times at 6e-8.
constexpr double Float_Tolerance = 1e-6;

using Samples = std::vector<Eigen::Vector4f>;

Eigen::Vector4d Mean_Of(const Samples& Quaternion_all) {
  return Calculate_Mean_Quaternion("", Quaternion_all);
}

// Both signs are correct.
double Distance_Up_To_Sign(const Eigen::Vector4d& Left, const Eigen::Vector4d& Right) {
  return std::min((Left - Right).norm(), (Left + Right).norm());
}

bool Is_Exactly_Up_To_Sign(const Eigen::Vector4d& Left, const Eigen::Vector4d& Right) {
  return Left == Right || Left == -Right;
}

// A rotation about the x axis, given by half its angle.
Eigen::Vector4f About_X(double Half_Angle_Rad) {
  return {static_cast<float>(std::sin(Half_Angle_Rad)), 0.0f, 0.0f,
          static_cast<float>(std::cos(Half_Angle_Rad))};
}

Samples Random_Samples(std::size_t Count, unsigned Seed) {
  Random_Numbers Random(Seed);
  Samples Result;
  for (std::size_t i = 0; i < Count; ++i) {
    Eigen::Vector4d Q;
    Q << Random.Vector(-0.5, 0.5), Random.Between(0.5, 1.0);
    Result.push_back(Q.normalized().cast<float>());
  }
  return Result;
}

// --- mean quaternion ------------------------------------------------------------------------

TEST(CalculateMeanQuaternion, OneSampleIsItsOwnMeanUpToSign) {
  for (const Eigen::Vector4f& Sample : Random_Samples(20, 5)) {
    const Eigen::Vector4d Mean = Mean_Of({Sample});
    EXPECT_LE(Distance_Up_To_Sign(Mean, Sample.cast<double>()), Float_Tolerance);
    EXPECT_EQ(Hex(Mean), Hex(Eigen::Vector4d(Mean.cast<float>().cast<double>())));  // widened
  }
  // Each component alone comes out in its own place: x, y, z, w.
  for (int Component = 0; Component < 4; ++Component) {
    EXPECT_TRUE(Is_Exactly_Up_To_Sign(Mean_Of({Eigen::Vector4f::Unit(Component)}),
                                      Eigen::Vector4d::Unit(Component)))
        << Component;
  }
}

TEST(CalculateMeanQuaternion, AnyNumberOfIdentitiesIsTheIdentity) {
  for (const std::size_t Count : {1u, 2u, 3u, 7u, 50u, 1000u}) {
    SCOPED_TRACE(Count);
    const Eigen::Vector4d Mean = Mean_Of(Samples(Count, Eigen::Vector4f(0, 0, 0, 1)));
    EXPECT_TRUE(Is_Exactly_Up_To_Sign(Mean, {0, 0, 0, 1}));
  }
}

TEST(CalculateMeanQuaternion, ASampleAndItsNegativeCountAlike) {
  for (const Eigen::Vector4f& Sample : Random_Samples(5, 6)) {
    const Eigen::Vector4d Alone = Mean_Of(Samples(6, Sample));
    for (std::size_t Negatives = 1; Negatives <= 6; ++Negatives) {
      SCOPED_TRACE(Negatives);
      Samples Mixed(6, Sample);
      for (std::size_t i = 0; i < Negatives; ++i) Mixed[5 - i] = -Sample;
      // The products are the same, so the result is, to the bit.
      EXPECT_EQ(Hex(Mean_Of(Mixed)), Hex(Alone));
    }
  }
}

TEST(CalculateMeanQuaternion, TurnsOfOneAxisMeanTheAngleOfTheirDoubledHalfAngles) {
  // In the plane of x and w the mean of q * q^T has its dominant eigenvector at
  // atan2(sum of sin 2h, sum of cos 2h) / 2. A plain mean of the samples lies elsewhere.
  const double Half_Angles[] = {0.1, 0.3, 1.1, -0.2};
  Samples Quaternion_all;
  double Sines = 0.0, Cosines = 0.0, Plain_X = 0.0, Plain_W = 0.0;
  for (const double Half : Half_Angles) {
    Quaternion_all.push_back(About_X(Half));
    Sines += std::sin(2.0 * Half);
    Cosines += std::cos(2.0 * Half);
    Plain_X += std::sin(Half);
    Plain_W += std::cos(Half);
  }
  const double Mean_Half = std::atan2(Sines, Cosines) / 2.0;
  EXPECT_LE(Distance_Up_To_Sign(Mean_Of(Quaternion_all),
                                {std::sin(Mean_Half), 0.0, 0.0, std::cos(Mean_Half)}),
            Float_Tolerance);
  EXPECT_GT(std::abs(std::atan2(Plain_X, Plain_W) - Mean_Half), 0.01);
}

TEST(CalculateMeanQuaternion, TheMeanIsTheDominantAndNotAnotherDirection) {
  // Pairs whose mixed products cancel exactly: which component wins is decided by the squares.
  const float Sine = 0.6f, Cosine = 0.8f;
  EXPECT_TRUE(
      Is_Exactly_Up_To_Sign(Mean_Of({{Sine, 0, 0, Cosine}, {-Sine, 0, 0, Cosine}}), {0, 0, 0, 1}));
  EXPECT_TRUE(
      Is_Exactly_Up_To_Sign(Mean_Of({{Cosine, 0, 0, Sine}, {Cosine, 0, 0, -Sine}}), {1, 0, 0, 0}));
  EXPECT_TRUE(
      Is_Exactly_Up_To_Sign(Mean_Of({{0, Sine, Cosine, 0}, {0, -Sine, Cosine, 0}}), {0, 0, 1, 0}));
  EXPECT_TRUE(
      Is_Exactly_Up_To_Sign(Mean_Of({{0, Cosine, Sine, 0}, {0, Cosine, -Sine, 0}}), {0, 1, 0, 0}));
}

TEST(CalculateMeanQuaternion, SamplesAreSummedInFloatInListOrder) {
  // The square of 2^-12 is 2^-24, half a unit of 1 in float: added to a sum of 1 it is lost each
  // time, so the w direction with 1 + 2^-22 wins. In double, or with the small ones first, they
  // add up to 1 + 100 * 2^-24 and x wins.
  const Eigen::Vector4f Large_X(1, 0, 0, 0), Large_W(0, 0, 0, 1);
  const Eigen::Vector4f Small_X(0x1p-12f, 0, 0, 0), Small_W(0, 0, 0, 0x1p-11f);
  Samples Large_First = {Large_X, Large_W, Small_W};
  Large_First.insert(Large_First.end(), 100, Small_X);
  EXPECT_TRUE(Is_Exactly_Up_To_Sign(Mean_Of(Large_First), {0, 0, 0, 1}));

  Samples Small_First(Large_First.rbegin(), Large_First.rend());
  EXPECT_TRUE(Is_Exactly_Up_To_Sign(Mean_Of(Small_First), {1, 0, 0, 0}));
}

Eigen::Vector4d First_Left_Vector(const Eigen::Matrix4f& Matrix) {
  const Eigen::JacobiSVD<Eigen::MatrixXf> Svd(Eigen::MatrixXf(Matrix),
                                              Eigen::ComputeThinU | Eigen::ComputeThinV);
  return Svd.matrixU().col(0).cast<double>();
}

// The running sum of the products in the precision asked for, element by element.
template <typename Number>
Eigen::Matrix4f Product_Sum(const Samples& Quaternion_all) {
  Number Sum[4][4] = {};
  for (const Eigen::Vector4f& Q : Quaternion_all) {
    for (int r = 0; r < 4; ++r) {
      for (int c = 0; c < 4; ++c) {
        const Number Product = static_cast<Number>(Q(r)) * static_cast<Number>(Q(c));
        Sum[r][c] += Product;
      }
    }
  }
  Eigen::Matrix4f Narrowed;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) Narrowed(r, c) = static_cast<float>(Sum[r][c]);
  }
  return Narrowed;
}

TEST(CalculateMeanQuaternion, HasTheBitsOfFloatSumsDividedByTheCountAndDecomposed) {
  const Samples Quaternion_all = Random_Samples(7, 8);
  const Eigen::Matrix4f Sum = Product_Sum<float>(Quaternion_all);
  Eigen::Matrix4f Mean;
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 4; ++c) Mean(r, c) = Sum(r, c) / 7.0f;
  }
  const std::string Expected = Hex(First_Left_Vector(Mean));
  EXPECT_EQ(Hex(Mean_Of(Quaternion_all)), Expected);

  // The test data distinguish these variants: no division, sums in double, another order,
  // normalised again.
  const Samples Reversed(Quaternion_all.rbegin(), Quaternion_all.rend());
  EXPECT_NE(Hex(First_Left_Vector(Sum)), Expected);
  EXPECT_NE(Hex(First_Left_Vector(Product_Sum<double>(Quaternion_all) / 7.0f)), Expected);
  EXPECT_NE(Hex(First_Left_Vector(Product_Sum<float>(Reversed) / 7.0f)), Expected);
  EXPECT_NE(Hex(First_Left_Vector(Mean).normalized()), Expected);
}

TEST(CalculateMeanQuaternion, AnotherListOrderChangesTheLastBitsAndNoMore) {
  const Samples Quaternion_all = Random_Samples(7, 8);
  const Samples Reversed(Quaternion_all.rbegin(), Quaternion_all.rend());
  EXPECT_NE(Hex(Mean_Of(Quaternion_all)), Hex(Mean_Of(Reversed)));
  EXPECT_LE(Distance_Up_To_Sign(Mean_Of(Quaternion_all), Mean_Of(Reversed)), Float_Tolerance);
}

TEST(CalculateMeanQuaternion, SamplesThatAreNotFiniteAndAnEmptyListGiveFourNans) {
  const float Not_Finite[] = {std::numeric_limits<float>::quiet_NaN(),
                              std::numeric_limits<float>::infinity(),
                              -std::numeric_limits<float>::infinity()};
  for (const float Value : Not_Finite) {
    for (int Component = 0; Component < 4; ++Component) {
      for (const std::size_t Place : {0u, 3u, 6u}) {
        Samples Quaternion_all = Random_Samples(7, 9);
        Quaternion_all[Place](Component) = Value;
        EXPECT_TRUE(Mean_Of(Quaternion_all).array().isNaN().all())
            << Value << " in " << Component << " of sample " << Place;
      }
    }
  }
  EXPECT_TRUE(Mean_Of({}).array().isNaN().all());
}

TEST(CalculateMeanQuaternion, OverflowOfTheSquaresGivesFourNans) {
  EXPECT_TRUE(Mean_Of({{1e30f, 0, 0, 0}}).array().isNaN().all());
}

TEST(CalculateMeanQuaternion, WritesNothing) {
  Stage_Log Log;
  {
    const Stage_Log::Listener Quiet = Log.Listen();
    Calculate_Mean_Quaternion(Log.Path(), Random_Samples(3, 1));
    Calculate_Mean_Quaternion(Log.Path(), {});
  }
  EXPECT_TRUE(Log.Lines().empty());
}

// --- samples of a pose ----------------------------------------------------------------------

TEST(GetRotationBlock, CopiesTheUpperLeftBlockElementForElement) {
  Eigen::Matrix4d Pose;
  Pose << 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16;
  Eigen::Matrix3d Block, Expected;
  Expected << 1, 2, 3, 5, 6, 7, 9, 10, 11;
  EXPECT_EQ(Get_Rotation_Block("", Pose, Block), 0);
  EXPECT_EQ(Block, Expected);
}

TEST(SplitPose, AppendsTheQuaternionAsXYZWAndNarrowsEachNumber) {
  const Eigen::Vector3d Axis = Eigen::Vector3d(0.2, -0.7, 0.4).normalized();
  const double Half = 0.65;
  Samples Quaternion_all = {{9, 9, 9, 9}};
  Eigen::Vector3f Translation;
  EXPECT_EQ(
      Split_Pose("", Turned(Axis, 2.0 * Half, {0.1, -0.2, 1e9 + 1.0}), Quaternion_all, Translation),
      0);
  ASSERT_EQ(Quaternion_all.size(), 2u);
  EXPECT_EQ(Quaternion_all[0], Eigen::Vector4f(9, 9, 9, 9));
  // Half a unit of a float below 1, and what the double steps before it may move.
  constexpr double Narrowing = 0.5 * 6e-8 + 1e-15;
  for (int c = 0; c < 3; ++c) {
    EXPECT_NEAR(static_cast<double>(Quaternion_all[1](c)), Axis(c) * std::sin(Half), Narrowing);
  }
  EXPECT_NEAR(static_cast<double>(Quaternion_all[1](3)), std::cos(Half), Narrowing);
  EXPECT_EQ(Translation, Eigen::Vector3f(0.1f, -0.2f, 1e9f));
}

TEST(SplitPose, LeavesANegativeWAsItIs) {
  // 200 degrees about y: the conversion makes the largest component positive, here y, and w is
  // cos(100 degrees).
  const double Half = 100.0 * static_cast<double>(EIGEN_PI) / 180.0;
  Samples Quaternion_all;
  Eigen::Vector3f Translation;
  EXPECT_EQ(Split_Pose("", Turned({0, 1, 0}, 2.0 * Half), Quaternion_all, Translation), 0);
  ASSERT_EQ(Quaternion_all.size(), 1u);
  const Eigen::Vector4d Expected(0.0, std::sin(Half), 0.0, std::cos(Half));
  ASSERT_LT(Expected(3), -0.1);
  EXPECT_LE((Quaternion_all[0].cast<double>() - Expected).norm(), 1e-7);
}

// --- the mean as a pose ---------------------------------------------------------------------

TEST(AssembleMeanPose, LeavesRow3AsTheCallerSetIt) {
  Eigen::Matrix4d Pose = Eigen::Matrix4d::Constant(5.0);
  Pose.row(3) << -1.0, std::nan(""), 1e300, 0.25;
  EXPECT_EQ(Assemble_Mean_Pose("", {{0, 0, 0, 1}}, {2, 4, 8}, 2, Pose), 0);
  Eigen::Matrix4d Expected;
  Expected << 1, 0, 0, 1, 0, 1, 0, 2, 0, 0, 1, 4, -1.0, std::nan(""), 1e300, 0.25;
  EXPECT_EQ(Hex(Pose), Hex(Expected));
}

TEST(AssembleMeanPose, DividesTheTranslationSumsInFloatAndWidensTheQuotients) {
  Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
  EXPECT_EQ(Assemble_Mean_Pose("", {{0, 0, 0, 1}}, {1.0f, -2.0f, 10.0f}, 3, Pose), 0);
  // A third and its like, to 24 bits, rounded by hand: in binary 1/3 is 0.010101..., and the 25th
  // bit decides. In double they would go on.
  EXPECT_EQ(Hex(Pose(0, 3)), Hex(0x1.555556p-2));
  EXPECT_EQ(Hex(Pose(1, 3)), Hex(-0x1.555556p-1));
  EXPECT_EQ(Hex(Pose(2, 3)), Hex(0x1.aaaaaap+1));
}

TEST(AssembleMeanPose, TheRotationComesFromTheMeanQuaternionUnnormalisedAndInDouble) {
  bool Tells_Normalised_Apart = false;
  for (unsigned Seed = 1; Seed <= 5; ++Seed) {
    SCOPED_TRACE(Seed);
    const Samples Quaternion_all = Random_Samples(5, Seed);
    Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
    EXPECT_EQ(Assemble_Mean_Pose("", Quaternion_all, Eigen::Vector3f::Zero(), 5, Pose), 0);

    const Eigen::Vector4d Q = Mean_Of(Quaternion_all);
    const double X = Q(0), Y = Q(1), Z = Q(2), W = Q(3);
    Eigen::Matrix3d By_Formula;  // for unit length, which Q has to float only
    By_Formula << 1 - 2 * (Y * Y + Z * Z), 2 * (X * Y - W * Z), 2 * (X * Z + W * Y),
        2 * (X * Y + W * Z), 1 - 2 * (X * X + Z * Z), 2 * (Y * Z - W * X), 2 * (X * Z - W * Y),
        2 * (Y * Z + W * X), 1 - 2 * (X * X + Y * Y);
    const Eigen::Matrix3d Rotation = Pose.topLeftCorner<3, 3>();
    constexpr double Double_Tolerance = 2e-15;  // a handful of roundings near 1
    EXPECT_LE(Largest_Element(Rotation - By_Formula), Double_Tolerance);

    const double Off_Orthonormal =
        Largest_Element(Rotation * Rotation.transpose() - Eigen::Matrix3d::Identity());
    EXPECT_LE(Off_Orthonormal, Float_Tolerance);
    Tells_Normalised_Apart |= Off_Orthonormal > 1e-9;
  }
  EXPECT_TRUE(Tells_Normalised_Apart);
}

TEST(AssembleMeanPose, SamplesOfBothSignsGiveTheRotationOfOneSign) {
  const Eigen::Vector4f Sample = Random_Samples(1, 12)[0];
  Eigen::Matrix4d Alone = Eigen::Matrix4d::Identity(), Mixed = Eigen::Matrix4d::Identity();
  EXPECT_EQ(Assemble_Mean_Pose("", Samples(4, Sample), {0, 0, 0}, 4, Alone), 0);
  EXPECT_EQ(Assemble_Mean_Pose("", {Sample, -Sample, -Sample, Sample}, {0, 0, 0}, 4, Mixed), 0);
  EXPECT_EQ(Hex(Mixed), Hex(Alone));
  const Eigen::Quaterniond Expected(Sample.w(), Sample.x(), Sample.y(), Sample.z());
  EXPECT_LE(Largest_Element(Alone.topLeftCorner<3, 3>() - Expected.toRotationMatrix()),
            4.0 * Float_Tolerance);  // the formula doubles products of two components
}

TEST(AssembleMeanPose, NonFiniteSamplesGiveANonFiniteBlockAndKeepRow3) {
  Eigen::Matrix4d Pose = Eigen::Matrix4d::Identity();
  EXPECT_EQ(Assemble_Mean_Pose("", {{0, 0, 0, NAN}}, {0, 0, 0}, 0, Pose), 0);
  EXPECT_TRUE((Pose.topRows<3>().array().isNaN().all()));
  EXPECT_EQ(Eigen::RowVector4d(Pose.row(3)), Eigen::RowVector4d(0, 0, 0, 1));
}

}  // namespace
