// SPDX-License-Identifier: Apache-2.0
//
// What stays the same from capture to capture of one stage, kept in a TOML or JSON file so that
// nobody types the board twice: its keys are the flags of 'rigsync calibrate' without their dashes
// ("board", "square", "board-euler", "board-offset", "sensor").
#ifndef RIGSYNC_FORMATS_STAGE_FILE_H
#define RIGSYNC_FORMATS_STAGE_FILE_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace rigsync {

// Key to value, the value as it would be typed behind the flag.
using Stage = std::map<std::string, std::string>;

// The keys of a stage file, in the order in which people are told of them.
const std::vector<std::string>& Stage_Keys();

// A file named .toml or .json is read as that; of another, the content tells. Values may be texts
// ("30mm"), numbers (0.03) or lists of numbers ([12, -20, 8]). Throws Usage_Error naming the file
// for anything else, for a key that isn't among Known, and with line and column for what is
// neither TOML nor JSON.
Stage Read_Stage(const std::filesystem::path& File, const std::vector<std::string>& Known);

// How messages name a value: as the flag that was typed, or as a key of the file.
std::string Value_Name(const Stage& Typed, const std::string& Key, const std::string& File);

// The value of a key that a command can't do without. Throws Usage_Error saying where it is
// expected; Otherwise is added to that, for a command that has another way out.
const std::string& Required_Value(const Stage& Values, const std::string& Key,
                                  const std::string& Otherwise = "");

// As JSON. Throws std::runtime_error when the file can't be written.
void Write_Stage(const std::filesystem::path& File, const Stage& Values);

// Values as one flag's text, digits enough to read the same doubles back: "12,-20.25,8".
std::string Comma_List(const std::vector<double>& Values);

}  // namespace rigsync

#endif  // RIGSYNC_FORMATS_STAGE_FILE_H
