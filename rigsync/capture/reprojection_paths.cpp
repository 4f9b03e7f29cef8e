// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/reprojection_paths.h"

#include "rigsync/system/plain_path.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <set>
#include <system_error>

namespace rigsync {
namespace {

// Whether there is something at Path that could be an image.
bool Is_File(const std::filesystem::path& Path) {
  std::error_code Error;
  return std::filesystem::exists(Path, Error) && !std::filesystem::is_directory(Path, Error);
}

// Creates Relative inside Out, one component after the other, so that a ".." is resolved against
// folders that are there.
bool Make_Folders(const std::filesystem::path& Out, const std::filesystem::path& Relative) {
  std::filesystem::path Folder = Out;
  for (const std::filesystem::path& Component : Relative) {
    if (Component.empty()) continue;
    Folder /= Component;
    std::error_code Error;
    std::filesystem::create_directory(Folder, Error);
    if (!std::filesystem::is_directory(Folder, Error)) return false;
  }
  return true;
}

}  // namespace

std::filesystem::path Reprojection_Name(const std::string& Image_Name) {
  // Without a backslash find_last_of gives npos, and npos + 1 is 0: the whole path.
  return "Reproject_" + Image_Name.substr(Image_Name.find_last_of('\\') + 1);
}

bool Climbs_Out(const std::string& Image_Name) {
  int Depth = 0;
  for (const std::filesystem::path& Component : Reprojection_Name(Image_Name)) {
    if (Component.empty() || Component == ".") continue;
    Depth += Component == ".." ? -1 : 1;
    if (Depth == 0) return true;
  }
  return false;
}

void Refuse_Climbing_Images(const std::filesystem::path& Csv,
                            const std::vector<Capture_Image>& Images,
                            const std::filesystem::path& Image_Root) {
  for (const Capture_Image& Image : Images) {
    if (!Climbs_Out(Image.Name) || !Is_File(Image_Root / Image.Name)) continue;
    throw Usage_Error(fmt::format(
        "{}, line {}: image path '{}' would lead its reprojection image to another place than the "
        "output folder's Reproject_ files; expected a path without such '..'",
        Plain_Path(Csv).string(), Image.Line, One_Line(Image.Name)));
  }
}

std::vector<std::string> Make_Reprojection_Folders(const std::filesystem::path& Out,
                                                   const std::vector<Capture_Image>& Images,
                                                   const std::filesystem::path& Image_Root) {
  std::vector<std::string> Without_Folder;
  std::set<std::filesystem::path> Made;
  for (const Capture_Image& Image : Images) {
    const std::filesystem::path Folder = Reprojection_Name(Image.Name).parent_path();
    // An image that doesn't exist has no reprojection, and a file of noise makes no folders.
    if (Folder.empty() || Made.count(Folder) != 0 || !Is_File(Image_Root / Image.Name)) continue;
    if (Make_Folders(Out, Folder)) {
      Made.insert(Folder);
    } else {
      Without_Folder.push_back(Image.Name);
    }
  }
  return Without_Folder;
}

std::vector<std::filesystem::path> Written_Reprojections(const std::filesystem::path& Folder,
                                                         const std::vector<Capture_Image>& Images) {
  std::set<std::filesystem::path> Written;  // images that share a path share their reprojection
  for (const Capture_Image& Image : Images) {
    const std::filesystem::path File = Folder / Reprojection_Name(Image.Name);
    std::error_code Error;
    if (std::filesystem::is_regular_file(File, Error)) Written.insert(File);
  }
  return {Written.begin(), Written.end()};
}

}  // namespace rigsync
