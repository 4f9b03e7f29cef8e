// SPDX-License-Identifier: Apache-2.0
//
// What the lens leaves of every corner: found less drawn, with each board's pose solved from its
// own image and the lens held. The trackers have no part in it, so that it shows the lens alone.
#ifndef RIGSYNC_REVIEW_CORNER_RESIDUALS_H
#define RIGSYNC_REVIEW_CORNER_RESIDUALS_H

#include "rigsync/review/run_view.h"

#include <Eigen/Core>

#include <cstddef>
#include <vector>

namespace rigsync {

struct Corner_Residual {
  std::size_t Row = 0;  // of the view
  Eigen::Vector2d Pixel = Eigen::Vector2d::Zero();
  Eigen::Vector2d Residual_Px = Eigen::Vector2d::Zero();
};

// Of all images whose board has a pose. Empty without corners or lens.
std::vector<Corner_Residual> Measure_Residuals(const Run_View& View);

double Rms_Px(const std::vector<Corner_Residual>& Residuals);

// With fewer corners a cell's mean says nothing.
constexpr int Least_Cell_Corners = 5;

struct Residual_Cell {
  int Corners = 0;
  Eigen::Vector2d Mean_Px = Eigen::Vector2d::Zero();
};

// The frame in 16 by 9 cells, or 9 by 16 for images that are higher than wide.
struct Residual_Grid {
  int Cols = 0, Rows = 0;
  std::vector<Residual_Cell> Cells;  // row by row
};

Residual_Grid Bin_Over_Frame(const std::vector<Corner_Residual>& Residuals, int Width, int Height);

// A mean with its standard error. Corners of one image may err alike, so that images count and not
// corners.
struct Mean_With_Error {
  double Mean = 0, Error = 0;

  double Standard_Errors() const;  // how many the mean is from 0; 0 where there is no error
};

struct Residual_Ring {
  double From_Px = 0, To_Px = 0;  // distance from the principal point
  int Corners = 0, Images = 0;
  Mean_With_Error Radial, Tangential;  // pixels; outwards, and from x to y
};

// Rings of one width from the principal point to the farthest corner. One with corners of fewer
// than Least_Ring_Images images is left out.
constexpr int Least_Ring_Images = 5;
std::vector<Residual_Ring> Bin_Over_Radius(const std::vector<Corner_Residual>& Residuals,
                                           const Eigen::Vector2d& Principal_Point_Px, int Rings);

// The ring's mean, radial or tangential, that is the most standard errors from 0. Null without any.
struct Farthest_Ring {
  const Residual_Ring* Ring = nullptr;
  Mean_With_Error Mean;
  bool Is_Radial = true;
};
Farthest_Ring Find_Farthest(const std::vector<Residual_Ring>& Rings);

// Of sixteen means of twenty images, one is beyond this by chance in about fifty captures.
constexpr double Clear_Standard_Errors = 4.0;

}  // namespace rigsync

#endif  // RIGSYNC_REVIEW_CORNER_RESIDUALS_H
