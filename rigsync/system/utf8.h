// SPDX-License-Identifier: Apache-2.0
//
// The characters of a text that may be no UTF-8, as names of files are.
#ifndef RIGSYNC_SYSTEM_UTF8_H
#define RIGSYNC_SYSTEM_UTF8_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace rigsync {

struct Utf8_Character {
  std::size_t Bytes = 0;  // 0 where no character begins: the byte stands for itself
  std::uint32_t Code = 0;
};

// What a reader shows for a character that it can't.
constexpr const char* Replacement_Character = "\xEF\xBF\xBD";  // U+FFFD

// The character whose first byte is Text[i]. Surrogates, codes beyond Unicode and longer forms than
// needed are none.
Utf8_Character Character_At(std::string_view Text, std::size_t i);

// The first characters of a text, at most Count of them. A byte that is no part of one counts as
// one.
std::string First_Characters(std::string_view Text, std::size_t Count);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_UTF8_H
