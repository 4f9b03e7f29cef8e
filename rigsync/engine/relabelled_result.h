// SPDX-License-Identifier: Apache-2.0
//
// A result whose tracker has other axes, so that a call with one fixed labelling gives the numbers
// of another.
#ifndef RIGSYNC_ENGINE_RELABELLED_RESULT_H
#define RIGSYNC_ENGINE_RELABELLED_RESULT_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/engine/tracker_axes.h"

namespace rigsync {

// Result with mounts for which a call whose tracker object has the axes Call gives the numbers of
// an object with the axes Asked. Both have the same handedness, so the axes of Tc are turned by
// quarter turns and no number of a mount changes but in place and sign:
//
//   Call * Rotation_Body_Tc * inverse(T') = Asked * Rotation_Body_Tc * inverse(T)
//
// with T and T' each mount before and after. Equal axes leave every bit as it is.
Calibration_Result With_Tracker_Axes(Calibration_Result Result, const Tracker_Axes& Call,
                                     const Tracker_Axes& Asked);

}  // namespace rigsync

#endif  // RIGSYNC_ENGINE_RELABELLED_RESULT_H
