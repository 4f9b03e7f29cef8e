// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/watch_report.h"

#include "rigsync/capture/library_limits.h"
#include "rigsync/inspect/amount.h"
#include "rigsync/report/inspect_report.h"
#include "rigsync/report/pose_text.h"
#include "rigsync/system/terminal.h"
#include "rigsync/system/text.h"
#include "rigsync/system/utf8.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace rigsync {
namespace {

// Beyond this a half-width, mm or degrees, says no more than that the mount is open.
constexpr double Widest_Told = 1000.0;

// Between the map and what stands beside it.
constexpr std::size_t Gap = 2;

std::string Counted(std::size_t Count, const char* Name) {
  return fmt::format("{} {}{}", Count, Name, Count == 1 ? "" : "s");
}

std::vector<std::string> Lines_Of(const std::string& Text) {
  std::vector<std::string> Lines;
  std::istringstream Stream(Text);
  for (std::string Line; std::getline(Stream, Line);) Lines.push_back(Line);
  return Lines;
}

std::vector<std::string> Folded_Lines(const std::string& Text, std::size_t Indent,
                                      std::size_t Width = Terminal_Width) {
  std::vector<std::string> Lines = Lines_Of(Folded(Text, Indent, Width));
  for (std::string& Line : Lines) Line = First_Characters(Line, Width);
  return Lines;
}

void Append(const std::vector<std::string>& More, std::vector<std::string>& Lines) {
  Lines.insert(Lines.end(), More.begin(), More.end());
}

// ---- The capture -----------------------------------------------------------------------------

const char* State_Words(Image_State State) {
  switch (State) {
    case Image_State::Board_Found:
      return "board found";
    case Image_State::Board_Cut_Off:
      return "board cut off";
    case Image_State::No_Board:
      return "no board";
    case Image_State::Other_Size:
      return "another size";
    default:
      return "can't be read yet";
  }
}

std::string Title(const Watched_Capture& Capture) {
  const std::string Name = Quoted(Capture.Inputs.Csv.filename().string());
  if (!Capture.Has_Csv) {
    const std::filesystem::path Full = std::filesystem::absolute(Capture.Inputs.Csv);
    return fmt::format("{} does not exist yet: {}", Name,
                       One_Line(Full.lexically_normal().string()));
  }
  if (!Capture.Inspected) return fmt::format("{} can't be read yet", Name);
  const Inspection& Inspected = *Capture.Inspected;
  const std::size_t Found = Inspected.Search ? Inspected.Search->Usable_Count() : 0;
  return fmt::format("{}: board found in {} of {}", Name, Found,
                     Counted(Inspected.File.Rows.size(), "data line"));
}

// A path has to be told to its end, so the title goes on in further lines without a CSV.
std::vector<std::string> Title_Lines(const Watched_Capture& Capture, bool Colour) {
  std::string Text = Title(Capture);
  std::vector<std::string> Lines;
  do {
    const std::string Line = First_Characters(Text, Terminal_Width);
    Text.erase(0, Line.size());
    Lines.push_back(Painted(Style::Strong, Line, Colour));
  } while (!Capture.Has_Csv && !Text.empty());
  return Lines;
}

// One line; of many images the last, which are the newest by name.
std::string Unlisted_Text(const Watched_Capture& Capture) {
  if (Capture.Unlisted.empty()) return {};
  const Unlisted_Image& Last = Capture.Unlisted.back();
  std::string Text =
      fmt::format("{} ({})", One_Line(Last.File.filename().string()), State_Words(Last.State));
  const std::size_t More = Capture.Unlisted.size() - 1;
  if (More > 0) Text = fmt::format("{} and {}", Text, Counted(More, "more image"));
  return "no line in the CSV yet: " + Text;
}

std::string Width_Text(double Half_Width) {
  return Half_Width <= Widest_Told ? "+- " + Amount(Half_Width) : "open";
}

std::vector<std::string> Mount_Lines(const Watched_Capture& Capture) {
  const Accuracy_Limits& Limits = Capture.Inputs.Limits;
  const auto& Now = Capture.Advice.Widths_Now;
  if (!Now) return {"camera's mount   not solved yet"};
  std::vector<std::string> Lines = {
      fmt::format("camera's mount   {} mm, limit {:g}", Width_Text(Now->Mm), Limits.Mm),
      fmt::format("  at 95 percent  {} degrees, limit {:g}", Width_Text(Now->Deg), Limits.Deg)};
  if (Capture.Advice.Pose && Capture.Advice.Pose->After) {
    const Mount_Widths& After = *Capture.Advice.Pose->After;
    Lines.push_back("after the next   " + Width_Text(After.Mm) + " mm");
    Lines.push_back("                 " + Width_Text(After.Deg) + " degrees");
  }
  return Lines;
}

// Beside the map.
std::vector<std::string> Figure_Lines(const Watched_Capture& Capture) {
  std::vector<std::string> Lines;
  if (Capture.Inspected) {
    const Inspection& Inspected = *Capture.Inspected;
    if (Inspected.Frame_Coverage) {
      Lines.push_back(fmt::format("corners in       {:.0f} percent of the frame",
                                  100.0 * Inspected.Frame_Coverage->Share()));
    }
    if (Inspected.Board_Poses) {
      const Pose_Spread& Poses = *Inspected.Board_Poses;
      Lines.push_back(fmt::format("board tilt       {:.0f} to {:.0f} degrees", Poses.Least_Tilt,
                                  Poses.Largest_Tilt));
      Lines.push_back(
          fmt::format("board distance   {:.2f} to {:.2f} m", Poses.Nearest, Poses.Farthest));
    }
    if (Inspected.Lens) {
      Lines.push_back(fmt::format("lens             fits to {:.2f} pixels", Inspected.Lens->Rms));
    }
    Lines.emplace_back();
  }
  Append(Mount_Lines(Capture), Lines);
  return Lines;
}

// The frame without a corner, as long as there is none.
Coverage Empty_Frame() {
  Coverage Nothing;
  Nothing.Cols = 16;
  Nothing.Rows = 9;
  Nothing.Images.assign(16UL * 9UL, 0);
  return Nothing;
}

std::vector<std::string> Map_And_Figures(const Watched_Capture& Capture) {
  const bool Has_Map = Capture.Inspected && Capture.Inspected->Frame_Coverage;
  const std::vector<std::string> Map =
      Map_Lines(Has_Map ? *Capture.Inspected->Frame_Coverage : Empty_Frame());
  const std::vector<std::string> Figures = Figure_Lines(Capture);
  std::vector<std::string> Lines;
  for (std::size_t i = 0; i < std::max(Map.size(), Figures.size()); ++i) {
    std::string Line = i < Map.size() ? Map[i] : std::string(Map.front().size(), ' ');
    if (i < Figures.size() && !Figures[i].empty()) Line += std::string(Gap, ' ') + Figures[i];
    Lines.push_back(First_Characters(Line, Terminal_Width));
  }
  return Lines;
}

// ---- What is missing -------------------------------------------------------------------------

Style Style_Of(Level Severity) {
  return Severity == Level::Error ? Style::Bad : Style::Warning;
}

// Findings that the shortages tell in their own words, and while there are few boards those that
// compare lines with each other: of five lines that are good, one may stand out.
bool Is_Left_Out(const std::string& Id, bool Are_Few) {
  const bool Compares = Id == "sample_disagrees" || Id == "camera_jump" || Id == "board_jump";
  return (Are_Few && Compares) || Id == "no_images" || Id == "too_few_images" ||
         Id == "too_few_boards" || Id == "few_boards" || Id == "too_few_samples" ||
         Id == "mount_undetermined";
}

// The first lines of a finding.
std::vector<std::string> Finding_Block(const Finding& One) {
  constexpr std::size_t Most_Lines = 2;
  const std::string Where = One.Lines.empty() ? "" : ", " + Lines_Text(One.Lines);
  std::vector<std::string> Block =
      Folded_Lines(Level_Name(One.Severity) + Where + ": " + One_Line(One.What), 0);
  if (Block.size() > Most_Lines) {
    Block.resize(Most_Lines);
    Block.back() = First_Characters(Block.back(), Terminal_Width - 3) + "...";
  }
  return Block;
}

// The findings that cost something, the gravest first, in at most so many lines.
std::vector<std::string> Finding_Lines(const Watched_Capture& Capture, std::size_t Most,
                                       bool Colour) {
  if (!Capture.Inspected) return {};
  const std::vector<Shortage>& Short = Capture.Advice.Short_Of;
  const bool Are_Few = std::find(Short.begin(), Short.end(), Shortage::Boards) != Short.end();
  std::vector<Finding> Told;
  for (const Level Severity : {Level::Error, Level::Warning}) {
    for (const Finding& One : Capture.Inspected->All_Findings.Sorted()) {
      if (One.Severity == Severity && !Is_Left_Out(One.Id, Are_Few)) Told.push_back(One);
    }
  }
  std::vector<std::string> Lines;
  for (std::size_t i = 0; i < Told.size() && Lines.size() < Most; ++i) {
    const std::string Name = Level_Name(Told[i].Severity);
    const auto Add = [&](std::vector<std::string> Block) {
      Block.front() =
          Painted(Style_Of(Told[i].Severity), Name, Colour) + Block.front().substr(Name.size());
      Append(Block, Lines);
    };
    const std::vector<std::string> Block = Finding_Block(Told[i]);
    const std::size_t After = Told.size() - i - 1;
    if (Lines.size() + Block.size() + (After > 0 ? 1 : 0) > Most) {
      Add({fmt::format("{}: {} to be seen with 'rigsync inspect'", Name,
                       Counted(After + 1, "finding"))});
      break;
    }
    Add(Block);
  }
  return Lines;
}

const char* Doubt_Words(Verdict_Reason Reason) {
  switch (Reason) {
    case Verdict_Reason::Slip_Found:
      return "A tracker slipped on its mount.";
    case Verdict_Reason::Slip_Suspected:
      return "A tracker may have slipped on its mount.";
    case Verdict_Reason::Last_Rows_Left_Out:
      return "The last line contradicts the others: take it again.";
    case Verdict_Reason::Lens_Does_Not_Fit:
      return "The lens model does not fit this lens.";
    case Verdict_Reason::Place_Contradicted:
      return "The stated place of the board is not what the capture says.";
    default:
      return "An error has to be corrected first.";
  }
}

bool Is_First(const Watched_Capture& Capture) {
  const bool Has_Board = Capture.Inspected && Capture.Inspected->Frame_Coverage;
  return !Has_Board && std::none_of(Capture.Unlisted.begin(), Capture.Unlisted.end(),
                                    [](const Unlisted_Image& Image) {
                                      return Image.State == Image_State::Board_Found;
                                    });
}

std::string Certainty_Text(const Watched_Capture& Capture) {
  const Mount_Widths Most = Enough_Widths(Capture.Inputs.Limits);
  return fmt::format("The mount has to be known to +- {} mm and {} degrees.", Amount(Most.Mm),
                     Amount(Most.Deg));
}

}  // namespace

std::vector<std::string> Shortage_Texts(const Watched_Capture& Capture) {
  std::vector<std::string> Texts;
  for (const Shortage Of : Capture.Advice.Short_Of) {
    switch (Of) {
      case Shortage::Boards:
        Texts.push_back(fmt::format("At least {} lines with a board are needed.",
                                    library_limits::Least_Boards));
        break;
      case Shortage::Mount:
        Texts.emplace_back("The camera's mount is not solved yet.");
        break;
      case Shortage::Certainty:
        Texts.push_back(Certainty_Text(Capture));
        break;
      case Shortage::Soundness:
        for (const Verdict_Reason Reason : Capture.Advice.Doubts) {
          Texts.emplace_back(Doubt_Words(Reason));
        }
        break;
    }
  }
  return Texts;
}

std::string Advice_Text(const Watched_Capture& Capture) {
  const Capture_Advice& Advice = Capture.Advice;
  if (Advice.Is_Enough) {
    return fmt::format(
        "Enough: the mount is known to +- {} mm and {} degrees. It can be "
        "calibrated.",
        Amount(Advice.Widths_Now->Mm), Amount(Advice.Widths_Now->Deg));
  }
  if (!Advice.Pose) return "Next: any pose that shows the whole board.";
  return "Next: " + Pose_Text(Advice.Pose->Parts, Is_First(Capture)) + ".";
}

std::vector<std::string> State_Lines(const Watched_Capture& Capture, std::size_t Most,
                                     bool Colour) {
  std::vector<std::string> Lines = Title_Lines(Capture, Colour);
  const std::string Unlisted = Unlisted_Text(Capture);
  if (!Unlisted.empty())
    Lines.push_back(Painted(Style::Faint, First_Characters(Unlisted, Terminal_Width), Colour));
  Append(Map_And_Figures(Capture), Lines);
  const std::size_t Room = Lines.size() < Most ? Most - Lines.size() : 0;
  Append(Finding_Lines(Capture, Room, Colour), Lines);
  return Lines;
}

std::vector<std::string> Watch_Lines(const Watched_Capture& Capture, bool Colour) {
  const std::string Advice = Advice_Text(Capture);
  const std::size_t Word = Advice.find(':') + 1;
  std::vector<std::string> Last = Folded_Lines(Advice, 0);
  const Style Kind = Capture.Advice.Is_Enough ? Style::Good : Style::Strong;
  Last.front() = Painted(Kind, Last.front().substr(0, Word), Colour) + Last.front().substr(Word);

  std::string Missing;
  for (const std::string& Text : Shortage_Texts(Capture))
    Missing += (Missing.empty() ? "" : " ") + Text;
  std::vector<std::string> Short;
  if (!Missing.empty()) Short = Folded_Lines("Missing: " + Missing, 0);

  const std::size_t Taken = Short.size() + Last.size();
  const std::size_t Room = Taken < Screen_Lines ? Screen_Lines - Taken : 0;
  std::vector<std::string> Lines = State_Lines(Capture, Room, Colour);
  Append(Short, Lines);
  Append(Last, Lines);
  if (Lines.size() > Screen_Lines) {
    Lines.erase(Lines.begin() + 1,
                Lines.begin() + 1 + static_cast<std::ptrdiff_t>(Lines.size() - Screen_Lines));
  }
  return Lines;
}

}  // namespace rigsync
