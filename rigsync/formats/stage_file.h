// SPDX-License-Identifier: Apache-2.0
//
// The settings that stay the same for every capture of one stage, in a TOML or JSON file. Its keys
// are flags of 'rigsync calibrate' without the dashes, such as "board" and "board-offset".
#ifndef RIGSYNC_FORMATS_STAGE_FILE_H
#define RIGSYNC_FORMATS_STAGE_FILE_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace rigsync {

// Value by key, each value as it would be typed after the flag.
using Stage_Settings = std::map<std::string, std::string>;

// The keys of a stage file, in the order in which messages list them.
const std::vector<std::string>& Stage_Keys();

// Reads a file as TOML or JSON by the ending of its name, .toml or .json, otherwise by its content.
// Values may be strings ("30mm"), numbers (0.03) or lists of numbers ([12, -20, 8]). Throws
// Usage_Error naming the file for any other value, for a key that is not in Known, and, with line
// and column, for a file that is neither TOML nor JSON.
Stage_Settings Read_Stage_File(const std::filesystem::path& File,
                               const std::vector<std::string>& Known);

// How messages name a value: the flag if it was typed, otherwise the key in the file.
std::string Value_Name(const Stage_Settings& Typed, const std::string& Key,
                       const std::string& File);

// The value of a key that a command requires. Throws Usage_Error that says where it is expected,
// with Alternative appended: another way to run the command.
const std::string& Required_Value(const Stage_Settings& Values, const std::string& Key,
                                  const std::string& Alternative = "");

// Writes a stage file as JSON. Throws std::runtime_error when the file can't be written.
void Write_Stage_File(const std::filesystem::path& File, const Stage_Settings& Values);

// Values as the text of one flag, "12,-20.25,8", with enough digits to read the same doubles back.
std::string Comma_List(const std::vector<double>& Values);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_STAGE_FILE_H
