// SPDX-License-Identifier: Apache-2.0
//
// A capture against itself: every other image solved apart, lens and mounts, and the two answers
// compared. Halves share no image and no photograph's corners, so what they differ by is an error
// that anyone can see, and the uncertainty that is stated for each says how large it should be.
//
// Each half has a lens of its own, since an error of the lens moves the mount. The stated place of
// the board is no prior here: both would lean on it alike. What all images share stays unseen: a
// square that is off, a tracking system whose scale is off.
#ifndef RIGSYNC_SOLVE_CROSS_CHECK_H
#define RIGSYNC_SOLVE_CROSS_CHECK_H

#include "rigsync/solve/capture_solution.h"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <array>
#include <cstddef>
#include <vector>

namespace rigsync {

// With fewer usable rows a half is too few to know its own noise.
constexpr std::size_t Least_Cross_Rows = 12;

// More boards than these in a half take time and show nothing new; they are chosen evenly.
constexpr std::size_t Most_Half_Rows = 30;

enum class Cross_Status {
  Compared,
  Too_Few_Rows,    // fewer than Least_Cross_Rows usable ones
  Whole_Unsolved,  // the whole capture has no joint solution
  Half_Unsolved,   // a half alone has none
};

// A number that the halves differ by, beside what their stated uncertainties let expect: the root
// of its mean square.
struct Cross_Difference {
  double Seen = 0, Expected = 0;

  double Ratio() const { return Seen / Expected; }  // about 1 is good
};

struct Cross_Half {
  std::size_t Rows = 0;  // that were solved; left out ones among them
  Lens Lens_Px;
  Eigen::Isometry3d Transform_Cam_Tc = Eigen::Isometry3d::Identity();
};

// Where the halves draw the same virtual object. NaN where the lens sees no point.
struct Cross_Point {
  Eigen::Vector2d Pixel = Eigen::Vector2d::Zero();          // by the whole capture
  Eigen::Vector2d Difference_Px = Eigen::Vector2d::Zero();  // even images less odd ones
  double Expected_Px = 0;
};

struct Cross_Check {
  Cross_Status Status = Cross_Status::Too_Few_Rows;
  // The rest is filled for Compared only. The first half has the odd images, counted from 1 in the
  // order of the rows that are usable.
  std::array<Cross_Half, 2> Halves;
  Cross_Difference Mm, Deg;  // of the camera's mount
  // The part of all captures (0 to 1) whose halves differ by less, by the F distribution. Above
  // 0.95 in one sound capture of twenty.
  double Probability_Nearer = 0;
  double Distance = 0;  // of the virtual objects along the optical axis, metres
  int Cols = 0, Rows = 0;
  std::vector<Cross_Point> Points;  // Cols by Rows over the frame, row by row
  Cross_Difference Px;              // root mean square over the points
};

struct Frame_Size {
  int Width = 0, Height = 0;  // pixels
};

// Whole is the solution of Facts. Distance is above 0.
Cross_Check Check_Halves(const std::vector<Row_Facts>& Facts, const Board_Size& Board,
                         double Square_Size, const Capture_Solution& Whole, const Frame_Size& Frame,
                         double Distance);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_CROSS_CHECK_H
