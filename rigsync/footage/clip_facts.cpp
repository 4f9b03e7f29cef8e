// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/clip_facts.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

namespace rigsync {

const char* const Probed_Entries =
    "stream=index,codec_type,codec_tag_string,width,height,sample_aspect_ratio,avg_frame_rate,"
    "r_frame_rate,duration,nb_frames:stream_tags=timecode:stream_disposition=attached_pic:"
    "stream_side_data=rotation:format=format_name,duration:format_tags=timecode";

namespace {

using Json = nlohmann::json;

// Object[Key], or null where there is none.
const Json& Field(const Json& Object, const char* Key) {
  static const Json Null;
  if (!Object.is_object()) return Null;
  const auto Found = Object.find(Key);
  return Found == Object.end() ? Null : *Found;
}

std::string Text_Of(const Json& Value) {
  return Value.is_string() ? Value.get<std::string>() : std::string();
}

// Nothing for what is no number, as a text or as itself.
std::optional<double> Number_Of(const Json& Value) {
  if (Value.is_number()) return Value.get<double>();
  const std::string Text = Text_Of(Value);
  char* End = nullptr;
  const double Number = std::strtod(Text.c_str(), &End);
  if (Text.empty() || *End != '\0' || !std::isfinite(Number)) return std::nullopt;
  return Number;
}

bool Is_Pictures(const Json& Stream) {
  return Text_Of(Field(Stream, "codec_type")) == "video" &&
         Number_Of(Field(Field(Stream, "disposition"), "attached_pic")).value_or(0) == 0;
}

// "30000/1001", both above 0. Nothing for any other text.
std::optional<Frame_Rate> Fraction_Of(std::string_view Text) {
  Frame_Rate Fraction;
  const char* const End = Text.data() + Text.size();
  const auto [Slash, Failure] = std::from_chars(Text.data(), End, Fraction.Numerator);
  if (Failure != std::errc() || Slash == End || *Slash != '/') return std::nullopt;
  const auto [Rest, Second_Failure] = std::from_chars(Slash + 1, End, Fraction.Denominator);
  const bool Is_Whole = Second_Failure == std::errc() && Rest == End;
  if (!Is_Whole || Fraction.Numerator <= 0 || Fraction.Denominator <= 0) return std::nullopt;
  return Fraction;
}

// Nothing for "0/0", which is a rate that isn't known, and for rates that no camera has.
std::optional<Frame_Rate> Rate_Of(const Json& Value) {
  constexpr double Lowest_Hz = 1e-5, Highest_Hz = 1e5;
  const std::optional<Frame_Rate> Rate = Fraction_Of(Text_Of(Value));
  if (!Rate || Rate->Hz() < Lowest_Hz || Rate->Hz() > Highest_Hz) return std::nullopt;
  return Rate;
}

int Side_Of(const Json& Stream, const char* Key) {
  constexpr double Longest_Side = 32768.0;
  const double Side = Number_Of(Field(Stream, Key)).value_or(0.0);
  if (!(Side >= 1.0 && Side <= Longest_Side)) {
    throw std::runtime_error(fmt::format("states a {} that no picture has", Key));
  }
  return static_cast<int>(Side);
}

// Whether the frames are shown lying on their side, as ffmpeg decides it.
bool Is_Turned_On_Its_Side(const Json& Stream) {
  const Json& List = Field(Stream, "side_data_list");
  if (!List.is_array()) return false;
  for (const Json& Entry : List) {
    const std::optional<double> Angle_Deg = Number_Of(Field(Entry, "rotation"));
    if (!Angle_Deg) continue;
    return std::abs(std::abs(std::remainder(*Angle_Deg, 180.0)) - 90.0) < 1.0;
  }
  return false;
}

Frame_Rate Rate_Of_Stream(const Json& Stream) {
  if (const auto Average = Rate_Of(Field(Stream, "avg_frame_rate"))) return *Average;
  if (const auto Base = Rate_Of(Field(Stream, "r_frame_rate"))) return *Base;
  throw std::runtime_error("states no frame rate");
}

// A stream of timecodes says the whole rate at which it counts, 30 for 29.97, while the frames last
// as long as those of the pictures.
Frame_Rate Counting_Rate(const Frame_Rate& Stated, const Frame_Rate& Of_Pictures) {
  const long Whole = std::lround(Stated.Hz());
  const Frame_Rate Slow{1000 * Whole, 1001};
  const double Ratio = Of_Pictures.Hz() / Slow.Hz();
  const bool Is_Slow = Ratio > 0.5 && std::abs(Ratio - std::round(Ratio)) < 1e-4 * Ratio;
  const double Whole_Ratio = Of_Pictures.Hz() / static_cast<double>(Whole);
  const bool Is_Whole = std::abs(Whole_Ratio - std::round(Whole_Ratio)) < 1e-4 * Whole_Ratio;
  return Is_Slow && !Is_Whole ? Slow : Stated;
}

struct Found_Timecode {
  std::string Text;
  Frame_Rate Rate;
};

// The streams' own rate of counting, if one of them is a stream of timecodes.
Frame_Rate Rate_Of_Timecodes(const Json& Streams, const Frame_Rate& Of_Pictures) {
  for (const Json& Stream : Streams) {
    if (Text_Of(Field(Stream, "codec_tag_string")) != "tmcd") continue;
    if (const auto Own = Rate_Of(Field(Stream, "avg_frame_rate"))) {
      return Counting_Rate(*Own, Of_Pictures);
    }
  }
  return Of_Pictures;
}

std::string Timecode_Text(const Json& Root, const Json& Streams, const Json& Pictures) {
  const auto Tag = [](const Json& Owner) {
    return Text_Of(Field(Field(Owner, "tags"), "timecode"));
  };
  if (const std::string Text = Tag(Pictures); !Text.empty()) return Text;
  for (const Json& Stream : Streams) {
    if (const std::string Text = Tag(Stream); !Text.empty()) return Text;
  }
  return Tag(Field(Root, "format"));
}

void Read_Start(const Json& Root, const Json& Streams, const Json& Pictures, Clip_Facts& Facts) {
  const std::string Text = Timecode_Text(Root, Streams, Pictures);
  if (Text.empty()) return;
  // The average of a rate that varies is none at which anything is counted.
  const Frame_Rate Base = Rate_Of(Field(Pictures, "r_frame_rate")).value_or(Facts.Rate);
  const std::optional<Timecode> Code = Read_Timecode(Text);
  if (Code) Facts.Timecode_Start = Seconds_Of(*Code, Rate_Of_Timecodes(Streams, Base));
  if (!Facts.Timecode_Start) {
    Facts.Warnings.push_back(fmt::format(
        "The clip's timecode '{}' is none at {:.5g} frames per second, and is left out.",
        Text.substr(0, 40), Base.Hz()));
  }
}

// The length as the file states it, also one that was cut off; 0 if it doesn't.
double Stated_Seconds(const Json& Root, const Json& Pictures, const Frame_Rate& Rate) {
  const Json& Format = Field(Root, "format");
  const std::optional<double> Own = Number_Of(Field(Pictures, "duration"));
  const double Seconds = (Own ? Own : Number_Of(Field(Format, "duration"))).value_or(0.0);
  // For AVI, ffprobe shortens the length to that of the file. The number of frames is as stated. In
  // other formats it counts frames that an edit list leaves out.
  if (Text_Of(Field(Format, "format_name")) != "avi") return std::max(0.0, Seconds);
  return std::max(Seconds, Number_Of(Field(Pictures, "nb_frames")).value_or(0.0) / Rate.Hz());
}

void Warn_Of_Pixels(const Json& Stream, Clip_Facts& Facts) {
  const std::string Shape = Text_Of(Field(Stream, "sample_aspect_ratio"));
  if (Shape.empty() || Shape == "1:1" || Shape == "0:1") return;
  Facts.Warnings.push_back(fmt::format(
      "The clip asks to be stretched when it is shown (pixels of {}). Its frames are taken as they "
      "are stored.",
      Shape.substr(0, 40)));
}

// Takes a whole number with blanks before it, and the comma behind it.
std::optional<std::int64_t> Take_Number(std::string_view& Line) {
  Line.remove_prefix(std::min(Line.find_first_not_of(' '), Line.size()));
  std::int64_t Value = 0;
  const auto [End, Failure] = std::from_chars(Line.data(), Line.data() + Line.size(), Value);
  if (Failure != std::errc() || End == Line.data() + Line.size() || *End != ',') {
    return std::nullopt;
  }
  Line.remove_prefix(static_cast<std::size_t>(End - Line.data()) + 1);
  return Value;
}

// The time of showing in a frame's line.
std::optional<std::int64_t> Shown_Time(std::string_view Line) {
  std::array<std::int64_t, 5> Numbers{};
  for (std::int64_t& Number : Numbers) {
    const std::optional<std::int64_t> Taken = Take_Number(Line);
    if (!Taken) return std::nullopt;
    Number = *Taken;
  }
  if (Numbers[0] != 0 || Line.substr(0, 3) != " 0x") return std::nullopt;
  return Numbers[2];
}

}  // namespace

Clip_Facts Parse_Clip_Facts(const std::string& Text) {
  const Json Root = Json::parse(Text, nullptr, /*allow_exceptions=*/false);
  if (Root.is_discarded()) throw std::runtime_error("ffprobe doesn't describe it");
  const Json& Streams = Field(Root, "streams");
  for (const Json& Stream : Streams.is_array() ? Streams : Json::array()) {
    if (!Is_Pictures(Stream)) continue;
    Clip_Facts Facts;
    Facts.Stream = static_cast<std::size_t>(
        std::max(0.0, std::min(1e6, Number_Of(Field(Stream, "index")).value_or(0))));
    Facts.Width = Side_Of(Stream, "width");
    Facts.Height = Side_Of(Stream, "height");
    if (Is_Turned_On_Its_Side(Stream)) std::swap(Facts.Width, Facts.Height);
    Facts.Rate = Rate_Of_Stream(Stream);
    Facts.Seconds = Stated_Seconds(Root, Stream, Facts.Rate);
    Read_Start(Root, Streams, Stream, Facts);
    Warn_Of_Pixels(Stream, Facts);
    return Facts;
  }
  throw std::runtime_error("has no picture stream");
}

bool Frame_Times::Take_Line(std::string_view Line) {
  constexpr std::string_view Unit = "#tb 0: ";
  if (Line.substr(0, Unit.size()) == Unit) {
    const std::optional<Frame_Rate> Stated = Fraction_Of(Line.substr(Unit.size()));
    if (Stated) Unit_Seconds = Stated->Hz();
    return Stated.has_value();
  }
  if (Line.substr(0, 1) == "#") return true;
  // What a decoder says may have begun the line.
  const std::size_t Bracket = Line.rfind("] ");
  if (Bracket != std::string_view::npos) Line.remove_prefix(Bracket + 2);
  const std::optional<std::int64_t> Time = Shown_Time(Line);
  if (Time) Times.push_back(static_cast<double>(*Time) * Unit_Seconds);
  return Time.has_value();
}

}  // namespace rigsync
