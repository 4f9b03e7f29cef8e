// SPDX-License-Identifier: Apache-2.0
//
// Two results of the same rig: how they differ, whether by more than their uncertainties explain,
// and what probably happened between them. Then is the earlier result, Now the later one. Motions
// lead from then to now, along the axes of Cam.
#ifndef RIGSYNC_CALIBRATE_DRIFT_H
#define RIGSYNC_CALIBRATE_DRIFT_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/solve/picture_shift.h"
#include "rigsync/solve/solution_difference.h"

#include <array>
#include <optional>
#include <vector>

namespace rigsync {

// An unchanged rig is called changed in 1 of 20 pairs of captures: lens and mount are judged apart,
// each at half of that.
constexpr double Sure_Part = 0.975;

// A change below these moves no picture, however sure it is.
constexpr double Least_Drift_Mm = 0.5, Least_Drift_Deg = 0.05;
constexpr double Least_Drift_Px = 0.5;  // of the lens, at the corners of the frame

enum class Drift_Cause {
  // What the inputs say:
  Resolution,    // images of another size
  Sensor,        // another sensor was stated
  Board,         // a board with another number of corners
  Square_Typed,  // another length of a square was stated
  // What the solutions say:
  Square_Scale,    // the squares were another part of what was stated
  Axes_Redefined,  // the axes of the camera's tracker were labelled otherwise
  Mount_Turned,
  Mount_Shifted,
  Lens_Changed,    // focal length or distortion: refocused or zoomed
  Lens_Displaced,  // the principal point alone
  // The joint mounts are known too little to say, or nothing above explains what is beyond a bound:
  Unknown,
};

// What the user accepts: of the difference of the mounts and of the shift in the picture. Pixels
// are those of an image with 1080 lines.
struct Drift_Bounds {
  double Mm = 5.0, Deg = 0.3, Px_1080p = 8.0;
};

struct Mount_Drift {
  // Of the mounts that are the results: millimetres and degrees.
  Eigen::Vector3d Shift_Mm = Eigen::Vector3d::Zero();
  Eigen::Vector3d Turn_Deg = Eigen::Vector3d::Zero();
  // Of the joint mounts, where both results have one.
  std::optional<Vector6d> Joint_Motion;
  Mount_Uncertainty Uncertainty;  // of Joint_Motion
  // Of Joint_Motion, when the mount did not change; NaN without one.
  double Probability_Of_Less = 0;
  // Of the motion between the mounts that are the results, by the same uncertainty.
  double Result_Probability_Of_Less = 0;

  double Mm() const { return Shift_Mm.norm(); }
  double Deg() const { return Turn_Deg.norm(); }
};

struct Lens_Drift {
  Lens Then, Now;  // pixels of the later image size
  // Of the lenses that the joint solves used, with the half-widths at 95 % of their difference.
  std::optional<Vector6d> Joint_Difference;
  Vector6d Half_Width = Vector6d::Constant(Mount_Uncertainty::Open);
  double Probability_Of_Less = 0;
  // What the lens alone does to the picture: centre and corners of the frame.
  std::vector<Picture_Shift> Shifts;
};

struct Drift {
  std::optional<Lens_Drift> Of_Lens;  // none when a result has no lens
  Mount_Drift Of_Mount;
  double Talent_Distance = 0;  // metres, as stated for the later result
  // What lens and mount together do to a virtual object at that distance: centre and corners of the
  // frame, pixels of the later image size. NaN where no point is seen.
  std::vector<Picture_Shift> Shifts;
  double Image_Height = 0;  // of the later result, pixels

  // Between pictures and samples; none where a solve did not reckon with one.
  std::optional<Lag_Estimate> Lag_Then, Lag_Now;

  bool Is_Same_Capture = false;  // by the hashes of the CSV and all images
  bool Has_Uncertainty = false;  // of lens and mount in both results
  // The joint lenses and mounts, and the mounts that are the results, are inside the uncertainty;
  // every difference is within the bounds, and so are the joint mounts' half-widths. False without
  // an uncertainty.
  bool Is_Within_Uncertainty = false;
  std::vector<Drift_Cause> Causes;  // likeliest first; empty for nothing but noise
};

// Both results have a finite mount (Chosen_Transform_Cam_Tc).
Drift Compare_Results(const Calibration_Result& Now, const Calibration_Result& Then,
                      const Drift_Bounds& Bounds = {});

// Of the difference of the joint mounts, widest direction: 95 % half-widths beyond a bound. False
// without an uncertainty.
bool Is_Shift_Open(const Drift& Seen, const Drift_Bounds& Bounds);
bool Is_Turn_Open(const Drift& Seen, const Drift_Bounds& Bounds);

// NaN is beyond every bound. The picture counts where both results have a lens.
bool Is_Within_Bounds(const Drift& Seen, const Drift_Bounds& Bounds);

// The largest shift in the picture, pixels, as it would be in an image with 1080 lines. NaN when
// one is not known.
double Largest_Shift_1080p_Px(const Drift& Seen);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_DRIFT_H
