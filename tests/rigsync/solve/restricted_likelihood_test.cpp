// SPDX-License-Identifier: Apache-2.0
//
// Restricted likelihood against the textbook's formulas on matrices of all rows at once, against
// differences, and on a case worked by hand.
#include "rigsync/solve/restricted_likelihood.h"
#include "rigsync/solve/joint_fit.h"
#include "rigsync/solve/mount_uncertainty.h"
#include "tests/rigsync/solve/pose_rig.h"

#include <gtest/gtest.h>
#include <Eigen/LU>

#include <cmath>

namespace {

using Eigen::Index;
using Eigen::MatrixXd;
using Eigen::VectorXd;
using rigsync::Likelihood_Terms;
using rigsync::Linear_Prior;
using rigsync::Linear_Row;
using rigsync::Noise_Sources;
using rigsync::Unknowns;
using rigsync::Variances;

// Both sides are the same algebra in double precision, with inverses of condition 1e5 and less.
constexpr double Algebra = 1e-9;

// Central differences with steps of 1e-4 of a variance are off by the square of that, a few times.
constexpr double Differences = 2e-7;

struct Case {
  std::vector<Linear_Row> Rows;
  Linear_Prior Prior;
  Variances At{1.7, 4e-7, 3e-7};
};

Case Make_Case() {
  pose_rig::Options Options;
  Options.Images = 7;
  const pose_rig::Rig Rig = pose_rig::Make_Rig(Options);
  const rigsync::Mounts At{Rig.Cam_Tc.As_Transform(), Rig.Tr_Chart.As_Transform(), 1.0};
  rigsync::Fit_Settings Settings;
  Settings.Corner_Variance = 1.0;
  Settings.Scale_Deviation = 0.003;
  Case Made;
  Made.Rows = rigsync::Linearise_Rows(Rig.Seen.Rows, At, Settings);
  Made.Prior.Information = rigsync::Unknown_Matrix::Identity();
  Made.Prior.Distance[rigsync::Scale_Unknown] = 0.001;
  return Made;
}

// The same with rows that move, and the lag as an unknown.
Case With_Lag() {
  Case Made = Make_Case();
  simulate::Random Random(5, 6);
  for (Linear_Row& Row : Made.Rows) {
    Row.Model.By_Lag << 0.02 * Random.Gaussian_Vector(), 0.01 * Random.Gaussian_Vector();
  }
  Made.Prior.Lag = {/*Information=*/4.0, /*Distance=*/-0.05};
  return Made;
}

Index Unknowns_Of(const Case& Of) {
  return Unknowns + (Of.Prior.Lag ? 1 : 0);
}

// All rows, with the prior as rows of its own, in one matrix each. The lag is the last unknown.
struct Dense {
  MatrixXd Derivative, Covariance;
  VectorXd Residual;
  std::vector<MatrixXd> Shapes;
};

Dense As_Dense(const Case& Of) {
  const auto Rows = static_cast<Index>(Of.Rows.size());
  const Index Own = Unknowns_Of(Of), All = 6 * Rows + Own;
  Dense Full{MatrixXd::Zero(All, Own), MatrixXd::Zero(All, All), VectorXd::Zero(All), {}};
  Full.Shapes.assign(Noise_Sources, MatrixXd::Zero(All, All));
  for (Index i = 0; i < Rows; ++i) {
    const Linear_Row& Row = Of.Rows[static_cast<std::size_t>(i)];
    Full.Derivative.block<6, Unknowns>(6 * i, 0) = Row.Model.Derivative;
    if (Of.Prior.Lag) Full.Derivative.block<6, 1>(6 * i, Unknowns) = Row.Model.By_Lag;
    Full.Residual.segment<6>(6 * i) = Row.Model.Residual;
    for (std::size_t k = 0; k < Noise_Sources; ++k) {
      Full.Shapes[k].block<6, 6>(6 * i, 6 * i) = Row.Shapes[k];
    }
  }
  Full.Derivative.bottomRows(Own).setIdentity();
  Full.Residual.segment<Unknowns>(6 * Rows) = Of.Prior.Distance;
  Full.Covariance.block<Unknowns, Unknowns>(6 * Rows, 6 * Rows) = Of.Prior.Information.inverse();
  if (Of.Prior.Lag) {
    Full.Residual[All - 1] = Of.Prior.Lag->Distance;
    Full.Covariance(All - 1, All - 1) = 1.0 / Of.Prior.Lag->Information;
  }
  for (std::size_t k = 0; k < Noise_Sources; ++k) {
    Full.Covariance += Of.At[static_cast<int>(k)] * Full.Shapes[k];
  }
  return Full;
}

MatrixXd Projector(const Dense& Full) {
  const MatrixXd Weight = Full.Covariance.inverse();
  const MatrixXd Weighted = Weight * Full.Derivative;
  return Weight -
         Weighted * (Full.Derivative.transpose() * Weighted).inverse() * Weighted.transpose();
}

void Expect_The_Textbooks_Score_And_Information(const Case& Made) {
  const Dense Full = As_Dense(Made);
  const MatrixXd P = Projector(Full);
  const Likelihood_Terms Terms = rigsync::Evaluate_Likelihood(Made.Rows, Made.Prior, Made.At);
  const VectorXd Left = P * Full.Residual;
  for (int k = 0; k < Noise_Sources; ++k) {
    const MatrixXd& Shape = Full.Shapes[static_cast<std::size_t>(k)];
    const double Score = 0.5 * (Left.dot(Shape * Left) - (P * Shape).trace());
    EXPECT_NEAR(Terms.Score[k] / Score, 1.0, Algebra) << k;
    for (int l = 0; l < Noise_Sources; ++l) {
      const MatrixXd& Other = Full.Shapes[static_cast<std::size_t>(l)];
      const double Information = 0.5 * (P * Shape * P * Other).trace();
      EXPECT_NEAR(Terms.Variance_Information(k, l) / Information, 1.0, Algebra) << k << l;
    }
  }
}

TEST(RestrictedLikelihood, ScoreAndInformationAreThoseOfTheTextbook) {
  Expect_The_Textbooks_Score_And_Information(Make_Case());
}

TEST(RestrictedLikelihood, ScoreAndInformationAllowForALag) {
  Expect_The_Textbooks_Score_And_Information(With_Lag());
}

TEST(RestrictedLikelihood, StepAndCovarianceAreThoseOfGeneralisedLeastSquares) {
  const Case Made = Make_Case();
  const Dense Full = As_Dense(Made);
  const MatrixXd Weight = Full.Covariance.inverse();
  const MatrixXd Covariance = (Full.Derivative.transpose() * Weight * Full.Derivative).inverse();
  const VectorXd Step = Covariance * Full.Derivative.transpose() * Weight * Full.Residual;
  const Likelihood_Terms Terms = rigsync::Evaluate_Likelihood(Made.Rows, Made.Prior, Made.At);
  EXPECT_LE((Terms.Covariance - Covariance).norm(), Algebra * Covariance.norm());
  EXPECT_LE((Terms.Step - Step).norm(), Algebra * Step.norm());
}

TEST(RestrictedLikelihood, ALagTakesItsStepWithAllUnknowns) {
  const Case Made = With_Lag();
  const Dense Full = As_Dense(Made);
  const MatrixXd Weight = Full.Covariance.inverse();
  const MatrixXd Covariance = (Full.Derivative.transpose() * Weight * Full.Derivative).inverse();
  const VectorXd Step = Covariance * Full.Derivative.transpose() * Weight * Full.Residual;
  const Likelihood_Terms Terms = rigsync::Evaluate_Likelihood(Made.Rows, Made.Prior, Made.At);
  ASSERT_TRUE(Terms.Lag);
  EXPECT_NEAR(Terms.Lag->Step / Step[Unknowns], 1.0, Algebra);
  EXPECT_NEAR(Terms.Lag->Variance / Covariance(Unknowns, Unknowns), 1.0, Algebra);
  EXPECT_LE((Terms.Step - Step.head<Unknowns>()).norm(), Algebra * Step.norm());
  EXPECT_LE((Terms.Lag->Variance * Terms.Lag->Unknowns_By_Lag -
             Covariance.block<Unknowns, 1>(0, Unknowns))
                .norm(),
            Algebra * Covariance.norm());
  const double Squares = Full.Residual.dot(Weight * Full.Residual);
  const VectorXd Left = Full.Residual - Full.Derivative * Step;
  EXPECT_NEAR(Terms.Squares_Gained / (Squares - Left.dot(Weight * Left)), 1.0, Algebra);
}

// Kenward and Roger's correction, in the paper's own terms.
MatrixXd Corrected_Covariance(const Case& Made, const Likelihood_Terms& Terms) {
  const Dense Full = As_Dense(Made);
  const MatrixXd Weight = Full.Covariance.inverse(), Weighted = Weight * Full.Derivative;
  const MatrixXd Phi = (Full.Derivative.transpose() * Weighted).inverse();
  const MatrixXd W = Terms.Variance_Information.inverse();
  MatrixXd Sum = MatrixXd::Zero(Unknowns_Of(Made), Unknowns_Of(Made));
  for (Eigen::Index k = 0; k < Noise_Sources; ++k) {
    for (Eigen::Index l = 0; l < Noise_Sources; ++l) {
      const MatrixXd& First = Full.Shapes[static_cast<std::size_t>(k)];
      const MatrixXd& Second = Full.Shapes[static_cast<std::size_t>(l)];
      const MatrixXd Q = Weighted.transpose() * First * Weight * Second * Weighted;
      const MatrixXd P_First = -Weighted.transpose() * First * Weighted;
      const MatrixXd P_Second = -Weighted.transpose() * Second * Weighted;
      Sum += W(k, l) * (Q - P_First * Phi * P_Second);
    }
  }
  EXPECT_GT((Phi * Sum * Phi).norm(), 1e-3 * Phi.norm());
  return Phi + 2.0 * Phi * Sum * Phi;
}

TEST(RestrictedLikelihood, WeightsThatWereEstimatedWidenTheCovariance) {
  const Case Made = Make_Case();
  const Likelihood_Terms Terms = rigsync::Evaluate_Likelihood(Made.Rows, Made.Prior, Made.At);
  const MatrixXd Expected = Corrected_Covariance(Made, Terms);
  const MatrixXd Covariance =
      rigsync::Describe_Unknowns(Made.Rows, Terms, Made.At, rigsync::Unknown_Matrix::Zero())
          .Covariance;
  EXPECT_LE((Covariance - Expected).norm(), Algebra * Expected.norm());
}

TEST(RestrictedLikelihood, ALagWidensTheCovariance) {
  const Case Made = With_Lag();
  const Likelihood_Terms Terms = rigsync::Evaluate_Likelihood(Made.Rows, Made.Prior, Made.At);
  const MatrixXd Expected = Corrected_Covariance(Made, Terms);
  const rigsync::Unknown_Uncertainty Unknown =
      rigsync::Describe_Unknowns(Made.Rows, Terms, Made.At, rigsync::Unknown_Matrix::Zero());
  const MatrixXd Of_Unknowns = Expected.topLeftCorner(Unknowns, Unknowns);
  ASSERT_GT((Of_Unknowns - Terms.Covariance).norm(), 1e-2 * Terms.Covariance.norm());
  EXPECT_LE((Unknown.Covariance - Of_Unknowns).norm(), Algebra * Of_Unknowns.norm());
  EXPECT_NEAR(Unknown.Lag_Variance / Expected(Unknowns, Unknowns), 1.0, Algebra);
}

// For the degrees of freedom: by differences of the covariance without the weights' correction.
TEST(RestrictedLikelihood, TheVariancesOfALagsFitFollowThoseOfTheNoise) {
  const Case Made = With_Lag();
  const auto Covariance_At = [&Made](const Variances& At) {
    Case There = Made;
    There.At = At;
    const Dense Full = As_Dense(There);
    return MatrixXd(
        (Full.Derivative.transpose() * Full.Covariance.inverse() * Full.Derivative).inverse());
  };
  const Likelihood_Terms Terms = rigsync::Evaluate_Likelihood(Made.Rows, Made.Prior, Made.At);
  const rigsync::Unknown_Uncertainty Unknown =
      rigsync::Describe_Unknowns(Made.Rows, Terms, Made.At, rigsync::Unknown_Matrix::Zero());
  for (int k = 0; k < Noise_Sources; ++k) {
    Variances Change = Variances::Zero();
    Change[k] = 1e-4 * Made.At[k];
    const MatrixXd Difference =
        (Covariance_At(Made.At + Change) - Covariance_At(Made.At - Change)) / (2 * Change[k]);
    EXPECT_NEAR(Unknown.Lag_Variance_By_Variance[k] / Difference(Unknowns, Unknowns), 1.0,
                Differences);
    const MatrixXd Of_Unknowns = Difference.topLeftCorner(Unknowns, Unknowns);
    EXPECT_LE(
        (Unknown.Row_Covariance_By_Variance[static_cast<std::size_t>(k)] - Of_Unknowns).norm(),
        Differences * Of_Unknowns.norm());
  }
}

void Expect_Score_Of_Differences(const Case& Made) {
  const Likelihood_Terms Terms = rigsync::Evaluate_Likelihood(Made.Rows, Made.Prior, Made.At);
  for (int k = 0; k < Noise_Sources; ++k) {
    Variances Change = Variances::Zero();
    Change[k] = 1e-4 * Made.At[k];
    const auto At = [&Made](const Variances& Where) {
      return rigsync::Evaluate_Likelihood(Made.Rows, Made.Prior, Where).Log_Likelihood;
    };
    const double Difference = (At(Made.At + Change) - At(Made.At - Change)) / (2 * Change[k]);
    EXPECT_NEAR(Difference / Terms.Score[k], 1.0, Differences) << k;
  }
}

TEST(RestrictedLikelihood, TheScoreIsTheLikelihoodsDerivative) {
  Expect_Score_Of_Differences(Make_Case());
}

TEST(RestrictedLikelihood, TheScoreIsTheLikelihoodsDerivativeWithALag) {
  Expect_Score_Of_Differences(With_Lag());
}

// Three rows that say 0, 3 and 6 mm of one shift: squares of 18 mm^2 about their mean, of nine
// numbers of which three went into the mean. A likelihood that forgot the mean would say 2 mm^2.
TEST(RestrictedLikelihood, AVarianceAllowsForTheMeanThatTheRowsGave) {
  Case Made;
  for (const double Shift_Mm : {0.0, 3.0, 6.0}) {
    Linear_Row Row;
    Row.Model.Residual[3] = 1e-3 * Shift_Mm;
    Row.Model.Derivative.block<3, 3>(3, 3).setIdentity();
    Row.Shapes[rigsync::Corner_Noise] = 1e-14 * rigsync::Matrix6d::Identity();
    Row.Shapes[rigsync::Rotation_Noise].setZero();
    Row.Shapes[rigsync::Position_Noise].setZero();
    Row.Shapes[rigsync::Position_Noise].bottomRightCorner<3, 3>().setIdentity();
    Made.Rows.push_back(Row);
  }
  Made.Prior.Information = Algebra * rigsync::Unknown_Matrix::Identity();
  Variances At(1.0, 0.0, 1e-5);
  for (int Step = 0; Step < 50; ++Step) {
    At = rigsync::Next_Variances(rigsync::Evaluate_Likelihood(Made.Rows, Made.Prior, At), At);
  }
  EXPECT_NEAR(At[rigsync::Position_Noise], 3e-6, 1e-9);
}

TEST(RestrictedLikelihood, VariancesStayWithinTheirLimits) {
  Case Made = Make_Case();
  for (Linear_Row& Row : Made.Rows) Row.Model.Residual *= 1e-3;
  Variances At = Made.At;
  for (int Step = 0; Step < 50; ++Step) {
    At = rigsync::Next_Variances(rigsync::Evaluate_Likelihood(Made.Rows, Made.Prior, At), At);
  }
  EXPECT_EQ(At, Variances(1.0, 0.0, 0.0));
  const Eigen::Matrix3d Covariance =
      rigsync::Variance_Covariance(rigsync::Evaluate_Likelihood(Made.Rows, Made.Prior, At), At);
  EXPECT_EQ(Covariance, Eigen::Matrix3d::Zero());
}

}  // namespace
