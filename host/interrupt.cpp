// SPDX-License-Identifier: Apache-2.0
#include "host/interrupt.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>

namespace host {
namespace {

constexpr std::array<int, 3> Signals = {SIGINT, SIGTERM, SIGHUP};

// What the handler reads: set while no handler is in place.
std::string Last_Words;
int Kept_Error = -1;
std::array<struct sigaction, Signals.size()> Before;

// Calls nothing but what is safe inside a handler.
void Say_And_End(int Signal) {
  if (write(Kept_Error, Last_Words.data(), Last_Words.size()) < 0) {
    // Nobody is there to read it.
  }
  // The handler was taken off when it was entered (SA_RESETHAND): the signal now ends the process,
  // and the shell sees by which one.
  raise(Signal);
}

}  // namespace

Interrupt_Text::Interrupt_Text(const std::string& Text) {
  Last_Words = Text;
  Kept_Error = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
  struct sigaction Action = {};
  Action.sa_handler = Say_And_End;
  Action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
  sigemptyset(&Action.sa_mask);
  for (std::size_t i = 0; i < Signals.size(); ++i) {
    sigaction(Signals[i], nullptr, &Before[i]);
    if (Before[i].sa_handler != SIG_IGN) sigaction(Signals[i], &Action, nullptr);
  }
}

Interrupt_Text::~Interrupt_Text() {
  for (std::size_t i = 0; i < Signals.size(); ++i) sigaction(Signals[i], &Before[i], nullptr);
  if (Kept_Error >= 0) close(Kept_Error);
  Kept_Error = -1;
}

}  // namespace host
