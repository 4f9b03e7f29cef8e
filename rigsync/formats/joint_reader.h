// SPDX-License-Identifier: Apache-2.0
//
// The second opinion read back from result.json: what joint_json.h writes.
#ifndef RIGSYNC_FORMATS_JOINT_READER_H
#define RIGSYNC_FORMATS_JOINT_READER_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/formats/json_fields.h"

namespace rigsync {

// Root is the whole file. Result has its inputs, mounts and images, by whose lines the rows are
// found, and gets Solved, Opinion and Cause. What the file does not tell of a solution is as in one
// that was never solved.
void Read_Second_Opinion(const Json_Fields& Root, Calibration_Result& Result);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_JOINT_READER_H
