// SPDX-License-Identifier: Apache-2.0
//
// A pose of the board in words that a person can follow. Right and left, up and down are those of
// the picture.
#ifndef RIGSYNC_REPORT_POSE_TEXT_H
#define RIGSYNC_REPORT_POSE_TEXT_H

#include "rigsync/solve/held_pose.h"

#include <string>

namespace rigsync {

// "roll the board a quarter turn to the right, near, upper left, left edge 40 degrees towards the
// camera". The roll is from the last image; in the first the board is held upright.
std::string Pose_Text(const Pose_Parts& Parts, bool Is_First);

}  // namespace rigsync

#endif  // RIGSYNC_REPORT_POSE_TEXT_H
