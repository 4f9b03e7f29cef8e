// SPDX-License-Identifier: Apache-2.0
#include "host/stage_file.h"

#include "host/arguments.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace host {
namespace {

using Json = nlohmann::ordered_json;

[[noreturn]] void Refuse_Stage(const std::filesystem::path& File, const std::string& Why) {
  throw Usage_Error(fmt::format("--config: {}: {}", File.string(), Why));
}

std::string Flag_Text(const std::filesystem::path& File, const std::string& Key,
                      const Json& Value) {
  if (Value.is_string()) return Value.get<std::string>();
  if (Value.is_number()) return Value.dump();
  const auto Is_Number = [](const Json& Element) { return Element.is_number(); };
  if (!Value.is_array() || !std::all_of(Value.begin(), Value.end(), Is_Number)) {
    Refuse_Stage(File,
                 fmt::format("'{}' is neither a text nor a number nor a list of numbers", Key));
  }
  return Comma_List(Value.get<std::vector<double>>());
}

}  // namespace

Stage Read_Stage(const std::filesystem::path& File, const std::vector<std::string>& Known) {
  std::ifstream Stream(File);
  if (!Stream) Refuse_Stage(File, "can't be opened");
  const Json Root = Json::parse(Stream, nullptr, /*allow_exceptions=*/false);
  if (!Root.is_object()) Refuse_Stage(File, "expected a JSON object");
  Stage Values;
  for (const auto& [Key, Value] : Root.items()) {
    if (std::find(Known.begin(), Known.end(), Key) == Known.end()) {
      Refuse_Stage(File, fmt::format("'{}' is unknown; expected {}", Key, fmt::join(Known, ", ")));
    }
    Values[Key] = Flag_Text(File, Key, Value);
  }
  return Values;
}

void Write_Stage(const std::filesystem::path& File, const Stage& Values) {
  std::ofstream Stream(File, std::ios::trunc);
  Stream << Json(Values).dump(2) << "\n";
  Stream.close();
  if (!Stream) throw std::runtime_error(fmt::format("{} can't be written", File.string()));
}

std::string Comma_List(const std::vector<double>& Values) {
  // fmt's default form of a double is the shortest that reads the same back.
  return fmt::format("{}", fmt::join(Values, ","));
}

}  // namespace host
