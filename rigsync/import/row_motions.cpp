// SPDX-License-Identifier: Apache-2.0
#include "rigsync/import/row_motions.h"

#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <map>
#include <string>

namespace rigsync {
namespace {

constexpr const char* What_To_Do =
    "so the speeds of its trackers are not known. Import the capture again, or leave out --lag";

// By the picture as the CSV names it; those without a row have no samples.
std::map<std::string, const Imported_Row*> By_Picture(const Import_Record& Record) {
  std::map<std::string, const Imported_Row*> Rows;
  for (const Imported_Row& Row : Record.Rows) {
    if (Row.Csv_Line) Rows[Row.Picture.generic_string()] = &Row;
  }
  return Rows;
}

[[noreturn]] void Refuse_Row(const Capture_Row& Row, const std::filesystem::path& Csv,
                             const std::string& Why) {
  throw Usage_Error("--lag", fmt::format("--lag: line {} of {} ('{}') {}, {}", Row.Line,
                                         Csv.string(), One_Line(Row.Image), Why, What_To_Do));
}

}  // namespace

Row_Motions Motions_Of_Rows(const Import_Record& Record, const std::vector<Capture_Row>& Rows,
                            const std::filesystem::path& Csv) {
  const auto Imported = By_Picture(Record);
  Row_Motions Motions(Rows.size());
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    const Capture_Row& Row = Rows[i];
    if (!Row.Is_Image) continue;
    const auto Found = Imported.find(Row.Image);
    if (Found == Imported.end()) Refuse_Row(Row, Csv, "is not in import.json");
    const Imported_Row& Known = *Found->second;
    if (!(Row.Camera == Known.Camera.Sample && Row.Board == Known.Board.Sample)) {
      Refuse_Row(Row, Csv, "has other samples than import.json");
    }
    Motions[i] = Row_Motion{Known.Camera.Velocity, Known.Board.Velocity};
  }
  return Motions;
}

}  // namespace rigsync
