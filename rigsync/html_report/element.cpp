// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/element.h"

#include <fmt/format.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace rigsync {
namespace {

constexpr const char* Replacement = "\xEF\xBF\xBD";  // U+FFFD

unsigned Byte_At(std::string_view Text, std::size_t i) {
  return static_cast<unsigned char>(Text[i]);
}

struct Coded_Length {
  std::size_t Bytes;
  std::uint32_t First_Bits, Least;  // bits of the first byte, and the least value of this length
};

Coded_Length Length_From(unsigned First) {
  if (First < 0x80) return {1, First, 0};
  if (First >> 5 == 0x6) return {2, First & 0x1F, 0x80};
  if (First >> 4 == 0xE) return {3, First & 0x0F, 0x800};
  if (First >> 3 == 0x1E) return {4, First & 0x07, 0x10000};
  return {0, 0, 0};
}

// Control characters, surrogates and noncharacters: a parser of HTML complains of them.
bool Is_Allowed(std::uint32_t Code) {
  if (Code < 0x20) return Code == '\n' || Code == '\t';
  if (Code >= 0x7F && Code <= 0x9F) return false;
  if (Code >= 0xD800 && Code <= 0xDFFF) return false;
  if (Code >= 0xFDD0 && Code <= 0xFDEF) return false;
  return Code <= 0x10FFFF && (Code & 0xFFFE) != 0xFFFE;
}

// The bytes of the character at i, or 0 when there is none that a page may hold.
std::size_t Character_Length(std::string_view Text, std::size_t i) {
  const Coded_Length Length = Length_From(Byte_At(Text, i));
  if (Length.Bytes == 0 || i + Length.Bytes > Text.size()) return 0;
  std::uint32_t Code = Length.First_Bits;
  for (std::size_t k = 1; k < Length.Bytes; ++k) {
    const unsigned Next = Byte_At(Text, i + k);
    if (Next >> 6 != 0x2) return 0;
    Code = Code << 6 | (Next & 0x3F);
  }
  return Code >= Length.Least && Is_Allowed(Code) ? Length.Bytes : 0;
}

}  // namespace

std::string Page_Text(std::string_view Text) {
  std::string Clean;
  for (std::size_t i = 0; i < Text.size();) {
    const std::size_t Length = Character_Length(Text, i);
    Clean += Length == 0 ? Replacement : Text.substr(i, Length);
    i += Length == 0 ? 1 : Length;
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
