// SPDX-License-Identifier: Apache-2.0
#include "rigsync/import/rows.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/import/body_motion.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>

namespace rigsync {
namespace {

// ---- Why not ---------------------------------------------------------------------------------

std::string Speed_Text(const Speed_Limit& Speed) {
  return fmt::format("{:.1f} mm/s and {:.2f} degrees/s", 1000.0 * Speed.Linear,
                     Degrees_Per_Radian * Speed.Angular);
}

bool Is_Faster(const Speed_Limit& Speed, const Speed_Limit& Limit) {
  return Speed.Linear > Limit.Linear || Speed.Angular > Limit.Angular;
}

std::string Too_Fast_Text(const std::string& Body, const Body_Reading& Reading,
                          const Speed_Limit& Limit) {
  const Speed_Limit Speed = Speed_Of(Reading.Velocity);
  if (!Is_Faster(Speed, Limit)) return {};
  return fmt::format("'{}' moved: {}, the limit is {}", Body, Speed_Text(Speed), Speed_Text(Limit));
}

const Timed_Sample* Nearest_Sample(const Body_Track& Body, double Seconds) {
  const auto After =
      std::lower_bound(Body.Samples.begin(), Body.Samples.end(), Seconds,
                       [](const Timed_Sample& One, double At) { return One.Seconds < At; });
  if (After == Body.Samples.begin()) return Body.Samples.empty() ? nullptr : &*After;
  const auto Before = After - 1;
  const bool Is_Before =
      After == Body.Samples.end() || Seconds - Before->Seconds < After->Seconds - Seconds;
  return Is_Before ? &*Before : &*After;
}

// Why there is no pose of this body at a time: "" if there is one.
std::string Missing_Text(const Body_Track& Body, double Seconds) {
  constexpr double Least_Gap = 0.1, Intervals = 2.5;
  const Timed_Sample* const Nearest = Nearest_Sample(Body, Seconds);
  if (Nearest == nullptr) return fmt::format("'{}' has no samples", Body.Name);
  const double Gap = std::max(Least_Gap, Intervals * Sample_Interval(Body));
  if (Seconds < Body.Samples.front().Seconds - Gap) {
    return fmt::format("taken {:.1f} s before the take", Body.Samples.front().Seconds - Seconds);
  }
  if (Seconds > Body.Samples.back().Seconds + Gap) {
    return fmt::format("taken {:.1f} s after the take", Seconds - Body.Samples.back().Seconds);
  }
  if (!Nearest->Is_Tracked || std::abs(Nearest->Seconds - Seconds) > Gap) {
    return fmt::format("'{}' was lost", Body.Name);
  }
  return {};
}

std::string Missing_Text(const Row_Source& Source, double Seconds) {
  std::string Text = Missing_Text(*Source.Camera, Seconds);
  if (Text.empty() && Source.Board != nullptr) Text = Missing_Text(*Source.Board, Seconds);
  return Text;
}

// ---- Poses -----------------------------------------------------------------------------------

// Fills in both bodies of a row, or its Refusal.
template <typename Reader>
void Read_Bodies(const Row_Source& Source, const Row_Options& Options, const Reader& Read,
                 Imported_Row& Row) {
  const auto Read_One = [&](const Body_Track& Body, Body_Reading& Reading) {
    const std::optional<Body_Reading> Found = Read(Body);
    if (Found) {
      Reading = *Found;
      Row.Refusal = Too_Fast_Text(Body.Name, Reading, Options.Largest_Speed);
    } else {
      Row.Refusal = fmt::format("'{}' has too few samples around the picture", Body.Name);
    }
  };
  Row.Board = Still_Board();
  Read_One(*Source.Camera, Row.Camera);
  if (Row.Refusal.empty() && Source.Board != nullptr) Read_One(*Source.Board, Row.Board);
}

// Seconds and Margin on the take's clock: the picture was taken within Margin of Seconds.
void Read_In_Hold(const Row_Source& Source, const Row_Options& Options, const Hold& In,
                  double Seconds, double Margin, Imported_Row& Row) {
  Row.Begin_Seconds = In.Begin_Seconds;
  Row.End_Seconds = In.End_Seconds;
  const double Begin = std::max(In.Begin_Seconds, Seconds - Margin - Around_Seconds);
  const double End = std::min(In.End_Seconds, Seconds + Margin + Around_Seconds);
  Read_Bodies(
      Source, Options, [&](const Body_Track& Body) { return Read_Stretch(Body, Begin, End); }, Row);
}

void Read_At(const Row_Source& Source, const Row_Options& Options, double Seconds,
             Imported_Row& Row) {
  Row.Begin_Seconds = Row.End_Seconds = Seconds;
  Row.Refusal = Missing_Text(Source, Seconds);
  if (!Row.Refusal.empty()) return;
  Read_Bodies(
      Source, Options, [&](const Body_Track& Body) { return Read_Instant(Body, Seconds); }, Row);
}

// ---- Photographs -----------------------------------------------------------------------------

// The stretches that overlap [Begin, End].
std::vector<const Hold*> Overlapping(const std::vector<Hold>& List, double Begin, double End) {
  std::vector<const Hold*> Found;
  for (const Hold& One : List) {
    if (One.Begin_Seconds <= End && One.End_Seconds >= Begin) Found.push_back(&One);
  }
  return Found;
}

std::string No_Hold_Text(const Row_Source& Source, double Begin, double End) {
  const std::string Missing = Missing_Text(Source, 0.5 * (Begin + End));
  if (!Missing.empty()) return Missing;
  const auto Short = Overlapping(Source.Stops->Short, Begin, End);
  if (!Short.empty()) {
    return fmt::format("in a stop of {:.2f} s, which is too short", Short.front()->Duration());
  }
  return "taken while something moved";
}

double Depth_In(const Imported_Row& Row, double Seconds) {
  return -std::abs(Seconds - 0.5 * (Row.Begin_Seconds + Row.End_Seconds));
}

// Leaves one row for each hold.
void Keep_Deepest(std::vector<Chosen_Row>& Rows, double Offset_Seconds, double Half_Resolution) {
  const auto Depth = [&](const Imported_Row& Row) {
    return Depth_In(Row, Row.Picture_Seconds + Offset_Seconds + Half_Resolution);
  };
  std::map<double, std::size_t> Best;  // by the begin of the hold
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    if (!Rows[i].Row.Refusal.empty()) continue;
    const auto [At, Is_New] = Best.try_emplace(Rows[i].Row.Begin_Seconds, i);
    if (!Is_New && Depth(Rows[i].Row) > Depth(Rows[At->second].Row)) At->second = i;
  }
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    Imported_Row& Row = Rows[i].Row;
    if (!Row.Refusal.empty()) continue;
    const std::size_t Kept = Best.at(Row.Begin_Seconds);
    if (Kept == i) continue;
    Row.Refusal = fmt::format("in the same hold as {}, which is nearer to its middle",
                              Rows[Kept].Row.Picture.filename().string());
  }
}

// ---- Clip ------------------------------------------------------------------------------------

// The sharpest frame shown within [Begin, End] of the clip's time.
std::optional<std::size_t> Sharpest_Frame(const Clip& From, double Begin, double End) {
  auto At =
      std::lower_bound(From.Frames.begin(), From.Frames.end(), Begin,
                       [](const Clip_Frame& One, double Seconds) { return One.Seconds < Seconds; });
  std::optional<std::size_t> Best;
  for (; At != From.Frames.end() && At->Seconds <= End; ++At) {
    const auto i = static_cast<std::size_t>(At - From.Frames.begin());
    if (!Best || At->Sharpness > From.Frames[*Best].Sharpness) Best = i;
  }
  return Best;
}

std::string No_Frame_Text(const Clip& From, double Begin, double End) {
  if (From.Frames.empty() || End < From.Frames.front().Seconds) {
    return fmt::format("the hold ends {:.1f} s before the clip begins", -End);
  }
  const double Clip_End = From.Frames.back().Seconds;
  if (Begin > Clip_End) {
    return fmt::format("the hold begins {:.1f} s after the end of the clip", Begin - Clip_End);
  }
  return "the clip has no frame in the middle of the hold";
}

// ---- The CSV file ----------------------------------------------------------------------------

std::string Sample_Fields(const Tracker_Sample& Sample) {
  std::string Text;
  for (const double Value : Sample.Position) Text += fmt::format(",{:.17g}", Value);
  for (const double Value : Sample.Quaternion) Text += fmt::format(",{:.17g}", Value);
  return Text;
}

void Require_Field(const std::filesystem::path& Picture) {
  const std::string Text = Picture.generic_string();
  if (Text.find_first_of(",\r\n") == std::string::npos) return;
  throw Usage_Error("--images",
                    fmt::format("--images: '{}' has a comma or a line end in its path, which a "
                                "capture's CSV can't hold. Rename it.",
                                Text));
}

}  // namespace

Body_Reading Still_Board() {
  Body_Reading Reading;
  Reading.Sample.Quaternion = {1.0, 0.0, 0.0, 0.0};
  return Reading;
}

bool Was_Too_Fast(const Imported_Row& Row, const Row_Options& Options) {
  return Is_Faster(Speed_Of(Row.Camera.Velocity), Options.Largest_Speed) ||
         Is_Faster(Speed_Of(Row.Board.Velocity), Options.Largest_Speed);
}

std::vector<Chosen_Row> Rows_Of_Photographs(const Photographs& From, const Row_Source& Source,
                                            const Row_Options& Options) {
  const double Half = 0.5 * From.Resolution_Seconds;
  std::vector<Chosen_Row> Rows;
  for (const Photograph& One : From.Pictures) {
    Imported_Row Row;
    Row.Picture = One.File;
    Row.Picture_Seconds = One.Seconds;
    const double Seconds = One.Seconds + Source.Offset_Seconds + Half;
    if (Options.Pose == Pose_Choice::Picture) {
      Read_At(Source, Options, Seconds, Row);
    } else {
      const auto Holds = Overlapping(Source.Stops->Holds, Seconds - Half, Seconds + Half);
      if (Holds.size() == 1) {
        Read_In_Hold(Source, Options, *Holds.front(), Seconds, Half, Row);
      } else {
        Row.Refusal = Holds.empty() ? No_Hold_Text(Source, Seconds - Half, Seconds + Half)
                                    : fmt::format(
                                          "its time is known to {:g} s only, in which there are {} "
                                          "holds",
                                          From.Resolution_Seconds, Holds.size());
      }
    }
    Rows.push_back({std::move(Row), std::nullopt});
  }
  if (Options.Pose == Pose_Choice::Hold) Keep_Deepest(Rows, Source.Offset_Seconds, Half);
  return Rows;
}

std::vector<Chosen_Row> Rows_Of_Clip(const Clip& From, const Row_Source& Source,
                                     const Row_Options& Options) {
  constexpr double End_Part = 0.2;
  std::vector<Chosen_Row> Rows;
  for (const Hold& In : Source.Stops->Holds) {
    const double End = std::max(Least_End_Seconds, End_Part * In.Duration());
    const double First = In.Begin_Seconds + End - Source.Offset_Seconds;
    const double Last = In.End_Seconds - End - Source.Offset_Seconds;
    Chosen_Row Chosen;
    Chosen.Row.Picture = From.File;
    Chosen.Row.Begin_Seconds = In.Begin_Seconds;
    Chosen.Row.End_Seconds = In.End_Seconds;
    Chosen.Frame = Sharpest_Frame(From, First, Last);
    if (Chosen.Frame) {
      Chosen.Row.Picture_Seconds = From.Frames[*Chosen.Frame].Seconds;
      const double Seconds = Chosen.Row.Picture_Seconds + Source.Offset_Seconds;
      if (Options.Pose == Pose_Choice::Picture) {
        Read_At(Source, Options, Seconds, Chosen.Row);
      } else {
        Read_In_Hold(Source, Options, In, Seconds, 0.0, Chosen.Row);
      }
    } else {
      Chosen.Row.Picture_Seconds = 0.5 * (First + Last);
      Chosen.Row.Refusal = No_Frame_Text(From, First, Last);
    }
    Rows.push_back(std::move(Chosen));
  }
  return Rows;
}

std::string Capture_Csv(std::vector<Imported_Row>& Rows, double Offset_Seconds) {
  std::string Text =
      "Time,Image,Tc_X,Tc_Y,Tc_Z,Tc_Qw,Tc_Qx,Tc_Qy,Tc_Qz,Tr_X,Tr_Y,Tr_Z,Tr_Qw,Tr_Qx,Tr_Qy,Tr_Qz\n";
  std::size_t Line = 1;
  for (Imported_Row& Row : Rows) {
    Row.Csv_Line.reset();
    if (!Row.Refusal.empty()) continue;
    Require_Field(Row.Picture);
    Row.Csv_Line = ++Line;
    Text += fmt::format("{:.3f},{}", Row.Picture_Seconds + Offset_Seconds,
                        Row.Picture.generic_string());
    Text += Sample_Fields(Row.Camera.Sample) + Sample_Fields(Row.Board.Sample) + "\n";
  }
  return Text;
}

}  // namespace rigsync
