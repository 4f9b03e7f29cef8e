// SPDX-License-Identifier: Apache-2.0
//
// The hashes of a capture's files.
#ifndef RIGSYNC_CALIBRATE_INPUT_HASHES_H
#define RIGSYNC_CALIBRATE_INPUT_HASHES_H

#include "rigsync/calibrate/calibration_result.h"

namespace rigsync {

// Of Csv and of each of Images, whose relative paths begin at Image_Root.
Input_Hashes Hash_Inputs(const Calibration_Inputs& Inputs,
                         const std::vector<Capture_Image>& Images);

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_INPUT_HASHES_H
