// SPDX-License-Identifier: Apache-2.0
#include "core/base/run_log.h"

#include <ctime>
#include <fstream>
#include <iostream>

namespace {

#if defined(_WIN32)
constexpr char Separator = '\\';
#else
constexpr char Separator = '/';
#endif

// Uses the platform's thread-safe conversion: std::localtime shares one buffer between threads.
std::tm Local_Time(std::time_t Now) {
  std::tm Local{};
#if defined(_WIN32)
  localtime_s(&Local, &Now);
#else
  localtime_r(&Now, &Local);
#endif
  return Local;
}

}  // namespace

std::string Time_Text(std::string Kind) {
  const std::tm Local = Local_Time(std::time(nullptr));
  const char* Format = Kind == "date" ? "%Y-%m-%d-%H.%M.%S" : "%Y-%m-%d %X";
  char Text[80] = "";
  std::strftime(Text, sizeof Text, Format, &Local);
  return Text;
}

void Make_Log_Path(std::string& Log_Path, std::string Output_Dir) {
  Log_Path = Output_Dir + Separator + "log_" + Time_Text("date") + "txt";
}

void Write_Log(const std::string& Log_Path, std::string Message) {
  // The line is built once, so that file and standard output agree and the line reaches the file in
  // one write: calls that share a file then do not split each other's lines.
  const std::string Line = Time_Text("now") + '\t' + Message;
  std::ofstream File(Log_Path, std::ios::out | std::ios::app);
  File << Line + '\n';
  File.close();
  std::cout << Line << std::endl;
}

void Write_Matrix(const std::string& Log_Path, const std::string& Label,
                  const Eigen::Matrix4d& Matrix) {
  Write_Log(Log_Path, Label + " : ");
  for (int r = 0; r < 4; ++r) {
    std::string Row = r == 0 ? "[[" : " [";
    for (int c = 0; c < 4; ++c) {
      if (c > 0) Row += ", ";
      Row += std::to_string(Matrix(r, c));
    }
    Write_Log(Log_Path, Row + (r == 3 ? "]]" : "],"));
  }
}
