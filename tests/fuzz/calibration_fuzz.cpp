// SPDX-License-Identifier: Apache-2.0
//
// Any board and any bytes as a CSV file, none of whose images exist: the reader takes the file
// apart as its format says, and both overloads of Calibration end with code 4, or 1 without a file,
// with no vector filled and with the log lines that belong to it.
//
// Input: flags, columns, rows, square size, sizes of the two board vectors; the rest is the file.
#include "core/capture/read_raw_data.h"
#include "rigsync_core.h"
#include "tests/fuzz/fuzz_support.h"

#include <opencv2/core/utils/logger.hpp>

#include <cerrno>
#include <limits>

namespace {

using Lines = std::vector<std::string>;

struct Case {
  bool File_Exists = true;
  int Board_Cols = 0, Board_Rows = 0;
  double Square_Size = 0.0;
  std::vector<double> Chart_Euler_Deg, Chart_Translation;
  std::string Csv;
};

// Three times the corner count as 32 bits hold it.
std::uint32_t Reserve_Of(int Cols, int Rows) {
  return static_cast<std::uint32_t>(Cols) * static_cast<std::uint32_t>(Rows) * 3u;
}

bool Too_Long(int Cols, int Rows) {
  return Reserve_Of(Cols, Rows) > static_cast<std::uint32_t>(std::numeric_limits<int>::max());
}

// Boards as they come where they cost nothing: no line per corner, no long walk over rows without
// columns, no gigabytes reserved. Others are made small.
Case Take_Case(Bytes& Input) {
  Case Made;
  Made.File_Exists = Input.Take<std::uint8_t>() % 16 != 15;
  Made.Board_Cols = Input.Take<std::int32_t>();
  Made.Board_Rows = Input.Take<std::int32_t>();
  const bool No_Corner = Made.Board_Cols <= 0 || Made.Board_Rows <= 0;
  const bool Cheap = No_Corner && Made.Board_Rows < 1000 &&
                     Reserve_Of(Made.Board_Cols, Made.Board_Rows) < 1000000u;
  if (!Too_Long(Made.Board_Cols, Made.Board_Rows) && !Cheap) {
    Made.Board_Cols = Made.Board_Cols % 7;
    Made.Board_Rows = Made.Board_Rows % 7;
  }
  Made.Square_Size = Input.Take<double>();
  Made.Chart_Euler_Deg.resize(Input.Take<std::uint8_t>() % 5);
  Made.Chart_Translation.resize(Input.Take<std::uint8_t>() % 5);
  Made.Csv = Input.Take_Rest();
  return Made;
}

// A CSV as the format describes it, taken apart another way than the library's: by positions.
struct Expected_Table {
  Lines Names;
  std::vector<std::vector<double>> Rows;
};

// A comma at the end opens a last, empty field; fields that a line doesn't have repeat its last.
std::vector<std::string> Sixteen_Fields(const std::string& Line) {
  std::vector<std::string> Fields;
  std::size_t Start = 0;
  while (Start != std::string::npos && Fields.size() < 16) {
    const std::size_t Comma = Line.find(',', Start);
    Fields.push_back(Line.substr(Start, Comma - Start));
    Start = Comma == std::string::npos ? Comma : Comma + 1;
  }
  const std::string Last = Fields.back();
  Fields.resize(16, Last);
  return Fields;
}

Expected_Table Take_Apart(const std::string& Csv) {
  Expected_Table Table;
  for (std::size_t Start = 0; Start < Csv.size();) {
    const std::size_t End = std::min(Csv.find('\n', Start), Csv.size());
    const std::string Line = Csv.substr(Start, End - Start);
    Start = End + 1;
    if (!Line.empty() && Line.front() == 'T') continue;
    const std::vector<std::string> Fields = Sixteen_Fields(Line);
    Table.Names.push_back(Fields[1]);
    std::vector<double> Row;
    for (std::size_t i = 0; i < Fields.size(); ++i) {
      if (i != 1) Row.push_back(std::strtod(Fields[i].c_str(), nullptr));
    }
    Table.Rows.push_back(Row);
  }
  return Table;
}

void Check_Reader(const Expected_Table& Expected, const std::string& Csv_Path) {
  Lines Names;
  std::vector<std::vector<double>> Rows;
  Promise(Read_Raw_Data("", Csv_Path, Names, Rows) == 0, "any file that opens is read");
  Promise(Names == Expected.Names, "each data line gives its image's name");
  Promise(Rows.size() == Expected.Rows.size(), "each data line gives a row");
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    Promise(Same(Rows[i], Expected.Rows[i]), "each row holds its fifteen numbers");
  }
}

// The whole log of a run that found no image.
Lines Expected_Log(const Case& Given, const Expected_Table& Table) {
  Lines Log = {"Version : v0.0.9", "Camera Tracker Calibration start.",
               "CALIBRATION BOARD INDEX START"};
  for (int r = 0; r < Given.Board_Rows; ++r) {
    for (int c = 0; c < Given.Board_Cols; ++c) {
      Log.push_back(std::to_string(c * Given.Square_Size) + " " +
                    std::to_string(r * Given.Square_Size) + " 0");
    }
  }
  Log.insert(Log.end(), {"CALIBRATION BOARD INDEX END", "Start to read the csv file."});
  if (!Given.File_Exists) {
    Log.push_back("Error code 1 : The raw data csv file path is wrong.");
    return Log;
  }
  Log.insert(Log.end(), {"Read the csv file successfully.", "Start to Detect Corner."});
  for (const std::string& Name : Table.Names) {
    Log.insert(Log.end(), {"Process : " + Name, Name + " Not exist!"});
  }
  Log.insert(Log.end(), {"The amount of useful data is too small. (< 12 )",
                         "Error code 4: Amount of valid images < 12."});
  return Log;
}

int Call(bool Second_Overload, const Case& Given, const std::string& Csv_Path,
         const std::string& Output_Dir) {
  std::vector<double> Filled[7];
  const int Code =
      Second_Overload ? Calibration(Csv_Path, 23.76, 13.365, Given.Board_Cols, Given.Board_Rows,
                                    Given.Square_Size, Given.Chart_Euler_Deg,
                                    Given.Chart_Translation, Filled[0], Filled[1], Filled[2],
                                    Filled[3], Filled[4], Filled[5], Filled[6], Output_Dir)
                      : Calibration(Csv_Path, Given.Board_Cols, Given.Board_Rows, Given.Square_Size,
                                    Given.Chart_Euler_Deg, Given.Chart_Translation, Filled[0],
                                    Filled[1], Filled[2], Filled[3], Filled[4], Output_Dir);
  for (const auto& Vector : Filled) Promise(Vector.empty(), "nothing is filled without images");
  return Code;
}

void Check_Calibration(bool Second_Overload, const Case& Given, const Expected_Table& Table,
                       const Fuzz_Folder& Folder) {
  const std::string Csv_Path = (Folder.Path() / (Given.File_Exists ? "a.csv" : "no.csv")).string();
  try {
    const int Code = Call(Second_Overload, Given, Csv_Path, Folder.Path().string());
    Promise(!Too_Long(Given.Board_Cols, Given.Board_Rows), "a board too long is refused");
    Promise(Code == (Given.File_Exists ? 4 : 1), "code 4, or 1 without a file");
    Promise(Folder.Take_Log() == Expected_Log(Given, Table), "the log is the one that belongs");
  } catch (const std::length_error& Error) {
    Promise(Too_Long(Given.Board_Cols, Given.Board_Rows), "only a board too long is refused");
    Promise(Error.what() == std::string("vector too long"), "a board too long is told so");
    Promise(Folder.Take_Log() == Lines{"Version : v0.0.9", "Camera Tracker Calibration start."},
            "a board too long ends the run after the start line");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size) {
  static const Fuzz_Folder Folder;
  static const bool Quiet = [] {
    // Images are looked for where there are none; OpenCV would tell of each.
    std::filesystem::create_directory(Folder.Path() / "empty");
    std::filesystem::current_path(Folder.Path() / "empty");
    cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
    return true;
  }();
  static_cast<void>(Quiet);
  const No_Output Silence;
  Bytes Input(Data, Size);
  const Case Given = Take_Case(Input);
  const Expected_Table Table = Take_Apart(Given.Csv);
  Check_Reader(Table, Folder.Write("a.csv", Given.Csv).string());
  for (const bool Second_Overload : {false, true}) {
    Check_Calibration(Second_Overload, Given, Table, Folder);
  }
  return 0;
}
