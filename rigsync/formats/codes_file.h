// SPDX-License-Identifier: Apache-2.0
//
// The output of 'rigsync codes --json'; docs/codes.schema.json is its schema.
#ifndef RIGSYNC_FORMATS_CODES_FILE_H
#define RIGSYNC_FORMATS_CODES_FILE_H

#include "rigsync/calibrate/codes.h"

#include <string>

namespace rigsync {

// One code as an object.
std::string Code_Json(const Code_Advice& Advice);

// All codes as a list in ascending order.
std::string All_Codes_Json();

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_CODES_FILE_H
