// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/doubts.h"

#include "rigsync/exports/script_text.h"

#include <nlohmann/json.hpp>

#include <cstddef>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

std::string In_Notes(const std::string& Text, const std::string& Doubts) {
  Json Sample = Json::parse(Text);
  Json& Notes = Sample["tracker"]["notes"];
  Notes = "Warning: " + Doubts + " " + Notes.get<std::string>();
  return Sample.dump(2) + "\n";
}

// A directive and the mark that ends the directives come first in YAML of OpenCV.
std::size_t First_Free_Line(const std::string& Text) {
  constexpr const char* Mark = "---\n";
  const std::size_t At = Text.rfind("%YAML", 0) == 0 ? Text.find(Mark) : std::string::npos;
  return At == std::string::npos ? 0 : At + std::string(Mark).size();
}

}  // namespace

std::string With_Doubts(const std::string& Target, const std::string& Text,
                        const std::string& Doubts) {
  if (Doubts.empty() || Target == "corners") return Text;
  if (Target == "opentrackio") return In_Notes(Text, Doubts);
  const std::size_t At = First_Free_Line(Text);
  return Text.substr(0, At) + Comment("Warning: " + Doubts) + "#\n" + Text.substr(At);
}

}  // namespace rigsync
