// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/inspection.h"

#include "rigsync/capture/cut_off_search.h"
#include "rigsync/capture/growing_search.h"
#include "rigsync/capture/image_paths.h"
#include "rigsync/geometry/angle.h"
#include "rigsync/inspect/board_findings.h"
#include "rigsync/inspect/capture_file_findings.h"
#include "rigsync/inspect/image_path_findings.h"
#include "rigsync/inspect/marker_findings.h"
#include "rigsync/inspect/mount_findings.h"
#include "rigsync/inspect/row_findings.h"
#include "rigsync/inspect/square_findings.h"

#include <algorithm>
#include <utility>

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

// The number of images that the file lists: its rows without blank lines and unrecognised headers.
std::size_t Image_Count(const std::vector<Capture_Row>& Rows) {
  return static_cast<std::size_t>(
      std::count_if(Rows.begin(), Rows.end(), [](const Capture_Row& Row) { return Row.Is_Image; }));
}

// Both parts together, or none.
std::optional<Stated_Place> Stated_Place_Of(const Board_Estimate& Estimate) {
  if (!Estimate.Euler || !Estimate.Offset) return std::nullopt;
  return Stated_Place{{*Estimate.Euler, *Estimate.Offset}, Estimate.Accuracy};
}

// Judges rows, mounts, the square and the board's place by the solve of both mounts. Where a
// tracker slipped, rows and mounts are off by that, and nothing else can be told.
void Judge_Solution(Inspection& Result) {
  const Capture_Solution& Solution = *Result.Solution;
  const std::vector<Capture_Row>& Rows = Result.File.Rows;
  Findings& List = Result.All_Findings;
  Judge_Slip(Rows, Solution.Joint, Solution.Likeliest_Slip, List);
  if (Is_Slip_Found(Solution.Likeliest_Slip)) return;
  // Turns that leave a mount open are the reason, and are judged by themselves.
  const bool Is_Unsolved = Solution.Joint.Status == Solve_Status::Not_Converged;
  const Rotation_Range& Turns = Result.Rotations;
  if (Is_Unsolved && (Are_Turns_Small(Turns) || Are_Turns_About_One_Axis(Turns))) return;
  Judge_Solved_Rows(Rows, Solution.Joint, List);
  Judge_Mount_Uncertainty(Solution.Joint, Result.Inputs.Limits, List);
  Judge_Square(Solution.Joint, Result.Inputs.Board.Square_Size, List);
  Judge_Estimate(Result.Inputs.Board, Solution, List);
}

// Trackers that scatter by more than this, degrees and metres, agree with no image.
constexpr double Most_Rotation_Noise_Deg = 1.0, Most_Position_Noise = 0.03;

// Whether samples that fit badly as a whole do so because of many bad rows: no convention explains
// them, and the solve of both mounts tells which rows are bad, or that it cannot tell.
bool Are_Rows_To_Blame(const Agreement& Measured, const Joint_Solution& Joint) {
  if (Measured.Is_Good() || !Measured.Fitting_Convention.empty()) return false;
  if (Measured.Axes != Handedness::Right) return false;
  if (Joint.Status == Solve_Status::No_Majority) return true;
  return Joint.Status == Solve_Status::Solved &&
         Degrees_Per_Radian * Joint.Noise.Rotation_Rad <= Most_Rotation_Noise_Deg &&
         Joint.Noise.Position <= Most_Position_Noise;
}

// Conventions and units come first: with wrong ones, what is solved means nothing. True when they
// are right.
bool Judge_Conventions(Inspection& Result) {
  if (!Result.Tracker_Agreement) return true;
  const Agreement& Measured = *Result.Tracker_Agreement;
  const bool Is_Distance_Known = Result.Board_Poses && Is_Tilted(*Result.Board_Poses);
  if (Are_Rows_To_Blame(Measured, Result.Solution->Joint)) return true;
  if (Is_Distance_Known && Measured.Is_Good() && Is_Scale_Gross(Measured)) {
    Add_Gross_Scale(Measured, Result.Inputs.Board.Square_Size, Result.All_Findings);
    return false;
  }
  return Judge_Agreement(Measured, Is_Distance_Known, Result.All_Findings);
}

// Turns are judged by what they leave open where that is known.
bool Are_Mounts_Solved(const Inspection& Result) {
  return Result.Solution && Result.Solution->Joint.Status == Solve_Status::Solved;
}

Stated_Markers Stated_Of(const Inspection_Inputs& Inputs) {
  Stated_Markers Stated;
  Stated.Board = Inputs.Board.Board;
  Stated.First_Id = Inputs.First_Marker;
  Stated.Has_Stated_Place = Inputs.Board.Euler || Inputs.Board.Offset;
  return Stated;
}

// The boards' markers in a few images, or in all where several boards are seen. None for a capture
// without markers, as most are, which two images tell.
std::optional<std::vector<Marked_Image>> Marked_Images(const Inspection& Result) {
  const Inspection_Inputs& Inputs = Result.Inputs;
  if (!Can_Find_Markers()) return std::nullopt;
  const std::vector<Capture_Row>& Rows = Result.File.Rows;
  const bool Has_Markers =
      Inputs.First_Marker ||
      !Read_Boards(Search_Markers(Rows, First_Look(*Result.Search), Inputs.Image_Root)).empty();
  if (!Has_Markers) return std::nullopt;
  return Look_At_Markers(Rows, *Result.Search, Inputs.Board.Board, Inputs.Image_Root);
}

// Finds boards that are cut off by the markers of whole ones, and judges all images.
void Inspect_Images(Inspection& Result) {
  const std::vector<Capture_Row>& Rows = Result.File.Rows;
  const Stated_Markers Stated = Stated_Of(Result.Inputs);
  const auto Marked = Marked_Images(Result);
  if (Marked) {
    const auto Board = Match_Markers(*Result.Search, *Marked, Stated.Board, Stated.First_Id);
    if (Board) Search_Cut_Off_Boards(Rows, Result.Inputs.Image_Root, *Board, *Result.Search);
  }
  Judge_Search(Rows, *Result.Search, Result.All_Findings);
  if (Marked) Judge_Markers(Rows, *Result.Search, *Marked, Stated, Result.All_Findings);
}

void Inspect_Boards(const std::vector<bool>& Readable, const Board_Searcher& Searcher,
                    Inspection& Result) {
  const std::vector<Capture_Row>& Rows = Result.File.Rows;
  const Board_Estimate& Estimate = Result.Inputs.Board;
  const Board_Size& Board = Estimate.Board;
  Counted_Search Searched =
      Search_With_Counts(Rows, Readable, Result.Inputs.Image_Root, Board, Searcher);
  Result.Search = std::move(Searched.Boards);
  Result.Other_Counts = Searched.Other_Counts;
  if (Result.Other_Counts) {
    Judge_Counts(Rows, *Result.Other_Counts, Board, Result.All_Findings);
    return;
  }
  if (!Searched.Marked.empty()) {
    Judge_Markers(Rows, *Result.Search, Searched.Marked, Stated_Of(Result.Inputs),
                  Result.All_Findings);
    return;
  }
  Inspect_Images(Result);
  if (Image_Count(Rows) == 0) {
    Judge_Image_Count(0, Result.All_Findings);
    return;
  }
  Judge_Board_Count(Result.Search->Usable_Count(), Image_Count(Rows), Result.All_Findings);
  Judge_Board_Shape(Board, Result.All_Findings);

  Result.Frame_Coverage = Measure_Coverage(*Result.Search);
  if (Result.Frame_Coverage) Judge_Coverage(*Result.Frame_Coverage, Result.All_Findings);

  Result.Lens = Fit_Lens(*Result.Search, Board, Estimate.Square_Size);
  if (!Result.Lens) return;
  Judge_Lens(Rows, *Result.Lens, Result.All_Findings);
  Result.Solution = Solve_Capture(Facts_Of(Rows, *Result.Search, Result.Inputs.Motions), Board,
                                  Estimate.Square_Size, Result.Lens->Lens_Px,
                                  Stated_Place_Of(Estimate), Result.Inputs.Lag);
  Result.Board_Poses = Measure_Poses(Result.Lens->Poses);
  if (Result.Board_Poses) Judge_Poses(*Result.Board_Poses, Result.All_Findings);
  Result.Tracker_Agreement = Measure_Agreement(Rows, Result.Lens->Poses);
  Result.Are_Samples_Readable = Judge_Conventions(Result);
  if (Result.Are_Samples_Readable) Judge_Solution(Result);
}

}  // namespace

bool Is_Solution_Sound(const Inspection& Inspected) {
  return Inspected.Are_Samples_Readable && Are_Mounts_Solved(Inspected) &&
         !Is_Slip_Found(Inspected.Solution->Likeliest_Slip);
}

Inspection Inspect_Capture(const Inspection_Inputs& Inputs, const Search_Progress& Progress) {
  Growing_Search Boards(Inputs.Board.Board);
  const auto Search_All = [&](const std::vector<Capture_Row>& Rows,
                              const std::vector<bool>& Readable) {
    return Boards.Search(Rows, Readable, Inputs.Image_Root, Progress);
  };
  return Inspect_Capture(Inputs, Board_Searcher(Search_All));
}

Inspection Inspect_Capture(const Inspection_Inputs& Inputs, const Board_Searcher& Searcher) {
  Inspection Result;
  Result.Inputs = Inputs;
  Result.File = Read_Inspected_File(Inputs.Csv);
  Judge_Capture_File(Result.File, Result.All_Findings);
  const std::vector<Capture_Row>& Rows = Result.File.Rows;
  const std::vector<Image_Path> Paths = Find_Image_Paths(Rows, Inputs.Image_Root);
  Judge_Image_Paths(Rows, Paths, Inputs.Image_Root, Result.All_Findings);
  Judge_Samples(Rows, Result.All_Findings);
  Result.Rotations = Measure_Rotations(Rows);
  if (Inputs.Opens_Images) {
    Inspect_Boards(Readable_Rows(Paths), Searcher, Result);
  } else {
    Judge_Image_Count(Image_Count(Rows), Result.All_Findings);
  }
  if (!Are_Mounts_Solved(Result)) Judge_Rotations(Result.Rotations, Result.All_Findings);
  return Result;
}

}  // namespace rigsync
