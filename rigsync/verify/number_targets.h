// SPDX-License-Identifier: Apache-2.0
//
// The four exports of numbers, read back as their engines read them: the order and signs of the
// angles, the hand of the axes, centimetres, and the fields that the position goes into, as
// docs/engines.md and docs/conventions.md describe them.
#ifndef RIGSYNC_VERIFY_NUMBER_TARGETS_H
#define RIGSYNC_VERIFY_NUMBER_TARGETS_H

#include "rigsync/formats/engine_fields.h"
#include "rigsync/verify/exported_camera.h"

namespace rigsync {

// The camera of the numbers in Export, which succeeded and is that of Result with a tracker object
// that has Axes. The bounds of rounding come from Result.
Exported_Camera Camera_Of_Numbers(const Engine& Target, const Engine_Export& Export,
                                  const Tracker_Axes& Axes, const Calibration_Result& Result);

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_NUMBER_TARGETS_H
