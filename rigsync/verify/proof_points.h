// SPDX-License-Identifier: Apache-2.0
//
// Where a proof looks: poses of the tracker, and points in front of the camera that lie behind
// chosen pixels of the image.
#ifndef RIGSYNC_VERIFY_PROOF_POINTS_H
#define RIGSYNC_VERIFY_PROOF_POINTS_H

#include "rigsync/capture/lens.h"
#include "rigsync/capture/tracker_sample.h"

#include <Eigen/Core>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

// The pixel at which the lens shows a point in Cam. NaN for a point that isn't in front of it.
Eigen::Vector2d Projected(const Lens& Through, const Eigen::Vector3d& Point_Cam);

struct Proof_Points {
  std::vector<Eigen::Vector3d> Points_Cam;  // metres
  int Columns = 0, Rows = 0;                // of the grid over the image, its edges included
  std::vector<double> Depths;               // metres
  std::size_t Unseen = 0;  // pixels of the grid that the lens model shows nothing at
};

// A grid of Columns by Rows pixels from edge to edge of the image, corners included, and behind
// each a point at every depth. Coefficients for which the image ends before its corner (a radius
// that comes back as it grows) leave pixels without a point.
Proof_Points Points_Over_Frame(const Lens& Through, int Width, int Height, int Columns, int Rows,
                               const std::vector<double>& Depths);

// Poses of the camera's tracker.
struct Proof_Samples {
  std::vector<Tracker_Sample> Samples;
  std::string Source;  // "12 rows of capture.csv"
};

// At most Limit of the rows of a capture that have a sound sample, evenly chosen. None where there
// are none. Throws Usage_Error for a file that can't be read.
Proof_Samples Samples_Of_Capture(const std::filesystem::path& Csv, std::size_t Limit);

// A dozen poses within 4 m of Base, in all directions.
Proof_Samples Fixed_Samples();

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_PROOF_POINTS_H
