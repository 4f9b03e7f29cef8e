// SPDX-License-Identifier: Apache-2.0
//
// Reads run logs for tests: line by line, with the time text checked and removed.
#ifndef RIGSYNC_TESTS_SUPPORT_RUN_LOG_READER_H
#define RIGSYNC_TESTS_SUPPORT_RUN_LOG_READER_H

#include "tests/support/read_text.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

// Whether a text has the form 2022-11-17 09:05:33. It does not use <regex>, which would add seconds
// to the compile time of every test file.
inline bool Is_Time(const std::string& Text) {
  const std::string Form = "dddd-dd-dd dd:dd:dd";
  return std::equal(Text.begin(), Text.end(), Form.begin(), Form.end(),
                    [](char Letter, char Pattern) {
                      return Pattern == 'd' ? Letter >= '0' && Letter <= '9' : Letter == Pattern;
                    });
}

// The messages of a log file or of captured standard output. Throws when a line is not a time text,
// a tab and a message, or when the last line has no newline.
inline std::vector<std::string> Messages(const std::string& Text) {
  std::vector<std::string> Lines;
  std::size_t Start = 0;
  while (Start < Text.size()) {
    const std::size_t End = Text.find('\n', Start);
    if (End == std::string::npos) throw std::runtime_error("last log line has no newline");
    const std::string Line = Text.substr(Start, End - Start);
    if (Line.size() < 20 || Line[19] != '\t' || !Is_Time(Line.substr(0, 19))) {
      throw std::runtime_error("not a log line: " + Line);
    }
    Lines.push_back(Line.substr(20));
    Start = End + 1;
  }
  return Lines;
}

// The run log files of a folder, oldest name first. Runs that start in different seconds have
// different files.
inline std::vector<std::filesystem::path> Run_Logs(const std::filesystem::path& Folder) {
  std::vector<std::filesystem::path> Found;
  for (const auto& Entry : std::filesystem::directory_iterator(Folder)) {
    if (Entry.path().filename().string().rfind("log_", 0) == 0) Found.push_back(Entry.path());
  }
  std::sort(Found.begin(), Found.end());
  return Found;
}

// All messages of all run logs of a folder, in order.
inline std::vector<std::string> Read_Run_Log(const std::filesystem::path& Folder) {
  std::vector<std::string> Lines;
  for (const auto& Path : Run_Logs(Folder)) {
    const std::vector<std::string> More = Messages(Read_Text(Path));
    Lines.insert(Lines.end(), More.begin(), More.end());
  }
  return Lines;
}

// The messages that a stage wrote to the log file at Path; none if there is no file.
inline std::vector<std::string> Read_Log_File(const std::filesystem::path& Path) {
  return std::filesystem::exists(Path) ? Messages(Read_Text(Path)) : std::vector<std::string>();
}

#endif  // RIGSYNC_TESTS_SUPPORT_RUN_LOG_READER_H
