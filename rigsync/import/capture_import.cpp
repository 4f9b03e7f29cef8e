// SPDX-License-Identifier: Apache-2.0
#include "rigsync/import/capture_import.h"

#include "rigsync/import/clock.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/take/timecode.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <iterator>
#include <utility>

namespace rigsync {
namespace {

// "7x5", which --board has in the other commands.
bool Are_Counts(const std::string& Text) {
  const std::size_t Cross = Text.find('x');
  const auto Is_Digit = [](unsigned char Character) { return std::isdigit(Character) != 0; };
  return Cross != std::string::npos && Cross > 0 && Cross + 1 < Text.size() &&
         std::count_if(Text.begin(), Text.end(), Is_Digit) + 1 ==
             static_cast<std::ptrdiff_t>(Text.size());
}

void Refuse_Second(const Take& Tracks, const std::string& Flag, const std::string& Name) {
  const auto Is_Called_So = [&](const Body_Track& Body) { return Body.Name == Name; };
  if (std::count_if(Tracks.Bodies.begin(), Tracks.Bodies.end(), Is_Called_So) < 2) return;
  throw Usage_Error(
      Flag,
      fmt::format("{}: two bodies are called '{}', so it isn't clear which one is meant. Give "
                  "one of them another name; the body of a pose file is called as its file, "
                  "so rename the file.",
                  Flag, Name));
}

const Body_Track& Named_Body(const Take& Tracks, const std::string& Flag, const std::string& Name) {
  const Body_Track* const Found = Find_Body(Tracks, Name);
  if (Found != nullptr) {
    Refuse_Second(Tracks, Flag, Name);
    return *Found;
  }
  std::vector<std::string> Names;
  for (const Body_Track& Body : Tracks.Bodies) Names.push_back("'" + Body.Name + "'");
  throw Usage_Error(
      Flag, fmt::format("{}: no body in the take is called '{}'. It has: {}.{}", Flag, Name,
                        fmt::join(Names, ", "),
                        Flag == "--board" && Are_Counts(Name)
                            ? " Here --board is the body on the board, and --corners has the "
                              "counts of the chessboard."
                            : ""));
}

// An advice for rows that come from holds.
constexpr const char* In_A_Hand_Text = " For a board in a hand there is --pose picture.";

// What a take and a request come to before there are pictures.
struct Stage {
  const Body_Track* Camera = nullptr;
  const Body_Track* Board = nullptr;  // null for one that stands still
  Hold_Search Stops;
};

Stage Find_Stage(const Take& Tracks, const Import_Request& Request, bool Needs_Holds) {
  Check_Bodies(Tracks, Request);
  Stage Found;
  Found.Camera = &Named_Body(Tracks, "--camera", Request.Camera);
  if (!Request.Board.empty()) Found.Board = &Named_Body(Tracks, "--board", Request.Board);
  Found.Stops = Find_Holds(*Found.Camera, Found.Board, Request.Holds);
  if (Needs_Holds && Found.Stops.Holds.empty()) {
    throw Usage_Error(
        "--still",
        fmt::format("--still: the take has no hold: {} for {:g} s and longer.{} Hold the board "
                    "and the camera still for each picture, or allow more with --still and "
                    "--hold.{}",
                    Found.Board != nullptr ? "both bodies never stand still together"
                                           : "the body never stands still",
                    Request.Holds.Least_Seconds,
                    Found.Stops.Short.empty()
                        ? ""
                        : fmt::format(" It has {} shorter stops.", Found.Stops.Short.size()),
                    Request.Rows.Pose == Pose_Choice::Hold ? In_A_Hand_Text : ""));
  }
  return Found;
}

// ---- Clocks ----------------------------------------------------------------------------------

std::vector<Body_Speeds> Speeds_Of(const Stage& On) {
  std::vector<Body_Speeds> Bodies = {{On.Stops.Camera_Speeds, On.Stops.Camera.Rest}};
  if (On.Board != nullptr) Bodies.push_back({On.Stops.Board_Speeds, On.Stops.Board.Rest});
  return Bodies;
}

// What gets more certain clocks from photographs.
std::string Photograph_Advice(std::size_t Holds, Time_Source Source) {
  std::string Text = fmt::format(
      " The take has {} holds, and photographs tell less than a clip: take {} and more, with "
      "holds and times between them from 1 to 4 seconds.",
      Holds, Enough_Photographs);
  if (Source == Time_Source::File_Time) {
    Text += " Their times are those of the files, which a copy may have changed: see --times.";
  }
  return Text;
}

std::string Clip_Advice(std::size_t Holds) {
  if (Holds >= Few_Holds) return "";
  return fmt::format(" The take has {} holds, which is few: 20 and more are matched better.",
                     Holds);
}

std::string Uncertain_Text(const Clock_Match& By_Motion, const std::string& Advice) {
  std::string Text = "--offset: the clocks of take and pictures can't be matched for certain.";
  if (By_Motion.Score > 0.0) {
    Text += fmt::format(
        " The best offset is {:.3f} s (fits to {:.2f}), the next best {:.3f} s "
        "({:.2f}).",
        By_Motion.Offset_Seconds, By_Motion.Score, By_Motion.Second_Offset_Seconds,
        By_Motion.Second_Score);
  } else {
    Text += " Nothing in the pictures goes along with the motion in the take.";
  }
  return Text + Advice +
         " Holds at equal intervals look alike: hold irregularly, some longer and some shorter, "
         "with unequal times between them. If you know the offset, state it: --offset SECONDS is "
         "the time on the take's clock less the time on the pictures' clock. You can also try the "
         "best one: with a wrong one the trackers and the images disagree, and inspect says so if "
         "--config describes the board.";
}

// Timecode at second 0 of both clocks, if they have one, the frame rate of the pictures, 0 if it
// isn't known, and an offset that brings the middle of the pictures to the middle of the take.
struct Known_Times {
  std::optional<double> Take, Pictures;
  double Picture_Rate_Hz = 0;
  double Likely_Offset = 0;
};

double Picture_Rate_Hz(const Clip& From) {
  if (From.Frames.size() < 2) return 0.0;
  const double Seconds = From.Frames.back().Seconds - From.Frames.front().Seconds;
  return Seconds > 0.0 ? static_cast<double>(From.Frames.size() - 1) / Seconds : 0.0;
}

// Times in timecode are known to a frame.
double Picture_Rate_Hz(const Photographs& From) {
  return From.Timecode_Start && From.Resolution_Seconds > 0.0 ? 1.0 / From.Resolution_Seconds : 0.0;
}

// From are photographs or a clip, and Pictures its photographs or frames.
template <typename Source, typename Timed>
Known_Times Times_Of(const Take& Tracks, const Stage& On, const Source& From,
                     const std::vector<Timed>& Pictures) {
  const auto Middle = [](const auto& List) {
    return List.empty() ? 0.0 : 0.5 * (List.front().Seconds + List.back().Seconds);
  };
  return {Tracks.Timecode_Start, From.Timecode_Start, Picture_Rate_Hz(From),
          Middle(On.Camera->Samples) - Middle(Pictures)};
}

// Of a rate like 29.97 the timecode of a day lasts 24 hours only if numbers are dropped, which the
// times don't tell.
void Warn_Of_Midnight(const Known_Times& Times, const Clock_Match& Match,
                      std::vector<std::string>& Warnings) {
  constexpr double Rate_Tolerance = 0.01;  // 23.976 and 24 are 0.024 apart
  constexpr double Slowed = 1000.0 / 1001.0;
  const double Whole_Rate = std::round(Times.Picture_Rate_Hz / Slowed);
  const bool Is_Slowed =
      Whole_Rate > 1.0 && std::abs(Times.Picture_Rate_Hz - Slowed * Whole_Rate) < Rate_Tolerance;
  const double Of_One_Day = *Times.Pictures - *Times.Take;
  const bool Is_Over_Midnight = std::abs(Match.Offset_Seconds - Of_One_Day) > 0.5 * Seconds_Per_Day;
  if (!Is_Slowed || !Is_Over_Midnight) return;
  Warnings.push_back(fmt::format(
      "Midnight is between the timecodes of take and pictures, and the pictures have {:.2f} frames "
      "a second. If their timecode drops no numbers, the offset is off by {:.1f} s: state "
      "--offset.",
      Times.Picture_Rate_Hz, Seconds_Per_Day / Slowed - Seconds_Per_Day));
}

// The offset that is used: stated, by timecode, or by motion if that is certain. Another one that
// motion is certain of is a warning.
Clock_Match Choose_Match(const std::optional<double>& Stated, const Known_Times& Times,
                         const Clock_Match& By_Motion, const std::string& Advice,
                         std::vector<std::string>& Warnings) {
  constexpr double Far_Seconds = 0.3;
  Clock_Match Match;
  if (Stated) {
    Match.Offset_Seconds = *Stated;
    Match.Is_Certain = true;
  } else if (Times.Take && Times.Pictures) {
    Match = Match_By_Timecode(*Times.Take, *Times.Pictures, Times.Likely_Offset);
    Warn_Of_Midnight(Times, Match, Warnings);
  } else {
    if (!By_Motion.Is_Certain) {
      throw Usage_Error("--offset", Uncertain_Text(By_Motion, Advice));
    }
    return By_Motion;
  }
  if (By_Motion.Is_Certain &&
      std::abs(By_Motion.Offset_Seconds - Match.Offset_Seconds) > Far_Seconds) {
    Warnings.push_back(fmt::format(
        "{} says an offset of {:.3f} s, but motion in take and pictures fits at {:.3f} "
        "s. One of them is wrong.",
        Stated ? "--offset" : "The timecode", Match.Offset_Seconds, By_Motion.Offset_Seconds));
  }
  return Match;
}

// ---- The whole -------------------------------------------------------------------------------

void Refuse_Without_Rows(const std::string& Flag, const std::vector<Imported_Row>& Rows,
                         const Row_Options& Options) {
  const bool Has_Row = std::any_of(Rows.begin(), Rows.end(),
                                   [](const Imported_Row& Row) { return Row.Refusal.empty(); });
  if (Has_Row) return;
  std::string Reasons;
  for (const Counted_Reason& One : Refusal_Reasons(Rows)) {
    Reasons +=
        fmt::format("{}{} times {}", Reasons.empty() ? "" : "; ", One.Rows.size(), One.Reason);
  }
  std::string Advice;
  if (std::any_of(Rows.begin(), Rows.end(),
                  [&](const Imported_Row& Row) { return Was_Too_Fast(Row, Options); })) {
    Advice = " --max-speed allows more.";
    if (Options.Pose == Pose_Choice::Hold) Advice += In_A_Hand_Text;
  }
  throw Usage_Error(Flag, fmt::format("{}: no picture has samples of its own, so there is nothing "
                                      "to write: {}.{}",
                                      Flag, Reasons, Advice));
}

// Without --board: of bodies that may well be on the board.
void Warn_Of_Others(const Take& Tracks, const Stage& On, std::vector<std::string>& Warnings) {
  if (On.Board != nullptr) return;
  std::vector<std::string> Names;
  for (const Body_Track& Body : Tracks.Bodies) {
    const bool Has_Pose = std::any_of(Body.Samples.begin(), Body.Samples.end(),
                                      [](const Timed_Sample& One) { return One.Is_Tracked; });
    if (&Body != On.Camera && Has_Pose) Names.push_back("'" + Body.Name + "'");
  }
  if (Names.empty()) return;
  Warnings.push_back(fmt::format(
      "Without --board the board is taken to stand still, and the take has {} too. If {} on the "
      "board, name it with --board.",
      fmt::join(Names, ", "), Names.size() == 1 ? "that body is" : "one of these bodies is"));
}

Capture_Import Finish(const Take& Tracks, const Import_Request& Request, Stage&& On,
                      std::string Picture_Times, const Clock_Match& Clock,
                      std::vector<Chosen_Row>&& Rows, std::vector<std::string>&& Warnings) {
  Capture_Import Made;
  Made.Record.Format = Tracks.Format;
  Made.Record.Camera_Body = Request.Camera;
  Made.Record.Board_Body = Request.Board;
  Made.Record.Facts = Tracks.Facts;
  Made.Record.Picture_Times = std::move(Picture_Times);
  Made.Record.Camera = On.Stops.Camera;
  Made.Record.Camera_Labels = On.Camera->Labels;
  Made.Record.Board = On.Stops.Board;
  Made.Record.Pose = Request.Rows.Pose;
  Made.Record.Hold_Count = On.Stops.Holds.size();
  Made.Record.Clock = Clock;
  for (Chosen_Row& One : Rows) {
    Made.Record.Rows.push_back(std::move(One.Row));
    Made.Frames.push_back(One.Frame);
  }
  Made.Short_Stops = On.Stops.Short.size();
  Made.Warnings = Tracks.Warnings;
  Warn_Of_Others(Tracks, On, Made.Warnings);
  Made.Warnings.insert(Made.Warnings.end(), Warnings.begin(), Warnings.end());
  return Made;
}

std::string Without_Digits(const std::string& Text) {
  std::string Left;
  std::copy_if(Text.begin(), Text.end(), std::back_inserter(Left),
               [](unsigned char Character) { return std::isdigit(Character) == 0; });
  return Left;
}

std::pair<double, double> Time_Span(const Take& Tracks) {
  double Begin = INFINITY, End = -INFINITY;
  for (const Body_Track& Body : Tracks.Bodies) {
    if (Body.Samples.empty()) continue;
    Begin = std::min(Begin, Body.Samples.front().Seconds);
    End = std::max(End, Body.Samples.back().Seconds);
  }
  return {Begin, End};
}

}  // namespace

void Check_Bodies(const Take& Tracks, const Import_Request& Request) {
  const Body_Track& Camera = Named_Body(Tracks, "--camera", Request.Camera);
  if (Request.Board.empty()) return;
  if (&Named_Body(Tracks, "--board", Request.Board) != &Camera) return;
  throw Usage_Error("--board",
                    fmt::format("--board: '{}' is the body of --camera. Name the body on the "
                                "board, or leave --board out for a board that stands still.",
                                Request.Board));
}

Take Joined_Takes(Take First, Take Second) {
  const bool Have_Timecode = First.Timecode_Start && Second.Timecode_Start;
  const double Shift =
      Have_Timecode ? Time_Of_Day_Difference(*First.Timecode_Start, *Second.Timecode_Start) : 0.0;
  for (Body_Track& Body : Second.Bodies) {
    for (Timed_Sample& One : Body.Samples) One.Seconds += Shift;
  }
  const auto [First_Begin, First_End] = Time_Span(First);
  const auto [Second_Begin, Second_End] = Time_Span(Second);
  if (Second_Begin > First_End || First_Begin > Second_End) {
    throw Usage_Error(
        "TAKE2",
        fmt::format("TAKE2: it has no time in common with TAKE: {:.3f} to {:.3f} s, and {:.3f} to "
                    "{:.3f} s. Both need the same clock{}.",
                    Second_Begin, Second_End, First_Begin, First_End,
                    Have_Timecode ? ", and by their timecodes they don't have it" : ""));
  }
  First.Facts.emplace_back(
      "second take", Have_Timecode ? fmt::format("its clock is {:.3f} s later, by timecode", Shift)
                                   : "its clock is taken to be that of the first");
  for (auto& Fact : Second.Facts) {
    First.Facts.emplace_back(Fact.first + " (second take)", Fact.second);
  }
  std::move(Second.Bodies.begin(), Second.Bodies.end(), std::back_inserter(First.Bodies));
  First.Warnings.insert(First.Warnings.end(), Second.Warnings.begin(), Second.Warnings.end());
  return First;
}

std::vector<Counted_Reason> Refusal_Reasons(const std::vector<Imported_Row>& Rows) {
  std::vector<Counted_Reason> List;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    if (Rows[i].Refusal.empty()) continue;
    const std::string Kind = Without_Digits(Rows[i].Refusal);
    const auto Known = std::find_if(List.begin(), List.end(), [&](const Counted_Reason& One) {
      return Without_Digits(One.Reason) == Kind;
    });
    if (Known == List.end()) {
      List.push_back({Rows[i].Refusal, {i}});
    } else {
      Known->Rows.push_back(i);
    }
  }
  std::stable_sort(List.begin(), List.end(), [](const Counted_Reason& A, const Counted_Reason& B) {
    return A.Rows.size() > B.Rows.size();
  });
  return List;
}

Capture_Import Import_Photographs(const Take& Tracks, const Photographs& From,
                                  const Import_Request& Request) {
  const bool Needs_Holds = Request.Rows.Pose == Pose_Choice::Hold;
  Stage On = Find_Stage(Tracks, Request, Needs_Holds);
  std::vector<std::string> Warnings = From.Warnings;
  const Clock_Match Clock =
      Choose_Match(Request.Offset_Seconds, Times_Of(Tracks, On, From, From.Pictures),
                   Match_By_Holds(On.Stops.Holds, From),
                   Photograph_Advice(On.Stops.Holds.size(), From.Source), Warnings);
  const Row_Source Source{On.Camera, On.Board, &On.Stops, Clock.Offset_Seconds};
  std::vector<Chosen_Row> Rows = Rows_Of_Photographs(From, Source, Request.Rows);
  Capture_Import Made = Finish(Tracks, Request, std::move(On), Time_Source_Text(From.Source), Clock,
                               std::move(Rows), std::move(Warnings));
  Refuse_Without_Rows("--images", Made.Record.Rows, Request.Rows);
  return Made;
}

Capture_Import Import_Clip(const Take& Tracks, const Clip& From, const Import_Request& Request) {
  Stage On = Find_Stage(Tracks, Request, /*Needs_Holds=*/true);
  std::vector<std::string> Warnings = From.Warnings;
  const Clock_Match Clock = Choose_Match(
      Request.Offset_Seconds, Times_Of(Tracks, On, From, From.Frames),
      Match_By_Motion(Speeds_Of(On), From), Clip_Advice(On.Stops.Holds.size()), Warnings);
  const Row_Source Source{On.Camera, On.Board, &On.Stops, Clock.Offset_Seconds};
  std::vector<Chosen_Row> Rows = Rows_Of_Clip(From, Source, Request.Rows);
  Capture_Import Made = Finish(Tracks, Request, std::move(On), "the frames of a clip", Clock,
                               std::move(Rows), std::move(Warnings));
  Refuse_Without_Rows("--clip", Made.Record.Rows, Request.Rows);
  return Made;
}

}  // namespace rigsync
