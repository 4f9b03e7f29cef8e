// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/disagreement.h"

#include "rigsync/solve/mount_uncertainty.h"

#include <Eigen/Cholesky>
#include <Eigen/Eigenvalues>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// Where the camera and the board were in the room, and where the board was in the image.
using Place = Eigen::Matrix<double, 9, 1>;

Place Place_Of(const Observation& Seen) {
  Place Of;
  Of << Seen.Transform_Tc_Base.inverse().translation(), Seen.Transform_Base_Tr.translation(),
      Seen.Board.Transform_Cam_Chart.translation();
  return Of;
}

// The direction in which the places are spread most.
Place Principal_Axis(const std::vector<Place>& Places, const Row_Group& Of) {
  Place Mean = Place::Zero();
  for (const std::size_t i : Of) Mean += Places[i] / static_cast<double>(Of.size());
  Eigen::Matrix<double, 9, 9> Scatter = Eigen::Matrix<double, 9, 9>::Zero();
  for (const std::size_t i : Of) {
    Scatter += (Places[i] - Mean) * (Places[i] - Mean).transpose();
  }
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix<double, 9, 9>> Solver(Scatter);
  return Solver.eigenvectors().col(8);
}

// The half of the group that is further along the axis; the other half stays.
Row_Group Split_Off(const std::vector<Place>& Places, Row_Group& From) {
  const Place Axis = Principal_Axis(Places, From);
  std::stable_sort(From.begin(), From.end(), [&](std::size_t A, std::size_t B) {
    return Axis.dot(Places[A]) < Axis.dot(Places[B]);
  });
  const auto Middle = From.begin() + static_cast<std::ptrdiff_t>(From.size() / 2);
  Row_Group Further(Middle, From.end());
  From.erase(Middle, From.end());
  return Further;
}

}  // namespace

std::vector<Row_Group> Neighbouring_Rows(const std::vector<Observation>& Rows) {
  std::vector<Place> Places;
  std::vector<Row_Group> Groups(1);
  for (const Observation& Seen : Rows) {
    Groups[0].push_back(Places.size());
    Places.push_back(Place_Of(Seen));
  }
  const std::size_t Count = std::min(Rows.size() / Rows_In_Group, Most_Groups);
  while (Groups.size() < Count) {
    auto Largest = std::max_element(
        Groups.begin(), Groups.end(),
        [](const Row_Group& A, const Row_Group& B) { return A.size() < B.size(); });
    Groups.push_back(Split_Off(Places, *Largest));
  }
  return Groups;
}

// With the covariance C = L L' of the unknowns, and the information I_g and the score s_g of the
// group, the values L' s_g have the covariances P_g (g = h) - P_g P_h, where P_g = L' I_g L.
Disagreement Measure_Disagreement(const Joint_Fit& Fit, const std::vector<Row_Group>& Groups) {
  const Unknown_Matrix Root = Fit.Terms.Covariance.llt().matrixL();
  std::vector<Unknown_Matrix> Parts;
  double Squares = 0;
  for (const Row_Group& Group : Groups) {
    Unknown_Matrix Information = Unknown_Matrix::Zero();
    Unknown_Vector Score = Unknown_Vector::Zero();
    for (const std::size_t i : Group) {
      const Row_Derivative Weighted = Fit.Terms.Weights[i] * Fit.Rows[i].Model.Derivative;
      Information += Fit.Rows[i].Model.Derivative.transpose() * Weighted;
      Score += Weighted.transpose() * Fit.Rows[i].Model.Residual;
    }
    Parts.emplace_back(Root.transpose() * Information * Root);
    Squares += (Root.transpose() * Score).squaredNorm();
  }
  double Expected = 0, Spread = 0;
  for (std::size_t g = 0; g < Parts.size(); ++g) {
    for (std::size_t h = 0; h < Parts.size(); ++h) {
      const Unknown_Matrix Own = g == h ? Parts[g] : Unknown_Matrix(Unknown_Matrix::Zero());
      const Unknown_Matrix Covariance = Own - Parts[g] * Parts[h];
      if (g == h) Expected += Covariance.trace();
      Spread += Covariance.squaredNorm();
    }
  }
  if (Groups.size() < 2 || !(Spread > 0.0)) return {};
  return {Squares / Expected, Expected * Expected / Spread};
}

double Widening(const Disagreement& Of, std::size_t Rows) {
  const double Freedom_Left = 6.0 * static_cast<double>(Rows) - Unknowns - Of.Freedom;
  if (!(Of.Freedom >= 1.0) || !(Freedom_Left >= 1.0)) return 1.0;
  const bool Is_Chance = Of.Mean_Square <= F_Limit(Of.Freedom, Freedom_Left, Chance);
  return Is_Chance || !std::isfinite(Of.Mean_Square) ? 1.0
                                                     : std::max(1.0, std::sqrt(Of.Mean_Square));
}

}  // namespace rigsync
