// SPDX-License-Identifier: Apache-2.0
//
// The operating system functions that the command needs beyond the standard library. They are
// implemented in platform_posix.cpp and platform_windows.cpp, and the build uses one of the two. No
// other file of the command depends on the platform.
//
// Texts are UTF-8 throughout. On Windows the program's manifest makes UTF-8 the code page of the
// process, so that arguments, paths as strings and the files that OpenCV opens by name agree.
#ifndef RIGSYNC_SYSTEM_PLATFORM_H
#define RIGSYNC_SYSTEM_PLATFORM_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace rigsync {

// ---- The process -------------------------------------------------------------------------------

// The first object of the program. While it exists, each standard stream is open, neither a reader
// that closes its pipe early (such as head) nor a file that grows beyond its limit (ulimit -f) ends
// the process, and a console shows UTF-8 and colours.
class Prepared_Process {
 public:
  Prepared_Process();
  // Restores the console.
  ~Prepared_Process();  // NOLINT(performance-trivially-destructible): not trivial on Windows
  Prepared_Process(const Prepared_Process&) = delete;
  Prepared_Process& operator=(const Prepared_Process&) = delete;
};

// While one of these exists, a signal that ends the process (Ctrl-C, a closed terminal, SIGTERM)
// first writes Text to the standard error of the time of construction, and then ends the process as
// usual. A signal that is ignored (nohup ignores SIGHUP) stays ignored. Only one may exist at a
// time.
class Interrupt_Text {
 public:
  explicit Interrupt_Text(const std::string& Text);
  ~Interrupt_Text();
  Interrupt_Text(const Interrupt_Text&) = delete;
  Interrupt_Text& operator=(const Interrupt_Text&) = delete;
};

// While one of these exists, the first signal that would end the process (Ctrl-C, a closed
// terminal, SIGTERM) asks it to stop instead, and the second ends it as usual. A signal that is
// ignored stays ignored. Only one may exist at a time, and no Interrupt_Text beside it.
class Stop_Request {
 public:
  Stop_Request();
  ~Stop_Request();
  Stop_Request(const Stop_Request&) = delete;
  Stop_Request& operator=(const Stop_Request&) = delete;

  // Waits. False, at once, when the process was asked to stop.
  bool Wait(double Seconds) const;
};

// While one of these exists, a signal that ends the process waits until it is destroyed, so that a
// file that takes milliseconds is not left half-done. The second signal of a kind ends the process
// at once. A signal that is ignored stays ignored, and what handled signals before handles the one
// that waited. They can be nested, also in the objects above; one thread at a time has them.
class Held_Signals {
 public:
  Held_Signals();
  ~Held_Signals();
  Held_Signals(const Held_Signals&) = delete;
  Held_Signals& operator=(const Held_Signals&) = delete;
};

// The process id.
unsigned long Process_Number();

// How many files this process may have open at a time.
std::size_t Open_File_Limit();

// ---- Streams and descriptors -------------------------------------------------------------------

constexpr int Standard_Output = 1, Standard_Error = 2;

// Whether a stream leads to a terminal.
bool Is_Terminal(std::FILE* Stream);

// Whether a stream that leads to a terminal supports the control sequences of colours.
bool Terminal_Takes_Colours(std::FILE* Stream);

// A duplicate of the descriptor with a number above the standard ones; -1 if Descriptor is closed.
int Copy_Of(int Descriptor);

// A descriptor that discards what is written to it, or -1.
int Open_Nowhere();

// Makes Descriptor refer to the same file as Target.
void Redirect(int Descriptor, int Target);

void Close(int Descriptor);

// Writes what can be written without waiting; the rest is silently dropped.
void Write_If_Ready(int Descriptor, std::string_view Text);

// Whether errno after a failed write means that the reader has closed the pipe.
bool Reader_Is_Gone();

// ---- Files -------------------------------------------------------------------------------------

// Whether an error means that the user's share of the disk is used up; no std::errc says so.
bool Is_Quota_Used_Up(const std::error_code& Error);

// Writes Text to a new file and returns when the data is on the disk. What has the name already,
// even a symbolic link that leads nowhere, is left as it is: std::errc::file_exists. After any
// error there is no new file.
std::error_code Write_To_Disk(const std::filesystem::path& File, std::string_view Text);

// Renames a file atomically, replacing an existing file. Both paths must be in the same folder.
std::error_code Replace_File(const std::filesystem::path& From, const std::filesystem::path& To);

// One process at a time has the lock of a folder; the others can't get it as long as this exists.
// The system takes it from a process that ends. Where a file system has no locks, everybody gets
// one.
class Folder_Lock {
 public:
  // Waits for the lock for some time; not at all for 0.
  Folder_Lock(const std::filesystem::path& Folder, double Seconds);
  ~Folder_Lock();
  Folder_Lock(const Folder_Lock&) = delete;
  Folder_Lock& operator=(const Folder_Lock&) = delete;

  // Whether another process has it, so that this one waited in vain.
  bool Is_Taken() const { return Has_Another; }

 private:
  std::intptr_t Handle = -1;
  bool Has_Another = false;
};

// Keeps space on the disk of a folder until it is destroyed, for what is written afterwards. The
// file that holds the space has no name, so nothing of it stays if the process ends; only where a
// file system keeps the names of open files, as some network drives do, a hidden one may. Where it
// can't be made, nothing is kept.
class Reserved_Space {
 public:
  Reserved_Space(const std::filesystem::path& Folder, std::size_t Bytes);
  ~Reserved_Space();
  Reserved_Space(const Reserved_Space&) = delete;
  Reserved_Space& operator=(const Reserved_Space&) = delete;

 private:
  std::intptr_t Handle = -1;
  std::filesystem::path Left_Name;  // where it could not be taken away
};

// ---- Other programs ----------------------------------------------------------------------------
//
// Child_Process (rigsync/system/child_process.h) is what the command uses.

// A program that runs, with descriptors to read what it writes.
struct Started_Program {
  std::intptr_t Process = 0;
  int Output = -1, Error = -1;
};

// Starts the program that the first of Words names, with the others as its arguments. A name
// without a folder is looked for in the search path, and not in the working directory.
// std::errc::no_such_file_or_directory says that it isn't found.
std::error_code Start_Program(const std::vector<std::string>& Words, Started_Program& Started);

// Reads Size bytes or fewer as soon as there are some; 0 at the end.
std::size_t Read_Some(int Descriptor, char* Buffer, std::size_t Size);

// Ends the program at once, without waiting for its end.
void End_Program(const Started_Program& Started);

// Waits for the end of the program and forgets it. Returns its exit status, or 128 and the number
// of the signal that ended it.
int Wait_For_Program(const Started_Program& Started);

// ---- The shell ---------------------------------------------------------------------------------

// Text quoted so that a shell takes it as one word.
std::string Shell_Word(const std::string& Text);

// The text between two words of a printed command that continues on the next line, which is
// indented by Indent spaces. The shells of Windows have no common continuation character, so there
// the line is not broken.
std::string Line_Continuation(std::size_t Indent);

}  // namespace rigsync

#endif  // RIGSYNC_SYSTEM_PLATFORM_H
