// SPDX-License-Identifier: Apache-2.0
//
// The lens of a result in pixels, checked: a result.json that hands have changed may hold a lens
// that no run writes.
#ifndef RIGSYNC_CALIBRATE_RESULT_LENS_H
#define RIGSYNC_CALIBRATE_RESULT_LENS_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/capture/lens.h"

#include <filesystem>

namespace rigsync {

struct Result_Lens {
  int Width = 0, Height = 0;  // pixels, from 1 to a million
  Lens Px;                    // finite, with focal lengths above 0
};

// The library's lens. Throws Usage_Error, which begins with File and names the key of result.json,
// for an image size, focal length, principal point or coefficient that is missing or that no camera
// has.
Result_Lens Lens_Of_Result(const Calibration_Result& Result,
                           const std::filesystem::path& File = "result.json");

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_RESULT_LENS_H
