// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/import_file.h"

#include "rigsync/formats/label_words.h"
#include "rigsync/formats/shallow_json.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/system/file_hash.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/system/version.h"

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <system_error>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* Format_Name = "rigsync-import";
constexpr int Format_Version = 1;
constexpr double Mm_Per_Metre = 1000.0;

// ---- Writing ---------------------------------------------------------------------------------

Json Three(const Eigen::Vector3d& Values) {
  return {Values.x(), Values.y(), Values.z()};
}

Json Reading_Json(const Body_Reading& Reading) {
  return {{"position_m", Reading.Sample.Position},
          {"quaternion_wxyz", Reading.Sample.Quaternion},
          {"samples", Reading.Sample_Count},
          {"spread_mm", Reading.Spread_Mm},
          {"spread_deg", Reading.Spread_Deg},
          {"velocity_m_s", Three(Reading.Velocity.Linear)},
          {"angular_velocity_rad_s", Three(Reading.Velocity.Angular)}};
}

Json Row_Json(const Imported_Row& Row) {
  Json Object = {{"picture", Row.Picture.generic_string()},
                 {"picture_s", Row.Picture_Seconds},
                 {"line", Row.Csv_Line ? Json(*Row.Csv_Line) : Json()},
                 {"refusal", Row.Refusal.empty() ? Json() : Json(Row.Refusal)},
                 {"begin_s", Row.Begin_Seconds},
                 {"end_s", Row.End_Seconds}};
  // A picture without a row may have had no samples.
  Object["camera"] = Row.Csv_Line ? Reading_Json(Row.Camera) : Json();
  Object["board"] = Row.Csv_Line ? Reading_Json(Row.Board) : Json();
  return Object;
}

Json Label_Json(Body_Labels Labels) {
  const char* const Word = Labels_Name(Labels);
  return Word == nullptr ? Json() : Json(Word);
}

Json Body_Json(const std::string& Name, const Body_Facts& Facts) {
  return {{"body", Name},
          {"samples", Facts.Samples},
          {"lost", Facts.Lost},
          {"rate_hz", Facts.Rate_Hz},
          {"noise_mm", Facts.Noise.Position_Mm},
          {"noise_deg", Facts.Noise.Rotation_Deg},
          {"rest_mm_s", Mm_Per_Metre * Facts.Rest.Linear},
          {"rest_deg_s", Degrees_Per_Radian * Facts.Rest.Angular}};
}

Json Clock_Json(const Clock_Match& Clock) {
  Json Object = {{"method", Clock_Method_Name(Clock.Method)},
                 {"offset_s", Clock.Offset_Seconds},
                 {"certain", Clock.Is_Certain},
                 {"score", nullptr},
                 {"second_score", nullptr},
                 {"second_offset_s", nullptr}};
  if (Clock.Method != Clock_Method::Correlation) return Object;
  Object["score"] = Clock.Score;
  Object["second_score"] = Clock.Second_Score;
  Object["second_offset_s"] = Clock.Second_Offset_Seconds;
  return Object;
}

// ---- Reading ---------------------------------------------------------------------------------

[[noreturn]] void Refuse_Import(const std::filesystem::path& File, const std::string& Reason) {
  throw Usage_Error(fmt::format("{}: {}; expected an import.json that 'rigsync import' wrote",
                                File.string(), Reason));
}

// A value of the file with its place, by which it is refused.
class Import_Value {
 public:
  Import_Value(const std::filesystem::path& From, const Json& Value, std::string Place)
      : File(From), Here(Value), Name(std::move(Place)) {}

  [[noreturn]] void Refuse(const char* Expected) const {
    Refuse_Import(File, fmt::format("'{}' is not {}", Name, Expected));
  }

  Import_Value At(const char* Key) const {
    const std::string Place = Name.empty() ? Key : Name + "." + Key;
    if (!Here.is_object()) Refuse("an object");
    const auto Found = Here.find(Key);
    if (Found == Here.end()) Refuse_Import(File, fmt::format("'{}' is missing", Place));
    return {File, *Found, Place};
  }

  // Whether the object has the key. An import.json of an earlier version may lack some.
  bool Has(const char* Key) const { return Here.is_object() && Here.contains(Key); }

  std::vector<Import_Value> Elements() const {
    if (!Here.is_array()) Refuse("a list");
    std::vector<Import_Value> List;
    for (std::size_t i = 0; i < Here.size(); ++i) {
      List.push_back({File, Here[i], fmt::format("{}[{}]", Name, i)});
    }
    return List;
  }

  bool Is_Null() const { return Here.is_null(); }

  double Number() const {
    const double Value = Here.is_number() ? Here.get<double>() : std::nan("");
    if (!std::isfinite(Value)) Refuse("a finite number");
    return Value;
  }

  double Number_From_0() const {
    const double Value = Number();
    if (Value < 0.0) Refuse("a number from 0");
    return Value;
  }

  std::size_t Count() const {
    constexpr std::size_t Largest = 1'000'000'000;
    if (!Here.is_number_unsigned() || Here.get<std::size_t>() > Largest) {
      Refuse("a whole number from 0");
    }
    return Here.get<std::size_t>();
  }

  bool Truth() const {
    if (!Here.is_boolean()) Refuse("true or false");
    return Here.get<bool>();
  }

  std::string Text() const {
    if (!Here.is_string()) Refuse("a text");
    return Here.get<std::string>();
  }

  template <std::size_t Size>
  std::array<double, Size> Numbers(const char* Expected) const {
    if (!Here.is_array() || Here.size() != Size) Refuse(Expected);
    std::array<double, Size> Values{};
    const auto List = Elements();
    for (std::size_t i = 0; i < Size; ++i) Values[i] = List[i].Number();
    return Values;
  }

  Eigen::Vector3d Vector() const {
    const auto Values = Numbers<3>("a list of 3 numbers");
    return {Values[0], Values[1], Values[2]};
  }

 private:
  const std::filesystem::path& File;
  const Json& Here;
  std::string Name;
};

Body_Reading Reading_At(const Import_Value& Value) {
  Body_Reading Reading;
  Reading.Sample.Position = Value.At("position_m").Numbers<3>("a list of 3 numbers");
  Reading.Sample.Quaternion = Value.At("quaternion_wxyz").Numbers<4>("a list of 4 numbers");
  Reading.Sample_Count = Value.At("samples").Count();
  Reading.Spread_Mm = Value.At("spread_mm").Number_From_0();
  Reading.Spread_Deg = Value.At("spread_deg").Number_From_0();
  Reading.Velocity.Linear = Value.At("velocity_m_s").Vector();
  Reading.Velocity.Angular = Value.At("angular_velocity_rad_s").Vector();
  return Reading;
}

Imported_Row Row_At(const Import_Value& Value) {
  Imported_Row Row;
  Row.Picture = std::filesystem::path(Value.At("picture").Text());
  Row.Picture_Seconds = Value.At("picture_s").Number();
  Row.Begin_Seconds = Value.At("begin_s").Number();
  Row.End_Seconds = Value.At("end_s").Number();
  const Import_Value Refusal = Value.At("refusal"), Line = Value.At("line");
  if (!Refusal.Is_Null()) Row.Refusal = Refusal.Text();
  if (Line.Is_Null()) return Row;
  Row.Csv_Line = Line.Count();
  Row.Camera = Reading_At(Value.At("camera"));
  Row.Board = Reading_At(Value.At("board"));
  return Row;
}

Body_Facts Facts_At(const Import_Value& Value) {
  Body_Facts Facts;
  Facts.Samples = Value.At("samples").Count();
  Facts.Lost = Value.At("lost").Count();
  Facts.Rate_Hz = Value.At("rate_hz").Number_From_0();
  Facts.Noise.Position_Mm = Value.At("noise_mm").Number_From_0();
  Facts.Noise.Rotation_Deg = Value.At("noise_deg").Number_From_0();
  Facts.Rest.Linear = Value.At("rest_mm_s").Number_From_0() / Mm_Per_Metre;
  Facts.Rest.Angular = Value.At("rest_deg_s").Number_From_0() / Degrees_Per_Radian;
  return Facts;
}

// One of the words that Name gives for Choices.
template <typename Choice, std::size_t Size>
Choice Word_At(const Import_Value& Value, const std::array<Choice, Size>& Choices,
               const char* (*Name)(Choice)) {
  const std::string Word = Value.Text();
  for (const Choice One : Choices) {
    if (Word == Name(One)) return One;
  }
  Value.Refuse("one of the words that it can be");
}

Body_Labels Labels_At(const Import_Value& Value) {
  if (Value.Is_Null()) return Body_Labels::Unknown;
  const auto Named = Labels_Named(Value.Text());
  if (!Named) Value.Refuse("one of the words that it can be");
  return *Named;
}

Clock_Match Clock_At(const Import_Value& Value) {
  Clock_Match Clock;
  Clock.Method =
      Word_At(Value.At("method"),
              std::array{Clock_Method::Stated, Clock_Method::Timecode, Clock_Method::Correlation},
              Clock_Method_Name);
  Clock.Offset_Seconds = Value.At("offset_s").Number();
  Clock.Is_Certain = Value.At("certain").Truth();
  if (Clock.Method != Clock_Method::Correlation) return Clock;
  Clock.Score = Value.At("score").Number();
  Clock.Second_Score = Value.At("second_score").Number();
  Clock.Second_Offset_Seconds = Value.At("second_offset_s").Number();
  return Clock;
}

Json Read_Root(const std::filesystem::path& File) {
  std::error_code Ignored;
  if (std::filesystem::is_directory(File, Ignored)) Refuse_Import(File, "is a folder");
  if (!Is_Document_File(File))
    Refuse_Import(File, "is a pipe or a device, to be saved as a file first");
  std::ifstream Stream(File);
  if (!Stream) {
    Refuse_Import(File, "can't be opened (" + std::generic_category().message(errno) + ")");
  }
  Json Root = Shallow_Json(Stream);
  if (!Root.is_object() || Root.value("format", Json()) != Format_Name) {
    Refuse_Import(File, "is not an import");
  }
  if (Root.value("format_version", Json()) != Format_Version) {
    Refuse_Import(File, "was written by another version of the command");
  }
  return Root;
}

}  // namespace

const char* Clock_Method_Name(Clock_Method Method) {
  switch (Method) {
    case Clock_Method::Stated:
      return "stated";
    case Clock_Method::Timecode:
      return "timecode";
    case Clock_Method::Correlation:
      return "correlation";
  }
  return "";
}

const char* Pose_Choice_Name(Pose_Choice Choice) {
  switch (Choice) {
    case Pose_Choice::Hold:
      return "hold";
    case Pose_Choice::Picture:
      return "picture";
  }
  return "";
}

std::string Import_Json(const Import_File& Written) {
  const Import_Record& Record = Written.Record;
  Json Takes = Json::array(), Facts = Json::array(), Rows = Json::array();
  for (const auto& Take : Record.Takes) Takes.push_back(Take.generic_string());
  for (const auto& [What, Is] : Record.Facts) Facts.push_back({{"what", What}, {"is", Is}});
  for (const Imported_Row& Row : Record.Rows) Rows.push_back(Row_Json(Row));
  Json Root;
  Root["format"] = Format_Name;
  Root["format_version"] = Format_Version;
  Root["version"] = Command_Version;
  Root["csv"] = Written.Csv;
  Root["csv_sha256"] = Written.Csv_Sha256;
  Root["takes"] = Takes;
  Root["take_format"] = Record.Format;
  Root["facts"] = Facts;
  Root["pictures"] = Record.Pictures.generic_string();
  Root["picture_times"] = Record.Picture_Times;
  Root["camera"] = Body_Json(Record.Camera_Body, Record.Camera);
  Root["camera_tracker_axes"] = Label_Json(Record.Camera_Labels);
  Root["board"] = Record.Board_Body.empty() ? Json() : Body_Json(Record.Board_Body, Record.Board);
  Root["pose"] = Pose_Choice_Name(Record.Pose);
  Root["holds"] = Record.Hold_Count;
  Root["clock"] = Clock_Json(Record.Clock);
  Root["rows"] = Rows;
  return Root.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

Import_File Read_Import(const std::filesystem::path& File) {
  const Json Whole = Read_Root(File);
  const Import_Value Root(File, Whole, "");
  Import_File Read;
  Read.Csv = Root.At("csv").Text();
  Read.Csv_Sha256 = Root.At("csv_sha256").Text();
  Import_Record& Record = Read.Record;
  for (const Import_Value& Take : Root.At("takes").Elements()) {
    Record.Takes.push_back(std::filesystem::path(Take.Text()));
  }
  Record.Format = Root.At("take_format").Text();
  for (const Import_Value& Fact : Root.At("facts").Elements()) {
    Record.Facts.emplace_back(Fact.At("what").Text(), Fact.At("is").Text());
  }
  Record.Pictures = std::filesystem::path(Root.At("pictures").Text());
  Record.Picture_Times = Root.At("picture_times").Text();
  const Import_Value Camera = Root.At("camera"), Board = Root.At("board");
  Record.Camera_Body = Camera.At("body").Text();
  Record.Camera = Facts_At(Camera);
  if (Root.Has("camera_tracker_axes")) {
    Record.Camera_Labels = Labels_At(Root.At("camera_tracker_axes"));
  }
  if (!Board.Is_Null()) {
    Record.Board_Body = Board.At("body").Text();
    Record.Board = Facts_At(Board);
  }
  Record.Pose = Word_At(Root.At("pose"), std::array{Pose_Choice::Hold, Pose_Choice::Picture},
                        Pose_Choice_Name);
  Record.Hold_Count = Root.At("holds").Count();
  Record.Clock = Clock_At(Root.At("clock"));
  for (const Import_Value& Row : Root.At("rows").Elements()) Record.Rows.push_back(Row_At(Row));
  return Read;
}

Body_Labels Labels_Of_Capture(const std::filesystem::path& Csv) {
  const std::filesystem::path File = Csv.parent_path() / Import_File_Name;
  std::error_code Ignored;
  if (!std::filesystem::is_regular_file(File, Ignored)) return Body_Labels::Unknown;
  try {
    const Import_File Beside = Read_Import(File);
    const bool Is_Of_Csv =
        Beside.Csv == Csv.filename().string() && Beside.Csv_Sha256 == File_Sha256(Csv);
    return Is_Of_Csv ? Beside.Record.Camera_Labels : Body_Labels::Unknown;
  } catch (const Usage_Error&) {
    return Body_Labels::Unknown;
  }
}

}  // namespace rigsync
