// SPDX-License-Identifier: Apache-2.0
//
// What the fuzzed readers share: bytes taken apart into numbers and texts, promises that end the
// program when they don't hold, a scratch folder, and the library's standard output kept
// away.
#ifndef RIGSYNC_TESTS_FUZZ_FUZZ_SUPPORT_H
#define RIGSYNC_TESTS_FUZZ_FUZZ_SUPPORT_H

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

// A promise of the code under test. libFuzzer keeps the input that breaks it.
inline void Promise(bool Holds, const std::string& What) {
  if (Holds) return;
  std::fprintf(stderr, "broken: %s\n", What.c_str());
  std::abort();
}

// Equal to the bit, but for what a NaN carries besides.
inline bool Same(double Left, double Right) {
  if (std::isnan(Left) || std::isnan(Right)) return std::isnan(Left) && std::isnan(Right);
  return Left == Right && std::signbit(Left) == std::signbit(Right);
}

inline bool Same(const std::vector<double>& Left, const std::vector<double>& Right) {
  return std::equal(Left.begin(), Left.end(), Right.begin(), Right.end(),
                    [](double a, double b) { return Same(a, b); });
}

// The fuzzer's bytes, from the front. Behind the end come zeros.
class Bytes {
 public:
  Bytes(const std::uint8_t* Data, std::size_t Size) : Next(Data), Left(Size) {}

  template <typename Number>
  Number Take() {
    Number Value{};
    const std::size_t Taken = std::min(Left, sizeof Value);
    std::memcpy(&Value, Next, Taken);
    Next += Taken;
    Left -= Taken;
    return Value;
  }
  std::vector<double> Take_Doubles(std::size_t Count) {
    std::vector<double> Values;
    for (std::size_t i = 0; i < Count; ++i) Values.push_back(Take<double>());
    return Values;
  }
  std::string Take_Rest() {
    std::string Rest(reinterpret_cast<const char*>(Next), Left);
    Left = 0;
    return Rest;
  }

 private:
  const std::uint8_t* Next;
  std::size_t Left;
};

// A folder of this process's own, gone at the end unless a promise breaks. scripts/checks/fuzz
// gives it a place in memory.
class Fuzz_Folder {
 public:
  Fuzz_Folder() {
    std::string Pattern = (std::filesystem::temp_directory_path() / "rigsync_fuzz_XXXXXX").string();
    if (mkdtemp(Pattern.data()) == nullptr) throw std::runtime_error("no scratch folder");
    Folder = Pattern;
  }
  ~Fuzz_Folder() {
    std::error_code Ignored;
    std::filesystem::remove_all(Folder, Ignored);
  }
  Fuzz_Folder(const Fuzz_Folder&) = delete;
  Fuzz_Folder& operator=(const Fuzz_Folder&) = delete;

  const std::filesystem::path& Path() const { return Folder; }

  std::filesystem::path Write(const std::string& Name, const std::string& Text) const {
    std::ofstream(Folder / Name, std::ios::binary) << Text;
    return Folder / Name;
  }

  // The messages of all run logs, which are then removed. Calls of one second share a file.
  std::vector<std::string> Take_Log() const {
    std::vector<std::filesystem::path> Files;
    for (const auto& Entry : std::filesystem::directory_iterator(Folder)) {
      if (Entry.path().filename().string().rfind("log_", 0) == 0) Files.push_back(Entry.path());
    }
    std::sort(Files.begin(), Files.end());
    std::vector<std::string> Messages;
    for (const auto& Path : Files) {
      std::ifstream File(Path, std::ios::binary);
      for (std::string Line; std::getline(File, Line);) {
        Promise(Line.size() >= 20 && Line[19] == '\t', "a log line is time, tab, message: " + Line);
        Messages.push_back(Line.substr(20));
      }
      std::filesystem::remove(Path);
    }
    return Messages;
  }

 private:
  std::filesystem::path Folder;
};

// The library mirrors its log to standard output, and a fuzzer's report is on the same terminal.
class No_Output : public std::streambuf {
 public:
  No_Output() : Before(std::cout.rdbuf(this)) {}
  ~No_Output() override { std::cout.rdbuf(Before); }

 protected:
  int overflow(int Letter) override { return traits_type::not_eof(Letter); }
  std::streamsize xsputn(const char* /*Text*/, std::streamsize Count) override { return Count; }

 private:
  std::streambuf* Before;
};

#endif  // RIGSYNC_TESTS_FUZZ_FUZZ_SUPPORT_H
