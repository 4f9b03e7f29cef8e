// SPDX-License-Identifier: Apache-2.0
//
// A sample of OpenTrackIO 1.0.1 with the solved lens and mount: what a tracking system that sends
// this format would say of the camera at one moment.
#ifndef RIGSYNC_EXPORTS_OPENTRACKIO_SAMPLE_H
#define RIGSYNC_EXPORTS_OPENTRACKIO_SAMPLE_H

#include "rigsync/exports/file_target.h"

#include <Eigen/Core>

#include <array>

namespace rigsync {

// JSON, as docs/files.md describes it:
//
//   transforms[0]  the tracker in the scene, from the first row of the capture that the result
//                  rests on; identity without the capture, with a warning
//   transforms[1]  the camera below the tracker: x right, y forward, z up, metres and degrees
//
// sampleId and sourceId follow from what the sample says, so the same result gives the same file.
// Throws Usage_Error without a sensor size.
File_Text Write_Opentrackio(const File_Request& Request);

// Pan, tilt and roll in degrees of a rotation, which is Rz(pan) Rx(tilt) Ry(roll), each
// right-handed; tilt is from -90 to 90. At these two pan and roll turn about the same axis: then
// pan is the whole turn and roll is 0.
std::array<double, 3> Pan_Tilt_Roll_Of(const Eigen::Matrix3d& Rotation);

}  // namespace rigsync

#endif  // RIGSYNC_EXPORTS_OPENTRACKIO_SAMPLE_H
