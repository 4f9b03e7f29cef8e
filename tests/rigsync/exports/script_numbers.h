// SPDX-License-Identifier: Apache-2.0
//
// The numbers of a script, read as another program would: what is between the two lines is JSON.
#ifndef RIGSYNC_TESTS_RIGSYNC_EXPORTS_SCRIPT_NUMBERS_H
#define RIGSYNC_TESTS_RIGSYNC_EXPORTS_SCRIPT_NUMBERS_H

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>

inline nlohmann::ordered_json Numbers_In(const std::string& Script) {
  const std::string Begin = "\n# ---- begin of the numbers (JSON)\n";
  const std::string End = "\n# ---- end of the numbers\n";
  const std::size_t First = Script.find(Begin), Last = Script.find(End);
  if (First == std::string::npos || Last == std::string::npos) {
    throw std::runtime_error("a script without the lines around its numbers");
  }
  const std::size_t At = First + Begin.size();
  return nlohmann::ordered_json::parse(Script.substr(At, Last - At));
}

#endif  // RIGSYNC_TESTS_RIGSYNC_EXPORTS_SCRIPT_NUMBERS_H
