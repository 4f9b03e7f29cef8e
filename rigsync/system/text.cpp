// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/text.h"

#include <algorithm>

namespace rigsync {

std::string Folded(std::string_view Text, std::size_t Indent, std::size_t Width) {
  const std::string Margin(Indent, ' ');
  std::string Result;
  std::string Line;
  const auto End_Line = [&] {
    Result += Margin + Line + "\n";
    Line.clear();
  };
  std::size_t Position = 0;
  while (Position < Text.size()) {
    if (Text[Position] == '\n' || Text[Position] == ' ') {
      if (Text[Position] == '\n') End_Line();
      ++Position;
      continue;
    }
    const std::size_t Word_End = std::min(Text.find_first_of(" \n", Position), Text.size());
    const std::string_view Word = Text.substr(Position, Word_End - Position);
    if (!Line.empty() && Indent + Line.size() + 1 + Word.size() > Width) End_Line();
    if (!Line.empty()) Line += ' ';
    Line += Word;
    Position = Word_End;
  }
  if (!Line.empty()) End_Line();
  return Result;
}

std::string One_Line(std::string_view Text) {
  std::string Result;
  bool Space_Due = false;
  for (const char Letter : Text) {
    const auto Byte = static_cast<unsigned char>(Letter);
    if (Byte <= ' ' || Byte == 0x7f) {
      Space_Due = !Result.empty();
      continue;
    }
    if (Space_Due) Result += ' ';
    Space_Due = false;
    Result += Letter;
  }
  return Result;
}

std::string Lower_Case(std::string Text) {
  for (char& Letter : Text) {
    if (Letter >= 'A' && Letter <= 'Z') Letter = static_cast<char>(Letter - 'A' + 'a');
  }
  return Text;
}

}  // namespace rigsync
