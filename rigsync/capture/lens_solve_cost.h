// SPDX-License-Identifier: Apache-2.0
//
// What the library's lens solve costs, before it runs. It solves for the lens and the pose of every
// board at once, in a dense system with six unknowns for each image: its time grows with the cube
// of the number of images and its memory with the square, so that a capture of some thousands takes
// days and gigabytes.
#ifndef RIGSYNC_CAPTURE_LENS_SOLVE_COST_H
#define RIGSYNC_CAPTURE_LENS_SOLVE_COST_H

#include <cstddef>

namespace rigsync {

struct Lens_Solve_Cost {
  double Seconds = 0;
  double Bytes = 0;  // beyond what the process has anyway
};

// The cost for a number of images in which the board is found, each with Corners inner corners. By
// the measurements of docs/performance.md on one machine: another takes about half to twice as
// long. The number of images of a CSV file is an upper limit for those with a board.
Lens_Solve_Cost Expected_Lens_Solve(std::size_t Images, std::size_t Corners);

// More images than this hardly improve a calibration: from 40 to 60 the error falls little, and
// below 60 most of the time goes to the images themselves (docs/performance.md).
constexpr std::size_t Enough_Images = 60;

// From here on the lens solve takes as long as everything else or longer, so that a user should
// know before the run what it will take: 9 seconds at 100 images, 70 seconds at 200.
constexpr std::size_t Slow_From_Images = 100;

// More images than this are hardly meant: the solve alone takes ten minutes for 400, and eight
// times as long for twice as many.
constexpr std::size_t Most_Images = 400;

enum class Image_Amount { Usual, Slow, Too_Many };

// By Slow_From_Images and Most_Images.
Image_Amount Amount_Of(std::size_t Images);

// Keeping every n-th image leaves at most Enough_Images: n, and 1 if there are no more.
std::size_t Thinning_Step(std::size_t Images);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_LENS_SOLVE_COST_H
