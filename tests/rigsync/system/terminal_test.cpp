// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/terminal.h"

#include <gtest/gtest.h>
#include <pty.h>
#include <stdlib.h>
#include <unistd.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

using rigsync::Style;

// Sets an environment variable while one of these exists; a null value unsets it.
class Environment {
 public:
  Environment(const char* Variable, const char* Value) : Name(Variable) {
    if (const char* const Found = getenv(Variable)) Before = Found;
    Set(Value);
  }
  ~Environment() { Set(Before ? Before->c_str() : nullptr); }
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

 private:
  void Set(const char* Value) const {
    if (Value == nullptr) {
      unsetenv(Name);
    } else {
      setenv(Name, Value, 1);
    }
  }
  const char* Name;
  std::optional<std::string> Before;
};

// A stream connected to a pseudo-terminal.
class Terminal_Stream {
 public:
  Terminal_Stream() {
    int Ours = -1;
    if (openpty(&Theirs, &Ours, nullptr, nullptr, nullptr) != 0) {
      throw std::runtime_error("no terminal");
    }
    Stream = fdopen(Ours, "w");
  }
  ~Terminal_Stream() {
    std::fclose(Stream);
    close(Theirs);
  }
  Terminal_Stream(const Terminal_Stream&) = delete;
  Terminal_Stream& operator=(const Terminal_Stream&) = delete;
  std::FILE* Stream = nullptr;

 private:
  int Theirs = -1;
};

// What a name may hold: sequences that clear the screen and set the title, in the forms of one and
// of two bytes, a tab too far, and marks that turn the direction of reading.
TEST(Terminal, ANameInATextCannotSteerTheTerminal) {
  const std::string Mark = "\xEF\xBF\xBD";
  const std::pair<std::string, std::string> Cases[] = {
      {"a\x1b[2Jb", "a" + Mark + "[2Jb"},
      {"a\x1b]0;title\x07"
       "b",
       "a" + Mark + "]0;title" + Mark + "b"},
      {"a\xC2\x9B"
       "2Jb",
       "a" + Mark + "2Jb"},
      {"a\x9B"
       "2Jb",
       "a" + Mark + "2Jb"},
      {"a\rb\bc\x7F", "a" + Mark + "b" + Mark + "c" + Mark},
      {"a\xE2\x80\xAEgnp.b\xE2\x81\xA6", "a" + Mark + "gnp.b" + Mark},
      {std::string("a\0b", 3), "a" + Mark + "b"},
      // Hidden letters, and letters in colours that a text of ours never has.
      {"a\x1b[8mb", "a" + Mark + "[8mb"},
      {"a\x1b[1;30mb", "a" + Mark + "[1;30mb"},
      {"a\x1b[", "a" + Mark + "["}};
  for (const auto& [Text, Shown] : Cases) EXPECT_EQ(rigsync::Terminal_Text(Text), Shown);
}

TEST(Terminal, WhatIsPaintedAndEveryOtherLetterStays) {
  const std::string Text = "caf\xC3\xA9 \xF0\x9F\x8E\xA5\n\t\xE2\x80\x93 " +
                           rigsync::Painted(Style::Good, "Usable.", /*In_Colour=*/true) + "\n";
  ASSERT_NE(Text.find('\x1b'), std::string::npos);
  EXPECT_EQ(rigsync::Terminal_Text(Text), Text);
}

TEST(Terminal, ATerminalHasColoursUnlessTheEnvironmentForbidsThem) {
  const Terminal_Stream Terminal;
  EXPECT_TRUE(rigsync::Is_Terminal(Terminal.Stream));
  struct Case {
    const char* Term;
    const char* No_Color;
    bool In_Colour;
  };
  const Case Cases[] = {{"xterm", nullptr, true}, {"xterm", "", true},
                        {"xterm", "1", false},    {"xterm", "no", false},
                        {"dumb", nullptr, false}, {nullptr, nullptr, false},
                        {"", nullptr, false}};
  for (const Case& One : Cases) {
    SCOPED_TRACE(testing::Message() << (One.Term ? One.Term : "no TERM") << ", "
                                    << (One.No_Color ? One.No_Color : "no NO_COLOR"));
    const Environment Term("TERM", One.Term);
    const Environment No_Color("NO_COLOR", One.No_Color);
    EXPECT_EQ(rigsync::Uses_Colour(Terminal.Stream), One.In_Colour);
  }
}

TEST(Terminal, AFileHasNoColours) {
  const Environment Term("TERM", "xterm");
  const Environment No_Color("NO_COLOR", nullptr);
  std::FILE* const File = std::tmpfile();
  ASSERT_NE(File, nullptr);
  EXPECT_FALSE(rigsync::Is_Terminal(File));
  EXPECT_FALSE(rigsync::Uses_Colour(File));
  std::fclose(File);
}

TEST(Terminal, PaintedTextEndsItsOwnColourAndUnpaintedTextIsUnchanged) {
  EXPECT_EQ(rigsync::Painted(Style::Bad, "text", false), "text");
  EXPECT_EQ(rigsync::Painted(Style::Bad, "", true), "");
  const std::string Red = rigsync::Painted(Style::Bad, "text", true);
  EXPECT_NE(Red.find("\x1b[31m"), std::string::npos);
  EXPECT_EQ(Red.substr(Red.size() - 8), "text\x1b[0m");
}

TEST(Terminal, LinesArePaintedOneByOne) {
  const std::string Strong = rigsync::Painted(Style::Strong, "a", true);
  EXPECT_EQ(rigsync::Painted_Lines(Style::Strong, "a\n\na\n", true),
            Strong + "\n\n" + Strong + "\n");
  EXPECT_EQ(rigsync::Painted_Lines(Style::Strong, "a\nb", false), "a\nb");
}

}  // namespace
