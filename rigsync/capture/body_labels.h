// SPDX-License-Identifier: Apache-2.0
//
// What is known of a tracked body's own axes. They are labels that the tracking system chose, and
// only some streams say which.
#ifndef RIGSYNC_CAPTURE_BODY_LABELS_H
#define RIGSYNC_CAPTURE_BODY_LABELS_H

namespace rigsync {

enum class Body_Labels {
  Unknown,
  Right_Forward_Up,  // x right, y forward, z up as seen by the device: FreeD and OpenTrackIO
};

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_BODY_LABELS_H
