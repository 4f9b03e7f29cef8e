// SPDX-License-Identifier: Apache-2.0
//
// Several results of one zoom lens, calibrated one after the other without touching the tracker on
// the camera. A lens that zooms or focuses moves its point of view along the optical axis and
// nowhere else, so all mounts have one rotation and differ along z of Cam only. If they differ
// otherwise, the tracker was moved in between, or the results are not of one lens.
#ifndef RIGSYNC_CALIBRATE_LENS_TABLE_H
#define RIGSYNC_CALIBRATE_LENS_TABLE_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/calibrate/drift.h"
#include "rigsync/calibrate/lens_position.h"
#include "rigsync/capture/lens.h"

#include <cstddef>
#include <filesystem>
#include <limits>
#include <vector>

namespace rigsync {

// A table of a tracker that was not moved is called inconsistent in at most this part of cases.
constexpr double False_Table_Part = 0.05;

// Refers to the result, which has to live longer. It has a lens and a finite mount.
struct Lens_Table_Input {
  std::filesystem::path File;  // to name it by
  const Calibration_Result* Result = nullptr;
  Lens_Position At;
};

enum class Mount_Agreement {
  Agrees,         // along the optical axis only, as far as anyone can tell
  Other_Axes,     // the axes of the tracker were labelled otherwise
  Unlikely,       // it differs otherwise, by more than the uncertainties explain
  Beyond_Limits,  // it differs otherwise by more than the limits, which uncertainty may explain
};

struct Lens_Table_Row {
  Lens_Table_Input Of;
  Lens Lens_Px;
  double Focal_Length_Mm = std::numeric_limits<double>::quiet_NaN();  // NaN without a sensor
  // From the reference row's mount to this one's. The camera's own way is the reverse of the shift:
  // the tracker is seen farther back when the camera's point of view has gone ahead.
  Mount_Drift From_Reference;
  // The part of all pairs of captures of an unmoved tracker whose joint mounts differ by less,
  // apart from their distance along the optical axis. NaN without an uncertainty.
  double Probability_Of_Less = std::numeric_limits<double>::quiet_NaN();
  // The same of the mounts that are the results, by the uncertainty of the joint ones.
  double Result_Probability_Of_Less = std::numeric_limits<double>::quiet_NaN();
  Mount_Agreement Agreement = Mount_Agreement::Agrees;
};

struct Lens_Table {
  int Width = 0, Height = 0;         // pixels, of all results
  std::vector<Lens_Table_Row> Rows;  // by focus, then by zoom
  std::size_t Reference = 0;         // the first of the rows that most others agree with
  Accuracy_Limits Limits;            // of the rotation, and of the shift across the optical axis
  double Sure_Part = 1.0;            // Probability_Of_Less above it is unlikely
};

// How far the camera's point of view is from that of the reference row: right, down and ahead as
// the camera looks, millimetres.
Eigen::Vector3d Camera_Way_Mm(const Lens_Table_Row& Row);

// Across the optical axis, millimetres.
double Lateral_Mm(const Lens_Table_Row& Row);

// At least two inputs, whose images have one size, no two at the same focus and zoom.
// Sensor_Width_Mm is NaN where nobody knows it. Throws Usage_Error, which begins with the input's
// file, for a lens that Lens_Of_Result refuses.
Lens_Table Make_Lens_Table(const std::vector<Lens_Table_Input>& Inputs, double Sensor_Width_Mm,
                           const Accuracy_Limits& Limits);

bool Agrees(const Lens_Table& Table);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_LENS_TABLE_H
