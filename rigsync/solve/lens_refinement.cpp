// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/lens_refinement.h"

#include <Eigen/Cholesky>

#include <cstddef>

namespace rigsync {
namespace {

constexpr std::size_t Least_Boards = 3;  // as Fit_Lens
constexpr int Most_Lens_Steps = 20;
// The last step gains less than this part of the squared error.
constexpr double Settled_Lens_Part = 1e-10;

// The normal equations of the lens, summed over boards whose poses follow it.
struct Lens_Terms {
  Matrix6d Information = Matrix6d::Zero();
  Vector6d Gradient = Vector6d::Zero();
  double Squares = 0;
  std::size_t Boards = 0;
};

Lens_Terms Sum_Boards(const std::vector<Row_Facts>& Rows, const Board_Size& Board,
                      double Square_Size, const Lens& At) {
  Lens_Terms Sum;
  for (const Row_Facts& Row : Rows) {
    const auto Seen = Solve_Board_Pose(Row.Corners, Board, Square_Size, At);
    if (!Seen) continue;
    Sum.Information += Seen->Lens_Information;
    Sum.Gradient += Seen->Lens_Gradient;
    Sum.Squares += Seen->Squared_Residuals_Px;
    ++Sum.Boards;
  }
  return Sum;
}

// The numbers of a lens differ by six orders of magnitude, so the system is solved with a diagonal
// of ones.
Vector6d Lens_Step(const Lens_Terms& Terms) {
  const Vector6d Scale = Terms.Information.diagonal().cwiseSqrt().cwiseInverse();
  const Matrix6d Scaled = Scale.asDiagonal() * Terms.Information * Scale.asDiagonal();
  return Scale.asDiagonal() * Scaled.ldlt().solve(Scale.asDiagonal() * Terms.Gradient);
}

Lens Moved_Lens(const Lens& From, const Vector6d& Step) {
  return {From.Fx + Step[0], From.Fy + Step[1], From.Cx + Step[2],
          From.Cy + Step[3], From.K1 + Step[4], From.K2 + Step[5]};
}

}  // namespace

std::optional<Lens> Refine_Lens(const std::vector<Row_Facts>& Rows, const Board_Size& Board,
                                double Square_Size, const Lens& Start) {
  Lens At = Start;
  for (int k = 0; k < Most_Lens_Steps; ++k) {
    const Lens_Terms Terms = Sum_Boards(Rows, Board, Square_Size, At);
    if (Terms.Boards < Least_Boards) return std::nullopt;
    const Vector6d Step = Lens_Step(Terms);
    if (!Step.allFinite()) return std::nullopt;
    At = Moved_Lens(At, Step);
    if (!(At.Fx > 0.0) || !(At.Fy > 0.0)) return std::nullopt;
    if (Step.dot(Terms.Gradient) <= Settled_Lens_Part * Terms.Squares) return At;
  }
  return std::nullopt;
}

}  // namespace rigsync
