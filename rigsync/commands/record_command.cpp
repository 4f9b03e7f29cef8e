// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync record': writes what tracking systems send to a file, and says meanwhile what is seen.
#include "rigsync/command_line/arguments.h"
#include "rigsync/command_line/command.h"
#include "rigsync/command_line/exit_status.h"
#include "rigsync/record/live_state.h"
#include "rigsync/record/opentrackio_packet.h"
#include "rigsync/record/packet_log.h"
#include "rigsync/report/record_text.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/progress_output.h"
#include "rigsync/system/text.h"
#include "rigsync/system/udp_receiver.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Record_Footer =
    R"(Listens to tracking systems that send FreeD D1 or OpenTrackIO over UDP, and
writes every packet as it comes, with the time. Ctrl-C ends the recording. Two
bodies are told apart by camera ID, source number or port.

While it records, it says which bodies are seen, how often, and whether they
stand still: hold the rig until it asks for the picture, then take it.

--freed takes UDP ports. --opentrackio takes source numbers (1 to 200), whose
multicast groups are joined on port 55555, and ports (1024 and above): with
source numbers instead of 55555, alone for senders that send to this machine.

Exit status: 0 when a body was recorded, 1 when nothing came that can be used,
2 for wrong usage, a port that can't be used, or a file that can't be written.

Example:
  rigsync record -o take.rsr --freed 6301
  rigsync record -o take.rsr --freed 6301,6302
  rigsync record -o take.rsr --opentrackio 1,2 --interface 192.168.10.5)";

constexpr long Least_Port = 1024, Most_Port = 65535;

// The command line as typed, not parsed yet.
struct Record_Arguments {
  std::string Output, Freed, Opentrackio, Interface, Seconds, Packets;
  bool Is_Quiet = false;
};

// What a recording listens to and when it ends by itself.
struct Record_Plan {
  fs::path Output;
  std::vector<std::uint16_t> Freed_Ports, Opentrackio_Ports;
  std::vector<int> Sources;  // of OpenTrackIO
  Ipv4_Address Interface = Any_Address;
  std::optional<double> Seconds;
  std::optional<std::size_t> Packets;
  bool Is_Quiet = false;
};

// ---- Arguments ---------------------------------------------------------------------------------

// Whole numbers separated by commas, none twice.
std::vector<long> Parse_Numbers(const std::string& Flag, const std::string& Text) {
  std::vector<long> Numbers;
  for (std::size_t Start = 0; Start <= Text.size();) {
    const std::size_t End = std::min(Text.find(',', Start), Text.size());
    const long Number = Parse_Whole(Flag, Text.substr(Start, End - Start), 0, Most_Port);
    if (std::find(Numbers.begin(), Numbers.end(), Number) != Numbers.end()) {
      Refuse(Flag, Text, "each number once");
    }
    Numbers.push_back(Number);
    Start = End + 1;
  }
  return Numbers;
}

// Port 0 lets the system choose, for a test.
void Read_Freed(const std::string& Text, Record_Plan& Plan) {
  if (Text.empty()) return;
  for (const long Port : Parse_Numbers("--freed", Text)) {
    Plan.Freed_Ports.push_back(static_cast<std::uint16_t>(Port));
  }
}

void Read_Opentrackio(const std::string& Text, Record_Plan& Plan) {
  if (Text.empty()) return;
  for (const long Number : Parse_Numbers("--opentrackio", Text)) {
    if (Number >= 1 && Number <= Largest_Opentrackio_Source) {
      Plan.Sources.push_back(static_cast<int>(Number));
    } else if (Number == 0 || Number >= Least_Port) {
      Plan.Opentrackio_Ports.push_back(static_cast<std::uint16_t>(Number));
    } else {
      Refuse("--opentrackio", std::to_string(Number),
             fmt::format("a source number from 1 to {} or a port from {} to {}",
                         Largest_Opentrackio_Source, Least_Port, Most_Port));
    }
  }
  if (Plan.Opentrackio_Ports.empty()) Plan.Opentrackio_Ports = {Opentrackio_Port};
}

// A recording can't be taken again, so no file is replaced.
void Require_New_File(const fs::path& Output) {
  std::error_code Ignored;
  if (!fs::is_directory(fs::absolute(Output).parent_path(), Ignored)) {
    Refuse("--output", Output.string(), "a file in an existing folder");
  }
  if (!fs::exists(Output, Ignored)) return;
  throw Usage_Error("--output",
                    fmt::format("--output: {} exists already. Name another file, or remove it.",
                                Output.string()));
}

Record_Plan Read_Plan(const Record_Arguments& Arguments) {
  Record_Plan Plan;
  Plan.Output = Arguments.Output;
  Plan.Is_Quiet = Arguments.Is_Quiet;
  Read_Freed(Arguments.Freed, Plan);
  Read_Opentrackio(Arguments.Opentrackio, Plan);
  if (Plan.Freed_Ports.empty() && Plan.Opentrackio_Ports.empty()) {
    throw Usage_Error("--freed",
                      "--freed or --opentrackio is missing: what the tracking system sends, and "
                      "where to");
  }
  if (!Arguments.Interface.empty()) {
    const std::optional<Ipv4_Address> Address = Read_Ipv4(Arguments.Interface);
    if (!Address) {
      Refuse("--interface", Arguments.Interface,
             "the IPv4 address of a network card of this machine, for example 192.168.10.5");
    }
    Plan.Interface = *Address;
  }
  if (!Arguments.Seconds.empty()) {
    Plan.Seconds = Parse_Number("--seconds", Arguments.Seconds);
    if (!(*Plan.Seconds > 0)) Refuse("--seconds", Arguments.Seconds, "a number above 0");
  }
  if (!Arguments.Packets.empty()) {
    constexpr long Most = 1'000'000'000;
    Plan.Packets = static_cast<std::size_t>(Parse_Whole("--packets", Arguments.Packets, 1, Most));
  }
  Require_New_File(Plan.Output);
  return Plan;
}

// ---- The network -------------------------------------------------------------------------------

[[noreturn]] void Refuse_Port(const std::string& Flag, std::uint16_t Port,
                              const std::system_error& Error) {
  const bool Is_Taken = Error.code() == std::errc::address_in_use;
  const std::string Advice = Is_Taken
                                 ? "Another program listens there: end it, or let the tracking "
                                   "system send to another port as well."
                                 : "Is --interface an address of this machine?";
  throw Usage_Error(Flag, fmt::format("{}: port {} can't be used ({}). {}", Flag, Port,
                                      Error.code().message(), Advice));
}

[[noreturn]] void Refuse_Groups(std::uint16_t Port, const std::system_error& Error) {
  throw Usage_Error(
      "--opentrackio",
      fmt::format("--opentrackio: the multicast groups can't be joined on port {} ({}). Name the "
                  "network card that the tracking system is connected to: --interface and its "
                  "address.",
                  Port, Error.code().message()));
}

std::vector<Ipv4_Address> Groups_Of(const std::vector<int>& Sources) {
  std::vector<Ipv4_Address> Groups;
  for (const int Source : Sources) Groups.push_back(Opentrackio_Group(Source));
  return Groups;
}

std::uint16_t Listen(const std::string& Flag, std::uint16_t Port, const Record_Plan& Plan,
                     Udp_Receiver& Receiver) {
  try {
    return Receiver.Listen(Plan.Interface, Port);
  } catch (const std::system_error& Error) {
    Refuse_Port(Flag, Port, Error);
  }
}

std::uint16_t Join(std::uint16_t Port, const Record_Plan& Plan, Udp_Receiver& Receiver) {
  try {
    return Receiver.Join(Groups_Of(Plan.Sources), Port, Plan.Interface);
  } catch (const std::system_error& Error) {
    Refuse_Groups(Port, Error);
  }
}

std::string Ports_Text(const std::vector<std::uint16_t>& Ports) {
  return fmt::format("port{} {}", Ports.size() == 1 ? "" : "s", fmt::join(Ports, ", "));
}

// Returns what it listens to: "FreeD on port 6301".
std::string Open_Ports(const Record_Plan& Plan, Udp_Receiver& Receiver) {
  std::vector<std::string> Sources;
  std::vector<std::uint16_t> Ports;
  for (const std::uint16_t Port : Plan.Freed_Ports) {
    Ports.push_back(Listen("--freed", Port, Plan, Receiver));
  }
  if (!Ports.empty()) Sources.push_back("FreeD on " + Ports_Text(Ports));
  Ports.clear();
  for (const std::uint16_t Port : Plan.Opentrackio_Ports) {
    Ports.push_back(Plan.Sources.empty() ? Listen("--opentrackio", Port, Plan, Receiver)
                                         : Join(Port, Plan, Receiver));
  }
  std::string Groups;
  for (const Ipv4_Address& Group : Groups_Of(Plan.Sources)) Groups += Ipv4_Text(Group) + ", ";
  if (!Ports.empty()) Sources.push_back("OpenTrackIO on " + Groups + Ports_Text(Ports));
  return fmt::format("{}", fmt::join(Sources, " and "));
}

// ---- Recording ---------------------------------------------------------------------------------

std::int64_t Steady_Now_Ns() {
  using namespace std::chrono;
  return nanoseconds(steady_clock::now().time_since_epoch()).count();
}

std::int64_t Utc_Now_Ns() {
  using namespace std::chrono;
  return nanoseconds(system_clock::now().time_since_epoch()).count();
}

// What is said while the recording runs: a line that is kept up to date on a terminal, elsewhere a
// line for each hold and every ten seconds.
class Live_Output {
 public:
  Live_Output(bool Is_Quiet, std::string Listens_To)
      : Kind(Kind_Of_Progress(Is_Quiet)), Sources(std::move(Listens_To)), Output(Kind) {
    if (Kind == Progress_Kind::None) return;
    Print_Error(Folded("rigsync: listening for " + Sources + "; Ctrl-C ends the recording", 0));
  }

  void Show(const Live_View& View) {
    if (View.Bodies.size() != Bodies || View.Holds != Holds) Output.Begin(Live_Line(View));
    Bodies = View.Bodies.size();
    Holds = View.Holds;
    Output.Show(Live_Line(View));
    if (View.Seconds >= Warned_After_Seconds && View.Bodies.empty() && !Has_Warned) {
      Output.Clear();
      Warn(Silence_Text(View, Sources));
      Has_Warned = true;
    }
  }

 private:
  static constexpr double Warned_After_Seconds = 5.0;

  Progress_Kind Kind;
  std::string Sources;
  Progress_Output Output;
  std::size_t Bodies = 0, Holds = 0;
  bool Has_Warned = false;
};

bool Is_Finished(const Record_Plan& Plan, const Live_View& View) {
  return (Plan.Seconds && View.Seconds >= *Plan.Seconds) ||
         (Plan.Packets && View.Counts.Packets >= *Plan.Packets);
}

// Until the plan or a signal ends it. Throws std::runtime_error when the file can't be written any
// longer.
void Record_Packets(const Record_Plan& Plan, const Stop_Request& Stop, Udp_Receiver& Receiver,
                    Packet_Log_Writer& Log, Live_State& State, Live_Output& Output) {
  constexpr double Seconds_Between_Looks = 0.1;
  std::vector<Udp_Packet> Packets;
  std::size_t Count = 0;
  double Next_Look = 0;
  for (;;) {
    Receiver.Receive(Seconds_Between_Looks, Packets);
    if (Plan.Packets) Packets.resize(std::min(Packets.size(), *Plan.Packets - Count));
    Log.Append(Packets);
    for (const Udp_Packet& Packet : Packets) State.Feed(Packet);
    Count += Packets.size();
    const bool Is_Last = !Stop.Wait(0.0) || (Plan.Packets && Count >= *Plan.Packets);
    const std::int64_t Now_Ns = Steady_Now_Ns();
    if (Is_Last || State.Seconds_At(Now_Ns) >= Next_Look) {
      const Live_View View = State.Look(Now_Ns);
      Next_Look = View.Seconds + Seconds_Between_Looks;
      Output.Show(View);
      if (Is_Last || Is_Finished(Plan, View)) return;
    }
  }
}

Packet_Log_Writer Create_Log(const fs::path& Output) {
  try {
    return {Output, Utc_Now_Ns()};
  } catch (const std::runtime_error& Error) {
    throw Usage_Error("--output", fmt::format("--output: {}", Error.what()));
  }
}

int Record(const Record_Arguments& Arguments) {
  const Record_Plan Plan = Read_Plan(Arguments);
  Udp_Receiver Receiver;
  const std::string Sources = Open_Ports(Plan, Receiver);
  const Stop_Request Stop;
  std::optional<Packet_Log_Writer> Log = Create_Log(Plan.Output);
  Live_State State(Steady_Now_Ns());
  std::string Failure;
  try {
    Live_Output Output(Plan.Is_Quiet, Sources);
    Record_Packets(Plan, Stop, Receiver, *Log, State, Output);
  } catch (const std::runtime_error& Error) {
    Failure = Error.what();
  }
  const Live_View View = State.Look(Steady_Now_Ns());
  const std::uint64_t Size = Log->Size();
  Log.reset();  // an open file is not removed everywhere
  if (View.Counts.Packets == 0 && Failure.empty()) {
    std::error_code Ignored;
    fs::remove(Plan.Output, Ignored);
    Complain(Silence_Text(View, Sources) + " There is no recording.");
    return Exit_Warnings;
  }
  Print(Recorded_Text(View, Plan.Output, Size));
  if (!Failure.empty()) {
    throw Usage_Error("--output",
                      fmt::format("--output: the recording ended: {}. What was recorded before is "
                                  "kept.",
                                  Failure));
  }
  return View.Bodies.empty() ? Exit_Warnings : Exit_Success;
}

}  // namespace

void Add_Record_Command(Command_Line& Line) {
  CLI::App* Command =
      Line.Program.add_subcommand("record", "Record what tracking systems send over the network.");
  const auto Arguments = std::make_shared<Record_Arguments>();
  Command->add_option("-o,--output", Arguments->Output, "file to write")
      ->required()
      ->type_name("FILE");
  Command->add_option("--freed", Arguments->Freed, "UDP ports that FreeD D1 is sent to")
      ->type_name("PORT,...");
  Command
      ->add_option("--opentrackio", Arguments->Opentrackio,
                   "source numbers of OpenTrackIO, or the ports that it is sent to")
      ->type_name("SOURCE|PORT,...");
  Command
      ->add_option("--interface", Arguments->Interface,
                   "address of the network card to listen at (default: all; multicast: the "
                   "system's choice)")
      ->type_name("ADDRESS");
  Command->add_option("--seconds", Arguments->Seconds, "end after this time")->type_name("N");
  Command->add_option("--packets", Arguments->Packets, "end after this many packets")
      ->type_name("N");
  Command->add_flag("--quiet", Arguments->Is_Quiet, "say nothing while it records");
  Command->group("Commands");
  Command->footer(Record_Footer);
  Command->callback(
      [&Line, Arguments] { Line.Action = [Arguments] { return Record(*Arguments); }; });
}

}  // namespace rigsync
