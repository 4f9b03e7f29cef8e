// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/capture_solution.h"

#include "rigsync/geometry/angle.h"

#include <Eigen/Cholesky>

#include <cmath>

namespace rigsync {
namespace {

// Of the joint distribution of six numbers by a normal one: the chi-squared value that 0.1 % are
// above.
constexpr double Contradiction = 22.458;
constexpr double Usual_Part = 0.95;

bool Has_Answer(const Joint_Solution& Joint) {
  return Joint.Status == Solve_Status::Solved;
}

Board_Prior Prior_Of(const Stated_Place& Stated) {
  return {Transform_From_Place(Stated.Place), Stated.Accuracy.Euler_Deg / Degrees_Per_Radian,
          Stated.Accuracy.Offset};
}

Place_Comparison Compare(const Board_Prior& Prior, const Joint_Solution& Joint,
                         const Eigen::Vector3d& Centre_Chart) {
  const Eigen::Isometry3d& Solved = Joint.At.Transform_Tr_Chart;
  const Vector6d Motion = Motion_Between(Solved, Prior.Transform_Tr_Chart);
  Matrix6d Covariance = Joint.Board_Mount.Covariance;
  Covariance.diagonal().head<3>().array() += std::pow(Prior.Rotation_Deviation_Rad, 2);
  Covariance.diagonal().tail<3>().array() += std::pow(Prior.Offset_Deviation, 2);
  Place_Comparison Place;
  Place.Difference_Deg = Degrees_Per_Radian * Motion.head<3>().norm();
  Place.Difference_Mm =
      1000.0 * (Prior.Transform_Tr_Chart * Centre_Chart - Solved * Centre_Chart).norm();
  Place.Is_Within_Uncertainty = Joint.Board_Mount.Probability_Nearer(Motion) <= Usual_Part;
  Place.Is_Prior = Motion.dot(Covariance.ldlt().solve(Motion)) <= Contradiction;
  return Place;
}

}  // namespace

std::vector<Row_Facts> Facts_Of(const std::vector<Capture_Row>& Rows, const Board_Search& Search,
                                const Row_Motions& Motions) {
  std::vector<Row_Facts> Facts;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    const Searched_Image& Image = Search.Images[i];
    const bool Shows_Board =
        Image.State == Image_State::Board_Found || Image.State == Image_State::Board_Cut_Off;
    if (!Rows[i].Is_Sound || !Shows_Board) continue;
    Facts.push_back({i, Rows[i].Camera, Rows[i].Board, Image.Corners,
                     i < Motions.size() ? Motions[i] : std::nullopt, Image.Some_Corners});
  }
  return Facts;
}

Capture_Solution Solve_Capture(const std::vector<Row_Facts>& Facts, const Board_Size& Board,
                               double Square_Size, const Lens& Lens_Px,
                               const std::optional<Stated_Place>& Stated, const Lag_Choice& Lag) {
  Capture_Solution Solution;
  Solution.Lens_Px = Lens_Px;
  Solution.Seen = Observe(Facts, Board, Square_Size, Lens_Px);
  Joint_Options Options;
  Options.Lag = Lag;
  Solution.Joint = Solve_Mounts(Solution.Seen, Options);
  if (Stated && Has_Answer(Solution.Joint)) {
    const Eigen::Vector3d Centre_Chart(0.5 * (Board.Cols - 1) * Square_Size,
                                       0.5 * (Board.Rows - 1) * Square_Size, 0.0);
    Options.Prior = Prior_Of(*Stated);
    Solution.Place = Compare(*Options.Prior, Solution.Joint, Centre_Chart);
    if (Solution.Place->Is_Prior) {
      Solution.Joint = Solve_Mounts(Solution.Seen, Options);
    } else {
      Options.Prior.reset();
    }
  }
  Solution.Lens_Check =
      Check_Lens_Model(Facts, Board, Square_Size, Lens_Px, Solution.Seen, Solution.Joint, Options);
  Solution.Likeliest_Slip = Find_Slip(Solution.Joint);
  return Solution;
}

}  // namespace rigsync
