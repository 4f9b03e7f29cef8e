// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/board_search.h"

#include "rigsync/capture/board_detection.h"
#include "rigsync/capture/first_image_size.h"
#include "rigsync/geometry/statistics.h"
#include "rigsync/system/quiet_output.h"

#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

// The lens has six parameters and each board determines two of them.
constexpr std::size_t Least_Fitted = 3;

// The time of the fit grows with the cube of the number of boards, and more boards hardly improve
// it.
constexpr std::size_t Most_Fitted = 60;

// Whether there is no memory for a usual image either.
bool Is_Memory_Short() {
  constexpr int Usual_Bytes = 1 << 25;
  try {
    const cv::Mat Usual(1, Usual_Bytes, CV_8UC1);
    return Usual.empty();
  } catch (const cv::Exception&) {
    return true;
  }
}

// Reads an image. For an empty one, State is Unreadable or Refused. A lack of memory is no fault of
// the image, and is thrown.
cv::Mat Read_Image(const fs::path& File, Image_State& State) {
  State = Image_State::Unreadable;
  try {
    return cv::imread(File.string(), cv::IMREAD_COLOR);
  } catch (const cv::Exception& Error) {
    if (Error.code == cv::Error::StsNoMem && Is_Memory_Short()) throw;
    State = Image_State::Refused;
  }
  return {};
}

// Searches an image by the settings of the first one.
void Search_Image(const cv::Mat& Image, cv::Size First_Size, const Board_Size& Board,
                  Detection_Images& Images, Searched_Image& Result) {
  Result.Width = Image.cols;
  Result.Height = Image.rows;
  const Detection_Settings Settings = Settings_For(First_Size);
  std::vector<cv::Point2f> Corners;
  Prepare_Images(Image, Settings, Images);
  const bool Is_Found = Search_Board(Images, Settings, Board, Corners);
  // This is the image itself, which would otherwise exist until the next one is prepared.
  if (!Settings.Is_Reduced) Images.Reduced.release();
  if (!Is_Found) {
    Result.State = Image_State::No_Board;
    return;
  }
  // Corners in an image of another size are wrong and may lie outside of it. Nothing uses them.
  if (Image.size() != First_Size) {
    Result.State = Image_State::Other_Size;
    return;
  }
  Result.State = Image_State::Board_Found;
  Refine_Corners(Images, Settings, Corners);
  for (const cv::Point2f& Corner : Corners) Result.Corners.push_back({Corner.x, Corner.y});
}

std::vector<cv::Point3f> Board_Points(const Board_Size& Board, double Square_Size) {
  std::vector<cv::Point3f> Points;
  for (int r = 0; r < Board.Rows; ++r) {
    for (int c = 0; c < Board.Cols; ++c) {
      Points.emplace_back(static_cast<float>(c * Square_Size), static_cast<float>(r * Square_Size),
                          0.0f);
    }
  }
  return Points;
}

std::vector<cv::Point2f> As_Points(const std::vector<std::array<float, 2>>& Corners) {
  std::vector<cv::Point2f> Points;
  Points.reserve(Corners.size());
  for (const auto& [X, Y] : Corners) Points.emplace_back(X, Y);
  return Points;
}

// Evenly chosen rows of those in which the board was found.
std::vector<std::size_t> Fitted_Rows(const Board_Search& Search) {
  std::vector<std::size_t> Found;
  for (std::size_t i = 0; i < Search.Images.size(); ++i) {
    if (Search.Images[i].State == Image_State::Board_Found) Found.push_back(i);
  }
  return Evenly_Chosen(Found, Most_Fitted);
}

Board_Pose As_Pose(std::size_t Row, const cv::Vec3d& Rvec, const cv::Vec3d& Tvec,
                   const Board_Size& Board, double Square_Size) {
  const Eigen::Vector3d Rotation_Vector(Rvec[0], Rvec[1], Rvec[2]);
  const double Angle = Rotation_Vector.norm();
  Board_Pose Pose;
  Pose.Row = Row;
  Pose.Rotation_Cam_Chart = Eigen::Quaterniond::Identity();
  if (Angle > 0.0) Pose.Rotation_Cam_Chart = Eigen::AngleAxisd(Angle, Rotation_Vector / Angle);
  const Eigen::Vector3d Centre_Chart((Board.Cols - 1) * Square_Size / 2,
                                     (Board.Rows - 1) * Square_Size / 2, 0);
  Pose.Centre_Cam =
      Pose.Rotation_Cam_Chart * Centre_Chart + Eigen::Vector3d(Tvec[0], Tvec[1], Tvec[2]);
  return Pose;
}

}  // namespace

std::size_t Board_Search::Usable_Count() const {
  return static_cast<std::size_t>(
      std::count_if(Images.begin(), Images.end(), [](const Searched_Image& Image) {
        return Image.State == Image_State::Board_Found || Image.State == Image_State::Other_Size;
      }));
}

Board_Search Search_Boards(const std::vector<Capture_Row>& Rows, const std::vector<bool>& Readable,
                           const fs::path& Image_Root, const Board_Size& Board,
                           const Search_Progress& Progress, std::size_t Threads) {
  return Search_Boards(Rows, Readable, Known_Images(Rows.size()), Image_Root, Board, Progress,
                       Threads);
}

Board_Search Search_Boards(const std::vector<Capture_Row>& Rows, const std::vector<bool>& Readable,
                           const Known_Images& Known, const fs::path& Image_Root,
                           const Board_Size& Board, const Search_Progress& Progress,
                           std::size_t Threads) {
  const Quiet_Output Quiet(true);
  std::size_t Opened = 0;
  for (std::size_t i = 0; i < Rows.size(); ++i) Opened += Readable[i] && !Known[i] ? 1 : 0;
  const std::size_t Used_Threads = std::max(std::min(Threads, Opened), std::size_t{1});
  std::vector<Detection_Images> Images(Used_Threads);
  First_Image_Size First_Size(Rows.size());
  Board_Search Search;
  Search.Images.resize(Rows.size());
  const auto Search_Row = [&](std::size_t Row, std::size_t Thread) {
    Searched_Image& Result = Search.Images[Row];
    if (Known[Row]) {
      Result = *Known[Row];
      First_Size.Note(Row, {Result.Width, Result.Height});
      return;
    }
    if (!Rows[Row].Is_Image) Result.State = Image_State::Not_An_Image;
    const cv::Mat Image = First_Size.Read(Row, [&] {
      return Readable[Row] ? Read_Image(Image_Root / Rows[Row].Image, Result.State) : cv::Mat();
    });
    if (!Image.empty()) Search_Image(Image, First_Size.Wait(), Board, Images[Thread], Result);
  };
  Work_On_Rows(Rows.size(), Used_Threads, Search_Row, Progress);
  const auto First = std::find_if(Search.Images.begin(), Search.Images.end(),
                                  [](const Searched_Image& Image) { return Image.Width > 0; });
  if (First != Search.Images.end()) {
    Search.Width = First->Width;
    Search.Height = First->Height;
  }
  return Search;
}

std::optional<Lens_Fit> Fit_Lens(const Board_Search& Search, const Board_Size& Board,
                                 double Square_Size) {
  const std::vector<std::size_t> Fitted = Fitted_Rows(Search);
  if (Fitted.size() < Least_Fitted) return std::nullopt;
  const std::vector<cv::Point3f> Points = Board_Points(Board, Square_Size);
  std::vector<std::vector<cv::Point2f>> Corners;
  Corners.reserve(Fitted.size());
  for (const std::size_t Row : Fitted) Corners.push_back(As_Points(Search.Images[Row].Corners));
  Lens_Fit Fit;
  try {
    cv::Mat Camera_Matrix, Distortion, Lens_Deviations, Pose_Deviations;
    std::vector<cv::Vec3d> Rvecs, Tvecs;
    std::vector<double> Errors;
    Fit.Rms = cv::calibrateCamera(std::vector<std::vector<cv::Point3f>>(Fitted.size(), Points),
                                  Corners, cv::Size(Search.Width, Search.Height), Camera_Matrix,
                                  Distortion, Rvecs, Tvecs, Lens_Deviations, Pose_Deviations,
                                  Errors, cv::CALIB_ZERO_TANGENT_DIST | cv::CALIB_FIX_K3,
                                  {cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 30,
                                   std::numeric_limits<double>::epsilon()});
    Fit.Lens_Px = {Camera_Matrix.at<double>(0, 0), Camera_Matrix.at<double>(1, 1),
                   Camera_Matrix.at<double>(0, 2), Camera_Matrix.at<double>(1, 2),
                   Distortion.at<double>(0),       Distortion.at<double>(1)};
    if (!std::isfinite(Fit.Rms) || !std::isfinite(Fit.Lens_Px.Fx)) return std::nullopt;
    for (std::size_t k = 0; k < Fitted.size(); ++k) Fit.Errors.push_back({Fitted[k], Errors[k]});
    for (std::size_t i = 0, k = 0; i < Search.Images.size(); ++i) {
      if (Search.Images[i].State != Image_State::Board_Found) continue;
      cv::Vec3d Rvec, Tvec;
      if (k < Fitted.size() && Fitted[k] == i) {
        Rvec = Rvecs[k];
        Tvec = Tvecs[k++];
      } else {
        cv::solvePnP(Points, As_Points(Search.Images[i].Corners), Camera_Matrix, Distortion, Rvec,
                     Tvec);
      }
      Fit.Poses.push_back(As_Pose(i, Rvec, Tvec, Board, Square_Size));
    }
  } catch (const cv::Exception&) {
    return std::nullopt;
  }
  return Fit;
}

}  // namespace rigsync
