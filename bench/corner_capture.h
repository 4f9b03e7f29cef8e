// SPDX-License-Identifier: Apache-2.0
//
// Captures whose truth is known, as far as the corners and the tracker samples: the simulator plans
// the poses and projects the corners, noise is added to both, and no image is drawn. So a capture
// takes milliseconds.
//
// A capture is made in two steps, because the same photographs serve for many settings of the
// trackers and the lens solve takes most of the time.
#ifndef RIGSYNC_BENCH_CORNER_CAPTURE_H
#define RIGSYNC_BENCH_CORNER_CAPTURE_H

#include "bench/library_sequence.h"
#include "rigsync/solve/board_place.h"
#include "rigsync/solve/observation.h"
#include "simulate/simulate.h"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <optional>
#include <vector>

namespace bench {

// What a lens does that two radial coefficients don't describe.
struct Lens_Fault {
  double K3 = 0, P1 = 0, P2 = 0;  // of Brown's model
  bool Is_Fisheye = false;        // the image grows with the angle from the axis, not its tangent
};

struct View_Setting {
  int Images = 24;
  // The turns of the board in the camera are scaled by this, about their mean, and the tilts are
  // about one axis only.
  double Turn_Part = 1.0;
  bool Turns_About_One_Axis = false;
  double Square_Factor = 1.0;  // the true square in units of the stated one
  Lens_Fault Lens;

  bool operator==(const View_Setting& Other) const;
};

// The photographs of a capture. Entry i of each list is of image i.
struct Views {
  Photographed_Board Board;
  std::vector<Eigen::Isometry3d> Transform_Cam_Chart;  // true
  std::vector<Eigen::Isometry3d> Transform_Base_Cam;   // true
  std::vector<rigsync::Corner_List> Corners;           // as they were found
  std::optional<Library_Lens> Lens;                    // solved from all images
  simulate::Lens True_Lens;
  Lens_Fault Fault;
};

// The true lens and the true poses, as a start for solving them. The positions are divided by the
// factor of the true square to the stated one.
Library_Lens True_Library_Lens(const Views& Seen, double Square_Factor);

// The position of a point in the image of the true lens, pixels.
Eigen::Vector2d Project_Truly(const Views& Seen, const Eigen::Vector3d& Point_Cam);

// The standard deviation of a found corner on each axis, pixels. Detection in drawn images of this
// size leaves less, all images together.
constexpr double Corner_Noise_Px = 0.03;

Views Make_Views(const View_Setting& Setting, unsigned Seed);

enum class Standing { Neither, Camera, Board };

// How far something is off, in a random direction and about a random axis.
struct Misplacement {
  double Mm = 0, Deg = 0;
};

struct Tracker_Setting {
  double Position_Mm = 0.3, Rotation_Deg = 0.03;  // noise of each tracker on each axis
  double Board_Factor = 1.0;                      // the board's tracker has this much more of it
  double Depth_Factor = 1.0;     // and positions along z of the tracking system this much
  bool Has_Heavy_Tails = false;  // t with 3 degrees of freedom and the same variance
  double Field_Mm = 0.0;         // an error of positions that depends on the place
  Standing Still = Standing::Neither;
  Eigen::Matrix3d Mount_Rotation = Usual_Mount_Rotation();  // of Transform_Cam_Tc
  Misplacement Estimate;                                    // of the board's place
  int Stale_Rows = 0;             // in which the camera's tracker reports another pose
  Misplacement Staleness{30, 2};  // which is this far away
  // A tracker that slips on its mount before a random image, with at least Least_Beside_Slip images
  // on both sides.
  Misplacement Slip;
  int Least_Beside_Slip = 3;

  // 35, -25 and 20 degrees about x, y and z: far from where the library's filter has no axis.
  static Eigen::Matrix3d Usual_Mount_Rotation();
};

struct True_Slip {
  bool Is_Camera = false;
  std::size_t First_Row = 0;
};

struct Corner_Capture {
  std::vector<rigsync::Row_Facts> Rows;
  rigsync::Board_Place Estimate;
  // As they are after the last image, which is what a stage goes on with.
  Eigen::Isometry3d Transform_Cam_Tc, Transform_Tr_Chart;
  std::vector<bool> Is_Stale;
  std::optional<True_Slip> Slip;
};

// The same seed gives the same noise in other settings.
Corner_Capture Make_Capture(const Views& Seen, const Tracker_Setting& Setting, unsigned Seed);

}  // namespace bench

#endif  // RIGSYNC_BENCH_CORNER_CAPTURE_H
