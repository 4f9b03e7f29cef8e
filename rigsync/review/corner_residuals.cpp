// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/corner_residuals.h"

#include "rigsync/review/rig_chain.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace rigsync {
namespace {

constexpr int Long_Side_Cells = 16, Short_Side_Cells = 9;

// Sums of one image's values in a ring.
struct Image_Sum {
  double Sum = 0;
  int Count = 0;
};

// The error of a mean of clusters: the root of the summed squares of what each cluster is off by.
Mean_With_Error Mean_Of(const std::map<std::size_t, Image_Sum>& Images) {
  double Sum = 0, Squares = 0;
  int Count = 0;
  for (const auto& [Row, Image] : Images) Sum += Image.Sum, Count += Image.Count;
  const double Mean = Sum / Count;
  for (const auto& [Row, Image] : Images) Squares += std::pow(Image.Sum - Image.Count * Mean, 2);
  const double Number = static_cast<double>(Images.size());
  return {Mean, std::sqrt(Squares * Number / (Number - 1.0)) / Count};
}

struct Ring_Sums {
  std::map<std::size_t, Image_Sum> Radial, Tangential;  // by image
  int Corners = 0;
};

void Take(const Corner_Residual& Corner, const Eigen::Vector2d& Outwards, Ring_Sums& Ring) {
  const Eigen::Vector2d Around(-Outwards.y(), Outwards.x());
  Image_Sum& Radial = Ring.Radial[Corner.Row];
  Image_Sum& Tangential = Ring.Tangential[Corner.Row];
  Radial.Sum += Corner.Residual_Px.dot(Outwards);
  Tangential.Sum += Corner.Residual_Px.dot(Around);
  ++Radial.Count;
  ++Tangential.Count;
  ++Ring.Corners;
}

int Cell_Of(double Pixel, int Size, int Cells) {
  return std::clamp(static_cast<int>(std::floor(Pixel / Size * Cells)), 0, Cells - 1);
}

void Add_Board(const Run_View& View, std::size_t Row, double Square_Size,
               std::vector<Corner_Residual>& All) {
  const Corner_List& Corners = View.Rows[Row].Corners;
  const Board_Size& Board = View.Result.Inputs.Board;
  const auto Seen = Solve_Board_Pose(Corners, Board, Square_Size, *View.Lens_Px);
  if (!Seen) return;
  std::vector<Eigen::Vector3d> Points_Cam = Board_Corners_Chart(Board, Square_Size);
  for (Eigen::Vector3d& Point : Points_Cam) Point = Seen->Transform_Cam_Chart * Point;
  const std::vector<Eigen::Vector2d> Drawn = Project(*View.Lens_Px, Points_Cam);
  for (std::size_t k = 0; k < Corners.size(); ++k) {
    const Eigen::Vector2d Found(static_cast<double>(Corners[k][0]),
                                static_cast<double>(Corners[k][1]));
    if (!Drawn[k].allFinite()) continue;
    All.push_back({Row, Found, Found - Drawn[k]});
  }
}

}  // namespace

std::vector<Corner_Residual> Measure_Residuals(const Run_View& View) {
  std::vector<Corner_Residual> All;
  if (!View.Lens_Px) return All;
  for (std::size_t i = 0; i < View.Rows.size(); ++i) {
    Add_Board(View, i, View.Result.Inputs.Square_Size, All);
  }
  return All;
}

double Rms_Px(const std::vector<Corner_Residual>& Residuals) {
  double Sum = 0;
  for (const Corner_Residual& Corner : Residuals) Sum += Corner.Residual_Px.squaredNorm();
  return std::sqrt(Sum / static_cast<double>(Residuals.size()));
}

Residual_Grid Bin_Over_Frame(const std::vector<Corner_Residual>& Residuals, int Width, int Height) {
  Residual_Grid Grid;
  Grid.Cols = Height > Width ? Short_Side_Cells : Long_Side_Cells;
  Grid.Rows = Height > Width ? Long_Side_Cells : Short_Side_Cells;
  Grid.Cells.resize(static_cast<std::size_t>(Grid.Cols * Grid.Rows));
  for (const Corner_Residual& Corner : Residuals) {
    const int Cell = Cell_Of(Corner.Pixel.y(), Height, Grid.Rows) * Grid.Cols +
                     Cell_Of(Corner.Pixel.x(), Width, Grid.Cols);
    Residual_Cell& In = Grid.Cells[static_cast<std::size_t>(Cell)];
    In.Mean_Px += Corner.Residual_Px;
    ++In.Corners;
  }
  for (Residual_Cell& Cell : Grid.Cells) {
    if (Cell.Corners > 0) Cell.Mean_Px /= Cell.Corners;
  }
  return Grid;
}

double Mean_With_Error::Standard_Errors() const {
  return Error > 0.0 ? std::abs(Mean) / Error : 0.0;
}

std::vector<Residual_Ring> Bin_Over_Radius(const std::vector<Corner_Residual>& Residuals,
                                           const Eigen::Vector2d& Principal_Point_Px, int Rings) {
  double Farthest = 0;
  for (const Corner_Residual& Corner : Residuals) {
    Farthest = std::max(Farthest, (Corner.Pixel - Principal_Point_Px).norm());
  }
  std::vector<Residual_Ring> Binned;
  if (!(Farthest > 0.0)) return Binned;
  std::vector<Ring_Sums> Sums(static_cast<std::size_t>(Rings));
  for (const Corner_Residual& Corner : Residuals) {
    const Eigen::Vector2d From_Centre = Corner.Pixel - Principal_Point_Px;
    const double Radius = From_Centre.norm();
    if (!(Radius > 0.0)) continue;
    const int Ring = std::min(static_cast<int>(Radius / Farthest * Rings), Rings - 1);
    Take(Corner, From_Centre / Radius, Sums[static_cast<std::size_t>(Ring)]);
  }
  for (int k = 0; k < Rings; ++k) {
    const Ring_Sums& Sum = Sums[static_cast<std::size_t>(k)];
    const int Images = static_cast<int>(Sum.Radial.size());
    if (Images < Least_Ring_Images) continue;
    Binned.push_back({Farthest * k / Rings, Farthest * (k + 1) / Rings, Sum.Corners, Images,
                      Mean_Of(Sum.Radial), Mean_Of(Sum.Tangential)});
  }
  return Binned;
}

Farthest_Ring Find_Farthest(const std::vector<Residual_Ring>& Rings) {
  Farthest_Ring Farthest;
  for (const Residual_Ring& Ring : Rings) {
    for (const bool Is_Radial : {true, false}) {
      const Mean_With_Error& Mean = Is_Radial ? Ring.Radial : Ring.Tangential;
      if (Farthest.Ring && Mean.Standard_Errors() <= Farthest.Mean.Standard_Errors()) continue;
      Farthest = {&Ring, Mean, Is_Radial};
    }
  }
  return Farthest;
}

}  // namespace rigsync
