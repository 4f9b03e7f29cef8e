// SPDX-License-Identifier: Apache-2.0
//
// The exception for a mistake that the user has to correct: a flag, a value, a file.
#ifndef RIGSYNC_SYSTEM_USAGE_ERROR_H
#define RIGSYNC_SYSTEM_USAGE_ERROR_H

#include <stdexcept>
#include <string>
#include <utility>

namespace rigsync {

// Ends the command with status 2.
class Usage_Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;

  // Text is the whole message, which names the option too.
  Usage_Error(std::string Option_Name, const std::string& Text)
      : std::runtime_error(Text), Option(std::move(Option_Name)) {}

  // The option or argument that is wrong, as the user knows it: "--board", "CAPTURE", or a file and
  // its key. Empty where the error belongs to none.
  const std::string& Option_Name() const { return Option; }

 private:
  std::string Option;
};

// Throws a Usage_Error for that option: "OPTION: 'VALUE' is wrong; expected EXPECTED".
[[noreturn]] void Refuse(const std::string& Option_Name, const std::string& Value,
                         const std::string& Expected);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_USAGE_ERROR_H
