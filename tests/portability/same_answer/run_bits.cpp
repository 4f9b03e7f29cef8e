// SPDX-License-Identifier: Apache-2.0
//
// run_bits CAPTURE FILE: one whole run as a host sees it, to the last bit. Calibrates the capture
// that bits_capture wrote with both overloads, exports the result to every engine, and writes to
// FILE each code, each number as a hexadecimal float, and each log line without its time. Two
// builds, two machines or two calls agree when the files are the same.
//
// It includes only the public header and the standard library, so that it compiles anywhere.
#include "rigsync_core.h"

#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

namespace {

using Vector = std::vector<double>;

// The content of arguments.txt, which bits_capture writes.
struct Arguments_File {
  int Board_Cols = 0, Board_Rows = 0;
  double Square_Size = 0.0;
  Vector Chart_Euler_Deg, Chart_Translation;
};

Arguments_File Read_Arguments(const std::filesystem::path& Capture) {
  std::ifstream File(Capture / "arguments.txt");
  Arguments_File Read;
  File >> Read.Board_Cols >> Read.Board_Rows >> Read.Square_Size;
  for (Vector* Three : {&Read.Chart_Euler_Deg, &Read.Chart_Translation}) {
    for (int i = 0; i < 3; ++i) {
      double Value = 0.0;
      File >> Value;
      Three->push_back(Value);
    }
  }
  if (!File) throw std::runtime_error("no arguments.txt in " + Capture.string());
  return Read;
}

// Captures the library's log lines from standard output.
class Taken_Output {
 public:
  Taken_Output() : Before(std::cout.rdbuf(Text.rdbuf())) {}
  ~Taken_Output() { std::cout.rdbuf(Before); }
  Taken_Output(const Taken_Output&) = delete;
  Taken_Output& operator=(const Taken_Output&) = delete;

  // The messages since the last call.
  std::string Messages() {
    std::istringstream Lines(Text.str());
    std::string Found;
    for (std::string Line; std::getline(Lines, Line);) Found += Line.substr(20) + '\n';
    Text.str("");
    return Found;
  }

 private:
  std::ostringstream Text;
  std::streambuf* Before;
};

// The sign and payload of a NaN value differ between compilers, so it is printed without them.
void Print(std::FILE* File, const char* Name, const Vector& Values) {
  std::fputs(Name, File);
  for (const double Value : Values) {
    if (std::isnan(Value)) {
      std::fputs(" nan", File);
    } else {
      std::fprintf(File, " %a", Value);
    }
  }
  std::fputc('\n', File);
}

// The vectors that both overloads fill, and those that only the second fills.
struct Filled {
  Vector Image_Size, Norm_Fxy, Norm_Cxy, Distortion, Transform_Cam_Tc, FoV, Focal_Length_mm;
};

void Print_Run(std::FILE* File, int Code, const Filled& Result, Taken_Output& Output) {
  std::fprintf(File, "code %d\n", Code);
  Print(File, "Image_Size", Result.Image_Size);
  Print(File, "Norm_Fxy", Result.Norm_Fxy);
  Print(File, "Norm_Cxy", Result.Norm_Cxy);
  Print(File, "Distortion", Result.Distortion);
  Print(File, "Transform_Cam_Tc", Result.Transform_Cam_Tc);
  Print(File, "FoV", Result.FoV);
  Print(File, "Focal_Length_mm", Result.Focal_Length_mm);
  std::fputs(Output.Messages().c_str(), File);
}

Filled Calibrate_Both(std::FILE* File, const Arguments_File& Input, const std::string& Output_Dir,
                      Taken_Output& Output) {
  Filled First, Second;
  int Code =
      Calibration("capture.csv", Input.Board_Cols, Input.Board_Rows, Input.Square_Size,
                  Input.Chart_Euler_Deg, Input.Chart_Translation, First.Image_Size, First.Norm_Fxy,
                  First.Norm_Cxy, First.Distortion, First.Transform_Cam_Tc, Output_Dir);
  Print_Run(File, Code, First, Output);
  Code = Calibration("capture.csv", 23.76, 13.365, Input.Board_Cols, Input.Board_Rows,
                     Input.Square_Size, Input.Chart_Euler_Deg, Input.Chart_Translation,
                     Second.Image_Size, Second.Norm_Fxy, Second.Norm_Cxy, Second.Distortion,
                     Second.Transform_Cam_Tc, Second.FoV, Second.Focal_Length_mm, Output_Dir);
  Print_Run(File, Code, Second, Output);
  return Second;
}

void Export_To_All(std::FILE* File, const Filled& Result, const std::string& Output_Dir,
                   Taken_Output& Output) {
  Vector Rotation, Translation, FoVX, Shift;
  const auto Print_Export = [&](const char* Engine, int Code) {
    std::fprintf(File, "%s code %d\n", Engine, Code);
    Print(File, "rotation", Rotation);
    Print(File, "translation", Translation);
    std::fputs(Output.Messages().c_str(), File);
    Rotation.clear();
    Translation.clear();
  };
  const Vector& Pose = Result.Transform_Cam_Tc;
  Print_Export("UE4", CamAxisToUE4(Pose, Rotation, Translation, Output_Dir));
  Print_Export("UE5", CamAxisToUE5(Pose, Rotation, Translation, Output_Dir));
  Print_Export("UE5 xN", CamAxisToUE5_ExportxN(Pose, Rotation, Translation, Output_Dir));
  Print_Export("Aximmetry", CamAxisToAximmetry(Result.Norm_Fxy, Result.Norm_Cxy, Pose, FoVX, Shift,
                                               Rotation, Translation, Output_Dir));
  Print(File, "FoVX", FoVX);
  Print(File, "AximmetryCxy", Shift);
}

void Run(const std::filesystem::path& Capture, const std::filesystem::path& Bits) {
  const Arguments_File Input = Read_Arguments(Capture);
  const std::string Output_Dir = std::filesystem::absolute(Bits).string() + ".output";
  std::filesystem::create_directories(Output_Dir);
  std::FILE* File = std::fopen(Bits.c_str(), "w");
  if (File == nullptr) throw std::runtime_error(Bits.string() + " can't be written");
  std::filesystem::current_path(Capture);  // image paths are relative to it
  {
    Taken_Output Output;
    Export_To_All(File, Calibrate_Both(File, Input, Output_Dir, Output), Output_Dir, Output);
  }
  if (std::fclose(File) != 0) throw std::runtime_error(Bits.string() + " can't be written");
  std::filesystem::remove_all(Output_Dir);
}

}  // namespace

#if defined(RIGSYNC_HOST_OF_ITS_OWN)
void Use_Eigen();  // own_eigen.cpp
#endif

int main(int Count, char** Arguments) {
  if (Count != 3) {
    std::fputs("usage: run_bits CAPTURE FILE\n", stderr);
    return 2;
  }
  try {
#if defined(RIGSYNC_HOST_OF_ITS_OWN)
    Use_Eigen();
#endif
    Run(Arguments[1], Arguments[2]);
    return 0;
  } catch (const std::exception& Error) {
    std::fprintf(stderr, "run_bits: %s\n", Error.what());
    return 1;
  }
}
