// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/record_text.h"

#include "rigsync/system/platform.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cstddef>
#include <vector>

namespace rigsync {
namespace {

std::string Counted(std::size_t Count, const std::string& Name) {
  return fmt::format("{} {}{}", Count, Name, Count == 1 ? "" : "s");
}

std::string Clock_Text(double Seconds) {
  const auto Whole = static_cast<unsigned long>(std::max(Seconds, 0.0));
  return fmt::format("{}:{:02}", Whole / 60, Whole % 60);
}

const char* State_Word(const Live_Body& Body) {
  if (Body.Is_Silent) return "silent";
  if (!Body.Is_Tracked) return "lost";
  switch (Body.State) {
    case Motion::Still:
      return "still";
    case Motion::Moving:
      return "moving";
    default:
      return "seen";
  }
}

std::string Body_Text(const Live_Body& Body) {
  if (Body.Is_Silent) return Body.Name + " silent";
  return fmt::format("{} {} {:.0f} Hz", Body.Name, State_Word(Body), Body.Rate_Hz);
}

std::size_t Gaps_Of(const Live_View& View) {
  std::size_t Gaps = 0;
  for (const Live_Body& Body : View.Bodies) Gaps += Body.Gaps;
  return Gaps;
}

// What is wrong with the packets so far, an entry for each kind that there is.
std::vector<std::string> Troubles(const Stream_Counts& Counts) {
  std::vector<std::string> Texts;
  if (Counts.Bad_Checksums > 0) Texts.push_back(Counted(Counts.Bad_Checksums, "wrong checksum"));
  if (Counts.Unknown > 0) Texts.push_back(Counted(Counts.Unknown, "unknown packet"));
  if (Counts.Unreadable > 0) Texts.push_back(Counted(Counts.Unreadable, "unreadable sample"));
  if (Counts.Unfinished > 0) Texts.push_back(Counted(Counts.Unfinished, "unfinished packet"));
  if (Counts.Doubled > 0) Texts.push_back(Counted(Counts.Doubled, "doubled packet"));
  return Texts;
}

std::string Size_Text(std::uint64_t Bytes) {
  constexpr double Kilo = 1e3, Mega = 1e6;
  const auto Value = static_cast<double>(Bytes);
  return Value < Mega ? fmt::format("{:.0f} kB", Value / Kilo)
                      : fmt::format("{:.1f} MB", Value / Mega);
}

std::string Gaps_Text(const Live_Body& Body) {
  if (Body.Gaps == 0) return "no gaps";
  return fmt::format("{}, the longest {:.2f} s", Counted(Body.Gaps, "gap"),
                     Body.Longest_Gap_Seconds);
}

std::string Body_Rows(const std::vector<Live_Body>& Bodies) {
  std::size_t Width = 0;
  for (const Live_Body& Body : Bodies) Width = std::max(Width, Body.Name.size());
  std::string Rows;
  for (const Live_Body& Body : Bodies) {
    Rows += fmt::format("  {:{}}  {}, {:.1f} Hz, {}\n", Body.Name, Width,
                        Counted(Body.Samples, "sample"), Body.Mean_Rate_Hz, Gaps_Text(Body));
  }
  return Rows;
}

// Which body is on the camera is not known: the first is put there.
std::string Next_Command(const Live_View& View, const std::filesystem::path& File) {
  const std::string Board =
      View.Bodies.size() > 1 ? " --board " + View.Bodies[1].Name : std::string();
  return fmt::format("  rigsync import {} --camera {}{}{}--images photographs -o capture.csv\n",
                     Shell_Word(File.string()), View.Bodies[0].Name, Board, Line_Continuation(4));
}

}  // namespace

std::string Live_Line(const Live_View& View) {
  std::string Line = Clock_Text(View.Seconds) + "  ";
  if (View.Is_Picture_Time) Line += fmt::format("take the picture now (hold {})  ", View.Holds);
  std::vector<std::string> Parts;
  for (const Live_Body& Body : View.Bodies) Parts.push_back(Body_Text(Body));
  if (Parts.empty()) Parts.emplace_back("nothing received yet");
  if (const std::size_t Gaps = Gaps_Of(View); Gaps > 0) Parts.push_back(Counted(Gaps, "gap"));
  for (const std::string& Text : Troubles(View.Counts)) Parts.push_back(Text);
  return Line + fmt::format("{}", fmt::join(Parts, ", "));
}

std::string Silence_Text(const Live_View& View, const std::string& Sources) {
  if (View.Counts.Packets == 0) {
    return fmt::format(
        "nothing was received in {:.0f} seconds from {}. Check that the tracker sends to this "
        "machine's address and to this port, that the firewall lets UDP to it through, and, for a "
        "multicast group, that --interface names the network card of the stage.",
        View.Seconds, Sources);
  }
  return fmt::format(
      "{} came in {:.0f} seconds, and none can be used: {}. What comes is recorded all the same. "
      "Check that the tracker sends FreeD D1 or OpenTrackIO.",
      Counted(View.Counts.Packets, "packet"), View.Seconds, fmt::join(Troubles(View.Counts), ", "));
}

std::string Recorded_Text(const Live_View& View, const std::filesystem::path& File,
                          std::uint64_t Size) {
  std::string Text = Folded(
      fmt::format("Recorded {} in {:.1f} s to {}, {}.", Counted(View.Counts.Packets, "packet"),
                  View.Seconds, File.string(), Size_Text(Size)),
      0);
  Text += Body_Rows(View.Bodies);
  const std::vector<std::string> Wrong = Troubles(View.Counts);
  if (!Wrong.empty()) Text += Folded(fmt::format("Besides: {}.", fmt::join(Wrong, ", ")), 0);
  if (View.Bodies.empty()) return Text;
  if (View.Holds > 0) {
    Text += fmt::format("Everything stood still {}.\n", Counted(View.Holds, "time"));
  }
  Text += "\nNext, with the name of the camera's body after --camera:\n";
  return Text + Next_Command(View, File);
}

}  // namespace rigsync
