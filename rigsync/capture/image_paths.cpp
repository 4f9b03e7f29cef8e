// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/image_paths.h"

#include "rigsync/capture/reprojection_paths.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <string>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

bool Is_Image_File(const fs::path& File) {
  std::error_code Error;
  return fs::is_regular_file(File, Error);
}

std::string Without(std::string Text, const std::string& Letters) {
  const auto Last = std::remove_if(Text.begin(), Text.end(), [&](char Letter) {
    return Letters.find(Letter) != std::string::npos;
  });
  Text.erase(Last, Text.end());
  return Text;
}

std::string With_Slashes(std::string Text) {
  std::replace(Text.begin(), Text.end(), '\\', '/');
  return Text;
}

// Why a path may lead nowhere although the image is there: what people and other systems write.
std::string Hint(const std::string& Name, const fs::path& Root) {
  const std::string Trimmed = One_Line(Name);
  if (Trimmed != Name && Is_Image_File(Root / Trimmed)) {
    return " Without the blanks around it, the path would lead to a file.";
  }
  const std::string Unquoted = Without(Name, "\"'");
  if (Unquoted != Name && Is_Image_File(Root / Unquoted)) {
    return " Without its quotes, the path would lead to a file.";
  }
  const std::string Slashed = With_Slashes(Name);
  if (Slashed != Name && Is_Image_File(Root / Slashed)) {
    return " With forward slashes, the path would lead to a file.";
  }
  const fs::path File_Name = fs::path(Slashed).filename();
  for (const fs::path& Folder : {fs::path(), fs::path("images")}) {
    if (!File_Name.empty() && Is_Image_File(Root / Folder / File_Name)) {
      return fmt::format(" There is a file of this name in {}.",
                         (Plain_Path(Root) / Folder / "").string());
    }
  }
  return "";
}

void Tell_Missing(const Capture_Row& Row, const fs::path& Root, Findings& Told) {
  const fs::path File = Root / Row.Image;
  std::error_code Error;
  if (fs::exists(File, Error)) {
    Told.Add({"image_not_a_file",
              Level::Warning,
              "The image path leads to something that is no file, so the line is dropped.",
              fmt::format("In line {} it is {}.", Row.Line, Quoted(Row.Image)),
              "Correct the path.",
              {Row.Line}});
    return;
  }
  Told.Add(
      {"image_missing",
       Level::Warning,
       "There is no file where the image path leads, so the line is dropped.",
       fmt::format("In line {} it is {}.", Row.Line, Quoted(Row.Image)) + Hint(Row.Image, Root),
       fmt::format("Correct the path. Relative paths start at {}; --image-root changes that.",
                   Plain_Path(Root).string()),
       {Row.Line}});
}

void Tell_Repetition(const Capture_Row& Row, std::size_t Earlier_Line, Findings& Told) {
  Told.Add(
      {"image_repeated",
       Level::Warning,
       "The image path stands in an earlier line too: the same image counts twice, with "
       "another moment's samples.",
       fmt::format("Line {} names {}, as line {} does.", Row.Line, Quoted(Row.Image), Earlier_Line),
       "Keep the line whose samples belong to the image.",
       {Row.Line}});
}

}  // namespace

std::vector<bool> Check_Image_Paths(const std::vector<Capture_Row>& Rows, const fs::path& Root,
                                    Findings& Told) {
  std::vector<bool> Readable(Rows.size(), false);
  std::map<fs::path, std::size_t> First_Lines;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    const Capture_Row& Row = Rows[i];
    if (!Row.Is_Image) continue;
    if (One_Line(Row.Image).empty()) {
      Told.Add({"image_path_empty",
                Level::Warning,
                "The image path is empty, so the line is dropped.",
                "",
                "Write the image's path into the second field.",
                {Row.Line}});
      continue;
    }
    const fs::path File = (Root / Row.Image).lexically_normal();
    const auto [Earlier, Is_New] = First_Lines.emplace(File, Row.Line);
    if (!Is_New) Tell_Repetition(Row, Earlier->second, Told);
    Readable[i] = Is_Image_File(Root / Row.Image);
    if (!Readable[i]) {
      Tell_Missing(Row, Root, Told);
    } else if (Climbs_Out(Row.Image)) {
      Told.Add({"image_path_climbs_out",
                Level::Error,
                "The image path leads out of a folder with '..': its reprojection image would land "
                "outside of the output folder's Reproject_ files, so 'rigsync calibrate' refuses.",
                fmt::format("In line {} it is {}.", Row.Line, Quoted(Row.Image)),
                "Write the path without '..'.",
                {Row.Line}});
    }
  }
  return Readable;
}

}  // namespace rigsync
