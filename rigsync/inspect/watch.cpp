// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/watch.h"

#include "rigsync/capture/capture_file.h"
#include "rigsync/inspect/cause.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <system_error>
#include <tuple>
#include <utility>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

// A frame to advise a pose for before an image has told its size.
constexpr int Usual_Width = 1920, Usual_Height = 1080;

bool Is_Image_Name(const fs::path& File) {
  static const std::set<std::string> Endings = {".png",  ".jpg", ".jpeg", ".tif",
                                                ".tiff", ".bmp", ".webp"};
  return Endings.count(Lower_Case(File.extension().string())) > 0;
}

// Whether a line is unfinished.
bool Ends_With_A_Line(const fs::path& Csv) {
  std::ifstream Stream(Csv, std::ios::binary);
  if (!Stream.seekg(-1, std::ios::end)) return true;  // empty
  return Stream.get() == '\n';
}

// The path that files are compared by, however they were written.
fs::path Compared(const fs::path& File) {
  return fs::absolute(File).lexically_normal();
}

std::set<fs::path> Listed_Images(const fs::path& Csv, const fs::path& Image_Root) {
  std::set<fs::path> Files;
  for (const Capture_Image& Image : Read_Image_Names(Csv)) {
    if (!One_Line(Image.Name).empty()) Files.insert(Compared(Image_Root / Image.Name));
  }
  return Files;
}

std::set<fs::path> Folders_Of(const std::set<fs::path>& Listed, const fs::path& Image_Root,
                              bool Has_Csv) {
  std::set<fs::path> Folders;
  for (const fs::path& File : Listed) Folders.insert(File.parent_path());
  if (!Folders.empty()) return Folders;
  Folders.insert(Compared(Image_Root / "images"));
  if (Has_Csv) Folders.insert(Compared(Image_Root));
  return Folders;
}

std::vector<fs::path> Images_In(const fs::path& Folder) {
  std::vector<fs::path> Files;
  std::error_code Error;
  for (fs::directory_iterator Entry(Folder, Error), End; !Error && Entry != End;
       Entry.increment(Error)) {
    if (Is_Image_Name(Entry->path())) Files.push_back(Compared(Entry->path()));
  }
  return Files;
}

// The newest of too many files.
std::map<fs::path, File_Stamp> Newest(std::vector<std::pair<File_Stamp, fs::path>> Files) {
  std::sort(Files.begin(), Files.end(), [](const auto& A, const auto& B) {
    return std::tie(A.first.Written, A.second) > std::tie(B.first.Written, B.second);
  });
  if (Files.size() > Most_Unlisted) Files.resize(Most_Unlisted);
  std::map<fs::path, File_Stamp> By_Name;
  for (const auto& [Stamp, File] : Files) By_Name[File] = Stamp;
  return By_Name;
}

// Errors of a capture that has only begun. Every other error would come before them.
bool Is_Mended_By_Images(const Finding& Cause) {
  return Cause.Id == "too_few_boards" || Cause.Id == "too_few_samples";
}

}  // namespace

Capture_Watch::Capture_Watch(const Inspection_Inputs& Inputs) : Boards(Inputs.Board.Board) {
  Seen.Inputs = Inputs;
}

Capture_Watch::Snapshot Capture_Watch::Take_Snapshot() {
  const Inspection_Inputs& Inputs = Seen.Inputs;
  Snapshot Now;
  Now.Csv = Stamp_Of(Inputs.Csv);
  if (!Last_State || !(Last_State->Csv == Now.Csv)) {
    Listed = Listed_Images(Inputs.Csv, Inputs.Image_Root);
  }
  std::vector<std::pair<File_Stamp, fs::path>> Others;
  for (const fs::path& Folder : Folders_Of(Listed, Inputs.Image_Root, Now.Csv.has_value())) {
    for (const fs::path& File : Images_In(Folder)) {
      const auto Stamp = Listed.count(File) == 0 ? Stamp_Of(File) : std::nullopt;
      if (Stamp) Others.emplace_back(*Stamp, File);
    }
  }
  Now.Unlisted = Newest(std::move(Others));
  for (const fs::path& File : Listed) {
    if (const auto Stamp = Stamp_Of(File)) Now.Listed[File] = *Stamp;
  }
  return Now;
}

bool Capture_Watch::Look(const Search_Progress& Progress) {
  const Snapshot Now = Take_Snapshot();
  const bool Is_Growing = !Last_State || !(Last_State->Csv == Now.Csv);
  Last_State = Now;
  if (Inspected_State && Now == *Inspected_State) return false;
  if (Is_Growing && !Ends_With_A_Line(Seen.Inputs.Csv)) return false;
  Seen.Has_Csv = Now.Csv.has_value();
  Inspect(Now, Progress);
  Advise_Next();
  Inspected_State = Now;
  return true;
}

// Listed images come first, so that the first one is that of the capture.
Board_Search Capture_Watch::Search_All(const std::vector<Capture_Row>& Rows,
                                       const std::vector<bool>& Readable, const Snapshot& Now,
                                       const Search_Progress& Progress) {
  std::vector<Capture_Row> All = Rows;
  std::vector<bool> All_Readable = Readable;
  for (const auto& [File, Stamp] : Now.Unlisted) {
    Capture_Row Row;
    Row.Image = File.string();
    All.push_back(Row);
    All_Readable.push_back(true);
  }
  Board_Search Found = Boards.Search(All, All_Readable, Seen.Inputs.Image_Root, Progress);
  Width = Found.Width;
  Height = Found.Height;
  for (std::size_t i = Rows.size(); i < All.size(); ++i) {
    const Searched_Image& Image = Found.Images[i];
    Seen.Unlisted.push_back({All[i].Image, Image.State});
    if (Image.State == Image_State::Board_Found) Unlisted_Boards.push_back(Image.Corners);
  }
  Found.Images.resize(Rows.size());
  const bool Is_One_Open = std::any_of(Found.Images.begin(), Found.Images.end(),
                                       [](const Searched_Image& Image) { return Image.Width > 0; });
  if (!Is_One_Open) Found.Width = Found.Height = 0;
  return Found;
}

void Capture_Watch::Inspect(const Snapshot& Now, const Search_Progress& Progress) {
  const auto Search = [&](const std::vector<Capture_Row>& Rows, const std::vector<bool>& Readable) {
    Seen.Unlisted.clear();
    Unlisted_Boards.clear();
    return Search_All(Rows, Readable, Now, Progress);
  };
  try {
    Seen.Inspected = Inspect_Capture(Seen.Inputs, Board_Searcher(Search));
    Seen.Why_Not.clear();
  } catch (const Usage_Error& Error) {
    Seen.Inspected.reset();
    Seen.Why_Not = Error.what();
    Search({}, {});
  }
}

void Capture_Watch::Advise_Next() {
  const Board_Estimate& Board = Seen.Inputs.Board;
  Unfinished_Capture Capture;
  Capture.Board = Board.Board;
  Capture.Square_Size = Board.Square_Size;
  Capture.Width = Width > 0 ? Width : Usual_Width;
  Capture.Height = Height > 0 ? Height : Usual_Height;
  Capture.Limits = Seen.Inputs.Limits;
  Capture.Without_Samples = Unlisted_Boards;
  if (Seen.Inspected && Seen.Inspected->Search) {
    const Inspection& Inspected = *Seen.Inspected;
    Capture.Facts = Facts_Of(Inspected.File.Rows, *Inspected.Search);
    if (Inspected.Lens) Capture.Lens_Px = Inspected.Lens->Lens_Px;
    if (Inspected.Solution && Inspected.Are_Samples_Readable) {
      Capture.Solution = &*Inspected.Solution;
    }
    const auto Cause = Likeliest_Cause(Inspected);
    Capture.Is_Faulty = Cause && Cause->Severity == Level::Error && !Is_Mended_By_Images(*Cause);
  }
  Seen.Advice = Advise(Capture);
}

void Watch(Capture_Watch& Of, bool Until_Enough, const Watch_Steps& Steps) {
  do {
    if (Of.Look(Steps.Progress)) Steps.Show(Of.Capture());
    if (Until_Enough && Of.Capture().Advice.Is_Enough) return;
  } while (Steps.Wait());
}

}  // namespace rigsync
