// SPDX-License-Identifier: Apache-2.0
#include "rigsync/verify/first_row.h"

#include "rigsync/capture/capture_file.h"
#include "rigsync/system/file_hash.h"
#include "rigsync/system/usage_error.h"

#include <algorithm>
#include <cstddef>

namespace rigsync {
namespace {

bool Is_Kept_By_Joint(const Calibration_Result& Result, const Capture_Row& Row) {
  const auto Is_It = [&](const Solved_Row& Kept) {
    if (!Kept.Is_Kept || Kept.Row >= Result.Images.size()) return false;
    const Capture_Image& Image = Result.Images[Kept.Row];
    return Image.Line == Row.Line && Image.Name == Row.Image;
  };
  const std::vector<Solved_Row>& Rows = Result.Solved->Joint.Rows;
  return std::any_of(Rows.begin(), Rows.end(), Is_It);
}

bool Is_Kept_By_Library(const Calibration_Result& Result, const Capture_Row& Row) {
  const std::vector<Image_Report>& Images = Result.Report.Images;
  for (std::size_t i = 0; i < Images.size(); ++i) {
    const bool Is_It = Images[i].Name == Row.Image && Csv_Line(Result, i) == Row.Line;
    if (Is_It && Images[i].Fate == Image_Fate::Kept) return true;
  }
  return false;
}

bool Is_Kept(const Calibration_Result& Result, const Capture_Row& Row) {
  const bool Is_Joint = Result.Inputs.Solution == Solution_Choice::Joint && Result.Solved;
  return Is_Joint ? Is_Kept_By_Joint(Result, Row) : Is_Kept_By_Library(Result, Row);
}

}  // namespace

First_Row First_Kept_Row(const Calibration_Result& Result) {
  const std::filesystem::path& Csv = Result.Inputs.Csv;
  if (Csv.empty()) return {std::nullopt, "the result does not name its capture"};
  Capture_File File;
  try {
    File = Read_Capture_File(Csv);
  } catch (const Usage_Error& Refusal) {
    return {std::nullopt, Refusal.what()};
  }
  if (!Result.Hashes.Csv.empty() && File_Sha256(Csv) != Result.Hashes.Csv) {
    return {std::nullopt, Csv.string() + " is not the capture that the result was made from"};
  }
  for (const Capture_Row& Row : File.Rows) {
    if (Row.Is_Sound && Is_Kept(Result, Row)) return {Row.Camera, ""};
  }
  return {std::nullopt, Csv.string() + " has no row that the result keeps"};
}

}  // namespace rigsync
