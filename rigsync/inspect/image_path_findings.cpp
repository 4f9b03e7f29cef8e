// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/image_path_findings.h"

#include "rigsync/capture/image_header.h"
#include "rigsync/system/plain_path.h"

#include <fmt/format.h>

#include <string>

namespace rigsync {
namespace {

std::string Path_Example(const Capture_Row& Row) {
  return fmt::format("In line {} it is {}.", Row.Line, Quoted(Row.Image));
}

std::string Correction_Text(const Image_Path& Path) {
  switch (Path.Correction) {
    case Path_Correction::None:
      return "";
    case Path_Correction::Without_Blanks:
      return " Without the blanks around it, the path leads to a file.";
    case Path_Correction::Without_Quotes:
      return " Without its quotes, the path leads to a file.";
    case Path_Correction::With_Forward_Slashes:
      return " With forward slashes, the path leads to a file.";
    case Path_Correction::Other_Folder:
      return fmt::format(" There is a file of this name in {}.",
                         (Plain_Path(Path.Correction_Folder) / "").string());
  }
  return "";
}

void Judge_Repetition(const Capture_Row& Row, const Image_Path& Path, Findings& List) {
  if (Path.Earlier_Line == 0) return;
  List.Add({"image_repeated",
            Level::Warning,
            "An earlier line has the same image path, so the image counts twice, with samples of "
            "two moments.",
            fmt::format("Line {} names {}, as line {} does.", Row.Line, Quoted(Row.Image),
                        Path.Earlier_Line),
            "Keep the line whose samples belong to the image.",
            {Row.Line}});
}

void Judge_State(const Capture_Row& Row, const Image_Path& Path,
                 const std::filesystem::path& Image_Root, Findings& List) {
  switch (Path.State) {
    case Path_State::Not_An_Image:
      return;
    case Path_State::Empty:
      List.Add({"image_path_empty",
                Level::Warning,
                "The image path is empty, so the line is dropped.",
                "",
                "Write the image path in field 1, the second one.",
                {Row.Line}});
      return;
    case Path_State::Missing:
      List.Add({"image_missing",
                Level::Warning,
                "No file exists at the image path, so the line is dropped.",
                Path_Example(Row) + Correction_Text(Path),
                fmt::format("Correct the path. Relative paths start at {}; --image-root changes "
                            "that.",
                            Plain_Path(Image_Root).string()),
                {Row.Line}});
      return;
    case Path_State::Not_A_File:
      List.Add({"image_not_a_file",
                Level::Warning,
                "The image path does not lead to a regular file, so the line is dropped.",
                Path_Example(Row),
                "Correct the path.",
                {Row.Line}});
      return;
    case Path_State::Pipe_Or_Device:
      List.Add({"image_is_a_pipe",
                Level::Error,
                "The image path leads to a pipe or a device, which the library may wait for "
                "forever, so 'rigsync calibrate' refuses it.",
                Path_Example(Row),
                "Correct the path, or remove the line.",
                {Row.Line}});
      return;
    case Path_State::Too_Many_Pixels:
      List.Add({"image_too_large",
                Level::Error,
                fmt::format("By its header the image has more than {} million pixels, which would "
                            "fill the memory, so 'rigsync calibrate' refuses it.",
                            Most_Pixels / 1'000'000),
                Path_Example(Row),
                "Save the image in its own size, or remove the line.",
                {Row.Line}});
      return;
    case Path_State::Unknown_Ending:
      List.Add({"image_ending_unknown",
                Level::Error,
                "The name of the image has no ending of a format in which its reprojection image "
                "could be written. The library would end there without a result, so 'rigsync "
                "calibrate' refuses it.",
                Path_Example(Row),
                "Rename the image, so that it ends in .png, .jpg, .tif or .bmp.",
                {Row.Line}});
      return;
    case Path_State::File:
      if (!Path.Climbs_Out) return;
      List.Add({"image_path_climbs_out",
                Level::Error,
                "The image path leaves a folder with '..'. Its reprojection image would be written "
                "outside the Reproject_ files of the output folder, so 'rigsync calibrate' refuses "
                "it.",
                Path_Example(Row),
                "Write the path without '..'.",
                {Row.Line}});
      return;
  }
}

}  // namespace

void Judge_Image_Paths(const std::vector<Capture_Row>& Rows, const std::vector<Image_Path>& Paths,
                       const std::filesystem::path& Image_Root, Findings& List) {
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    Judge_Repetition(Rows[i], Paths[i], List);
    Judge_State(Rows[i], Paths[i], Image_Root, List);
  }
}

}  // namespace rigsync
