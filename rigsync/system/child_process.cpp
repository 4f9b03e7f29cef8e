// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/child_process.h"

#include <fmt/format.h>

#include <array>
#include <utility>

namespace rigsync {
namespace {

// A pipe holds no more on most systems.
constexpr std::size_t Block_Bytes = 1 << 16;

constexpr std::size_t Most_Error_Lines = 10;
constexpr std::size_t Most_Line_Bytes = 500;

// One word, as a program's start-up code takes it apart: 2n backslashes and quotes are n
// backslashes, 2n + 1 of them and quotes are n and literal quotes, others stand for themselves.
std::string Windows_Word(const std::string& Word) {
  if (!Word.empty() && Word.find_first_of(" \t\n\v\"") == std::string::npos) return Word;
  std::string Quoted = "\"";
  std::size_t Backslashes = 0;
  for (const char Letter : Word) {
    if (Letter == '"') Quoted.append(Backslashes + 1, '\\');
    Backslashes = Letter == '\\' ? Backslashes + 1 : 0;
    Quoted += Letter;
  }
  return Quoted.append(Backslashes, '\\') + '"';
}

}  // namespace

Program_Not_Found::Program_Not_Found(const std::string& Program)
    : std::runtime_error(fmt::format("the program '{}' isn't found", Program)) {}

Child_Process::Child_Process(const std::string& Program, const std::vector<std::string>& Arguments,
                             Error_Line_Reader Read_Line)
    : Reader(std::move(Read_Line)) {
  std::vector<std::string> Words = {Program};
  Words.insert(Words.end(), Arguments.begin(), Arguments.end());
  const std::error_code Reason = Start_Program(Words, Started);
  if (Reason == std::errc::no_such_file_or_directory) throw Program_Not_Found(Program);
  if (Reason) {
    throw std::runtime_error(
        fmt::format("the program '{}' can't be started: {}", Program, Reason.message()));
  }
  Error_Thread = std::thread([this] { Read_Errors(); });
}

Child_Process::~Child_Process() {
  if (!Has_Ended) End_Program(Started);
  Wait();
}

std::size_t Child_Process::Read(void* Buffer, std::size_t Size) {
  std::size_t Done = 0;
  while (Done < Size) {
    const std::size_t Count =
        Read_Some(Started.Output, static_cast<char*>(Buffer) + Done, Size - Done);
    if (Count == 0) break;
    Done += Count;
  }
  return Done;
}

std::string Child_Process::Read_Rest(std::size_t Most_Bytes) {
  std::string Text;
  std::array<char, Block_Bytes> Block{};
  while (const std::size_t Count = Read(Block.data(), Block.size())) {
    if (Count > Most_Bytes - Text.size()) {
      throw std::runtime_error(fmt::format("a program printed more than {} bytes", Most_Bytes));
    }
    Text.append(Block.data(), Count);
  }
  return Text;
}

int Child_Process::Wait() {
  if (Has_Ended) return Status;
  std::array<char, Block_Bytes> Block{};
  while (Read(Block.data(), Block.size()) > 0) {
    // Without a reader the program would wait for ever.
  }
  Error_Thread.join();
  Status = Wait_For_Program(Started);
  Has_Ended = true;
  Close(Started.Output);
  Close(Started.Error);
  return Status;
}

void Child_Process::Read_Errors() {
  std::string Line;
  std::array<char, Block_Bytes> Block{};
  while (const std::size_t Count = Read_Some(Started.Error, Block.data(), Block.size())) {
    for (const char Letter : std::string_view(Block.data(), Count)) {
      if (Letter == '\n' || Letter == '\r') {
        Take_Error_Line(Line);
        Line.clear();
      } else if (Line.size() < Most_Line_Bytes) {
        Line += Letter;
      }
    }
  }
  Take_Error_Line(Line);
}

void Child_Process::Take_Error_Line(std::string_view Line) {
  if (Line.empty() || (Reader && Reader(Line))) return;
  Last_Lines.emplace_back(Line);
  if (Last_Lines.size() > Most_Error_Lines) Last_Lines.pop_front();
}

std::string Windows_Command_Line(const std::vector<std::string>& Words) {
  std::string Line;
  for (const std::string& Word : Words) Line += (Line.empty() ? "" : " ") + Windows_Word(Word);
  return Line;
}

}  // namespace rigsync
