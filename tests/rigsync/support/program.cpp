// SPDX-License-Identifier: Apache-2.0
#include "tests/rigsync/support/program.h"

#include "rigsync/system/text.h"
#include "tests/support/child_limits.h"
#include "tests/support/scratch_folder.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

// In the child: connects a descriptor to a file. Only calls functions that are safe after a fork.
void Connect(int Descriptor, const char* File, int Mode) {
  const int Opened = open(File, Mode, 0600);
  if (Opened < 0 || dup2(Opened, Descriptor) < 0) _exit(127);
}

}  // namespace

Finished Run_Program(const std::string& Program, const std::vector<std::string>& Arguments,
                     const std::filesystem::path& Folder) {
  const Scratch_Folder Scratch;
  const std::string Output = (Scratch.Path() / "output").string();
  const std::string Error = (Scratch.Path() / "error").string();
  const std::string Start = Folder.string();
  std::vector<std::string> Words = Arguments;
  Words.insert(Words.begin(), Program);
  std::vector<char*> Pointers;
  for (std::string& Word : Words) Pointers.push_back(Word.data());
  Pointers.push_back(nullptr);

  const pid_t Parent = getpid(), Child = fork();
  if (Child < 0) throw std::runtime_error("fork failed");
  if (Child == 0) {
    Limit_Child(Parent);
    if (!Start.empty() && chdir(Start.c_str()) != 0) _exit(127);
    Connect(STDIN_FILENO, "/dev/null", O_RDONLY);
    Connect(STDOUT_FILENO, Output.c_str(), O_WRONLY | O_CREAT | O_TRUNC);
    Connect(STDERR_FILENO, Error.c_str(), O_WRONLY | O_CREAT | O_TRUNC);
    execv(Program.c_str(), Pointers.data());
    _exit(127);
  }
  int State = 0;
  if (waitpid(Child, &State, 0) != Child) throw std::runtime_error("waitpid failed");
  Finished Result;
  Result.Status = WIFEXITED(State) ? WEXITSTATUS(State) : 128 + WTERMSIG(State);
  Result.Output = Read_Text(Output);
  Result.Error = Read_Text(Error);
  Result.Said = rigsync::One_Line(Result.Error);
  return Result;
}

Finished Rigsync(const std::vector<std::string>& Arguments, const std::filesystem::path& Folder) {
  return Run_Program(RIGSYNC_PROGRAM, Arguments, Folder);
}

std::filesystem::path Capture_File(const std::string& Name) {
  const std::filesystem::path File = std::filesystem::path(RIGSYNC_CAPTURE) / Name;
  if (!std::filesystem::exists(File)) {
    throw std::runtime_error(File.string() +
                             " is missing; the test rigsync.simulate_capture creates it");
  }
  return File;
}

std::vector<std::string> Calibrate_Arguments(const std::filesystem::path& Csv,
                                             const std::filesystem::path& Out) {
  return {"calibrate", Csv.string(), "--config", Capture_File("stage.json").string(),
          "--out",     Out.string()};
}

void Rewrite_Csv(
    const std::filesystem::path& Target,
    const std::function<void(std::size_t Index, std::vector<std::string>& Fields)>& Change) {
  std::istringstream Source(Read_Text(Capture_File("capture.csv")));
  std::ofstream Copy(Target);
  std::size_t Index = 0;
  for (std::string Line; std::getline(Source, Line);) {
    if (Line.front() == 'T') continue;
    std::vector<std::string> Fields;
    std::istringstream Parts(Line);
    for (std::string Field; std::getline(Parts, Field, ',');) Fields.push_back(Field);
    Change(Index++, Fields);
    for (std::size_t i = 0; i < Fields.size(); ++i) Copy << (i == 0 ? "" : ",") << Fields[i];
    if (!Fields.empty()) Copy << "\n";
  }
  Copy.close();
  if (!Copy) throw std::runtime_error("could not write " + Target.string());
}

std::filesystem::path Write_Long_Csv(const std::filesystem::path& Folder, int Repeats) {
  const std::filesystem::path Once = Folder / "once.csv", Long = Folder / "long.csv";
  Rewrite_Csv(Once, [](std::size_t, std::vector<std::string>& Fields) {
    Fields[1] = (Capture_File("images").parent_path() / Fields[1]).string();
  });
  std::ofstream Written(Long, std::ios::binary);
  for (int i = 0; i < Repeats; ++i) Written << Read_Text(Once);
  return Long;
}

std::vector<std::filesystem::path> Run_Folders(const std::filesystem::path& Out) {
  std::vector<std::filesystem::path> Folders;
  std::error_code Ignored;
  for (const auto& Entry : std::filesystem::directory_iterator(Out, Ignored)) {
    if (Entry.path().filename().string().rfind("run_", 0) == 0) Folders.push_back(Entry.path());
  }
  std::sort(Folders.begin(), Folders.end());
  return Folders;
}

nlohmann::json Read_Json(const std::filesystem::path& File) {
  return nlohmann::json::parse(Read_Text(File));
}

std::size_t Line_Count(const std::string& Text) {
  return static_cast<std::size_t>(std::count(Text.begin(), Text.end(), '\n'));
}

std::size_t Widest_Line(const std::string& Text) {
  std::istringstream Lines(Text);
  std::size_t Widest = 0;
  for (std::string Line; std::getline(Lines, Line);) Widest = std::max(Widest, Line.size());
  return Widest;
}
