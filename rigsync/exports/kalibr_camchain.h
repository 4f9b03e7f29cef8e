// SPDX-License-Identifier: Apache-2.0
//
// Lens and mount as a camchain of Kalibr, which many programs of robotics read.
#ifndef RIGSYNC_EXPORTS_KALIBR_CAMCHAIN_H
#define RIGSYNC_EXPORTS_KALIBR_CAMCHAIN_H

#include "rigsync/exports/file_target.h"

namespace rigsync {

// YAML with one camera, cam0: pinhole with radtan. The tracked body, along its own axes, stands
// where the format has an IMU: T_cam_imu takes its coordinates to those of Cam, metres.
File_Text Write_Kalibr(const File_Request& Request);

}  // namespace rigsync

#endif  // RIGSYNC_EXPORTS_KALIBR_CAMCHAIN_H
