// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/stage_file.h"

#include "rigsync/formats/shallow_json.h"

#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"
#include "rigsync/system/whole_file.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string_view>
#include <system_error>

// The file is only read.
#define TOML_ENABLE_FORMATTERS 0
// In a debug build the parser asserts what a malformed file can break, such as "[$x]". Without the
// assertion it reports an error.
#define TOML_ASSERT(Condition) static_assert(true)
#include <toml++/toml.h>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

[[noreturn]] void Refuse_File(const std::filesystem::path& File, const std::string& Why) {
  throw Usage_Error("--config", fmt::format("--config: {}: {}", File.string(), Why));
}

std::string Flag_Text(const std::filesystem::path& File, const std::string& Key,
                      const Json& Value) {
  if (Value.is_string()) return Value.get<std::string>();
  if (Value.is_number()) return Comma_List({Value.get<double>()});
  const auto Is_Number = [](const Json& Element) { return Element.is_number(); };
  if (!Value.is_array() || !std::all_of(Value.begin(), Value.end(), Is_Number)) {
    Refuse_File(File, fmt::format("'{}' must be a string, a number or a list of numbers", Key));
  }
  return Comma_List(Value.get<std::vector<double>>());
}

std::string Read_Bytes(const std::filesystem::path& File) {
  // A pipe ends with its writer; a device may have no end.
  std::error_code Ignored;
  if (std::filesystem::is_character_file(File, Ignored)) {
    Refuse_File(File, "is a device or a terminal; expected a file");
  }
  std::ifstream Stream(File, std::ios::binary);
  if (!Stream) {
    Refuse_File(File, "can't be opened (" + std::generic_category().message(errno) + ")");
  }
  std::ostringstream Bytes;
  // A folder can be opened, but not read.
  if (Stream.peek() != std::ifstream::traits_type::eof()) Bytes << Stream.rdbuf();
  if (Stream.bad()) Refuse_File(File, "can't be read");
  return Bytes.str();
}

// By the ending of the name. A file of another name is JSON when it starts with a brace, which TOML
// can't.
bool Is_Toml(const std::filesystem::path& File, std::string_view Text) {
  const std::string Ending = Lower_Case(File.extension().string());
  if (Ending == ".toml" || Ending == ".json") return Ending == ".toml";
  constexpr std::string_view Byte_Order_Mark = "\xef\xbb\xbf";
  if (Text.substr(0, Byte_Order_Mark.size()) == Byte_Order_Mark) {
    Text.remove_prefix(Byte_Order_Mark.size());
  }
  const std::size_t First = Text.find_first_not_of(" \t\r\n");
  return First == std::string_view::npos || Text[First] != '{';
}

// Line of the next byte that Stream reads, counted from 1.
std::size_t Current_Line(std::istream& Stream, std::string_view Text) {
  const auto Position = static_cast<std::size_t>(Stream.tellg());
  const std::string_view Before = Text.substr(0, Position);
  return 1 + static_cast<std::size_t>(std::count(Before.begin(), Before.end(), '\n'));
}

// The parser reports "[json.exception.parse_error.101] parse error at line 1, column 2: reason".
// The user needs the part from "line" on.
Json Parse_Json(const std::filesystem::path& File, const std::string& Text) {
  std::istringstream Stream(Text);
  std::map<std::string, std::size_t> Line_Of_Key;
  // The parser would silently keep the last of two values. It reads byte by byte: when it reports a
  // key, it has read as far as the closing quote.
  const auto Refuse_Duplicate = [&](int Depth, Json::parse_event_t Event, Json& Key) {
    if (Depth > Deepest_Json) {
      Refuse_File(File, fmt::format("line {}: values are nested more than {} levels deep",
                                    Current_Line(Stream, Text), Deepest_Json));
    }
    if (Depth != 1 || Event != Json::parse_event_t::key) return true;
    const std::size_t Line = Current_Line(Stream, Text);
    const auto [Earlier, Is_New] = Line_Of_Key.emplace(Key.get<std::string>(), Line);
    if (!Is_New) {
      Refuse_File(File, fmt::format("line {}: duplicate key '{}', first given on line {}", Line,
                                    Earlier->first, Earlier->second));
    }
    return true;
  };
  try {
    Json Root = Json::parse(Stream, Refuse_Duplicate);
    if (!Root.is_object()) Refuse_File(File, "expected a JSON object");
    return Root;
  } catch (const Json::exception& Error) {
    const std::string_view Message = Error.what();
    const std::size_t Place = Message.find("line ");
    const std::size_t Start = Place != std::string_view::npos ? Place : Message.find(' ') + 1;
    Refuse_File(File, "not valid JSON: " + One_Line(Message.substr(Start)));
  }
}

// Strings, numbers, booleans and lists of them as JSON. Anything else becomes an object, which no
// flag takes.
// NOLINTNEXTLINE(misc-no-recursion): the parser nests lists 256 deep at most
Json Json_Of(const toml::node& Node) {
  if (const auto* Text = Node.as_string()) return Text->get();
  if (const auto* Whole = Node.as_integer()) return Whole->get();
  if (const auto* Number = Node.as_floating_point()) return Number->get();
  if (const auto* Boolean = Node.as_boolean()) return Boolean->get();
  if (const auto* Elements = Node.as_array()) {
    Json List = Json::array();
    for (const toml::node& Element : *Elements) List.push_back(Json_Of(Element));
    return List;
  }
  return Json::object();
}

Json Parse_Toml(const std::filesystem::path& File, const std::string& Text) {
  try {
    Json Root = Json::object();
    for (const auto& [Key, Value] : toml::parse(Text)) {
      Root[std::string(Key.str())] = Json_Of(Value);
    }
    return Root;
  } catch (const toml::parse_error& Error) {
    const toml::source_position Place = Error.source().begin;
    Refuse_File(File, fmt::format("not valid TOML: line {}, column {}: {}", Place.line,
                                  Place.column, One_Line(Error.description())));
  }
}

}  // namespace

Stage_Settings Read_Stage_File(const std::filesystem::path& File,
                               const std::vector<std::string>& Known) {
  const std::string Text = Read_Bytes(File);
  const Json Root = Is_Toml(File, Text) ? Parse_Toml(File, Text) : Parse_Json(File, Text);
  Stage_Settings Values;
  for (const auto& [Key, Value] : Root.items()) {
    if (std::find(Known.begin(), Known.end(), Key) == Known.end()) {
      Refuse_File(File,
                  fmt::format("unknown key '{}'; expected one of {}", Key, fmt::join(Known, ", ")));
    }
    Values[Key] = Flag_Text(File, Key, Value);
  }
  return Values;
}

const std::vector<std::string>& Stage_Keys() {
  static const std::vector<std::string> Keys = {
      "board",  "square",   "board-euler", "board-offset",    "board-accuracy", "markers", "sensor",
      "limits", "solution", "body-axes",   "talent-distance", "axes",           "lag"};
  return Keys;
}

std::string Value_Name(const Stage_Settings& Typed, const std::string& Key,
                       const std::string& File) {
  return Typed.count(Key) != 0 || File.empty() ? "--" + Key : File + ": '" + Key + "'";
}

const std::string& Required_Value(const Stage_Settings& Values, const std::string& Key,
                                  const std::string& Alternative) {
  const auto Found = Values.find(Key);
  if (Found == Values.end()) {
    throw Usage_Error(
        "--" + Key,
        fmt::format("--{} is missing; expected on the command line or as '{}' in the file of "
                    "--config{}",
                    Key, Key, Alternative));
  }
  return Found->second;
}

void Write_Stage_File(const std::filesystem::path& File, const Stage_Settings& Values) {
  Write_Whole(File, Json(Values).dump(2) + "\n");
}

std::string Comma_List(const std::vector<double>& Values) {
  // fmt's default form of a double is the shortest that reads the same back.
  return fmt::format("{}", fmt::join(Values, ","));
}

}  // namespace rigsync
