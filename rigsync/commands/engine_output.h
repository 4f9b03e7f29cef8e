// SPDX-License-Identifier: Apache-2.0
//
// A result as the fields of a render engine on standard output, which two commands print.
#ifndef RIGSYNC_COMMANDS_ENGINE_OUTPUT_H
#define RIGSYNC_COMMANDS_ENGINE_OUTPUT_H

#include "rigsync/calibrate/calibration_result.h"
#include "rigsync/command_line/command.h"
#include "rigsync/formats/engine_fields.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <optional>
#include <string>

namespace rigsync {

// Adds --to, which takes the name of an engine.
CLI::Option* Add_Engine_Flag(Command_Line& Line, CLI::App& Command, std::string& Name,
                             const std::string& Help);

// The engine of a name that the command line has checked.
const Engine& Engine_Named(const std::string& Name);

// Throws Usage_Error, which begins with File, for a result without a lens or a finite mount, and
// where the two mounts contradict each other, unless somebody has chosen one of them for this
// export.
void Require_Export(const std::string& File, const Calibration_Result& Result, bool Is_Chosen);

// The result of a file with the mount of Solution, as --solution names it; with the one that is the
// result where that is empty. Throws what Read_Result and Require_Export throw.
Calibration_Result Read_For_Export(const std::filesystem::path& File, const std::string& Solution);

// Why the mount that is exported must not be used, or has to be checked; empty for a good one.
std::string Doubts_Of(const Calibration_Result& Result);

// Says on standard error why the mount that is exported must not be used, or has to be checked.
// Says nothing about a good one.
void Warn_Of_Doubts(const Calibration_Result& Result);

// Exports and prints a result that Require_Export accepts, with a tracker object that has Axes, or
// those of the library's call. The library writes its run log into Log_Folder. Returns the
// library's code, which is told where it isn't 0.
int Print_Export(const Engine& Target, const Calibration_Result& Result,
                 const std::optional<Tracker_Axes>& Axes, const std::filesystem::path& Log_Folder,
                 bool As_Json);

}  // namespace rigsync

#endif  // RIGSYNC_COMMANDS_ENGINE_OUTPUT_H
