// SPDX-License-Identifier: Apache-2.0
//
// A proof of exports for people, as a table, and for programs, as JSON.
#ifndef RIGSYNC_VERIFY_VERIFICATION_TEXT_H
#define RIGSYNC_VERIFY_VERIFICATION_TEXT_H

#include "rigsync/verify/verification.h"

#include <filesystem>
#include <string>

namespace rigsync {

std::string Verification_Text(const Verification& Of, const std::filesystem::path& Result_File,
                              Solution_Choice Solution, bool In_Colour);

// One object; docs/verify.md lists its keys. A difference that is no number is null.
std::string Verification_Json(const Verification& Of, const std::filesystem::path& Result_File,
                              Solution_Choice Solution);

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_VERIFICATION_TEXT_H
