// SPDX-License-Identifier: Apache-2.0
//
// JSON from a file that may be anybody's. A document that is nested a hundred thousand levels deep
// is valid, but copying its values takes more stack than there is.
#ifndef RIGSYNC_FORMATS_SHALLOW_JSON_H
#define RIGSYNC_FORMATS_SHALLOW_JSON_H

#include <nlohmann/json_fwd.hpp>

#include <filesystem>
#include <istream>

namespace rigsync {

// More levels than any file that this command writes has.
constexpr int Deepest_Json = 64;

// The document, or a discarded value for what is no JSON or is nested deeper than Deepest_Json.
nlohmann::ordered_json Shallow_Json(std::istream& Stream);

// Whether a document can be read from File: false for a pipe, which nobody may write to, and for a
// device, which may have no end. True for what doesn't exist.
bool Is_Document_File(const std::filesystem::path& File);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_SHALLOW_JSON_H
