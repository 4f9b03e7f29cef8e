// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/inspection.h"

#include "rigsync/capture/image_paths.h"
#include "rigsync/inspect/capture_file_findings.h"
#include "rigsync/inspect/image_path_findings.h"

#include <algorithm>

namespace rigsync {
namespace {

// No line of a file in UTF-16 can be read, so the inspection stops at its first.
Capture_File Read_Inspected_File(const std::filesystem::path& Csv) {
  Capture_File File = Read_Capture_File(Csv);
  if (File.Mark == Byte_Order_Mark::Utf16) {
    File.Lines.resize(1);
    File.Line_Count = 1;
    File.Header_Count = 0;
    File.Rows.clear();
  }
  return File;
}

// For each row, whether there is an image file to search for the board.
std::vector<bool> Readable_Rows(const std::vector<Image_Path>& Paths) {
  std::vector<bool> Readable;
  Readable.reserve(Paths.size());
  for (const Image_Path& Path : Paths) Readable.push_back(Path.State == Path_State::File);
  return Readable;
}

// How many rows the file means as images, blank lines and headers in disguise left out.
std::size_t Image_Count(const std::vector<Capture_Row>& Rows) {
  return static_cast<std::size_t>(
      std::count_if(Rows.begin(), Rows.end(), [](const Capture_Row& Row) { return Row.Is_Image; }));
}

void Look_For_Boards(const std::vector<bool>& Readable, const Search_Progress& Progress,
                     Inspection& Into) {
  const std::vector<Capture_Row>& Rows = Into.File.Rows;
  const Inspection_Inputs& Inputs = Into.Inputs;
  const Board_Size& Board = Inputs.Board.Board;
  Into.Search = Search_Boards(Rows, Readable, Inputs.Image_Root, Board, Progress, Into.Told);
  if (Image_Count(Rows) == 0) {
    Judge_Image_Count(0, Into.Told);
    return;
  }
  Judge_Board_Count(Into.Search->Usable(), Image_Count(Rows), Into.Told);
  Judge_Board_Shape(Board, Into.Told);

  Into.Covered = Measure_Coverage(*Into.Search);
  if (Into.Covered) Judge_Coverage(*Into.Covered, Into.Told);

  Into.Lens = Fit_Lens(Rows, *Into.Search, Board, Inputs.Board.Square_Size, Into.Told);
  if (!Into.Lens) return;
  Into.Posed = Measure_Poses(Into.Lens->Poses);
  if (Into.Posed) Judge_Poses(*Into.Posed, Into.Told);
  Into.Agreed = Measure_Agreement(Rows, Into.Lens->Poses);
  if (Into.Agreed) {
    const bool Distance_Is_Told = Into.Posed && Is_Tilted(*Into.Posed);
    Judge_Agreement(Rows, *Into.Agreed, Distance_Is_Told, Into.Told);
    Judge_Estimate(Inputs.Board, *Into.Agreed, Distance_Is_Told, Into.Told);
  }
}

}  // namespace

Inspection Inspect_Capture(const Inspection_Inputs& Inputs, const Search_Progress& Progress) {
  Inspection Made;
  Made.Inputs = Inputs;
  Made.File = Read_Inspected_File(Inputs.Csv);
  Judge_Capture_File(Made.File, Made.Told);
  const std::vector<Capture_Row>& Rows = Made.File.Rows;
  const std::vector<Image_Path> Paths = Find_Image_Paths(Rows, Inputs.Image_Root);
  Judge_Image_Paths(Rows, Paths, Inputs.Image_Root, Made.Told);
  Check_Samples(Rows, Made.Told);
  Made.Turned = Measure_Turns(Rows);
  Judge_Turns(Made.Turned, Made.Told);
  if (Inputs.Look_For_Boards) {
    Look_For_Boards(Readable_Rows(Paths), Progress, Made);
  } else {
    Judge_Image_Count(Image_Count(Rows), Made.Told);
  }
  return Made;
}

}  // namespace rigsync
