// SPDX-License-Identifier: Apache-2.0
//
// What 'rigsync inspect --json' prints. docs/inspect.md describes the format,
// docs/inspection.schema.json holds it to the letter.
#ifndef RIGSYNC_FORMATS_INSPECTION_FILE_H
#define RIGSYNC_FORMATS_INSPECTION_FILE_H

#include "rigsync/inspect/inspection.h"

#include <string>

namespace rigsync {

std::string Inspection_Json(const Inspection& Made);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_INSPECTION_FILE_H
