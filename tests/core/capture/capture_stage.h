// SPDX-License-Identifier: Apache-2.0
//
// Calls the corner and lens stage for tests: every list and output in one place, every argument can
// be changed, and the run log has its own folder.
#ifndef RIGSYNC_TESTS_CORE_CAPTURE_CAPTURE_STAGE_H
#define RIGSYNC_TESTS_CORE_CAPTURE_CAPTURE_STAGE_H

#include "core/capture/detect_corner_and_calibrate.h"
#include "tests/core/capture/board_photographs.h"
#include "tests/support/quiet_output.h"
#include "tests/support/run_log_reader.h"
#include "tests/support/scratch_folder.h"

#include <memory>
#include <string>
#include <vector>

// 15 numbers that differ for every row and element.
inline std::vector<double> Row_Number(std::size_t Row) {
  std::vector<double> Numbers;
  for (int k = 0; k < 15; ++k) Numbers.push_back(static_cast<double>(Row) + 0.01 * k);
  return Numbers;
}

inline std::vector<cv::Point3f> Make_Board_Index() {
  std::vector<cv::Point3f> Points;
  for (int r = 0; r < Photograph_Board.height; ++r) {
    for (int c = 0; c < Photograph_Board.width; ++c) {
      Points.emplace_back(static_cast<float>(c * Photograph_Square),
                          static_cast<float>(r * Photograph_Square), 0.0f);
    }
  }
  return Points;
}

struct Capture_Stage {
  explicit Capture_Stage(const std::vector<std::string>& Paths) : Image_name(Paths) {
    for (std::size_t i = 0; i < Paths.size(); ++i) Raw_Data_all.push_back(Row_Number(i));
  }

  int Run() {
    const Quiet_Output Output;
    Code = Detect_Corner_And_Calibrate(
        (Folder.Path() / "log").string(), Camera_Rms, Image_Size, Camera_Matrix, Distortion, Rvecs,
        Tvecs, Image_name, Raw_Data_all, Board_Index_all, Board_Index, ImageCoordinate, Board.width,
        Board.height, Unread_Int, Corner_Term, Camera_Rms_Limit, Unread_Bool);
    return Code;
  }
  std::vector<std::string> Log() const { return Read_Log_File(Folder.Path() / "log"); }

  Scratch_Folder Folder;
  int Code = -1;
  // What the driver passes.
  cv::Size Board = Photograph_Board;
  int Unread_Int = 11;
  bool Unread_Bool = true;
  float Camera_Rms_Limit = 1.5f;
  cv::TermCriteria Corner_Term{cv::TermCriteria::COUNT + cv::TermCriteria::EPS, 30, 0.1};
  std::vector<cv::Point3f> Board_Index = Make_Board_Index();
  std::vector<std::string> Image_name;
  std::vector<std::vector<double>> Raw_Data_all;
  cv::Size Image_Size{0, 0};
  std::vector<std::vector<cv::Point3f>> Board_Index_all;
  std::vector<std::vector<cv::Point2f>> ImageCoordinate;
  double Camera_Rms = -1.0;  // a value that no solve can return
  cv::Mat Camera_Matrix, Distortion, Rvecs, Tvecs;
};

// 14 photographs of 640 by 480 pixels that all show the board, drawn once in a process.
constexpr int Good_Count = 14;
inline const cv::Size Good_Size(640, 480);

struct Good_Photographs {
  Good_Photographs() {
    for (int i = 0; i < Good_Count; ++i) {
      Paths.push_back(Write_Image(Folder, "good" + std::to_string(i) + ".bmp",
                                  Draw_Board(Make_Pinhole(Good_Size), Make_Pose(i))));
    }
  }
  Scratch_Folder Folder;
  std::vector<std::string> Paths;
};

// The first Count of them.
inline std::vector<std::string> Good_Paths(int Count) {
  static const Good_Photographs Drawn;
  return {Drawn.Paths.begin(), Drawn.Paths.begin() + Count};
}

// Corners as log lines.
inline std::vector<std::string> Corner_Lines(const std::vector<cv::Point2f>& Corners) {
  std::vector<std::string> Lines;
  for (const cv::Point2f& Corner : Corners) {
    Lines.push_back(std::to_string(Corner.x) + " " + std::to_string(Corner.y));
  }
  return Lines;
}

// The lines of a raw data dump.
inline std::vector<std::string> Dump_Lines(
    const std::vector<std::string>& Image_name,
    const std::vector<std::vector<double>>& Raw_Data_all,
    const std::vector<std::vector<cv::Point2f>>& ImageCoordinate) {
  std::vector<std::string> Lines{"RAW DATA START"};
  for (std::size_t i = 0; i < Image_name.size(); ++i) {
    Lines.push_back(Image_name[i]);
    std::string Numbers;
    for (std::size_t k = 0; k < 15; ++k) {
      Numbers += (k == 0 ? "" : " ") + std::to_string(Raw_Data_all[i][k]);
    }
    Lines.push_back(Numbers);
    const std::vector<std::string> Corners = Corner_Lines(ImageCoordinate[i]);
    Lines.insert(Lines.end(), Corners.begin(), Corners.end());
  }
  Lines.push_back("RAW DATA END");
  return Lines;
}

// The lens lines from the start of the solve to the measured error.
inline std::vector<std::string> Lens_Lines(const cv::Mat& Camera_Matrix, double Camera_Rms) {
  return {"Camera calibration start.",
          "Fx : " + std::to_string(Camera_Matrix.at<double>(0, 0)) + " pixel.",
          "Fy : " + std::to_string(Camera_Matrix.at<double>(1, 1)) + " pixel.",
          "Cx : " + std::to_string(Camera_Matrix.at<double>(0, 2)) + " pixel.",
          "Cy : " + std::to_string(Camera_Matrix.at<double>(1, 2)) + " pixel.",
          "reprojection error : " + std::to_string(Camera_Rms)};
}

inline void Append(std::vector<std::string>& Lines, const std::vector<std::string>& More) {
  Lines.insert(Lines.end(), More.begin(), More.end());
}

// Matrices of one type, size and content, to the bit.
inline bool Same_Bits(const cv::Mat& Left, const cv::Mat& Right) {
  if (Left.size() != Right.size() || Left.type() != Right.type()) return false;
  const cv::Mat A = Left.clone(), B = Right.clone();
  return std::equal(A.datastart, A.dataend, B.datastart, B.dataend);
}

#endif  // RIGSYNC_TESTS_CORE_CAPTURE_CAPTURE_STAGE_H
