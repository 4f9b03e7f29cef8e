// SPDX-License-Identifier: Apache-2.0
//
// Runs the built command as a user would, and brings captures into the form that a test needs.
#ifndef RIGSYNC_TESTS_RIGSYNC_SUPPORT_PROGRAM_H
#define RIGSYNC_TESTS_RIGSYNC_SUPPORT_PROGRAM_H

#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

struct Finished {
  int Status = -1;  // exit status, or 128 and the signal's number
  std::string Output, Error;
  std::string Said;  // Error without its line breaks, which fall where a path's length has it
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

// Copies the capture's CSV to Target, with every data line's fields as Change leaves them. Index
// counts data lines from 0.
void Rewrite_Csv(
    const std::filesystem::path& Target,
    const std::function<void(std::size_t Index, std::vector<std::string>& Fields)>& Change);

// A CSV in Folder with the capture's own images Repeats times over, by absolute paths.
std::filesystem::path Write_Long_Csv(const std::filesystem::path& Folder, int Repeats);

// The folders of the runs in an output folder, in the order of their names; none where it isn't
// there.
std::vector<std::filesystem::path> Run_Folders(const std::filesystem::path& Out);

std::string Read_Text(const std::filesystem::path& File);
nlohmann::json Read_Json(const std::filesystem::path& File);

// How many lines Text has, and the longest line's width.
std::size_t Line_Count(const std::string& Text);
std::size_t Widest_Line(const std::string& Text);

#endif  // RIGSYNC_TESTS_RIGSYNC_SUPPORT_PROGRAM_H
