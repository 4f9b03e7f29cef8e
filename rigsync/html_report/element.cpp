// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/element.h"

#include "rigsync/system/utf8.h"

#include <fmt/format.h>

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace rigsync {
namespace {

// Control characters and noncharacters: a parser of HTML complains of them.
bool Is_Allowed(std::uint32_t Code) {
  if (Code < 0x20) return Code == '\n' || Code == '\t';
  if (Code >= 0x7F && Code <= 0x9F) return false;
  if (Code >= 0xFDD0 && Code <= 0xFDEF) return false;
  return (Code & 0xFFFE) != 0xFFFE;
}

}  // namespace

std::string Page_Text(std::string_view Text) {
  std::string Clean;
  for (std::size_t i = 0; i < Text.size();) {
    const Utf8_Character Next = Character_At(Text, i);
    const bool Is_Kept = Next.Bytes > 0 && Is_Allowed(Next.Code);
    Clean += Is_Kept ? Text.substr(i, Next.Bytes) : Replacement_Character;
    i += Is_Kept ? Next.Bytes : 1;
  }
  return Clean;
}

Element Add(Element Parent, const char* Tag, std::string_view Class) {
  Element New = Parent.append_child(Tag);
  if (!Class.empty()) Set(New, "class", Class);
  return New;
}

Element Add_Text(Element Parent, const char* Tag, std::string_view Text, std::string_view Class) {
  Element New = Add(Parent, Tag, Class);
  Append_Text(New, Text);
  return New;
}

void Append_Text(Element Parent, std::string_view Text) {
  Parent.append_child(pugi::node_pcdata).set_value(Page_Text(Text).c_str());
}

void Set(Element At, const char* Name, std::string_view Value) {
  pugi::xml_attribute Attribute = At.attribute(Name);
  if (!Attribute) Attribute = At.append_attribute(Name);
  Attribute.set_value(Page_Text(Value).c_str());
}

void Set(Element At, const char* Name, double Value, int Digits) {
  Set(At, Name, Short_Number(Value, Digits));
}

std::string Short_Number(double Value, int Digits) {
  if (!std::isfinite(Value)) return "0";
  std::string Text = fmt::format("{:.{}f}", Value, Digits);
  if (Text.find('.') != std::string::npos) {
    Text.erase(Text.find_last_not_of('0') + 1);
    if (Text.back() == '.') Text.pop_back();
  }
  return Text == "-0" ? "0" : Text;
}

}  // namespace rigsync
