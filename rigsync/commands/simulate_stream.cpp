// SPDX-License-Identifier: Apache-2.0
#include "rigsync/commands/simulate_stream.h"

#include "rigsync/command_line/arguments.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/progress_output.h"
#include "rigsync/system/udp_sender.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

namespace rigsync {
namespace {

constexpr std::uint16_t Usual_Freed_Port = 6301;
constexpr std::uint16_t Multicast_Port = 55555;  // of OpenTrackIO

// 127.0.0.1:6301
Stream_Target Parse_Target(const std::string& Flag, const std::string& Text) {
  const std::string Expected = "an IPv4 address and a port, for example 127.0.0.1:6301";
  const std::size_t Colon = Text.find(':');
  if (Colon == std::string::npos) Refuse(Flag, Text, Expected);
  const std::optional<Ipv4_Address> Address = Read_Ipv4(Text.substr(0, Colon));
  if (!Address) Refuse(Flag, Text, Expected);
  return {*Address,
          static_cast<std::uint16_t>(Parse_Whole(Flag, Text.substr(Colon + 1), 1, 65535))};
}

// lost=100,doubled=50: every so many packets.
simulate::Network_Trouble Parse_Trouble(const std::string& Flag, const std::string& Text) {
  simulate::Network_Trouble Trouble;
  const std::array<std::pair<std::string, std::size_t simulate::Network_Trouble::*>, 4> Kinds = {
      {{"lost", &simulate::Network_Trouble::Lost_Every},
       {"doubled", &simulate::Network_Trouble::Doubled_Every},
       {"swapped", &simulate::Network_Trouble::Swapped_Every},
       {"spoiled", &simulate::Network_Trouble::Spoiled_Every}}};
  for (std::size_t Start = 0; Start <= Text.size();) {
    const std::size_t End = std::min(Text.find(',', Start), Text.size());
    const std::string Part = Text.substr(Start, End - Start);
    const std::size_t Sign = std::min(Part.find('='), Part.size());
    bool Is_Known = false;
    for (const auto& [Name, Member] : Kinds) {
      if (Part.substr(0, Sign) != Name || Sign == Part.size()) continue;
      constexpr long Most = 1'000'000;
      Trouble.*Member = static_cast<std::size_t>(Parse_Whole(Flag, Part.substr(Sign + 1), 2, Most));
      Is_Known = true;
    }
    if (!Is_Known) {
      Refuse(Flag, Text, "lost, doubled, swapped or spoiled with a number, for example lost=100");
    }
    Start = End + 1;
  }
  return Trouble;
}

Stream_Target Target_Of(const Stream_Plan& Plan, int Body) {
  if (Plan.To) return *Plan.To;
  return {{239, 135, 1, static_cast<std::uint8_t>(Body)}, Multicast_Port};
}

std::string Target_Text(const Stream_Plan& Plan) {
  const Stream_Target First = Target_Of(Plan, 1);
  const std::string Text = fmt::format("{}:{}", Ipv4_Text(First.Address), First.Port);
  return Plan.To ? Text : fmt::format("{} and {}", Text, Ipv4_Text(Target_Of(Plan, 2).Address));
}

}  // namespace

void Add_Stream_Flags(Command_Line& Line, CLI::App& Command, Stream_Arguments& Arguments) {
  constexpr const char* Group = "Stream";
  CLI::Option* const Form =
      Require_Choice(Line,
                     Command.add_option("--stream", Arguments.Form,
                                        "send the take as a tracking system does, over UDP: freed, "
                                        "opentrackio, opentrackio-cbor"),
                     {"freed", "opentrackio", "opentrackio-cbor"})
          ->type_name("FORM")
          ->group(Group);
  const auto Add = [&](const char* Flag, std::string& Value, const char* Type, const char* Help) {
    Command.add_option(Flag, Value, Help)->type_name(Type)->needs(Form)->group(Group);
  };
  Add("--stream-to", Arguments.To, "ADDRESS:PORT",
      "where to (default: 127.0.0.1:6301 for freed, the multicast groups of sources 1 and 2 for "
      "opentrackio)");
  Add("--stream-speed", Arguments.Speed, "X", "how many times as fast as it happened (default: 1)");
  Add("--stream-trouble", Arguments.Trouble, "KIND=N,...",
      "every N-th packet is lost, doubled, swapped with the next one or spoiled: lost=100,"
      "doubled=50");
}

Stream_Plan Read_Stream_Plan(const Stream_Arguments& Arguments) {
  Stream_Plan Plan;
  if (Arguments.Form != "freed") Plan.Settings.Form = simulate::Stream_Form::Opentrackio;
  if (Arguments.Form == "opentrackio-cbor") {
    Plan.Settings.Opentrackio.Form = simulate::Payload_Form::Cbor;
  }
  if (Arguments.Form == "freed") Plan.To = Stream_Target{{127, 0, 0, 1}, Usual_Freed_Port};
  if (!Arguments.To.empty()) Plan.To = Parse_Target("--stream-to", Arguments.To);
  if (!Arguments.Speed.empty()) {
    Plan.Speed = Parse_Number("--stream-speed", Arguments.Speed);
    if (!(Plan.Speed > 0.0)) Refuse("--stream-speed", Arguments.Speed, "a number above 0");
  }
  if (!Arguments.Trouble.empty()) {
    Plan.Settings.Trouble = Parse_Trouble("--stream-trouble", Arguments.Trouble);
  }
  return Plan;
}

void Send_Stream(const Stream_Plan& Plan, const simulate::Plan& Capture, bool Is_Quiet) {
  using Clock = std::chrono::steady_clock;
  const std::vector<simulate::Datagram> Packets = simulate::Stream_Of(Capture, Plan.Settings);
  const double Whole = Packets.empty() ? 0.0 : Packets.back().Seconds / Plan.Speed;
  Progress_Output Shown(Kind_Of_Progress(Is_Quiet));
  Shown.Begin(fmt::format("sending {} packets to {} in {:.0f} s", Packets.size(), Target_Text(Plan),
                          Whole));
  const Stop_Request Stop;
  const Clock::time_point Start = Clock::now();
  std::size_t Sent = 0;
  try {
    Udp_Sender Sender;
    for (const simulate::Datagram& Packet : Packets) {
      const std::chrono::duration<double> Passed = Clock::now() - Start;
      const double Left = Packet.Seconds / Plan.Speed - Passed.count();
      if (!Stop.Wait(std::max(Left, 0.0))) break;
      const Stream_Target To = Target_Of(Plan, Packet.Body);
      Sender.Send(To.Address, To.Port, Packet.Bytes);
      ++Sent;
      Shown.Show(fmt::format("Sending: {:.0f} of {:.0f} s", Packet.Seconds / Plan.Speed, Whole));
    }
  } catch (const std::system_error& Error) {
    throw Usage_Error("--stream-to", fmt::format("--stream-to: can't send to {}: {}",
                                                 Target_Text(Plan), Error.code().message()));
  }
  fmt::print("Sent {} of {} packets to {}.\n", Sent, Packets.size(), Target_Text(Plan));
}

}  // namespace rigsync
