// SPDX-License-Identifier: Apache-2.0
//
// Reads a file as a test compares it.
#ifndef RIGSYNC_TESTS_SUPPORT_READ_TEXT_H
#define RIGSYNC_TESTS_SUPPORT_READ_TEXT_H

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

// All bytes of a file. Throws std::runtime_error when it cannot be opened.
inline std::string Read_Text(const std::filesystem::path& File) {
  std::ifstream Stream(File, std::ios::binary);
  if (!Stream) throw std::runtime_error("could not read " + File.string());
  return {std::istreambuf_iterator<char>(Stream), std::istreambuf_iterator<char>()};
}

#endif  // RIGSYNC_TESTS_SUPPORT_READ_TEXT_H
