// SPDX-License-Identifier: Apache-2.0
//
// The exception for what the person at the keyboard has to put right: a flag, a value, a file.
#ifndef RIGSYNC_SYSTEM_USAGE_ERROR_H
#define RIGSYNC_SYSTEM_USAGE_ERROR_H

#include <stdexcept>
#include <string>

namespace rigsync {

// Something that the person at the keyboard has to put right. Ends the command with status 2.
class Usage_Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// "FLAG: VALUE is wrong; expected EXPECTED", with the value quoted.
[[noreturn]] void Refuse(const std::string& Flag, const std::string& Value,
                         const std::string& Expected);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_USAGE_ERROR_H
