// SPDX-License-Identifier: Apache-2.0
//
// The limits by which the library finds boards, drops images and judges a result. The library does
// not export them, so they are repeated here, once, for everything that the command predicts or
// explains. tests/rigsync/capture/library_limits_test.cpp holds each against the library.
#ifndef RIGSYNC_CAPTURE_LIBRARY_LIMITS_H
#define RIGSYNC_CAPTURE_LIBRARY_LIMITS_H

#include <cstddef>

namespace rigsync::library_limits {

// Images this wide or wider are searched in a copy of Reduced_Width pixels.
constexpr int Reduced_From_Width = 1440;
constexpr int Reduced_Width = 720;

// Fewer images with a board end a run with code 4.
constexpr std::size_t Least_Boards = 12;

// A lens whose RMS reprojection error is above this, pixels, ends a run with code 5.
constexpr double Lens_Rms_Px = 1.5;

// The outlier filter drops an image whose rotation axis is further than this from the mean axis,
// degrees, or whose position on any axis is further from the mean than this many standard
// deviations.
constexpr double Axis_Deg = 0.5;
constexpr double Position_Deviations = 1.3;

// Fewer images after the outlier filter end a run with code 13.
constexpr std::size_t Least_Kept = 5;

// The largest standard deviation of the mount's position on an axis, millimetres: up to the first
// the result is good, beyond the second it fails with code 6.
constexpr double Good_Spread_Mm = 10.0;
constexpr double Usable_Spread_Mm = 15.0;

// The average reprojection error, pixels of an image 1080 high: up to the first the result is good,
// beyond the second it fails with code 14.
constexpr double Good_Reprojection_Px = 12.0;
constexpr double Usable_Reprojection_Px = 18.0;

// The image height for which the reprojection limits are stated.
constexpr double Reference_Height_Px = 1080.0;

}  // namespace rigsync::library_limits

#endif  // RIGSYNC_CAPTURE_LIBRARY_LIMITS_H
