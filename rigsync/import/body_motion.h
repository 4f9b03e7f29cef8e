// SPDX-License-Identifier: Apache-2.0
//
// How a tracked body moves: the noise of its samples, its speed over time, and its pose and
// velocity over a stretch of time. Nearly all are medians, so that a few samples that jumped, as
// when the tracking system confuses two markers, change nothing.
#ifndef RIGSYNC_IMPORT_BODY_MOTION_H
#define RIGSYNC_IMPORT_BODY_MOTION_H

#include "rigsync/import/import_record.h"
#include "rigsync/take/take.h"

#include <Eigen/Geometry>

#include <optional>
#include <vector>

namespace rigsync {

// The noise of single samples, told from second differences, which motion hardly reaches: the
// lowest quarter of the stretches of a second. A tracker that smooths its samples shows less than
// it has. 0 where no second has enough samples.
Body_Noise Measure_Noise(const Body_Track& Body);

// The speed at one sample's time. NaN where samples are missing around it.
struct Speed_Sample {
  double Seconds = 0;
  double Linear = 0, Angular = 0;  // m/s, rad/s
};

// Over this time a speed is measured: from the median of its first half to that of its second.
constexpr double Speed_Window_Seconds = 0.3;

// One entry for each tracked sample.
std::vector<Speed_Sample> Measure_Speeds(const Body_Track& Body);

// Speeds above these are motion; below, they may be noise. Five times the deviation that Noise
// makes of the speed of a body at rest, and at least Least.
Speed_Limit Rest_Limit(const Body_Noise& Noise, double Sample_Interval, const Speed_Limit& Least);

// The tracked samples of [Begin, End] as one: median position and rotation, spread on each axis
// (1.4826 times the median of the deviations from it, root mean square of the axes), and the
// velocity from the medians of the first and the last third. The sign of the quaternion is that of
// a sample. Nothing with fewer than three samples.
std::optional<Body_Reading> Read_Stretch(const Body_Track& Body, double Begin_Seconds,
                                         double End_Seconds);

// The pose at one time, from the straight line of least squares through the samples of Fit_Seconds
// to either side (two intervals where that is more), with its velocity; the spread is that of the
// samples about the line. Nothing where there are fewer than two samples on a side.
constexpr double Fit_Seconds = 0.1;
std::optional<Body_Reading> Read_Instant(const Body_Track& Body, double Seconds);

// Body to Base.
Eigen::Quaterniond Rotation_Base_Body(const Tracker_Sample& Sample);

// The length of a velocity's two parts.
Speed_Limit Speed_Of(const Body_Velocity& Velocity);

// How far two readings are apart: metres, radians.
double Distance_Between(const Tracker_Sample& A, const Tracker_Sample& B);
double Angle_Between(const Tracker_Sample& A, const Tracker_Sample& B);

}  // namespace rigsync

#endif  // RIGSYNC_IMPORT_BODY_MOTION_H
