// SPDX-License-Identifier: Apache-2.0
//
// Runs the built command as a user would, and prepares captures for tests.
#ifndef RIGSYNC_TESTS_RIGSYNC_SUPPORT_PROGRAM_H
#define RIGSYNC_TESTS_RIGSYNC_SUPPORT_PROGRAM_H

#include "tests/support/read_text.h"

#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

struct Finished {
  int Status = -1;  // exit status, or 128 plus the signal's number
  std::string Output, Error;
  std::string Said;  // Error as one line: its line breaks depend on the length of paths
};

// Runs a program with these arguments, in Folder when one is given. Standard input is empty.
Finished Run_Program(const std::string& Program, const std::vector<std::string>& Arguments,
                     const std::filesystem::path& Folder = {});

// Runs the command 'rigsync'.
Finished Rigsync(const std::vector<std::string>& Arguments,
                 const std::filesystem::path& Folder = {});

// The simulated capture: 14 images of 640 by 480, a board of 7x5, no noise, relative image paths.
std::filesystem::path Capture_File(const std::string& Name);

// Everything that 'rigsync calibrate' needs, for this CSV and output folder.
std::vector<std::string> Calibrate_Arguments(const std::filesystem::path& Csv,
                                             const std::filesystem::path& Out);

// Copies the capture's CSV to Target and lets Change edit the fields of every data line. Index
// counts data lines from 0.
void Rewrite_Csv(
    const std::filesystem::path& Target,
    const std::function<void(std::size_t Index, std::vector<std::string>& Fields)>& Change);

// Writes a CSV to Folder that lists the capture's images Repeats times, by absolute paths.
std::filesystem::path Write_Long_Csv(const std::filesystem::path& Folder, int Repeats);

// The run folders in an output folder, in the order of their names; none if it does not exist.
std::vector<std::filesystem::path> Run_Folders(const std::filesystem::path& Out);

nlohmann::json Read_Json(const std::filesystem::path& File);

// The number of lines of Text, and the length of the longest one.
std::size_t Line_Count(const std::string& Text);
std::size_t Widest_Line(const std::string& Text);

#endif  // RIGSYNC_TESTS_RIGSYNC_SUPPORT_PROGRAM_H
