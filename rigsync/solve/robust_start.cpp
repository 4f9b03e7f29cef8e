// SPDX-License-Identifier: Apache-2.0
#include "rigsync/solve/robust_start.h"

#include "rigsync/geometry/statistics.h"
#include "rigsync/solve/closed_form.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>

namespace rigsync {
namespace {

// With 10 bad rows of 24 a draw of five is all good in 1 of 21: 250 draws all fail in 1 of 200,000
// captures.
constexpr std::size_t Drawn_Rows = 5;
constexpr int Draws = 250;

// The best draws are settled on the rows that fit them.
constexpr std::size_t Settled_Draws = 10;
constexpr int Settling_Steps = 3;

constexpr std::uint32_t Seed = 20130301;

using Row_List = std::vector<std::size_t>;

struct Candidate {
  Mounts At;
  double Median_Square = 0;
};

std::size_t Half(std::size_t Rows) {
  return Rows / 2 + 1;
}

// A turn counts by what it moves at the board's usual distance.
double Lever_Arm(const std::vector<Observation>& Rows) {
  std::vector<double> Distances;
  for (const Observation& Seen : Rows) {
    Distances.push_back(Seen.Board.Transform_Cam_Chart.translation().norm());
  }
  return Median(Distances);
}

std::vector<double> Squares(const std::vector<Observation>& Rows, const Mounts& At, double Lever) {
  std::vector<double> All;
  All.reserve(Rows.size());
  for (const Observation& Seen : Rows) {
    const Vector6d Motion =
        Motion_Between(Predicted_Transform_Cam_Chart(Seen, At), Seen.Board.Transform_Cam_Chart);
    All.push_back(Lever * Lever * Motion.head<3>().squaredNorm() + Motion.tail<3>().squaredNorm());
  }
  return All;
}

Row_List Nearest(const std::vector<double>& All_Squares) {
  Row_List Order(All_Squares.size());
  std::iota(Order.begin(), Order.end(), std::size_t{0});
  std::stable_sort(Order.begin(), Order.end(), [&All_Squares](std::size_t A, std::size_t B) {
    return All_Squares[A] < All_Squares[B];
  });
  Order.resize(Half(Order.size()));
  std::sort(Order.begin(), Order.end());
  return Order;
}

// The largest of the smaller half.
double Median_Square(std::vector<double> All_Squares) {
  const auto Middle = All_Squares.begin() + static_cast<long>(Half(All_Squares.size()) - 1);
  std::nth_element(All_Squares.begin(), Middle, All_Squares.end());
  return *Middle;
}

// The first few of a shuffle. std::shuffle is not the same on every machine; this is.
Row_List Draw_Rows(std::size_t Rows, std::mt19937& Engine) {
  Row_List Order(Rows);
  std::iota(Order.begin(), Order.end(), std::size_t{0});
  const std::size_t Count = std::min(Drawn_Rows, Rows);
  for (std::size_t k = 0; k < Count; ++k) {
    std::swap(Order[k], Order[k + Engine() % (Rows - k)]);
  }
  Order.resize(Count);
  return Order;
}

std::vector<Candidate> Candidates(const std::vector<Observation>& Rows, double Lever) {
  std::vector<Candidate> All;
  const auto Add = [&](const std::optional<Mounts>& At) {
    if (At) All.push_back({*At, Median_Square(Squares(Rows, *At, Lever))});
  };
  Add(Closed_Form_Mounts(Rows));
  std::mt19937 Engine(Seed);
  for (int Draw = 0; Draw < Draws; ++Draw) {
    Add(Closed_Form_Mounts(Rows, Draw_Rows(Rows.size(), Engine)));
  }
  std::stable_sort(All.begin(), All.end(), [](const Candidate& A, const Candidate& B) {
    return A.Median_Square < B.Median_Square;
  });
  return All;
}

Candidate Settled(const std::vector<Observation>& Rows, Candidate Best, double Lever) {
  for (int Step = 0; Step < Settling_Steps; ++Step) {
    const auto At = Closed_Form_Mounts(Rows, Nearest(Squares(Rows, Best.At, Lever)));
    if (!At) break;
    const double Square = Median_Square(Squares(Rows, *At, Lever));
    if (!(Square < Best.Median_Square)) break;
    Best = {*At, Square};
  }
  return Best;
}

}  // namespace

std::optional<Robust_Start> Find_Start(const std::vector<Observation>& Rows) {
  if (Rows.empty()) return std::nullopt;
  const double Lever = Lever_Arm(Rows);
  std::vector<Candidate> All = Candidates(Rows, Lever);
  if (All.empty()) return std::nullopt;
  if (All.size() > Settled_Draws) All.resize(Settled_Draws);
  Candidate Best = All.front();
  for (const Candidate& Each : All) {
    const Candidate Better = Settled(Rows, Each, Lever);
    if (Better.Median_Square < Best.Median_Square) Best = Better;
  }
  return Robust_Start{Best.At, Nearest(Squares(Rows, Best.At, Lever))};
}

}  // namespace rigsync
