// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/script_text.h"

#include "rigsync/system/text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <sstream>

namespace rigsync {
namespace {

using Json = nlohmann::ordered_json;

// A line has two columns less than the script's.
constexpr std::size_t Comment_Width = 98;

// One line. An invalid byte of a path, which JSON can't hold, becomes U+FFFD.
std::string On_One_Line(const Json& Value) {
  if (!Value.is_array()) return Value.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string Text;
  for (const Json& Element : Value) Text += (Text.empty() ? "" : ", ") + On_One_Line(Element);
  return "[" + Text + "]";
}

bool Is_Structured(const Json& Value) {
  return Value.is_object() ||
         (Value.is_array() && std::any_of(Value.begin(), Value.end(), [](const Json& Element) {
            return Element.is_structured();
          }));
}

std::string Indented(const Json& Value, std::size_t Indent) {
  if (!Is_Structured(Value)) return On_One_Line(Value);
  const std::string Margin(Indent, ' ');
  std::string Text;
  for (const auto& [Key, Element] : Value.items()) {
    Text += Text.empty() ? "\n" : ",\n";
    Text += Margin + "  ";
    if (Value.is_object()) Text += On_One_Line(Key) + ": ";
    Text += Indented(Element, Indent + 2);
  }
  return (Value.is_object() ? "{" : "[") + Text + "\n" + Margin + (Value.is_object() ? "}" : "]");
}

}  // namespace

const char* const Numbers_Begin = "# ---- begin of the numbers (JSON)";
const char* const Numbers_End = "# ---- end of the numbers";

std::string Numbers_Assignment(const Json& Numbers) {
  return std::string("NUMBERS = (\n") + Numbers_Begin + "\n" + Indented(Numbers, 0) + "\n" +
         Numbers_End + "\n)\n";
}

Json Axes_Words(const Tracker_Axes& Axes) {
  Json Words = Json::array();
  for (int r = 0; r < 3; ++r) {
    int Column = 0;
    Axes.row(r).cwiseAbs().maxCoeff(&Column);
    Words.push_back((Axes(r, Column) < 0.0 ? "-" : "") + std::string(1, "xyz"[Column]));
  }
  return Words;
}

std::string Comment(const std::string& Text) {
  std::istringstream Lines(Folded(Text, /*Indent=*/0, Comment_Width));
  std::string Comments;
  for (std::string Line; std::getline(Lines, Line);) {
    Comments += Line.empty() ? "#\n" : "# " + Line + "\n";
  }
  return Comments;
}

std::string Doubts_Comment(const std::string& Doubts) {
  return Doubts.empty() ? "" : Comment("Warning: " + Doubts) + "#\n";
}

}  // namespace rigsync
