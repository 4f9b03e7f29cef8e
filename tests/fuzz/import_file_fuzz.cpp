// SPDX-License-Identifier: Apache-2.0
//
// Any bytes as an import.json: refused with a sentence that names the file, or read with numbers
// that a lag can be solved from: finite, and nothing below 0 that is a size. The writer writes it
// so that it is read back.
#include "rigsync/formats/import_file.h"
#include "rigsync/system/usage_error.h"

#include "tests/fuzz/fuzz_support.h"

namespace {

using rigsync::Body_Facts;
using rigsync::Body_Reading;
using rigsync::Import_Record;
using rigsync::Imported_Row;

void Check_Read(const Body_Reading& Reading) {
  for (const double Value : Reading.Sample.Position) Promise(std::isfinite(Value), "a position");
  for (const double Value : Reading.Sample.Quaternion) Promise(std::isfinite(Value), "a rotation");
  Promise(Reading.Velocity.Linear.allFinite(), "a velocity is finite");
  Promise(Reading.Velocity.Angular.allFinite(), "an angular velocity is finite");
  Promise(Reading.Spread_Mm >= 0.0 && Reading.Spread_Deg >= 0.0, "a spread is not below 0");
}

void Check_Read(const Import_Record& Record) {
  for (const Body_Facts& Facts : {Record.Camera, Record.Board}) {
    Promise(Facts.Rate_Hz >= 0.0 && Facts.Noise.Position_Mm >= 0.0, "facts are not below 0");
    Promise(Facts.Rest.Linear >= 0.0 && Facts.Rest.Angular >= 0.0, "speeds are not below 0");
  }
  Promise(std::isfinite(Record.Clock.Offset_Seconds), "an offset is finite");
  for (const Imported_Row& Row : Record.Rows) {
    Promise(std::isfinite(Row.Picture_Seconds), "a picture's time is finite");
    Check_Read(Row.Camera);
    Check_Read(Row.Board);
    if (!Row.Csv_Line) Promise(Row.Camera.Sample_Count == 0, "without a row there are no samples");
  }
}

// Those in other units in the file are rounded on their way.
bool Nearly_Same(double Left, double Right) {
  constexpr double Unit_Rounding = 1e-12;
  return std::abs(Left - Right) <= Unit_Rounding * std::abs(Left);
}

void Check_Same(const Body_Facts& Read, const Body_Facts& Again) {
  Promise(Read.Samples == Again.Samples && Read.Lost == Again.Lost, "samples are read back");
  Promise(Same(Read.Rate_Hz, Again.Rate_Hz), "the rate is read back");
  Promise(Same(Read.Noise.Position_Mm, Again.Noise.Position_Mm) &&
              Same(Read.Noise.Rotation_Deg, Again.Noise.Rotation_Deg),
          "the noise is read back");
  Promise(Nearly_Same(Read.Rest.Linear, Again.Rest.Linear) &&
              Nearly_Same(Read.Rest.Angular, Again.Rest.Angular),
          "the speeds at rest are read back");
}

void Check_Same(const Body_Reading& Read, const Body_Reading& Again) {
  Promise(Read.Sample.Position == Again.Sample.Position &&
              Read.Sample.Quaternion == Again.Sample.Quaternion,
          "the pose is read back");
  Promise(Read.Sample_Count == Again.Sample_Count, "the number of samples is read back");
  Promise(Same(Read.Spread_Mm, Again.Spread_Mm) && Same(Read.Spread_Deg, Again.Spread_Deg),
          "the spread is read back");
  Promise(Read.Velocity.Linear == Again.Velocity.Linear &&
              Read.Velocity.Angular == Again.Velocity.Angular,
          "the velocity is read back");
}

void Check_Same(const Imported_Row& Read, const Imported_Row& Again) {
  Promise(Read.Picture == Again.Picture, "the picture is read back");
  Promise(Same(Read.Picture_Seconds, Again.Picture_Seconds), "the picture's time is read back");
  Promise(Read.Csv_Line == Again.Csv_Line, "the line is read back");
  Promise(Read.Refusal == Again.Refusal, "the refusal is read back");
  Promise(Same(Read.Begin_Seconds, Again.Begin_Seconds), "a hold's begin is read back");
  Promise(Same(Read.End_Seconds, Again.End_Seconds), "a hold's end is read back");
  Check_Same(Read.Camera, Again.Camera);
  Check_Same(Read.Board, Again.Board);
}

void Check_Same(const rigsync::Clock_Match& Read, const rigsync::Clock_Match& Again) {
  Promise(Read.Method == Again.Method, "the clock's method is read back");
  Promise(Same(Read.Offset_Seconds, Again.Offset_Seconds), "the offset is read back");
  Promise(Read.Is_Certain == Again.Is_Certain, "the certainty is read back");
  Promise(Same(Read.Score, Again.Score) && Same(Read.Second_Score, Again.Second_Score) &&
              Same(Read.Second_Offset_Seconds, Again.Second_Offset_Seconds),
          "the scores are read back");
}

void Check_Same(const Import_Record& Read, const Import_Record& Again) {
  Promise(Read.Takes == Again.Takes && Read.Format == Again.Format, "the takes are read back");
  Promise(Read.Camera_Body == Again.Camera_Body, "the camera's body is read back");
  Promise(Read.Board_Body == Again.Board_Body, "the board's body is read back");
  Promise(Read.Facts == Again.Facts, "the facts are read back");
  Promise(Read.Pictures == Again.Pictures, "the pictures are read back");
  Promise(Read.Picture_Times == Again.Picture_Times, "where times come from is read back");
  Check_Same(Read.Camera, Again.Camera);
  // A board without a name stands still, and has no facts.
  if (!Read.Board_Body.empty()) Check_Same(Read.Board, Again.Board);
  Promise(Read.Pose == Again.Pose && Read.Hold_Count == Again.Hold_Count, "holds are read back");
  Check_Same(Read.Clock, Again.Clock);
  Promise(Read.Rows.size() == Again.Rows.size(), "as many rows are read back");
  for (std::size_t i = 0; i < Read.Rows.size(); ++i) Check_Same(Read.Rows[i], Again.Rows[i]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size) {
  static const Fuzz_Folder Folder;
  Bytes Input(Data, Size);
  const std::filesystem::path File = Folder.Write("input.json", Input.Take_Rest());
  rigsync::Import_File Read;
  try {
    Read = rigsync::Read_Import(File);
  } catch (const rigsync::Usage_Error& Refusal) {
    Promise(std::string(Refusal.what()).rfind(File.string() + ": ", 0) == 0,
            "a refusal names the file");
    return 0;
  }
  Check_Read(Read.Record);
  const rigsync::Import_File Again =
      rigsync::Read_Import(Folder.Write("again.json", rigsync::Import_Json(Read)));
  Promise(Read.Csv == Again.Csv && Read.Csv_Sha256 == Again.Csv_Sha256, "the CSV is read back");
  Check_Same(Read.Record, Again.Record);
  return 0;
}
