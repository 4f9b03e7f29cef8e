// SPDX-License-Identifier: Apache-2.0
//
// The JSON that 'rigsync inspect --json' prints. docs/inspect.md describes the format,
// docs/inspection.schema.json defines it.
#ifndef RIGSYNC_FORMATS_INSPECTION_FILE_H
#define RIGSYNC_FORMATS_INSPECTION_FILE_H

#include "rigsync/inspect/inspection.h"

#include <string>

namespace rigsync {

std::string Inspection_Json(const Inspection& Result);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_INSPECTION_FILE_H
