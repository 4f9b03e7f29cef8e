// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/image_paths.h"

#include "rigsync/capture/image_header.h"
#include "rigsync/capture/reprojection_paths.h"
#include "rigsync/system/text.h"

#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <map>
#include <string>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

bool Is_Regular_File(const fs::path& File) {
  std::error_code Error;
  return fs::is_regular_file(File, Error);
}

std::string Without_Quotes(std::string Text) {
  const auto End = std::remove_if(Text.begin(), Text.end(), [](char Character) {
    return Character == '"' || Character == '\'';
  });
  Text.erase(End, Text.end());
  return Text;
}

std::string With_Forward_Slashes(std::string Text) {
  std::replace(Text.begin(), Text.end(), '\\', '/');
  return Text;
}

// Fills Correction and Correction_Folder with the first change that helps.
void Find_Correction(const std::string& Name, const fs::path& Root, Image_Path& Path) {
  const auto Leads_To_A_File = [&](const std::string& Changed_Name) {
    return Changed_Name != Name && Is_Regular_File(Root / Changed_Name);
  };
  const std::string Slashed_Name = With_Forward_Slashes(Name);
  if (Leads_To_A_File(One_Line(Name))) {
    Path.Correction = Path_Correction::Without_Blanks;
  } else if (Leads_To_A_File(Without_Quotes(Name))) {
    Path.Correction = Path_Correction::Without_Quotes;
  } else if (Leads_To_A_File(Slashed_Name)) {
    Path.Correction = Path_Correction::With_Forward_Slashes;
  } else if (const fs::path File_Name = fs::path(Slashed_Name).filename(); !File_Name.empty()) {
    for (const fs::path& Folder : {Root, Root / "images"}) {
      if (!Is_Regular_File(Folder / File_Name)) continue;
      Path.Correction = Path_Correction::Other_Folder;
      Path.Correction_Folder = Folder;
      return;
    }
  }
}

// Whether an image can be read, but no reprojection image written: OpenCV takes the form of that
// from the ending of its name.
bool Has_Unknown_Ending(const fs::path& File, const std::string& Name) {
  return !cv::haveImageWriter(Reprojection_Name(Name).string()) &&
         cv::haveImageReader(File.string());
}

}  // namespace

Path_State Find_State(const fs::path& Image_Root, const std::string& Name) {
  const fs::path File = Image_Root / Name;
  std::error_code Error;
  const fs::file_status Status = fs::status(File, Error);
  if (!fs::exists(Status)) return Path_State::Missing;
  if (fs::is_directory(Status)) return Path_State::Not_A_File;
  if (!fs::is_regular_file(Status)) return Path_State::Pipe_Or_Device;
  if (Has_Too_Many_Pixels(File)) return Path_State::Too_Many_Pixels;
  return Has_Unknown_Ending(File, Name) ? Path_State::Unknown_Ending : Path_State::File;
}

std::vector<Image_Path> Find_Image_Paths(const std::vector<Capture_Row>& Rows,
                                         const fs::path& Image_Root) {
  std::vector<Image_Path> Paths(Rows.size());
  std::map<fs::path, std::size_t> First_Lines;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    const Capture_Row& Row = Rows[i];
    Image_Path& Path = Paths[i];
    if (!Row.Is_Image) continue;
    if (One_Line(Row.Image).empty()) {
      Path.State = Path_State::Empty;
      continue;
    }
    const fs::path File = Image_Root / Row.Image;
    const auto [First_Line, Is_New] = First_Lines.emplace(File.lexically_normal(), Row.Line);
    if (!Is_New) Path.Earlier_Line = First_Line->second;
    Path.Climbs_Out = Climbs_Out(Row.Image);
    Path.State = Find_State(Image_Root, Row.Image);
    if (Path.State == Path_State::Missing) Find_Correction(Row.Image, Image_Root, Path);
  }
  return Paths;
}

}  // namespace rigsync
