// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/shallow_json.h"

#include <nlohmann/json.hpp>
#include <system_error>

namespace rigsync {

nlohmann::ordered_json Shallow_Json(std::istream& Stream) {
  using Json = nlohmann::ordered_json;
  bool Is_Too_Deep = false;
  // A value that is turned down is not kept, so what is too deep never comes to be.
  const auto Check_Depth = [&](int Depth, Json::parse_event_t /*Event*/, Json& /*Value*/) {
    if (Depth > Deepest_Json) Is_Too_Deep = true;
    return !Is_Too_Deep;
  };
  Json Root = Json::parse(Stream, Check_Depth, /*allow_exceptions=*/false);
  return Is_Too_Deep ? Json(Json::value_t::discarded) : Root;
}

bool Is_Document_File(const std::filesystem::path& File) {
  std::error_code Ignored;
  const std::filesystem::file_status Status = std::filesystem::status(File, Ignored);
  return !std::filesystem::exists(Status) || std::filesystem::is_regular_file(Status);
}

}  // namespace rigsync
