// SPDX-License-Identifier: Apache-2.0
//
// The arguments and flags shared by every command that reads a capture: its CSV, the board, the
// stage file and the folder of the images.
#ifndef RIGSYNC_COMMAND_LINE_CAPTURE_FLAGS_H
#define RIGSYNC_COMMAND_LINE_CAPTURE_FLAGS_H

#include "rigsync/formats/stage_file.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

// As typed, before any file is read.
struct Capture_Arguments {
  std::string Csv, Image_Root, Config;
  Stage_Settings Typed_Settings;
};

// A flag whose value the stage file can give too.
struct Value_Flag {
  const char* Key;   // the flag without dashes
  const char* Type;  // of the value, for the help
  const char* Help;
};

// Adds CAPTURE, --board, --square, --board-euler, --board-offset, --board-accuracy, --markers, the
// flags of More, --config and --image-root, in this order. Arguments has to outlive the parsing of
// the command line.
void Add_Capture_Flags(CLI::App& Command, Capture_Arguments& Arguments,
                       const std::vector<Value_Flag>& More = {});

// The settings of the stage: those typed, and those of the stage file for the others. The file may
// have settings that a command doesn't read.
class Stage_Values {
 public:
  // Throws Usage_Error for a file that can't be read.
  explicit Stage_Values(const Capture_Arguments& Arguments);

  bool Has(const std::string& Key) const { return All_Settings.count(Key) != 0; }

  // The value of Key, parsed by Parse; an error names the flag or the key in the file. Throws
  // Usage_Error when the value is missing, with Alternative appended to the message.
  template <typename Value>
  Value Read(const std::string& Key, Value (*Parse)(const std::string&, const std::string&),
             const std::string& Alternative = "") const {
    return Parse(Value_Name(Typed_Settings, Key, Config),
                 Required_Value(All_Settings, Key, Alternative));
  }

 private:
  Stage_Settings Typed_Settings, All_Settings;
  std::string Config;
};

// The folder that relative image paths start from, absolute: --image-root, or the folder of the
// CSV. Throws Usage_Error when --image-root is not a folder or CAPTURE is empty.
std::filesystem::path Image_Root_Of(const Capture_Arguments& Arguments);

}  // namespace rigsync

#endif  // RIGSYNC_COMMAND_LINE_CAPTURE_FLAGS_H
