// SPDX-License-Identifier: Apache-2.0
//
// What the commands share with the program's entry: each adds itself to the command line and, when
// it is the one that was asked for, leaves what is to be run.
#ifndef RIGSYNC_COMMAND_LINE_COMMAND_H
#define RIGSYNC_COMMAND_LINE_COMMAND_H

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <vector>

namespace rigsync {

// Set by the chosen command while the command line is parsed, run afterwards. Returns the exit
// status. Throws Usage_Error for what only shows up at work; other exceptions end in status 70.
using Chosen_Command = std::function<int()>;

void Add_Simulate_Command(CLI::App& Program, Chosen_Command& Chosen);
void Add_Inspect_Command(CLI::App& Program, Chosen_Command& Chosen);
void Add_Calibrate_Command(CLI::App& Program, Chosen_Command& Chosen);
void Add_Compare_Command(CLI::App& Program, Chosen_Command& Chosen);
void Add_Export_Command(CLI::App& Program, Chosen_Command& Chosen);
void Add_Codes_Command(CLI::App& Program, Chosen_Command& Chosen);
void Add_Board_Command(CLI::App& Program, Chosen_Command& Chosen);

// Text on standard output, at once. A reader who is gone (as head is when it has seen enough) is no
// error; any other is left for the end of the program to tell.
void Print(const std::string& Text);

// Notes on an option which words its value can be, for completion in a shell. Nothing is checked.
CLI::Option* Offer(CLI::Option* Option, const std::vector<std::string>& Words);

// What Offer noted, or nothing.
std::vector<std::string> Offered_Words(CLI::Option& Option);

// A warning on standard error, folded.
void Warn(const std::string& Text);

// An error on standard error, folded: what stopped the command.
void Complain(const std::string& Text);

}  // namespace rigsync

#endif  // RIGSYNC_COMMAND_LINE_COMMAND_H
