// SPDX-License-Identifier: Apache-2.0
//
// The JSON that 'rigsync compare --json' prints about two results. docs/drift.md describes the
// format.
#ifndef RIGSYNC_FORMATS_DRIFT_FILE_H
#define RIGSYNC_FORMATS_DRIFT_FILE_H

#include "rigsync/calibrate/drift.h"

#include <string>
#include <vector>

namespace rigsync {

// "mount_turned" and so on: the name of the cause, with small letters. Programs rely on it.
const char* Cause_Name(Drift_Cause Cause);

// Texts has the sentence of each of Seen.Causes.
std::string Drift_Json(const Drift& Seen, const std::vector<std::string>& Texts,
                       bool Is_Within_Bounds);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_DRIFT_FILE_H
