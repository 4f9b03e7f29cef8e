// SPDX-License-Identifier: Apache-2.0
//
// The sender of 'rigsync simulate --stream': the samples of a simulated capture as a tracking
// system sends them, in the time that the capture takes.
#ifndef RIGSYNC_COMMANDS_SIMULATE_STREAM_H
#define RIGSYNC_COMMANDS_SIMULATE_STREAM_H

#include "rigsync/command_line/command.h"
#include "rigsync/system/ipv4.h"
#include "simulate/stream.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace rigsync {

// The flags of the sender as typed.
struct Stream_Arguments {
  std::string Form, To, Speed, Trouble;  // without a form nothing is sent
};

// Adds --stream and the flags that need it. Arguments has to outlive the parsing of the command
// line.
void Add_Stream_Flags(Command_Line& Line, CLI::App& Command, Stream_Arguments& Arguments);

struct Stream_Target {
  Ipv4_Address Address{};
  std::uint16_t Port = 0;
};

// What is sent, where to and how fast.
struct Stream_Plan {
  simulate::Stream_Settings Settings;
  std::optional<Stream_Target> To;  // none: OpenTrackIO's multicast groups
  double Speed = 1.0;               // seconds of the capture in a second
};

// Throws Usage_Error for values that can't be.
Stream_Plan Read_Stream_Plan(const Stream_Arguments& Arguments);

// Sends the stream until it ends, or until Ctrl-C, and prints what was sent. Throws Usage_Error
// when the system refuses to send.
void Send_Stream(const Stream_Plan& Plan, const simulate::Plan& Capture, bool Is_Quiet);

}  // namespace rigsync

#endif  // RIGSYNC_COMMANDS_SIMULATE_STREAM_H
