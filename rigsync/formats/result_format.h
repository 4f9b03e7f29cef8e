// SPDX-License-Identifier: Apache-2.0
//
// What tells a result.json from other files.
#ifndef RIGSYNC_FORMATS_RESULT_FORMAT_H
#define RIGSYNC_FORMATS_RESULT_FORMAT_H

namespace rigsync {

constexpr const char* Result_Format = "rigsync-result";
// Grows when a key changes its meaning, not when one is added.
constexpr int Result_Format_Version = 1;

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_RESULT_FORMAT_H
