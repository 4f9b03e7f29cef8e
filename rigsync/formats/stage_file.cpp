// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/stage_file.h"

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

// Reading is all that is wanted of it.
#define TOML_ENABLE_FORMATTERS 0
// In a debug build the parser asserts what a malformed file breaks, "[$x]" for one. Without that it
// tells the same as an error.
#define TOML_ASSERT(Condition) static_assert(true)
#include <toml++/toml.h>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

[[noreturn]] void Refuse_Stage(const std::filesystem::path& File, const std::string& Why) {
  throw Usage_Error(fmt::format("--config: {}: {}", File.string(), Why));
}

std::string Flag_Text(const std::filesystem::path& File, const std::string& Key,
                      const Json& Value) {
  if (Value.is_string()) return Value.get<std::string>();
  if (Value.is_number()) return Comma_List({Value.get<double>()});
  const auto Is_Number = [](const Json& Element) { return Element.is_number(); };
  if (!Value.is_array() || !std::all_of(Value.begin(), Value.end(), Is_Number)) {
    Refuse_Stage(File,
                 fmt::format("'{}' is neither a text nor a number nor a list of numbers", Key));
  }
  return Comma_List(Value.get<std::vector<double>>());
}

std::string Bytes_Of(const std::filesystem::path& File) {
  std::ifstream Stream(File, std::ios::binary);
  if (!Stream) {
    Refuse_Stage(File, "can't be opened (" + std::generic_category().message(errno) + ")");
  }
  std::ostringstream Bytes;
  // A folder opens, and has no byte to give.
  if (Stream.peek() != std::ifstream::traits_type::eof()) Bytes << Stream.rdbuf();
  if (Stream.bad()) Refuse_Stage(File, "can't be read");
  return Bytes.str();
}

// The name's ending says which it is. Any other name is JSON when it opens with a brace, which
// TOML can't.
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

// Line of the byte before which Stream stands.
std::size_t Line_At(std::istream& Stream, std::string_view Text) {
  const auto Read = static_cast<std::size_t>(Stream.tellg());
  const std::string_view Before = Text.substr(0, Read);
  return 1 + static_cast<std::size_t>(std::count(Before.begin(), Before.end(), '\n'));
}

// What the parser throws reads "[json.exception.parse_error.101] parse error at line 1, column 2:
// what is wrong"; what a person needs begins at the line.
Json Parse_Json(const std::filesystem::path& File, const std::string& Text) {
  std::istringstream Stream(Text);
  std::map<std::string, std::size_t> Line_Of;  // of each key so far
  // The parser would keep the last of two values and say nothing. It reads byte by byte, and has
  // read a key to its closing quote when it tells of it.
  const auto Refuse_Second = [&](int Depth, Json::parse_event_t Event, Json& Key) {
    if (Depth != 1 || Event != Json::parse_event_t::key) return true;
    const std::size_t Line = Line_At(Stream, Text);
    const auto [Earlier, Is_New] = Line_Of.emplace(Key.get<std::string>(), Line);
    if (!Is_New) {
      Refuse_Stage(File, fmt::format("line {}: '{}' stands on line {} already; expected it once",
                                     Line, Earlier->first, Earlier->second));
    }
    return true;
  };
  try {
    Json Root = Json::parse(Stream, Refuse_Second);
    if (!Root.is_object()) Refuse_Stage(File, "expected a JSON object");
    return Root;
  } catch (const Json::exception& Wrong) {
    const std::string_view What = Wrong.what();
    const std::size_t Place = What.find("line ");
    const std::size_t Start = Place != std::string_view::npos ? Place : What.find(' ') + 1;
    Refuse_Stage(File, "not valid JSON: " + One_Line(What.substr(Start)));
  }
}

// Texts, numbers, truth values and lists of them as JSON has them; anything else, which no flag
// takes, as an object.
// NOLINTNEXTLINE(misc-no-recursion): the parser lets lists stand in lists 256 deep and no deeper
Json Json_Of(const toml::node& Node) {
  if (const auto* Text = Node.as_string()) return Text->get();
  if (const auto* Whole = Node.as_integer()) return Whole->get();
  if (const auto* Number = Node.as_floating_point()) return Number->get();
  if (const auto* Truth = Node.as_boolean()) return Truth->get();
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
  } catch (const toml::parse_error& Wrong) {
    const toml::source_position Place = Wrong.source().begin;
    Refuse_Stage(File, fmt::format("not valid TOML: line {}, column {}: {}", Place.line,
                                   Place.column, One_Line(Wrong.description())));
  }
}

}  // namespace

Stage Read_Stage(const std::filesystem::path& File, const std::vector<std::string>& Known) {
  const std::string Text = Bytes_Of(File);
  const Json Root = Is_Toml(File, Text) ? Parse_Toml(File, Text) : Parse_Json(File, Text);
  Stage Values;
  for (const auto& [Key, Value] : Root.items()) {
    if (std::find(Known.begin(), Known.end(), Key) == Known.end()) {
      Refuse_Stage(File, fmt::format("'{}' is unknown; expected {}", Key, fmt::join(Known, ", ")));
    }
    Values[Key] = Flag_Text(File, Key, Value);
  }
  return Values;
}

const std::vector<std::string>& Stage_Keys() {
  static const std::vector<std::string> Keys = {"board", "square", "board-euler", "board-offset",
                                                "sensor"};
  return Keys;
}

std::string Value_Name(const Stage& Typed, const std::string& Key, const std::string& File) {
  return Typed.count(Key) != 0 || File.empty() ? "--" + Key : File + ": '" + Key + "'";
}

const std::string& Required_Value(const Stage& Values, const std::string& Key,
                                  const std::string& Otherwise) {
  const auto Found = Values.find(Key);
  if (Found == Values.end()) {
    throw Usage_Error(
        fmt::format("--{} is missing; expected on the command line or as '{}' in the file of "
                    "--config{}",
                    Key, Key, Otherwise));
  }
  return Found->second;
}

void Write_Stage(const std::filesystem::path& File, const Stage& Values) {
  Write_Whole(File, Json(Values).dump(2) + "\n");
}

std::string Comma_List(const std::vector<double>& Values) {
  // fmt's default form of a double is the shortest that reads the same back.
  return fmt::format("{}", fmt::join(Values, ","));
}

}  // namespace rigsync
