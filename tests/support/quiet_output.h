// SPDX-License-Identifier: Apache-2.0
//
// The library copies every log line to standard output. Tests that call it capture that text, so
// that they can check it and the test report stays readable.
#ifndef RIGSYNC_TESTS_SUPPORT_QUIET_OUTPUT_H
#define RIGSYNC_TESTS_SUPPORT_QUIET_OUTPUT_H

#include <iostream>
#include <sstream>
#include <string>

class Quiet_Output {
 public:
  Quiet_Output() : Before(std::cout.rdbuf(Text.rdbuf())) {}
  ~Quiet_Output() { std::cout.rdbuf(Before); }
  Quiet_Output(const Quiet_Output&) = delete;
  Quiet_Output& operator=(const Quiet_Output&) = delete;

  std::string Captured() const { return Text.str(); }

 private:
  std::ostringstream Text;
  std::streambuf* Before;
};

#endif  // RIGSYNC_TESTS_SUPPORT_QUIET_OUTPUT_H
