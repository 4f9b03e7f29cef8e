// SPDX-License-Identifier: Apache-2.0
//
// platform.h for Windows 10 and later: the C runtime's descriptors, and the system's own calls
// where the runtime has none.
#include "rigsync/system/platform.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <mutex>

namespace rigsync {
namespace {

// ---- The process -------------------------------------------------------------------------------

// What a console was before, and what there is to put back.
struct Found_Console {
  HANDLE Handle = INVALID_HANDLE_VALUE;
  DWORD Mode = 0;
};
std::array<Found_Console, 2> Consoles;
UINT Found_Code_Page = 0;

// A program that is started without a console has streams without a descriptor, and what is
// written to one fails. The runtime's own sign for it is a negative number.
void Open_Standard_Streams() {
  const std::pair<std::FILE*, const char*> Streams[] = {{stdin, "r"}, {stdout, "w"}, {stderr, "w"}};
  for (const auto& [Stream, Mode] : Streams) {
    if (_fileno(Stream) >= 0) continue;
    if (std::freopen("NUL", Mode, Stream) == nullptr) {
      // Then it stays silent.
    }
  }
}

// The console sends its handlers on a thread of their own, so what they share has a lock.
std::mutex Interrupt_Lock;
std::string Last_Words;
int Kept_Error = -1;

void Write_Through(int Descriptor, std::string_view Text) {
  if (_write(Descriptor, Text.data(), static_cast<unsigned>(Text.size())) < 0) {
    // Nobody is there to read it.
  }
}

// Ctrl-C, Ctrl-Break, and a console that is closed. False leaves the rest to the next handler, the
// system's own, which ends the process.
BOOL WINAPI Say_And_Go_On(DWORD /*Event*/) {
  const std::lock_guard<std::mutex> Guard(Interrupt_Lock);
  if (Kept_Error >= 0) Write_Through(Kept_Error, Last_Words);
  return FALSE;
}

// ---- Streams and descriptors -------------------------------------------------------------------

// INVALID_HANDLE_VALUE for a descriptor that leads nowhere.
HANDLE Handle_Of(int Descriptor) {
  if (Descriptor < 0) return INVALID_HANDLE_VALUE;
  const intptr_t Handle = _get_osfhandle(Descriptor);
  // -2 is the runtime's word for a standard descriptor that a process without a console has.
  return Handle < 0 ? INVALID_HANDLE_VALUE : reinterpret_cast<HANDLE>(Handle);
}

// ---- Files -------------------------------------------------------------------------------------

std::error_code Last_Error() {
  return {static_cast<int>(GetLastError()), std::system_category()};
}

std::error_code Write_All(HANDLE File, std::string_view Text) {
  constexpr std::size_t Most_At_Once = 1u << 30;
  while (!Text.empty()) {
    DWORD Written = 0;
    const auto Count = static_cast<DWORD>(std::min(Text.size(), Most_At_Once));
    if (WriteFile(File, Text.data(), Count, &Written, nullptr) == FALSE) return Last_Error();
    Text.remove_prefix(Written);
  }
  if (FlushFileBuffers(File) != FALSE) return {};
  // A file system that can't flush has done what it can.
  const std::error_code Reason = Last_Error();
  const bool Cannot = Reason.value() == static_cast<int>(ERROR_INVALID_FUNCTION) ||
                      Reason.value() == static_cast<int>(ERROR_NOT_SUPPORTED);
  return Cannot ? std::error_code() : Reason;
}

}  // namespace

Prepared_Process::Prepared_Process() {
  Open_Standard_Streams();
  const DWORD Standard[] = {STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
  for (std::size_t i = 0; i < Consoles.size(); ++i) {
    const HANDLE Handle = GetStdHandle(Standard[i]);
    DWORD Mode = 0;
    if (Handle == nullptr || GetConsoleMode(Handle, &Mode) == FALSE) continue;
    Consoles[i] = {Handle, Mode};
    // A console that doesn't know the sequences refuses, and Terminal_Takes_Colours sees it.
    SetConsoleMode(Handle, Mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
  }
  Found_Code_Page = GetConsoleOutputCP();
  if (Found_Code_Page != 0) SetConsoleOutputCP(CP_UTF8);
}

Prepared_Process::~Prepared_Process() {
  std::fflush(nullptr);
  // Both may be one console: what was found first is put back last.
  for (std::size_t i = Consoles.size(); i-- > 0;) {
    if (Consoles[i].Handle != INVALID_HANDLE_VALUE) {
      SetConsoleMode(Consoles[i].Handle, Consoles[i].Mode);
    }
  }
  if (Found_Code_Page != 0) SetConsoleOutputCP(Found_Code_Page);
}

Interrupt_Text::Interrupt_Text(const std::string& Text) {
  {
    const std::lock_guard<std::mutex> Guard(Interrupt_Lock);
    Last_Words = Text;
    Kept_Error = Copy_Of(Standard_Error);
  }
  // A process that ignores Ctrl-C goes on doing so: no handler is called for it then.
  SetConsoleCtrlHandler(Say_And_Go_On, TRUE);
}

Interrupt_Text::~Interrupt_Text() {
  SetConsoleCtrlHandler(Say_And_Go_On, FALSE);
  const std::lock_guard<std::mutex> Guard(Interrupt_Lock);
  if (Kept_Error >= 0) _close(Kept_Error);
  Kept_Error = -1;
}

unsigned long Process_Number() {
  return GetCurrentProcessId();
}

// Not _isatty, which takes NUL and serial ports for terminals too.
bool Is_Terminal(std::FILE* Stream) {
  DWORD Mode = 0;
  return GetConsoleMode(Handle_Of(_fileno(Stream)), &Mode) != FALSE;
}

bool Terminal_Takes_Colours(std::FILE* Stream) {
  const char* const Kind = std::getenv("TERM");
  if (Kind != nullptr && std::string_view(Kind) == "dumb") return false;
  DWORD Mode = 0;
  return GetConsoleMode(Handle_Of(_fileno(Stream)), &Mode) != FALSE &&
         (Mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

int Copy_Of(int Descriptor) {
  return Handle_Of(Descriptor) == INVALID_HANDLE_VALUE ? -1 : _dup(Descriptor);
}

int Open_Nowhere() {
  return _open("NUL", _O_WRONLY | _O_NOINHERIT);
}

void Redirect(int Descriptor, int Target) {
  _dup2(Target, Descriptor);
}

void Close(int Descriptor) {
  _close(Descriptor);
}

void Write_If_Ready(int Descriptor, std::string_view Text) {
  const HANDLE Handle = Handle_Of(Descriptor);
  if (Handle == INVALID_HANDLE_VALUE) return;
  if (GetFileType(Handle) != FILE_TYPE_PIPE) return Write_Through(Descriptor, Text);
  // A pipe can't be asked for the room in it, but be told not to wait for it: what has no room is
  // then left out.
  DWORD Without_Waiting = PIPE_READMODE_BYTE | PIPE_NOWAIT;
  if (SetNamedPipeHandleState(Handle, &Without_Waiting, nullptr, nullptr) == FALSE) return;
  Write_Through(Descriptor, Text);
  DWORD Waiting = PIPE_READMODE_BYTE | PIPE_WAIT;
  SetNamedPipeHandleState(Handle, &Waiting, nullptr, nullptr);
}

bool Reader_Is_Gone() {
  // The runtime has no number of its own for a pipe that is being closed.
  return errno == EPIPE || (errno == EINVAL && _doserrno == ERROR_NO_DATA);
}

std::error_code Write_To_Disk(const std::filesystem::path& File, std::string_view Text) {
  const HANDLE Handle = CreateFileW(File.c_str(), GENERIC_WRITE, /*shared*/ 0, nullptr,
                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (Handle == INVALID_HANDLE_VALUE) return Last_Error();
  const std::error_code Reason = Write_All(Handle, Text);
  if (CloseHandle(Handle) == FALSE && !Reason) return Last_Error();
  return Reason;
}

std::error_code Replace_File(const std::filesystem::path& From, const std::filesystem::path& To) {
  const DWORD How = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
  return MoveFileExW(From.c_str(), To.c_str(), How) != FALSE ? std::error_code() : Last_Error();
}

// cmd and PowerShell both take double quotes, which no path holds. A percent or dollar sign inside
// them is still looked at by one of the two.
std::string Shell_Word(const std::string& Text) {
  constexpr const char* Special = " \t\n'`&|;,<>()[]{}!#~^=+%@$";
  if (Text.find_first_of(Special) == std::string::npos) return Text;
  return '"' + Text + '"';
}

std::string Line_Continuation(std::size_t /*Indent*/) {
  return " ";
}

}  // namespace rigsync
