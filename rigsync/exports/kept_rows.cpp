// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/kept_rows.h"

#include "rigsync/capture/capture_file.h"
#include "rigsync/system/file_hash.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace rigsync {
namespace {

// The images that the chosen solution uses, by their line of the CSV.
std::map<std::size_t, std::string> Kept_Images(const Calibration_Result& Result) {
  std::map<std::size_t, std::string> Images;
  if (Result.Inputs.Solution == Solution_Choice::Joint && Result.Solved) {
    for (const Solved_Row& Row : Result.Solved->Joint.Rows) {
      if (!Row.Is_Kept || Row.Row >= Result.Images.size()) continue;
      Images[Result.Images[Row.Row].Line] = Result.Images[Row.Row].Name;
    }
    return Images;
  }
  for (std::size_t i = 0; i < Result.Report.Images.size(); ++i) {
    const Image_Report& Image = Result.Report.Images[i];
    const auto Line = Csv_Line(Result, i);
    if (Image.Fate == Image_Fate::Kept && Line) Images[*Line] = Image.Name;
  }
  return Images;
}

Kept_Rows None(std::string Problem) {
  return {{}, std::move(Problem)};
}

Kept_Rows Rows_Of(const File_Request& Request) {
  const std::map<std::size_t, std::string> Images = Kept_Images(Request.Result);
  if (Images.empty()) return None("the result names no image that it was made from");
  if (Request.Capture.empty()) return None("the result does not name its capture");
  const std::string Csv = Request.Capture.string();
  Capture_File File;
  try {
    File = Read_Capture_File(Request.Capture);
  } catch (const Usage_Error& Refusal) {
    return None(Refusal.what());
  }
  if (Is_Other_Capture(Request)) {
    return None(Csv + " is not the file that the result was made from, or was changed since");
  }
  Kept_Rows Kept;
  for (const Capture_Row& Row : File.Rows) {
    const auto Found = Images.find(Row.Line);
    if (Found == Images.end() || Found->second != Row.Image || !Row.Is_Sound) continue;
    Kept.Rows.push_back({Row.Image, Row.Line, Row.Camera, Row.Board});
  }
  if (Kept.Rows.empty()) Kept.Problem = Csv + " has none of the rows that the result was made from";
  return Kept;
}

}  // namespace

bool Is_Other_Capture(const File_Request& Request) {
  const std::string& Known = Request.Result.Hashes.Csv;
  const std::string Hash = File_Sha256(Request.Capture);
  return !Known.empty() && !Hash.empty() && Hash != Known;
}

Kept_Rows Read_Kept_Rows(const File_Request& Request) {
  Kept_Rows Kept = Rows_Of(Request);
  if (Request.Is_Capture_Stated && Kept.Rows.empty()) {
    throw Usage_Error("--capture", "--capture: " + Kept.Problem);
  }
  return Kept;
}

}  // namespace rigsync
