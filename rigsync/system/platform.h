// SPDX-License-Identifier: Apache-2.0
//
// What the command asks of the operating system beyond the standard library, in one place. Two
// files hold the same functions, platform_posix.cpp and platform_windows.cpp, and the build takes
// one of them; nothing else of the command looks at the platform.
//
// Texts are UTF-8 throughout. On Windows the program's manifest makes that the code page of the
// process, so that arguments, paths as strings and the files that OpenCV opens by name agree.
#ifndef RIGSYNC_SYSTEM_PLATFORM_H
#define RIGSYNC_SYSTEM_PLATFORM_H

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace rigsync {

// ---- The process -------------------------------------------------------------------------------

// The first object of the program. While it lives, each standard stream leads somewhere, a reader
// who has seen enough (as head has) doesn't end the process, and a console shows UTF-8 and colours.
class Prepared_Process {
 public:
  Prepared_Process();
  // A console is left as it was found.
  ~Prepared_Process();  // NOLINT(performance-trivially-destructible): only where there is none
  Prepared_Process(const Prepared_Process&) = delete;
  Prepared_Process& operator=(const Prepared_Process&) = delete;
};

// While one of these lives, what ends the process from outside (Ctrl-C, a terminal that is closed,
// SIGTERM) first writes Text to what standard error was when it was made, and then ends the
// process as it would have without it. What is ignored (as nohup does with SIGHUP) stays ignored.
// There is one at a time.
class Interrupt_Text {
 public:
  explicit Interrupt_Text(const std::string& Text);
  ~Interrupt_Text();
  Interrupt_Text(const Interrupt_Text&) = delete;
  Interrupt_Text& operator=(const Interrupt_Text&) = delete;
};

// A number that no other process has at this time.
unsigned long Process_Number();

// ---- Streams and descriptors -------------------------------------------------------------------

constexpr int Standard_Output = 1, Standard_Error = 2;

// Whether somebody may be looking.
bool Is_Terminal(std::FILE* Stream);

// Whether a stream that leads to a terminal takes the control sequences of colours.
bool Terminal_Takes_Colours(std::FILE* Stream);

// Another descriptor for the same, beyond the standard ones; -1 for one that leads nowhere.
int Copy_Of(int Descriptor);

// A descriptor that swallows what is written to it, or -1.
int Open_Nowhere();

// From now on Descriptor leads where Target leads.
void Redirect(int Descriptor, int Target);

void Close(int Descriptor);

// Writes what can be written without waiting; what can't is lost, without a word.
void Write_If_Ready(int Descriptor, std::string_view Text);

// Whether errno, as a failed write left it, tells that nobody reads any more.
bool Reader_Is_Gone();

// ---- Files -------------------------------------------------------------------------------------

// Writes Text to a file of that name, new or emptied, and returns when the disk has it.
std::error_code Write_To_Disk(const std::filesystem::path& File, std::string_view Text);

// Gives a file another name, at once: one that has the name is replaced. Both are in one folder.
std::error_code Replace_File(const std::filesystem::path& From, const std::filesystem::path& To);

// ---- The shell ---------------------------------------------------------------------------------

// Text as a shell takes it for one word.
std::string Shell_Word(const std::string& Text);

// What stands between two words of a printed command that goes on in another line, with Indent
// blanks in front. On Windows, whose shells have no common sign for it, the line just goes on.
std::string Line_Continuation(std::size_t Indent);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_PLATFORM_H
