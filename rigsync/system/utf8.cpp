// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/utf8.h"

#include <algorithm>

namespace rigsync {
namespace {

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

bool Is_Character(std::uint32_t Code) {
  return Code <= 0x10FFFF && (Code < 0xD800 || Code > 0xDFFF);
}

}  // namespace

Utf8_Character Character_At(std::string_view Text, std::size_t i) {
  const Coded_Length Length = Length_From(Byte_At(Text, i));
  if (Length.Bytes == 0 || i + Length.Bytes > Text.size()) return {};
  std::uint32_t Code = Length.First_Bits;
  for (std::size_t k = 1; k < Length.Bytes; ++k) {
    const unsigned Next = Byte_At(Text, i + k);
    if (Next >> 6 != 0x2) return {};
    Code = Code << 6 | (Next & 0x3F);
  }
  if (Code < Length.Least || !Is_Character(Code)) return {};
  return {Length.Bytes, Code};
}

std::string First_Characters(std::string_view Text, std::size_t Count) {
  std::size_t End = 0;
  for (; Count > 0 && End < Text.size(); --Count) {
    End += std::max<std::size_t>(Character_At(Text, End).Bytes, 1);
  }
  return std::string(Text.substr(0, End));
}

}  // namespace rigsync
