// SPDX-License-Identifier: Apache-2.0
//
// The flags that every command takes which looks at a capture: its CSV, the board, the stage file
// and where the images are. Declared and read in one place, so that two commands don't differ.
#ifndef RIGSYNC_COMMAND_LINE_CAPTURE_FLAGS_H
#define RIGSYNC_COMMAND_LINE_CAPTURE_FLAGS_H

#include "rigsync/formats/stage_file.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

// What was typed, before anything is read from it.
struct Capture_Words {
  std::string Csv, Image_Root, Config;
  Stage Values;  // by flag without dashes
};

// A value that can stand in the stage file too.
struct Value_Flag {
  const char* Key;   // the flag without dashes
  const char* Type;  // of the value, in the help
  const char* Help;
};

// Adds CAPTURE, --board, --square, --board-euler, --board-offset, the flags of More, --config and
// --image-root, in this order.
// Words has to outlive the command line's parsing.
void Add_Capture_Flags(CLI::App& Command, Capture_Words& Words,
                       const std::vector<Value_Flag>& More = {});

// The values of the stage, a typed one before that of the file, which may hold more than a command
// reads.
class Stage_Values {
 public:
  // Throws Usage_Error for a file that can't be read.
  explicit Stage_Values(const Capture_Words& Words);

  bool Has(const std::string& Key) const { return All.count(Key) != 0; }

  // The value of Key as Parse reads it; refusals name it as the flag or the file's key. Throws
  // Usage_Error when it stands nowhere, with Otherwise behind what was expected.
  template <typename Value>
  Value Read(const std::string& Key, Value (*Parse)(const std::string&, const std::string&),
             const std::string& Otherwise = "") const {
    return Parse(Value_Name(Typed, Key, Config), Required_Value(All, Key, Otherwise));
  }

 private:
  Stage Typed, All;
  std::string Config;
};

// Where relative image paths start, absolute: what was typed, or the folder of the CSV. Throws
// Usage_Error when what was typed is no folder, or no CSV was named.
std::filesystem::path Image_Root_Of(const Capture_Words& Words);

}  // namespace rigsync

#endif  // RIGSYNC_COMMAND_LINE_CAPTURE_FLAGS_H
