// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as a recording, and any packets within one: refused with a message that names the
// argument, or read as a take whose times ascend and whose poses are finite. What is kept of
// unfinished samples is bounded. Any text as an axis map: refused by name, or a map that reads its
// own text back.
//
// Input: a first byte. 0: the rest is the file. 1: the rest is the text of an axis map. Otherwise
// packets: a byte for what is done with the packet, two for its length, one for the time since the
// last packet, and the packet.
#include "rigsync/record/packet_log.h"
#include "rigsync/record/recording.h"
#include "rigsync/record/stream_decoder.h"
#include "rigsync/system/usage_error.h"

#include "tests/fuzz/fuzz_support.h"

#include <map>

namespace {

using rigsync::Udp_Packet;

void Check_Take(const rigsync::Take& Take) {
  Promise(!Take.Bodies.empty(), "a take has a body");
  std::map<std::string, int> Names;
  for (const rigsync::Body_Track& Body : Take.Bodies) {
    Promise(++Names[Body.Name] == 1, "each body has a name of its own");
    Promise(!Body.Samples.empty(), "a body has a sample");
    for (std::size_t i = 0; i < Body.Samples.size(); ++i) {
      const rigsync::Timed_Sample& Sample = Body.Samples[i];
      Promise(std::isfinite(Sample.Seconds), "a time is finite");
      Promise(i == 0 || Body.Samples[i - 1].Seconds < Sample.Seconds, "times ascend");
      double Length = 0;
      for (const double Number : Sample.Sample.Quaternion) Length += Number * Number;
      Promise(std::abs(Length - 1) < 1e-9, "a quaternion has the length 1");
      for (const double Number : Sample.Sample.Position) {
        Promise(std::isfinite(Number), "a position is finite");
      }
    }
  }
  if (Take.Timecode_Start) {
    Promise(*Take.Timecode_Start >= 0 && *Take.Timecode_Start <= 86400, "a timecode is of a day");
  }
}

void Read_File(const std::filesystem::path& File, bool Ignores_Checksums) {
  rigsync::Recording_Options Options;
  Options.Ignores_Checksums = Ignores_Checksums;
  Options.Axes = rigsync::Parse_Axis_Maps("--axes", "pan=-roll,roll=pan,x=y,y=-x");
  try {
    Check_Take(rigsync::Read_Recording(File, Options));
  } catch (const rigsync::Usage_Error& Refusal) {
    Promise(std::string(Refusal.what()).rfind("TAKE: " + File.string() + ": ", 0) == 0,
            "a refusal names argument and file");
  }
}

void Check_Axes(const std::string& Text) {
  try {
    for (const auto& [Body, Map] : rigsync::Parse_Axis_Maps("--axes", Text)) {
      const std::string Own = rigsync::Axis_Map_Text(Map);
      Promise(Own.empty() || rigsync::Parse_Axis_Maps("--axes", Own).at("") == Map,
              "a map reads its own text back");
    }
  } catch (const rigsync::Usage_Error& Refusal) {
    Promise(std::string(Refusal.what()).rfind("--axes: ", 0) == 0, "a refusal names the flag");
  }
}

// The bytes that have to be right for anything to be read after them.
void Mend_Checksum(std::string& Packet) {
  if (Packet.size() == rigsync::Freed_Size) {
    unsigned Left = 0x40;
    for (std::size_t i = 0; i + 1 < Packet.size(); ++i)
      Left -= static_cast<unsigned char>(Packet[i]);
    Packet.back() = static_cast<char>(Left);
  }
  const auto Segment = rigsync::Read_Opentrackio_Segment(Packet);
  if (!Segment) return;
  const unsigned Sum = rigsync::Opentrackio_Checksum(Packet, Segment->Payload.size());
  Packet[14] = static_cast<char>(Sum >> 8U);
  Packet[15] = static_cast<char>(Sum);
}

std::vector<Udp_Packet> Take_Packets(std::string Input) {
  std::vector<Udp_Packet> Packets;
  std::int64_t Steady_Ns = 0;
  while (Input.size() > 4) {
    const auto Byte = [&](std::size_t i) { return static_cast<unsigned char>(Input[i]); };
    const unsigned Kind = Byte(0);
    Steady_Ns += 1'000'000 * static_cast<std::int64_t>(Byte(3));
    Udp_Packet Packet;
    Packet.Steady_Ns = Steady_Ns;
    Packet.Local_Port = static_cast<std::uint16_t>(Kind >> 6U);
    Packet.Bytes = Input.substr(4, Byte(1) + 256U * Byte(2));
    Input.erase(0, 4 + Packet.Bytes.size());
    if ((Kind & 1U) != 0) Mend_Checksum(Packet.Bytes);
    Packets.push_back(Packet);
    if ((Kind & 2U) != 0) Packets.push_back(Packet);
    if ((Kind & 4U) != 0 && Packets.size() > 1)
      std::swap(Packets.end()[-1].Bytes, Packets.end()[-2].Bytes);
  }
  return Packets;
}

void Check_Decoder(const std::vector<Udp_Packet>& Packets) {
  rigsync::Stream_Decoder Decoder(/*Does_Ignore_Checksums=*/true);
  std::size_t Samples = 0;
  for (const Udp_Packet& Packet : Packets) {
    Decoder.Feed(Packet, [&](const rigsync::Stream_Sample& Sample) {
      ++Samples;
      Promise(Sample.Body < Decoder.Bodies().size(), "a sample is of a known body");
    });
  }
  Promise(Decoder.Counts().Packets == Packets.size(), "every packet is counted");
  Promise(Decoder.Bodies().size() <= rigsync::Stream_Decoder::Most_Bodies, "bodies are bounded");
  Promise(Samples >= Decoder.Bodies().size(), "a body has a sample");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size) {
  static const Fuzz_Folder Folder;
  Bytes Input(Data, Size);
  const auto Kind = Input.Take<std::uint8_t>();
  const std::string Rest = Input.Take_Rest();
  if (Kind == 1) {
    Check_Axes(Rest);
    return 0;
  }
  if (Kind == 0) {
    Read_File(Folder.Write("take.rsr", Rest), false);
    return 0;
  }
  const std::vector<Udp_Packet> Packets = Take_Packets(Rest);
  Check_Decoder(Packets);
  const std::filesystem::path File = Folder.Path() / "packets.rsr";
  rigsync::Packet_Log_Writer(File, 0).Append(Packets);
  rigsync::Packet_Log_Reader Log(File);
  std::vector<Udp_Packet> Read;
  for (Udp_Packet Packet; Log.Next(Packet);) Read.push_back(Packet);
  Promise(Read == Packets && Log.Damage().empty(), "what is written is read back");
  Read_File(File, Kind % 2 == 0);
  return 0;
}
