// SPDX-License-Identifier: Apache-2.0
//
// platform.h, child_process.h, udp_receiver.h and udp_sender.h for Linux and macOS.
#include "rigsync/system/platform.h"
#include "rigsync/system/udp_receiver.h"
#include "rigsync/system/udp_sender.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>  // NOLINT(modernize-deprecated-headers): POSIX's, with sigaction
#include <spawn.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>

extern char** environ;  // NOLINT: POSIX's, and in no header

namespace rigsync {
namespace {

// ---- The process -------------------------------------------------------------------------------

constexpr std::array<int, 3> Signals = {SIGINT, SIGTERM, SIGHUP};

// What the actions were before a handler was installed.
using Signal_Actions = std::array<struct sigaction, Signals.size()>;

// What the signal handlers read. It is only changed while they are not installed.
// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): a handler has no other input
std::string Interrupt_Message;
int Saved_Error = -1;
Signal_Actions Previous_Actions;
std::array<int, 2> Stop_Pipe = {-1, -1};  // to read from, to write to
std::atomic<int> Holder_Count = 0;        // of Held_Signals
volatile std::sig_atomic_t Held_Signal = 0;
Signal_Actions Actions_Before_Holding;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

// Calls only functions that are safe in a signal handler. A pipe that nobody reads must not keep
// the process from ending.
void Write_And_Raise(int Signal) {
  pollfd Ready{Saved_Error, POLLOUT, 0};
  const bool Is_Ready = poll(&Ready, 1, /*timeout=*/0) == 1 && (Ready.revents & POLLOUT) != 0;
  if (Is_Ready && write(Saved_Error, Interrupt_Message.data(), Interrupt_Message.size()) < 0) {
    // There is no reader.
  }
  // The handler was removed when it was entered (SA_RESETHAND): the signal now ends the process,
  // and the shell sees which signal it was.
  raise(Signal);
}

// As above, the next signal ends the process.
void Ask_To_Stop(int /*Signal*/) {
  const int Error_Before = errno;
  if (write(Stop_Pipe[1], "x", 1) < 0) {
    // It was asked already.
  }
  errno = Error_Before;
}

void Hold(int Signal) {
  Held_Signal = Signal;
}

void Install(void (*Handler)(int), Signal_Actions& Earlier) {
  struct sigaction Action = {};
  Action.sa_handler = Handler;
  Action.sa_flags = static_cast<int>(SA_RESETHAND | SA_NODEFER);
  sigemptyset(&Action.sa_mask);
  for (std::size_t i = 0; i < Signals.size(); ++i) {
    sigaction(Signals[i], nullptr, &Earlier[i]);
    if (Earlier[i].sa_handler != SIG_IGN) sigaction(Signals[i], &Action, nullptr);
  }
}

void Restore(const Signal_Actions& Earlier) {
  for (std::size_t i = 0; i < Signals.size(); ++i) {
    sigaction(Signals[i], &Earlier[i], nullptr);
  }
}

// ---- Files -------------------------------------------------------------------------------------

// True when all of Text is written and on the disk. Otherwise errno has the reason.
bool Write_All(int Descriptor, std::string_view Text) {
  while (!Text.empty()) {
    const ssize_t Written = write(Descriptor, Text.data(), Text.size());
    if (Written < 0 && errno == EINTR) continue;
    if (Written < 0) return false;
    Text.remove_prefix(static_cast<std::size_t>(Written));
  }
  // Files that cannot be synced (pipes, some network file systems) are accepted.
  return fsync(Descriptor) == 0 || errno == EINVAL || errno == ENOTSUP;
}

std::error_code Last_Error() {
  return {errno, std::generic_category()};
}

// ---- Other programs ----------------------------------------------------------------------------

// A pipe whose ends no other program inherits.
class Pipe {
 public:
  Pipe() {
    if (pipe(Ends.data()) != 0) Ends = {-1, -1};
    for (const int End : Ends) {
      if (End >= 0) fcntl(End, F_SETFD, FD_CLOEXEC);
    }
  }
  ~Pipe() {
    for (const int End : Ends) {
      if (End >= 0) close(End);
    }
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  bool Is_Open() const { return Ends[0] >= 0; }
  int Writing_End() const { return Ends[1]; }
  // The caller closes it.
  int Take_Reading_End() {
    const int End = Ends[0];
    Ends[0] = -1;
    return End;
  }

 private:
  std::array<int, 2> Ends = {-1, -1};
};

// How the started program's streams and signals differ from ours.
class Start_Plan {
 public:
  Start_Plan(int Output, int Error) {
    posix_spawn_file_actions_init(&Actions);
    posix_spawn_file_actions_addopen(&Actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&Actions, Output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&Actions, Error, STDERR_FILENO);
    // Prepared_Process ignores these signals, and a started program would inherit that.
    sigset_t Ignored;
    sigemptyset(&Ignored);
    sigaddset(&Ignored, SIGPIPE);
    sigaddset(&Ignored, SIGXFSZ);
    posix_spawnattr_init(&Attributes);
    posix_spawnattr_setsigdefault(&Attributes, &Ignored);
    posix_spawnattr_setflags(&Attributes, POSIX_SPAWN_SETSIGDEF);
  }
  ~Start_Plan() {
    posix_spawnattr_destroy(&Attributes);
    posix_spawn_file_actions_destroy(&Actions);
  }
  Start_Plan(const Start_Plan&) = delete;
  Start_Plan& operator=(const Start_Plan&) = delete;

  posix_spawn_file_actions_t Actions{};
  posix_spawnattr_t Attributes{};
};

// ---- The network -------------------------------------------------------------------------------

[[noreturn]] void Throw_Last_Error() {
  throw std::system_error(Last_Error());
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

// A packet is lost when the buffer is full. The system may grant less than this.
constexpr int Buffer_Bytes = 8 << 20;

int Open_Socket() {
  const int Handle = socket(AF_INET, SOCK_DGRAM, 0);
  if (Handle < 0) Throw_Last_Error();
  fcntl(Handle, F_SETFD, FD_CLOEXEC);
  fcntl(Handle, F_SETFL, O_NONBLOCK);
  setsockopt(Handle, SOL_SOCKET, SO_RCVBUF, &Buffer_Bytes, sizeof Buffer_Bytes);
  return Handle;
}

}  // namespace

// The next file that is opened would get the number of a closed standard descriptor, and printed
// text would be written to it.
Prepared_Process::Prepared_Process() {
  int Descriptor = open("/dev/null", O_RDWR);
  while (Descriptor >= 0 && Descriptor <= STDERR_FILENO) Descriptor = open("/dev/null", O_RDWR);
  if (Descriptor >= 0) close(Descriptor);
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);
}

Prepared_Process::~Prepared_Process() = default;

Interrupt_Text::Interrupt_Text(const std::string& Text) {
  Interrupt_Message = Text;
  Saved_Error = Copy_Of(STDERR_FILENO);
  Install(Write_And_Raise, Previous_Actions);
}

Interrupt_Text::~Interrupt_Text() {
  Restore(Previous_Actions);
  if (Saved_Error >= 0) close(Saved_Error);
  Saved_Error = -1;
}

Stop_Request::Stop_Request() {
  if (pipe(Stop_Pipe.data()) != 0) Stop_Pipe = {-1, -1};
  for (const int End : Stop_Pipe) {
    if (End < 0) continue;
    fcntl(End, F_SETFD, FD_CLOEXEC);
    fcntl(End, F_SETFL, O_NONBLOCK);
  }
  if (Stop_Pipe[0] >= 0) Install(Ask_To_Stop, Previous_Actions);
}

Stop_Request::~Stop_Request() {
  if (Stop_Pipe[0] < 0) return;
  Restore(Previous_Actions);
  for (int& End : Stop_Pipe) {
    close(End);
    End = -1;
  }
}

bool Stop_Request::Wait(double Seconds) const {
  constexpr double Milliseconds = 1000.0;
  pollfd Asked{Stop_Pipe[0], POLLIN, 0};
  const int Ready = poll(&Asked, 1, static_cast<int>(Milliseconds * Seconds));
  // A signal interrupts the wait; what it wrote is in the pipe by then.
  if (Ready < 0 && errno == EINTR) return poll(&Asked, 1, 0) != 1;
  return Ready != 1;
}

Held_Signals::Held_Signals() {
  if (Holder_Count++ > 0) return;
  Held_Signal = 0;
  Install(Hold, Actions_Before_Holding);
}

Held_Signals::~Held_Signals() {
  if (--Holder_Count > 0) return;
  Restore(Actions_Before_Holding);
  if (Held_Signal != 0) raise(Held_Signal);
}

unsigned long Process_Number() {
  return static_cast<unsigned long>(getpid());
}

std::size_t Open_File_Limit() {
  rlimit Limit{};
  const bool Is_Known = getrlimit(RLIMIT_NOFILE, &Limit) == 0 && Limit.rlim_cur != RLIM_INFINITY;
  return Is_Known ? static_cast<std::size_t>(Limit.rlim_cur) : SIZE_MAX;
}

bool Is_Terminal(std::FILE* Stream) {
  return isatty(fileno(Stream)) != 0;
}

bool Terminal_Takes_Colours(std::FILE* /*Stream*/) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here sets a variable
  const char* const Kind = std::getenv("TERM");
  return Kind != nullptr && *Kind != '\0' && std::string_view(Kind) != "dumb";
}

int Copy_Of(int Descriptor) {
  return fcntl(Descriptor, F_DUPFD_CLOEXEC, 3);
}

int Open_Nowhere() {
  return open("/dev/null", O_WRONLY | O_CLOEXEC);
}

void Redirect(int Descriptor, int Target) {
  dup2(Target, Descriptor);
}

void Close(int Descriptor) {
  close(Descriptor);
}

void Write_If_Ready(int Descriptor, std::string_view Text) {
  pollfd Ready{Descriptor, POLLOUT, 0};
  if (poll(&Ready, 1, /*timeout=*/0) != 1 || (Ready.revents & POLLOUT) == 0) return;
  if (write(Descriptor, Text.data(), Text.size()) < 0) return;
}

bool Reader_Is_Gone() {
  return errno == EPIPE;
}

bool Is_Quota_Used_Up(const std::error_code& Error) {
  return Error.category() == std::generic_category() && Error.value() == EDQUOT;
}

std::error_code Write_To_Disk(const std::filesystem::path& File, std::string_view Text) {
  const int Descriptor = open(File.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (Descriptor < 0) return Last_Error();
  std::error_code Reason = Write_All(Descriptor, Text) ? std::error_code() : Last_Error();
  if (close(Descriptor) != 0 && !Reason) Reason = Last_Error();
  if (Reason) unlink(File.c_str());
  return Reason;
}

std::error_code Replace_File(const std::filesystem::path& From, const std::filesystem::path& To) {
  return std::rename(From.c_str(), To.c_str()) == 0 ? std::error_code() : Last_Error();
}

Folder_Lock::Folder_Lock(const std::filesystem::path& Folder, double Seconds) {
  using std::chrono::steady_clock;
  constexpr auto Pause = std::chrono::milliseconds(5);
  const int Descriptor = open(Folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  Handle = Descriptor;
  if (Descriptor < 0) return;
  const auto End = steady_clock::now() + std::chrono::duration<double>(Seconds);
  while (flock(Descriptor, LOCK_EX | LOCK_NB) != 0) {
    Has_Another = errno == EWOULDBLOCK;
    if (!Has_Another || steady_clock::now() >= End) return;
    std::this_thread::sleep_for(Pause);
  }
  Has_Another = false;
}

Folder_Lock::~Folder_Lock() {
  if (Handle >= 0) close(static_cast<int>(Handle));
}

Reserved_Space::Reserved_Space(const std::filesystem::path& Folder, std::size_t Bytes) {
  const Held_Signals Until_It_Has_No_Name;
  std::string Name = (Folder / ".reserved-XXXXXX").string();
  const int Descriptor = mkostemp(Name.data(), O_CLOEXEC);
  if (Descriptor < 0) return;
  Handle = Descriptor;
  if (unlink(Name.c_str()) != 0) Left_Name = Name;
  // Zeros would take no space where a disk compresses or leaves holes.
  std::string Text(Bytes, '\0');
  std::minstd_rand Random;
  for (char& Letter : Text) Letter = static_cast<char>(Random());
  if (!Write_All(Descriptor, Text)) return;  // then as much as there is
}

Reserved_Space::~Reserved_Space() {
  if (Handle >= 0) close(static_cast<int>(Handle));
  if (!Left_Name.empty()) unlink(Left_Name.c_str());
}

std::error_code Start_Program(const std::vector<std::string>& Words, Started_Program& Started) {
  Pipe Output;
  Pipe Error;
  if (!Output.Is_Open() || !Error.Is_Open()) return Last_Error();
  // The parameter is not const for historical reasons; nothing is written to the words.
  std::vector<char*> Arguments;
  for (const std::string& Word : Words) Arguments.push_back(const_cast<char*>(Word.c_str()));
  Arguments.push_back(nullptr);
  const Start_Plan Plan(Output.Writing_End(), Error.Writing_End());
  pid_t Process = 0;
  const int Reason = posix_spawnp(&Process, Words.front().c_str(), &Plan.Actions, &Plan.Attributes,
                                  Arguments.data(), environ);
  if (Reason != 0) return {Reason, std::generic_category()};
  Started = {Process, Output.Take_Reading_End(), Error.Take_Reading_End()};
  return {};
}

std::size_t Read_Some(int Descriptor, char* Buffer, std::size_t Size) {
  ssize_t Count = 0;
  do {
    Count = read(Descriptor, Buffer, Size);
  } while (Count < 0 && errno == EINTR);
  return Count < 0 ? 0 : static_cast<std::size_t>(Count);
}

void End_Program(const Started_Program& Started) {
  kill(static_cast<pid_t>(Started.Process), SIGKILL);
}

int Wait_For_Program(const Started_Program& Started) {
  constexpr int Signal_Base = 128;
  int State = 0;
  while (waitpid(static_cast<pid_t>(Started.Process), &State, 0) < 0) {
    if (errno != EINTR) return Signal_Base;
  }
  return WIFEXITED(State) ? WEXITSTATUS(State) : Signal_Base + WTERMSIG(State);
}

std::string Shell_Word(const std::string& Text) {
  constexpr const char* Special = " \t\n'\"\\$`&|;<>()*?[]{}!#~";
  if (Text.find_first_of(Special) == std::string::npos) return Text;
  std::string Word = "'";
  for (const char Letter : Text) Word += Letter == '\'' ? "'\\''" : std::string(1, Letter);
  return Word + "'";
}

std::string Line_Continuation(std::size_t Indent) {
  return " \\\n" + std::string(Indent, ' ');
}

Udp_Receiver::Udp_Receiver() : Buffer(std::size_t{1} << 16, '\0') {}

Udp_Receiver::~Udp_Receiver() {
  for (const Opened& Socket : Sockets) close(static_cast<int>(Socket.Handle));
}

std::uint16_t Udp_Receiver::Bind(std::intptr_t Handle, const Ipv4_Address& Address,
                                 std::uint16_t Port) {
  Sockets.push_back({Handle, Port});  // closed at the end, whatever happens
  sockaddr_in Name = Socket_Address(Address, Port);
  socklen_t Length = sizeof Name;
  const int Descriptor = static_cast<int>(Handle);
  const bool Is_Bound = bind(Descriptor, reinterpret_cast<sockaddr*>(&Name), Length) == 0 &&
                        getsockname(Descriptor, reinterpret_cast<sockaddr*>(&Name), &Length) == 0;
  if (!Is_Bound) Throw_Last_Error();
  return Sockets.back().Port = ntohs(Name.sin_port);
}

std::uint16_t Udp_Receiver::Listen(const Ipv4_Address& Address, std::uint16_t Port) {
  return Bind(Open_Socket(), Address, Port);
}

std::uint16_t Udp_Receiver::Join(const std::vector<Ipv4_Address>& Groups, std::uint16_t Port,
                                 const Ipv4_Address& Interface) {
  const int Handle = Open_Socket();
  const int On = 1;
  setsockopt(Handle, SOL_SOCKET, SO_REUSEADDR, &On, sizeof On);
#ifdef SO_REUSEPORT
#ifndef __linux__
  // Systems that come from BSD share a port by this option. On Linux it would share out the
  // packets.
  setsockopt(Handle, SOL_SOCKET, SO_REUSEPORT, &On, sizeof On);
#endif
#endif
#ifdef IP_MULTICAST_ALL
  // On Linux a socket gets the groups that any program of the machine has joined.
  const int Off = 0;
  setsockopt(Handle, IPPROTO_IP, IP_MULTICAST_ALL, &Off, sizeof Off);
#endif
  const std::uint16_t Bound_Port = Bind(Handle, Any_Address, Port);
  for (const Ipv4_Address& Group : Groups) {
    const ip_mreq Membership{Network_Address(Group), Network_Address(Interface)};
    if (setsockopt(Handle, IPPROTO_IP, IP_ADD_MEMBERSHIP, &Membership, sizeof Membership) != 0) {
      Throw_Last_Error();
    }
  }
  return Bound_Port;
}

void Udp_Receiver::Receive(double Seconds, std::vector<Udp_Packet>& Packets) {
  constexpr double Milliseconds = 1000.0;
  Packets.clear();
  std::vector<pollfd> Waiting;
  for (const Opened& Socket : Sockets) {
    Waiting.push_back({static_cast<int>(Socket.Handle), POLLIN, 0});
  }
  const int Ready = poll(Waiting.data(), Waiting.size(), static_cast<int>(Milliseconds * Seconds));
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
    socklen_t Length = sizeof From;
    const ssize_t Size = recvfrom(static_cast<int>(Socket.Handle), Buffer.data(), Buffer.size(), 0,
                                  reinterpret_cast<sockaddr*>(&From), &Length);
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

Udp_Sender::Udp_Sender() : Handle(Open_Socket()) {}

Udp_Sender::~Udp_Sender() {
  close(static_cast<int>(Handle));
}

void Udp_Sender::Send(const Ipv4_Address& To, std::uint16_t Port, std::string_view Bytes) {
  const sockaddr_in Name = Socket_Address(To, Port);
  const ssize_t Sent = sendto(static_cast<int>(Handle), Bytes.data(), Bytes.size(), 0,
                              reinterpret_cast<const sockaddr*>(&Name), sizeof Name);
  // A full buffer loses the packet, as a network may at any time.
  if (Sent < 0 && errno != EAGAIN && errno != EWOULDBLOCK) Throw_Last_Error();
}

}  // namespace rigsync
