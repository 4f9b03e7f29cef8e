// SPDX-License-Identifier: Apache-2.0
#include "core/capture/read_raw_data.h"

#include "core/base/error_catalog.h"
#include "core/base/raw_data_row.h"
#include "core/base/run_log.h"

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

constexpr int Field_Count = 16;
constexpr int Image_Field = 1;
constexpr std::size_t List_Reserve = 5000;  // initial capacity; longer files are read in full

}  // namespace

int Read_Raw_Data(std::string Log_Path, std::string Csv_Path, std::vector<std::string>& Image_name,
                  std::vector<std::vector<double>>& Raw_Data_all) {
  std::ifstream File(Csv_Path);
  if (!File.is_open()) {
    Write_Log(Log_Path, "Error code 1 : " + Error_Text(1));
    return 1;
  }
  Image_name.reserve(List_Reserve);
  Raw_Data_all.reserve(List_Reserve);

  std::string Line;
  std::vector<double> Row;
  while (std::getline(File, Line)) {
    if (!Line.empty() && Line[0] == 'T') continue;

    // One string is used for all fields. After the end of the line it keeps the last field, so a
    // short line repeats its last field.
    std::istringstream Fields(Line);
    std::string Field;
    for (int i = 0; i < Field_Count; ++i) {
      std::getline(Fields, Field, ',');
      if (i == Image_Field) {
        Image_name.push_back(Field);
      } else {
        // Text counts as 0, or as the number that it begins with.
        // NOLINTNEXTLINE(cert-err34-c)
        Row.push_back(std::atof(Field.c_str()));
      }
    }
    if (const int Code = Check_Row_Size(Log_Path, Row); Code != 0) return Code;
    Raw_Data_all.push_back(Row);
    Row.clear();
  }
  return 0;
}

int Check_Row_Size(const std::string& Log_Path, const std::vector<double>& Row) {
  if (Row.size() != Raw_Data_Row_Size) {
    Write_Log(Log_Path, "Tracker data format error!");
    Write_Log(Log_Path, "Detect the tracker data size : " + std::to_string(Row.size()));
    Write_Log(Log_Path, "Error code 15 : " + Error_Text(15));
    return 15;
  }
  return 0;
}
