// SPDX-License-Identifier: Apache-2.0
#include "bench/bare_calls.h"

#include "rigsync/capture/board_detection.h"
#include "rigsync/capture/capture_file.h"
#include "rigsync/capture/reprojection_paths.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <chrono>
#include <limits>
#include <map>
#include <stdexcept>

namespace {

using Corners = std::vector<cv::Point2f>;

// Adds the time since its construction, or since the last call, to a sum.
class Lap {
 public:
  void To(double& Sum) {
    const auto Now = std::chrono::steady_clock::now();
    Sum += std::chrono::duration<double>(Now - Before).count();
    Before = Now;
  }

 private:
  std::chrono::steady_clock::time_point Before = std::chrono::steady_clock::now();
};

std::vector<cv::Point3f> Board_Points(const Bare_Job& Job) {
  std::vector<cv::Point3f> Points;
  for (int r = 0; r < Job.Board.height; ++r) {
    for (int c = 0; c < Job.Board.width; ++c) {
      Points.emplace_back(static_cast<float>(c * Job.Square_Size),
                          static_cast<float>(r * Job.Square_Size), 0.0f);
    }
  }
  return Points;
}

// The corners of every image in which the board is found, by path.
std::map<std::string, Corners> Find_Boards(const Bare_Job& Job, cv::Size& Image_Size,
                                           Bare_Times& Times) {
  std::map<std::string, Corners> Found_all;
  const rigsync::Board_Size Board = {Job.Board.width, Job.Board.height};
  cv::Mat Image;
  rigsync::Detection_Images Images;
  for (const std::string& Path : Job.Paths) {
    Lap Timer;
    Image = cv::imread(Path, cv::IMREAD_COLOR);
    Timer.To(Times.Decode);
    if (Image.empty()) throw std::runtime_error(Path + " cannot be read");
    if (Image_Size.width == 0) Image_Size = Image.size();
    const rigsync::Detection_Settings Settings = rigsync::Settings_For(Image_Size);
    rigsync::Prepare_Images(Image, Settings, Images);
    Timer.To(Times.Reduce);
    Corners Found;
    const bool Is_Found = rigsync::Search_Board(Images, Settings, Board, Found);
    Timer.To(Times.Search);
    if (!Is_Found) continue;
    rigsync::Refine_Corners(Images, Settings, Found);
    Timer.To(Times.Refine);
    Found_all[Path] = Found;
  }
  return Found_all;
}

void Solve_Lens(const Bare_Job& Job, const std::map<std::string, Corners>& Found_all,
                cv::Size Image_Size, Bare_Times& Times) {
  std::vector<Corners> Corners_all;
  Corners_all.reserve(Found_all.size());
  for (const auto& [Path, Found] : Found_all) Corners_all.push_back(Found);
  const std::vector<std::vector<cv::Point3f>> Board_all(Corners_all.size(), Board_Points(Job));
  cv::Mat Camera_Matrix, Distortion, Rvecs, Tvecs;
  Lap Timer;
  cv::calibrateCamera(Board_all, Corners_all, Image_Size, Camera_Matrix, Distortion, Rvecs, Tvecs,
                      cv::noArray(), cv::noArray(), cv::noArray(),
                      cv::CALIB_ZERO_TANGENT_DIST + cv::CALIB_FIX_K3,
                      cv::TermCriteria(cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30,
                                       std::numeric_limits<double>::epsilon()));
  Timer.To(Times.Lens);
}

// Two discs a corner, as for a corner that was found and one that was predicted.
void Draw_Discs(cv::Mat& Image, const Corners& Found) {
  for (const cv::Point2f& Corner : Found) {
    for (int Disc = 0; Disc < 2; ++Disc) {
      cv::circle(Image, Corner, /*radius=*/8, cv::Scalar(20, 20, 200), cv::FILLED, cv::LINE_8);
    }
  }
}

}  // namespace

std::filesystem::path Reprojection_Path(const std::filesystem::path& Output,
                                        const std::string& Path) {
  return Output / rigsync::Reprojection_Name(Path);
}

std::vector<std::string> Image_Paths(const std::filesystem::path& Csv) {
  std::vector<std::string> Paths;
  for (const rigsync::Capture_Image& Image : rigsync::Read_Image_Names(Csv)) {
    Paths.push_back(Image.Name);
  }
  return Paths;
}

std::vector<std::string> Annotated_Paths(const std::filesystem::path& Output,
                                         const std::vector<std::string>& Paths) {
  std::vector<std::string> Annotated;
  for (const std::string& Path : Paths) {
    if (std::filesystem::exists(Reprojection_Path(Output, Path))) Annotated.push_back(Path);
  }
  return Annotated;
}

Bare_Times Call_Bare(const Bare_Job& Job) {
  Bare_Times Times;
  cv::Size Image_Size;
  const std::map<std::string, Corners> Found_all = Find_Boards(Job, Image_Size, Times);
  Solve_Lens(Job, Found_all, Image_Size, Times);
  for (const std::string& Path : Job.Annotated) {
    Lap Timer;
    cv::Mat Image = cv::imread(Path, cv::IMREAD_COLOR);
    Timer.To(Times.Decode_Again);
    if (Job.Draws) Draw_Discs(Image, Found_all.at(Path));
    Timer.To(Times.Draw);
    cv::imwrite(Reprojection_Path(Job.Output, Path).string(), Image);
    Timer.To(Times.Encode);
  }
  return Times;
}
