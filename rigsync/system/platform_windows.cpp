// SPDX-License-Identifier: Apache-2.0
//
// platform.h, child_process.h, udp_receiver.h and udp_sender.h for Windows 10 and later, with the C
// runtime's descriptors, and with system calls where the runtime has no function.
#include "rigsync/system/child_process.h"
#include "rigsync/system/platform.h"
#include "rigsync/system/udp_receiver.h"
#include "rigsync/system/udp_sender.h"

#include <fcntl.h>
#include <io.h>
#include <winsock2.h>
// After it, which a plain sort would change.
#include <windows.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>

namespace rigsync {
namespace {

// ---- The process -------------------------------------------------------------------------------

// The state of a console that is restored at the end.
struct Console_State {
  HANDLE Handle = INVALID_HANDLE_VALUE;
  DWORD Mode = 0;
};
std::array<Console_State, 2> Consoles;
UINT Previous_Code_Page = 0;

// A program started without a console has streams without a descriptor, and writing to them fails.
// The runtime marks them with a negative number.
void Open_Standard_Streams() {
  const std::pair<std::FILE*, const char*> Streams[] = {{stdin, "r"}, {stdout, "w"}, {stderr, "w"}};
  for (const auto& [Stream, Mode] : Streams) {
    if (_fileno(Stream) >= 0) continue;
    if (std::freopen("NUL", Mode, Stream) == nullptr) {
      // Then the stream stays closed.
    }
  }
}

// The console calls handlers on a separate thread, so their data has a lock.
std::mutex Interrupt_Lock;
std::string Interrupt_Message;
int Saved_Error = -1;

void Write_Or_Drop(int Descriptor, std::string_view Text) {
  if (_write(Descriptor, Text.data(), static_cast<unsigned>(Text.size())) < 0) {
    // There is no reader.
  }
}

// Called for Ctrl-C, Ctrl-Break, and a console that is closed. FALSE passes the event to the next
// handler, the system's own, which ends the process.
BOOL WINAPI Write_And_Continue(DWORD /*Event*/) {
  const std::lock_guard<std::mutex> Guard(Interrupt_Lock);
  if (Saved_Error >= 0) Write_Or_Drop(Saved_Error, Interrupt_Message);
  return FALSE;
}

// Set when the process was asked to stop.
HANDLE Stop_Event = nullptr;

// TRUE ends the event here. The next one, the stop being asked for, goes to the system's handler.
BOOL WINAPI Ask_To_Stop(DWORD /*Event*/) {
  const std::lock_guard<std::mutex> Guard(Interrupt_Lock);
  if (Stop_Event == nullptr || WaitForSingleObject(Stop_Event, 0) == WAIT_OBJECT_0) return FALSE;
  return SetEvent(Stop_Event);
}

// Locked while there are Held_Signals.
std::recursive_mutex Hold_Lock;
int Holder_Count = 0;  // changed by who has the lock

// Waits, on the thread of the handlers, and passes the event on.
BOOL WINAPI Wait_And_Continue(DWORD /*Event*/) {
  const std::lock_guard<std::recursive_mutex> Guard(Hold_Lock);
  return FALSE;
}

// ---- Streams and descriptors -------------------------------------------------------------------

// INVALID_HANDLE_VALUE for a descriptor without a file.
HANDLE Handle_Of(int Descriptor) {
  if (Descriptor < 0) return INVALID_HANDLE_VALUE;
  const intptr_t Handle = _get_osfhandle(Descriptor);
  // -2 is the runtime's value for a standard descriptor of a process without a console.
  return Handle < 0 ? INVALID_HANDLE_VALUE : reinterpret_cast<HANDLE>(Handle);
}

// ---- Files -------------------------------------------------------------------------------------

std::error_code Last_Error() {
  return {static_cast<int>(GetLastError()), std::system_category()};
}

std::error_code Write_All(HANDLE File, std::string_view Text) {
  constexpr std::size_t Max_Chunk = 1u << 30;
  while (!Text.empty()) {
    DWORD Written = 0;
    const auto Count = static_cast<DWORD>(std::min(Text.size(), Max_Chunk));
    if (WriteFile(File, Text.data(), Count, &Written, nullptr) == FALSE) return Last_Error();
    Text.remove_prefix(Written);
  }
  if (FlushFileBuffers(File) != FALSE) return {};
  // A file system that cannot flush is accepted.
  const std::error_code Reason = Last_Error();
  const bool Is_Unsupported = Reason.value() == static_cast<int>(ERROR_INVALID_FUNCTION) ||
                              Reason.value() == static_cast<int>(ERROR_NOT_SUPPORTED);
  return Is_Unsupported ? std::error_code() : Reason;
}

// ---- Other programs ----------------------------------------------------------------------------

// Closes its handle unless that was taken.
class Owned_Handle {
 public:
  explicit Owned_Handle(HANDLE Owned = INVALID_HANDLE_VALUE) : Value(Owned) {}
  ~Owned_Handle() {
    if (Is_Open()) CloseHandle(Value);
  }
  Owned_Handle(const Owned_Handle&) = delete;
  Owned_Handle& operator=(const Owned_Handle&) = delete;

  bool Is_Open() const { return Value != INVALID_HANDLE_VALUE && Value != nullptr; }
  HANDLE Get() const { return Value; }
  HANDLE* Place() { return &Value; }
  HANDLE Take() {
    const HANDLE Taken = Value;
    Value = INVALID_HANDLE_VALUE;
    return Taken;
  }

 private:
  HANDLE Value;
};

std::wstring Wide(const std::string& Text) {
  const int Length = static_cast<int>(Text.size());
  const int Wide_Length = MultiByteToWideChar(CP_UTF8, 0, Text.data(), Length, nullptr, 0);
  std::wstring Wide_Text(static_cast<std::size_t>(Wide_Length), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, Text.data(), Length, Wide_Text.data(), Wide_Length);
  return Wide_Text;
}

// A pipe whose writing end a started program inherits.
bool Make_Pipe(Owned_Handle& Reading_End, Owned_Handle& Writing_End) {
  return CreatePipe(Reading_End.Place(), Writing_End.Place(), nullptr, 0) != FALSE &&
         SetHandleInformation(Writing_End.Get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT) != FALSE;
}

// The value of PATH. Asking SearchPathW for its own search path would look in the working directory
// too, where a clip's folder may hold any program.
std::wstring Search_Path() {
  std::wstring Value(GetEnvironmentVariableW(L"PATH", nullptr, 0), L'\0');
  Value.resize(GetEnvironmentVariableW(L"PATH", Value.data(), static_cast<DWORD>(Value.size())));
  return Value;
}

// Empty if there is none.
std::wstring Program_File(const std::string& Program) {
  const std::wstring Name = Wide(Program);
  const std::wstring Folders = Search_Path();
  const DWORD Size = SearchPathW(Folders.c_str(), Name.c_str(), L".exe", 0, nullptr, nullptr);
  if (Size == 0) return {};
  std::wstring File(Size, L'\0');
  File.resize(SearchPathW(Folders.c_str(), Name.c_str(), L".exe", Size, File.data(), nullptr));
  return File;
}

// The handles that a started program inherits, and no others, as its standard streams.
class Start_Plan {
 public:
  Start_Plan(HANDLE Input, HANDLE Output, HANDLE Error) : Inherited{Input, Output, Error} {
    Info.StartupInfo.cb = sizeof Info;
    Info.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    Info.StartupInfo.hStdInput = Input;
    Info.StartupInfo.hStdOutput = Output;
    Info.StartupInfo.hStdError = Error;
    SIZE_T Size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &Size);
    Memory.resize(Size);
    Info.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(Memory.data());
    InitializeProcThreadAttributeList(Info.lpAttributeList, 1, 0, &Size);
    UpdateProcThreadAttribute(Info.lpAttributeList, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST,
                              Inherited.data(), sizeof Inherited, nullptr, nullptr);
  }
  ~Start_Plan() { DeleteProcThreadAttributeList(Info.lpAttributeList); }
  Start_Plan(const Start_Plan&) = delete;
  Start_Plan& operator=(const Start_Plan&) = delete;

  STARTUPINFOEXW Info{};

 private:
  std::array<HANDLE, 3> Inherited;
  std::vector<char> Memory;
};

HANDLE Open_Empty_Input() {
  SECURITY_ATTRIBUTES Inheritable{sizeof Inheritable, nullptr, TRUE};
  return CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, &Inheritable,
                     OPEN_EXISTING, 0, nullptr);
}

int Descriptor_Of(Owned_Handle& Handle) {
  return _open_osfhandle(reinterpret_cast<intptr_t>(Handle.Take()), _O_RDONLY | _O_BINARY);
}

// ---- The network -------------------------------------------------------------------------------

[[noreturn]] void Throw_Network_Error() {
  throw std::system_error(WSAGetLastError(), std::system_category());
}

// Winsock counts its users: each call has its WSACleanup.
void Start_Network() {
  WSADATA Ignored{};
  const WORD Version = MAKEWORD(2, 2);
  const int Failure = WSAStartup(Version, &Ignored);
  if (Failure != 0) throw std::system_error(Failure, std::system_category());
}

in_addr Network_Address(const Ipv4_Address& Address) {
  in_addr Result{};
  std::memcpy(&Result.s_addr, Address.data(), Address.size());
  return Result;
}

sockaddr_in Socket_Address(const Ipv4_Address& Address, std::uint16_t Port) {
  sockaddr_in Result{};
  Result.sin_family = AF_INET;
  Result.sin_port = htons(Port);
  Result.sin_addr = Network_Address(Address);
  return Result;
}

int Set_Option(SOCKET Handle, int Level, int Name, const void* Value, std::size_t Size) {
  return setsockopt(Handle, Level, Name, static_cast<const char*>(Value), static_cast<int>(Size));
}

// A packet is lost when the buffer is full. The system may grant less than this.
constexpr int Buffer_Bytes = 8 << 20;

SOCKET Open_Socket() {
  const SOCKET Handle = socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP);
  if (Handle == INVALID_SOCKET) Throw_Network_Error();
  u_long Does_Not_Wait = 1;
  ioctlsocket(Handle, static_cast<long>(FIONBIO), &Does_Not_Wait);
  Set_Option(Handle, SOL_SOCKET, SO_RCVBUF, &Buffer_Bytes, sizeof Buffer_Bytes);
  return Handle;
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
    // This fails on a console that does not support the sequences. Terminal_Takes_Colours then
    // returns false.
    SetConsoleMode(Handle, Mode | ENABLE_PROCESSED_OUTPUT | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
  }
  Previous_Code_Page = GetConsoleOutputCP();
  if (Previous_Code_Page != 0) SetConsoleOutputCP(CP_UTF8);
}

Prepared_Process::~Prepared_Process() {
  std::fflush(nullptr);
  // Both may be the same console, so the first state is restored last.
  for (std::size_t i = Consoles.size(); i-- > 0;) {
    if (Consoles[i].Handle != INVALID_HANDLE_VALUE) {
      SetConsoleMode(Consoles[i].Handle, Consoles[i].Mode);
    }
  }
  if (Previous_Code_Page != 0) SetConsoleOutputCP(Previous_Code_Page);
}

Interrupt_Text::Interrupt_Text(const std::string& Text) {
  {
    const std::lock_guard<std::mutex> Guard(Interrupt_Lock);
    Interrupt_Message = Text;
    Saved_Error = Copy_Of(Standard_Error);
  }
  // In a process that ignores Ctrl-C no handler is called for it.
  SetConsoleCtrlHandler(Write_And_Continue, TRUE);
}

Interrupt_Text::~Interrupt_Text() {
  SetConsoleCtrlHandler(Write_And_Continue, FALSE);
  const std::lock_guard<std::mutex> Guard(Interrupt_Lock);
  if (Saved_Error >= 0) _close(Saved_Error);
  Saved_Error = -1;
}

Stop_Request::Stop_Request() {
  const HANDLE Event = CreateEventW(nullptr, TRUE, FALSE, nullptr);  // stays set
  {
    const std::lock_guard<std::mutex> Guard(Interrupt_Lock);
    Stop_Event = Event;
  }
  SetConsoleCtrlHandler(Ask_To_Stop, TRUE);
}

Stop_Request::~Stop_Request() {
  SetConsoleCtrlHandler(Ask_To_Stop, FALSE);
  const std::lock_guard<std::mutex> Guard(Interrupt_Lock);
  if (Stop_Event != nullptr) CloseHandle(Stop_Event);
  Stop_Event = nullptr;
}

bool Stop_Request::Wait(double Seconds) const {
  constexpr double Milliseconds = 1000.0;
  const auto Time = static_cast<DWORD>(Milliseconds * Seconds);
  if (Stop_Event == nullptr) {
    Sleep(Time);
    return true;
  }
  return WaitForSingleObject(Stop_Event, Time) != WAIT_OBJECT_0;
}

Held_Signals::Held_Signals() {
  Hold_Lock.lock();
  if (Holder_Count++ == 0) SetConsoleCtrlHandler(Wait_And_Continue, TRUE);
}

Held_Signals::~Held_Signals() {
  const bool Is_Last = --Holder_Count == 0;
  Hold_Lock.unlock();  // first, because a waiting handler may keep the list of handlers locked
  if (Is_Last) SetConsoleCtrlHandler(Wait_And_Continue, FALSE);
}

unsigned long Process_Number() {
  return GetCurrentProcessId();
}

// The runtime has room for thousands.
std::size_t Open_File_Limit() {
  return SIZE_MAX;
}

// Does not use _isatty, which is also true for NUL and serial ports.
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
  if (GetFileType(Handle) != FILE_TYPE_PIPE) return Write_Or_Drop(Descriptor, Text);
  // The free space of a pipe cannot be queried, but a write can be made not to wait: what does not
  // fit is then dropped.
  DWORD No_Wait_Mode = PIPE_READMODE_BYTE | PIPE_NOWAIT;
  if (SetNamedPipeHandleState(Handle, &No_Wait_Mode, nullptr, nullptr) == FALSE) return;
  Write_Or_Drop(Descriptor, Text);
  DWORD Wait_Mode = PIPE_READMODE_BYTE | PIPE_WAIT;
  SetNamedPipeHandleState(Handle, &Wait_Mode, nullptr, nullptr);
}

bool Reader_Is_Gone() {
  // The runtime has no errno value for a pipe that is being closed.
  return errno == EPIPE || (errno == EINVAL && _doserrno == ERROR_NO_DATA);
}

bool Is_Quota_Used_Up(const std::error_code& Error) {
  constexpr int Disk_Quota_Exceeded = 1295;  // ERROR_DISK_QUOTA_EXCEEDED; not all headers have it
  return Error.category() == std::system_category() && Error.value() == Disk_Quota_Exceeded;
}

std::error_code Write_To_Disk(const std::filesystem::path& File, std::string_view Text) {
  const HANDLE Handle = CreateFileW(File.c_str(), GENERIC_WRITE, /*shared*/ 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  if (Handle == INVALID_HANDLE_VALUE) return Last_Error();
  std::error_code Reason = Write_All(Handle, Text);
  if (CloseHandle(Handle) == FALSE && !Reason) Reason = Last_Error();
  if (Reason) DeleteFileW(File.c_str());
  return Reason;
}

std::error_code Replace_File(const std::filesystem::path& From, const std::filesystem::path& To) {
  const DWORD Flags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH;
  return MoveFileExW(From.c_str(), To.c_str(), Flags) != FALSE ? std::error_code() : Last_Error();
}

Folder_Lock::Folder_Lock(const std::filesystem::path& Folder, double Seconds) {
  using std::chrono::steady_clock;
  constexpr auto Pause = std::chrono::milliseconds(5);
  const std::filesystem::path File = Folder / ".rigsync-lock";
  const auto End = steady_clock::now() + std::chrono::duration<double>(Seconds);
  for (;;) {
    const HANDLE Opened =
        CreateFileW(File.c_str(), GENERIC_WRITE, /*shared*/ 0, nullptr, OPEN_ALWAYS,
                    FILE_ATTRIBUTE_HIDDEN | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
    if (Opened != INVALID_HANDLE_VALUE) {
      Handle = reinterpret_cast<std::intptr_t>(Opened);
      Has_Another = false;
      return;
    }
    Has_Another = GetLastError() == ERROR_SHARING_VIOLATION;
    if (!Has_Another || steady_clock::now() >= End) return;
    std::this_thread::sleep_for(Pause);
  }
}

Folder_Lock::~Folder_Lock() {
  if (Handle != -1) CloseHandle(reinterpret_cast<HANDLE>(Handle));
}

Reserved_Space::Reserved_Space(const std::filesystem::path& Folder, std::size_t Bytes) {
  const std::filesystem::path File = Folder / (".reserved-" + std::to_string(Process_Number()));
  const HANDLE Opened = CreateFileW(File.c_str(), GENERIC_WRITE, /*shared*/ 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_HIDDEN | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (Opened == INVALID_HANDLE_VALUE) return;
  Handle = reinterpret_cast<std::intptr_t>(Opened);
  LARGE_INTEGER Size{};
  Size.QuadPart = static_cast<LONGLONG>(Bytes);
  if (SetFilePointerEx(Opened, Size, nullptr, FILE_BEGIN) != FALSE) SetEndOfFile(Opened);
}

Reserved_Space::~Reserved_Space() {
  if (Handle != -1) CloseHandle(reinterpret_cast<HANDLE>(Handle));
}

std::error_code Start_Program(const std::vector<std::string>& Words, Started_Program& Started) {
  const std::wstring File = Program_File(Words.front());
  if (File.empty()) return std::make_error_code(std::errc::no_such_file_or_directory);
  Owned_Handle Output;
  Owned_Handle Output_End;
  Owned_Handle Error;
  Owned_Handle Error_End;
  const Owned_Handle Input(Open_Empty_Input());
  if (!Input.Is_Open() || !Make_Pipe(Output, Output_End) || !Make_Pipe(Error, Error_End)) {
    return Last_Error();
  }
  Start_Plan Plan(Input.Get(), Output_End.Get(), Error_End.Get());
  std::wstring Line = Wide(Windows_Command_Line(Words));
  PROCESS_INFORMATION Process{};
  if (CreateProcessW(File.c_str(), Line.data(), nullptr, nullptr, /*inherit*/ TRUE,
                     EXTENDED_STARTUPINFO_PRESENT, nullptr, nullptr, &Plan.Info.StartupInfo,
                     &Process) == FALSE) {
    return Last_Error();
  }
  CloseHandle(Process.hThread);
  Started = {reinterpret_cast<std::intptr_t>(Process.hProcess), Descriptor_Of(Output),
             Descriptor_Of(Error)};
  return {};
}

std::size_t Read_Some(int Descriptor, char* Buffer, std::size_t Size) {
  constexpr std::size_t Most_Bytes = 1u << 30;
  const int Count = _read(Descriptor, Buffer, static_cast<unsigned>(std::min(Size, Most_Bytes)));
  return Count < 0 ? 0 : static_cast<std::size_t>(Count);
}

void End_Program(const Started_Program& Started) {
  TerminateProcess(reinterpret_cast<HANDLE>(Started.Process), 1);
}

int Wait_For_Program(const Started_Program& Started) {
  const HANDLE Process = reinterpret_cast<HANDLE>(Started.Process);
  WaitForSingleObject(Process, INFINITE);
  DWORD Status = 1;
  GetExitCodeProcess(Process, &Status);
  CloseHandle(Process);
  return static_cast<int>(Status);
}

// cmd and PowerShell both accept double quotes, which no path contains. One of them still expands a
// percent sign inside quotes, the other a dollar sign.
std::string Shell_Word(const std::string& Text) {
  constexpr const char* Special = " \t\n'`&|;,<>()[]{}!#~^=+%@$";
  if (Text.find_first_of(Special) == std::string::npos) return Text;
  return '"' + Text + '"';
}

std::string Line_Continuation(std::size_t /*Indent*/) {
  return " ";
}

Udp_Receiver::Udp_Receiver() : Buffer(std::size_t{1} << 16, '\0') {
  Start_Network();
}

Udp_Receiver::~Udp_Receiver() {
  for (const Opened& Socket : Sockets) closesocket(static_cast<SOCKET>(Socket.Handle));
  WSACleanup();
}

std::uint16_t Udp_Receiver::Bind(std::intptr_t Handle, const Ipv4_Address& Address,
                                 std::uint16_t Port) {
  Sockets.push_back({Handle, Port});  // closed at the end, whatever happens
  sockaddr_in Name = Socket_Address(Address, Port);
  int Length = sizeof Name;
  const auto Socket = static_cast<SOCKET>(Handle);
  const bool Is_Bound = bind(Socket, reinterpret_cast<sockaddr*>(&Name), Length) == 0 &&
                        getsockname(Socket, reinterpret_cast<sockaddr*>(&Name), &Length) == 0;
  if (!Is_Bound) Throw_Network_Error();
  return Sockets.back().Port = ntohs(Name.sin_port);
}

// Without this option another program could take the port over.
std::uint16_t Udp_Receiver::Listen(const Ipv4_Address& Address, std::uint16_t Port) {
  const SOCKET Handle = Open_Socket();
  const BOOL On = TRUE;
  Set_Option(Handle, SOL_SOCKET, SO_EXCLUSIVEADDRUSE, &On, sizeof On);
  return Bind(static_cast<std::intptr_t>(Handle), Address, Port);
}

std::uint16_t Udp_Receiver::Join(const std::vector<Ipv4_Address>& Groups, std::uint16_t Port,
                                 const Ipv4_Address& Interface) {
  const SOCKET Handle = Open_Socket();
  const BOOL On = TRUE;
  Set_Option(Handle, SOL_SOCKET, SO_REUSEADDR, &On, sizeof On);
  const std::uint16_t Bound_Port = Bind(static_cast<std::intptr_t>(Handle), Any_Address, Port);
  for (const Ipv4_Address& Group : Groups) {
    ip_mreq Membership{};
    Membership.imr_multiaddr = Network_Address(Group);
    Membership.imr_interface = Network_Address(Interface);
    if (Set_Option(Handle, IPPROTO_IP, IP_ADD_MEMBERSHIP, &Membership, sizeof Membership) != 0) {
      Throw_Network_Error();
    }
  }
  return Bound_Port;
}

void Udp_Receiver::Receive(double Seconds, std::vector<Udp_Packet>& Packets) {
  constexpr double Milliseconds = 1000.0;
  Packets.clear();
  std::vector<WSAPOLLFD> Waiting;
  for (const Opened& Socket : Sockets) {
    Waiting.push_back({static_cast<SOCKET>(Socket.Handle), POLLRDNORM, 0});
  }
  const int Ready = WSAPoll(Waiting.data(), static_cast<ULONG>(Waiting.size()),
                            static_cast<int>(Milliseconds * Seconds));
  if (Ready <= 0) return;
  for (std::size_t i = 0; i < Waiting.size(); ++i) {
    if (Waiting[i].revents != 0) Read_All(Sockets[i], Packets);
  }
}

// A bounded number, so that one port cannot keep the others waiting.
void Udp_Receiver::Read_All(const Opened& Socket, std::vector<Udp_Packet>& Packets) {
  using namespace std::chrono;
  constexpr int Most_At_A_Time = 256;
  for (int i = 0; i < Most_At_A_Time; ++i) {
    sockaddr_in From{};
    int Length = sizeof From;
    const int Size =
        recvfrom(static_cast<SOCKET>(Socket.Handle), Buffer.data(), static_cast<int>(Buffer.size()),
                 0, reinterpret_cast<sockaddr*>(&From), &Length);
    if (Size < 0) return;  // no more for now
    Udp_Packet Packet;
    Packet.Utc_Ns = nanoseconds(system_clock::now().time_since_epoch()).count();
    Packet.Steady_Ns = nanoseconds(steady_clock::now().time_since_epoch()).count();
    std::memcpy(Packet.Sender.data(), &From.sin_addr.s_addr, Packet.Sender.size());
    Packet.Sender_Port = ntohs(From.sin_port);
    Packet.Local_Port = Socket.Port;
    Packet.Bytes.assign(Buffer.data(), static_cast<std::size_t>(Size));
    Packets.push_back(std::move(Packet));
  }
}

Udp_Sender::Udp_Sender() {
  Start_Network();
  Handle = static_cast<std::intptr_t>(Open_Socket());
}

Udp_Sender::~Udp_Sender() {
  closesocket(static_cast<SOCKET>(Handle));
  WSACleanup();
}

void Udp_Sender::Send(const Ipv4_Address& To, std::uint16_t Port, std::string_view Bytes) {
  const sockaddr_in Name = Socket_Address(To, Port);
  const int Sent = sendto(static_cast<SOCKET>(Handle), Bytes.data(), static_cast<int>(Bytes.size()),
                          0, reinterpret_cast<const sockaddr*>(&Name), sizeof Name);
  // A full buffer loses the packet, as a network may at any time.
  if (Sent < 0 && WSAGetLastError() != WSAEWOULDBLOCK) Throw_Network_Error();
}

}  // namespace rigsync
