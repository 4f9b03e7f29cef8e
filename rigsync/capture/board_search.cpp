// SPDX-License-Identifier: Apache-2.0
#include "rigsync/capture/board_search.h"

#include "rigsync/capture/board_detection.h"
#include "rigsync/capture/library_limits.h"
#include "rigsync/geometry/statistics.h"
#include "rigsync/system/quiet_output.h"

#include <fmt/format.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

// A lens has six numbers, a board gives two: three is the least that means anything.
constexpr std::size_t Fewest_Boards = 3;

// The fit takes time with the cube of its boards and gains nothing from more; the others get their
// pose from the lens that these gave.
constexpr std::size_t Most_Fitted = 60;

// Above this error, pixels, the library ends with code 5.
constexpr double Rms_Limit = 1.5;

// A board that fits this many times worse than half of them do is blurred, bent or wrongly found;
// below half a pixel nobody has to care.
constexpr double Bad_Fit_Factor = 3.0;
constexpr double Bad_Fit_Floor = 0.5;

// An empty image when the file is none. Decoders complain on standard error; the line is told
// anyway.
cv::Mat Read_Image(const fs::path& File, bool& Threw) {
  const Quiet_Output Quiet(true);
  Threw = false;
  try {
    return cv::imread(File.string(), cv::IMREAD_COLOR);
  } catch (const cv::Exception&) {
    Threw = true;
  }
  return {};
}

void Tell_Unreadable(const Capture_Row& Row, bool Threw, Findings& Told) {
  if (Threw) {
    Told.Add({"image_refused",
              Level::Error,
              "The image decoder refuses the file. The library then searches the image of the line "
              "before once more, under this line's name and samples.",
              fmt::format("In line {} it is {}.", Row.Line, Quoted(Row.Image)),
              "Take the line out.",
              {Row.Line}});
    return;
  }
  Told.Add({"image_unreadable",
            Level::Warning,
            "The file can't be read as an image, so the line is dropped.",
            fmt::format("In line {} it is {}.", Row.Line, Quoted(Row.Image)),
            "Check that the file is whole, that this user may read it, and that it is of a kind "
            "that OpenCV reads (PNG, JPEG, TIFF, BMP).",
            {Row.Line}});
}

void Tell_Other_Size(const Capture_Row& Row, cv::Size Size, const Board_Search& Search,
                     Findings& Told) {
  Told.Add(
      {"image_size",
       Level::Warning,
       fmt::format("The image has another size than the first one ({} x {}). It isn't refused, "
                   "but its corners come out wrong.",
                   Search.Width, Search.Height),
       fmt::format("In line {} it is {} x {}.", Row.Line, Size.width, Size.height),
       "Take the line out, or save all images in one size.",
       {Row.Line}});
}

void Tell_No_Board(const Capture_Row& Row, Findings& Told) {
  Told.Add({"board_not_found",
            Level::Warning,
            "No board is found in the image, so the line is dropped.",
            fmt::format("In line {} it is {}.", Row.Line, Quoted(Row.Image)),
            "The whole board with its white margin has to be in the frame, sharp, evenly lit and "
            "not too far away. If no image shows it, check --board: inner corners, columns first.",
            {Row.Line}});
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

// Evenly chosen rows of those whose board was found.
std::vector<std::size_t> Fitted_Rows(const Board_Search& Search) {
  std::vector<std::size_t> Found;
  for (std::size_t i = 0; i < Search.States.size(); ++i) {
    if (Search.States[i] == Image_State::Board_Found) Found.push_back(i);
  }
  return Evenly_Chosen(Found, Most_Fitted);
}

Board_Pose As_Pose(std::size_t Row, const cv::Vec3d& Rvec, const cv::Vec3d& Tvec,
                   const Board_Size& Board, double Square_Size) {
  const Eigen::Vector3d Turn(Rvec[0], Rvec[1], Rvec[2]);
  const double Angle = Turn.norm();
  Board_Pose Pose;
  Pose.Row = Row;
  Pose.Rotation_Cam_Chart = Eigen::Quaterniond::Identity();
  if (Angle > 0.0) Pose.Rotation_Cam_Chart = Eigen::AngleAxisd(Angle, Turn / Angle);
  const Eigen::Vector3d Middle_Chart((Board.Cols - 1) * Square_Size / 2,
                                     (Board.Rows - 1) * Square_Size / 2, 0);
  Pose.Middle_Cam =
      Pose.Rotation_Cam_Chart * Middle_Chart + Eigen::Vector3d(Tvec[0], Tvec[1], Tvec[2]);
  return Pose;
}

// Boards that fit far worse than the others.
void Check_Fits(const std::vector<Capture_Row>& Rows, const std::vector<std::size_t>& Fitted,
                const std::vector<double>& Errors, Findings& Told) {
  const double Middle = Median(Errors);
  const double Limit = std::max(Bad_Fit_Factor * Middle, Bad_Fit_Floor);
  for (std::size_t k = 0; k < Fitted.size(); ++k) {
    if (Errors[k] <= Limit) continue;
    const Capture_Row& Row = Rows[Fitted[k]];
    Told.Add({"board_fits_badly",
              Level::Warning,
              "The board's corners fit the lens far worse than those of the other images.",
              fmt::format("In line {} they are about {:.1f} pixels off, {:.1f} being usual.",
                          Row.Line, Errors[k], Middle),
              "Look at the image: blurred by motion, partly covered, or a reflection on the board? "
              "If so, take the line out.",
              {Row.Line}});
  }
}

void Check_Rms(double Rms, Findings& Told) {
  if (Rms <= Rms_Limit) return;
  Told.Add({"lens_fits_badly",
            Level::Error,
            fmt::format("No lens fits the boards to better than {:.1f} pixels; above {:.1f}, a "
                        "calibration ends with code 5.",
                        Rms, Rms_Limit),
            "",
            "Lock zoom and focus during the capture, use a flat and stiff board, check --board, "
            "and take out lines whose boards fit badly.",
            {}});
}

}  // namespace

const char* State_Name(Image_State State) {
  switch (State) {
    case Image_State::Not_An_Image:
      return "not_an_image";
    case Image_State::Missing:
      return "missing";
    case Image_State::Unreadable:
      return "unreadable";
    case Image_State::No_Board:
      return "no_board";
    case Image_State::Other_Size:
      return "other_size";
    case Image_State::Board_Found:
      return "board_found";
  }
  return "";
}

std::size_t Board_Search::Usable() const {
  return static_cast<std::size_t>(
      std::count_if(States.begin(), States.end(), [](Image_State State) {
        return State == Image_State::Board_Found || State == Image_State::Other_Size;
      }));
}

Board_Search Search_Boards(const std::vector<Capture_Row>& Rows, const std::vector<bool>& Readable,
                           const fs::path& Image_Root, const Board_Size& Board,
                           const Search_Progress& Progress, Findings& Told) {
  Board_Search Search;
  Search.States.assign(Rows.size(), Image_State::Missing);
  Search.Corners.resize(Rows.size());
  Detection_Images Images;
  std::vector<cv::Point2f> Corners;
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    if (Progress) Progress(i, Rows.size());
    if (!Rows[i].Is_Image) Search.States[i] = Image_State::Not_An_Image;
    if (!Readable[i]) continue;
    bool Threw = false;
    const cv::Mat Image = Read_Image(Image_Root / Rows[i].Image, Threw);
    if (Image.empty()) {
      Search.States[i] = Image_State::Unreadable;
      Tell_Unreadable(Rows[i], Threw, Told);
      continue;
    }
    if (Search.Width == 0) {
      Search.Width = Image.cols;
      Search.Height = Image.rows;
    }
    const cv::Size First_Size(Search.Width, Search.Height);
    const bool Same_Size = Image.size() == First_Size;
    if (!Same_Size) Tell_Other_Size(Rows[i], Image.size(), Search, Told);
    const Detection_Settings Settings = Settings_For(First_Size);
    Prepare_Images(Image, Settings, Images);
    if (!Search_Board(Images, Settings, Board, Corners)) {
      Search.States[i] = Image_State::No_Board;
      Tell_No_Board(Rows[i], Told);
      continue;
    }
    Search.States[i] = Same_Size ? Image_State::Board_Found : Image_State::Other_Size;
    // Corners in an image of another size are wrong and may lie outside of it. Nothing uses them.
    if (!Same_Size) continue;
    Refine_Corners(Images, Settings, Corners);
    for (const cv::Point2f& Corner : Corners) Search.Corners[i].push_back({Corner.x, Corner.y});
  }
  if (Progress) Progress(Rows.size(), Rows.size());
  return Search;
}

std::optional<Lens_Fit> Fit_Lens(const std::vector<Capture_Row>& Rows, const Board_Search& Search,
                                 const Board_Size& Board, double Square_Size, Findings& Told) {
  const std::vector<std::size_t> Fitted = Fitted_Rows(Search);
  if (Fitted.size() < Fewest_Boards) return std::nullopt;
  const std::vector<cv::Point3f> Points = Board_Points(Board, Square_Size);
  std::vector<std::vector<cv::Point2f>> Corners;
  Corners.reserve(Fitted.size());
  for (const std::size_t Row : Fitted) Corners.push_back(As_Points(Search.Corners[Row]));
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
    Fit.Norm_Fx = Camera_Matrix.at<double>(0, 0) / Search.Width;
    if (!std::isfinite(Fit.Rms) || !std::isfinite(Fit.Norm_Fx)) return std::nullopt;
    for (std::size_t i = 0, k = 0; i < Rows.size(); ++i) {
      if (Search.States[i] != Image_State::Board_Found) continue;
      cv::Vec3d Rvec, Tvec;
      if (k < Fitted.size() && Fitted[k] == i) {
        Rvec = Rvecs[k];
        Tvec = Tvecs[k++];
      } else {
        cv::solvePnP(Points, As_Points(Search.Corners[i]), Camera_Matrix, Distortion, Rvec, Tvec);
      }
      Fit.Poses.push_back(As_Pose(i, Rvec, Tvec, Board, Square_Size));
    }
    Check_Fits(Rows, Fitted, Errors, Told);
  } catch (const cv::Exception&) {
    return std::nullopt;
  }
  Check_Rms(Fit.Rms, Told);
  return Fit;
}

}  // namespace rigsync
