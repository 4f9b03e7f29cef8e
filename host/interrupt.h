// SPDX-License-Identifier: Apache-2.0
//
// What a person sees who ends the command with Ctrl-C, or whose terminal is closed.
#ifndef RIGSYNC_HOST_INTERRUPT_H
#define RIGSYNC_HOST_INTERRUPT_H

#include <string>

namespace host {

// While one of these lives, SIGINT, SIGTERM and SIGHUP write Text to what standard error was when
// it was made, and then end the process as they would have without it. A signal that is ignored (as
// nohup does with SIGHUP) stays ignored. There is one at a time.
class Interrupt_Text {
 public:
  explicit Interrupt_Text(const std::string& Text);
  ~Interrupt_Text();
  Interrupt_Text(const Interrupt_Text&) = delete;
  Interrupt_Text& operator=(const Interrupt_Text&) = delete;
};

}  // namespace host

#endif  // RIGSYNC_HOST_INTERRUPT_H
