// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/reprojection_folders.h"

#include "rigsync/capture/image_paths.h"
#include "rigsync/capture/reprojection_paths.h"
#include "rigsync/system/plain_path.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>

#include <fstream>
#include <set>
#include <string_view>
#include <system_error>

namespace rigsync {
namespace {

// Whether Path leads to something that could be an image: anything but a folder.
bool Is_File(const std::filesystem::path& Path) {
  std::error_code Error;
  return std::filesystem::exists(Path, Error) && !std::filesystem::is_directory(Path, Error);
}

// Why the library can't be given an image, and what to do. Null where it can.
const char* Unfitness(const std::filesystem::path& Image_Root, const std::string& Name) {
  if (One_Line(Name).empty()) return nullptr;
  switch (Find_State(Image_Root, Name)) {
    case Path_State::Pipe_Or_Device:
      return "leads to a pipe or a device; correct it, or remove the line";
    case Path_State::Too_Many_Pixels:
      return "leads to an image with more pixels than the memory holds, by its header; save the "
             "image in its own size, or remove the line";
    case Path_State::Unknown_Ending:
      return "has no ending of an image, which the reprojection image needs; rename the image, so "
             "that it ends in .png, .jpg, .tif or .bmp";
    default:
      return nullptr;
  }
}

// Creates Relative inside Out one component at a time, so that each ".." is resolved in a folder
// that exists.
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

// The last bytes of a whole file that begins with First; empty for other formats.
std::string_view End_Of(std::string_view First) {
  using namespace std::string_view_literals;
  if (First.substr(0, 4) == "\x89PNG"sv) return "IEND\xAE\x42\x60\x82"sv;
  if (First.substr(0, 2) == "\xFF\xD8"sv) return "\xFF\xD9"sv;
  return {};
}

bool Is_Cut(const std::filesystem::path& File) {
  std::ifstream Stream(File, std::ios::binary);
  std::string First(8, '\0');
  Stream.read(First.data(), static_cast<std::streamsize>(First.size()));
  if (!Stream) return true;  // no image has so few bytes
  const std::string_view End = End_Of(First);
  std::string Last(End.size(), '\0');
  Stream.seekg(-static_cast<std::streamoff>(End.size()), std::ios::end);
  Stream.read(Last.data(), static_cast<std::streamsize>(Last.size()));
  return !Stream || Last != End;
}

}  // namespace

void Refuse_Climbing_Images(const std::filesystem::path& Csv,
                            const std::vector<Capture_Image>& Images,
                            const std::filesystem::path& Image_Root) {
  for (const Capture_Image& Image : Images) {
    if (!Climbs_Out(Image.Name) || !Is_File(Image_Root / Image.Name)) continue;
    throw Usage_Error(fmt::format(
        "{}, line {}: the '..' in image path '{}' would place the reprojection image outside the "
        "Reproject_ files of the output folder; expected a path without it",
        Plain_Path(Csv).string(), Image.Line, One_Line(Image.Name)));
  }
}

void Refuse_Unfit_Images(const std::filesystem::path& Csv, const std::vector<Capture_Image>& Images,
                         const std::filesystem::path& Image_Root) {
  for (const Capture_Image& Image : Images) {
    const char* const Why = Unfitness(Image_Root, Image.Name);
    if (Why == nullptr) continue;
    throw Usage_Error(fmt::format("{}, line {}: image path '{}' {}", Plain_Path(Csv).string(),
                                  Image.Line, One_Line(Image.Name), Why));
  }
}

std::vector<std::string> Make_Reprojection_Folders(const std::filesystem::path& Out,
                                                   const std::vector<Capture_Image>& Images,
                                                   const std::filesystem::path& Image_Root) {
  std::vector<std::string> Names_Without_Folder;
  std::set<std::filesystem::path> Created_Folders;
  for (const Capture_Image& Image : Images) {
    const std::filesystem::path Folder = Reprojection_Name(Image.Name).parent_path();
    if (Folder.empty() || Created_Folders.count(Folder) != 0) continue;
    // An image that doesn't exist has no reprojection image, and a file that is not a CSV must not
    // create folders.
    if (!Is_File(Image_Root / Image.Name)) continue;
    if (Make_Folders(Out, Folder)) {
      Created_Folders.insert(Folder);
    } else {
      Names_Without_Folder.push_back(Image.Name);
    }
  }
  return Names_Without_Folder;
}

std::vector<std::filesystem::path> Written_Reprojections(const std::filesystem::path& Folder,
                                                         const std::vector<Capture_Image>& Images) {
  std::set<std::filesystem::path> Files;  // repeated images have one reprojection image
  for (const Capture_Image& Image : Images) {
    const std::filesystem::path File = Folder / Reprojection_Name(Image.Name);
    std::error_code Error;
    if (std::filesystem::is_regular_file(File, Error)) Files.insert(File);
  }
  return {Files.begin(), Files.end()};
}

void Remove_Cut_Reprojections(const std::filesystem::path& Folder,
                              const std::vector<Capture_Image>& Images) {
  std::error_code Ignored;
  for (const std::filesystem::path& File : Written_Reprojections(Folder, Images)) {
    if (Is_Cut(File)) std::filesystem::remove(File, Ignored);
  }
}

std::vector<std::string> Missing_Reprojections(const std::filesystem::path& Folder,
                                               const Run_Report& Report) {
  std::vector<std::string> Missing;
  if (Report.Step != Run_Step::Ended) return Missing;
  std::set<std::filesystem::path> Files;
  for (const Image_Report& Image : Report.Images) {
    if (Image.Fate != Image_Fate::Kept || !Image.Reprojection_Px) continue;
    const std::filesystem::path File = Folder / Reprojection_Name(Image.Name);
    std::error_code Ignored;
    if (!std::filesystem::is_directory(File.parent_path(), Ignored)) continue;
    if (std::filesystem::exists(File, Ignored) || !Files.insert(File).second) continue;
    Missing.push_back(Image.Name);
  }
  return Missing;
}

}  // namespace rigsync
