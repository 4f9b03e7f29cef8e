// SPDX-License-Identifier: Apache-2.0
//
// Any file names and sizes in a folder: the list of run logs holds those of the run log's form and
// nothing else, and the log since an earlier list is the last by name that is new or has grown.
//
// Input: a first byte, then entries: a byte for whether the file exists from the start, how
// much it grows and how long its name is, and the name.
#include "rigsync/calibrate/run_log_file.h"

#include "tests/fuzz/fuzz_support.h"

#include <map>

namespace {

struct File {
  bool Exists_Before = false;
  bool Grows = false;
};

// A name that a file can have: no slash, no zero, not a folder of the system's.
std::string As_Name(std::string Text) {
  for (char& Letter : Text) {
    if (Letter == '/' || Letter == '\0') Letter = '_';
  }
  return Text == "." || Text == ".." || Text.empty() ? "_" : Text;
}

std::map<std::string, File> Take_Files(Bytes& Input) {
  const std::size_t Count = Input.Take<std::uint8_t>() % 8;
  std::map<std::string, File> Files;
  for (std::size_t i = 0; i < Count; ++i) {
    const std::uint8_t Kind = Input.Take<std::uint8_t>();
    std::string Name = Kind & 4 ? "log_" : "";
    for (int Letters = Kind >> 4; Letters > 0; --Letters) Name += Input.Take<char>();
    Name += Kind & 8 ? "txt" : "";
    Files[As_Name(Name)] = {(Kind & 1) != 0, (Kind & 2) != 0};
  }
  return Files;
}

bool Is_Log(const std::string& Name) {
  return Name.size() > 7 && Name.substr(0, 4) == "log_" && Name.substr(Name.size() - 3) == "txt";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size) {
  static const Fuzz_Folder Folder;
  const std::filesystem::path Logs = Folder.Path() / "logs";
  std::filesystem::create_directory(Logs);
  Bytes Input(Data, Size);
  const std::map<std::string, File> Files = Take_Files(Input);

  for (const auto& [Name, What] : Files) {
    if (What.Exists_Before) std::ofstream(Logs / Name) << "line\n";
  }
  const rigsync::Run_Logs Before = rigsync::List_Run_Logs(Logs);
  std::string Latest;
  std::size_t Listed = 0;
  for (const auto& [Name, What] : Files) {
    if (Is_Log(Name) && What.Exists_Before) {
      ++Listed;
      Promise(Before.count(Name) == 1 && Before.at(Name) == 5, "a run log is listed with its size");
    }
    if (What.Grows || !What.Exists_Before) {
      std::ofstream(Logs / Name, std::ios::app) << "more\n";
      if (Is_Log(Name)) Latest = Name;  // in order of names
    }
  }
  Promise(Before.size() == Listed, "nothing else is listed");
  const std::filesystem::path Since = rigsync::Run_Log_Since(Before, Logs);
  Promise(Since == (Latest.empty() ? std::filesystem::path() : Logs / Latest),
          "the log since then is the last that is new or has grown");
  std::filesystem::remove_all(Logs);
  return 0;
}
