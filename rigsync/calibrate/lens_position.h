// SPDX-License-Identifier: Apache-2.0
//
// The focus and zoom at which a lens was calibrated.
#ifndef RIGSYNC_CALIBRATE_LENS_POSITION_H
#define RIGSYNC_CALIBRATE_LENS_POSITION_H

namespace rigsync {

// Where on its rings a lens was when it was calibrated, in the units of whoever reads the file.
struct Lens_Position {
  double Focus = 0, Zoom = 0;
};

}  // namespace rigsync

#endif  // RIGSYNC_CALIBRATE_LENS_POSITION_H
