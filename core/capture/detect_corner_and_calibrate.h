// SPDX-License-Identifier: Apache-2.0
//
// From image paths to chessboard corners and a solved lens. The board is searched on a reduced copy
// of each image and refined on the full one; images without a board are removed from all lists. The
// lens model has k1 and k2 with free focal lengths and principal point.
#ifndef RIGSYNC_CORE_CAPTURE_DETECT_CORNER_AND_CALIBRATE_H
#define RIGSYNC_CORE_CAPTURE_DETECT_CORNER_AND_CALIBRATE_H

#include <opencv2/core.hpp>

#include <string>
#include <vector>

// How images of one width are searched.
struct Detection_Plan {
  float Scale;            // full-image pixels per searched pixel; exactly 1 without reduction
  bool Reduces;           // whether a reduced copy is made
  cv::Size Reduced_Size;  // pixels; the full size without reduction
  int Window_Half_Size;   // of the sub-pixel refinement, full-image pixels, at most 15
};

// Only the width decides: images of width 1440 or more are reduced to a width of 720 pixels,
// smaller ones are searched at full size. The height does not matter, not even for portrait images.
// Scale and target size are computed in single precision.
Detection_Plan Plan_Detection(cv::Size Image_Size);

// Finds the board in every image, keeps the images in which it was found, and solves the lens on
// them.
//
// Reads      Image_name (paths as given), Raw_Data_all (entry i from the same image),
//            Board_Index. The unnamed int and bool are unused.
// Fills      Image_name and Raw_Data_all, reduced to the usable images in the same order;
//            ImageCoordinate (corners in full-image pixels) and Board_Index_all, appended, one
//            entry per usable image. Image_Size, if its width is 0, from the first image that
//            can be read; later images of another size are treated as if they had this size.
//            Camera_Matrix 3 x 3, Distortion k1, k2, p1, p2, k3 with the last three 0, Rvecs and
//            Tvecs one row of three doubles per image (board in camera, Rodrigues form and
//            metres), Camera_Rms in pixels.
// Precision  detection scale in float; lens in double.
// Returns    0; 4 for fewer than 12 usable images, with the lists reduced and nothing solved;
//            5 when Camera_Rms is above the limit, with the rejected solve in the outputs.
// Logs       a line per image, the raw data of the usable images, the lens; for code 4 its two
//            lines, for code 5 those of Judge_Camera_Rms.
// Throws     cv::Exception from any OpenCV call except cv::imread. An exception of cv::imread is
//            dropped and leaves the previous image in place, which is searched again under the new
//            name. std::invalid_argument when a row of Raw_Data_all with fewer than 15 numbers is
//            logged.
int Detect_Corner_And_Calibrate(std::string Log_Path, double& Camera_Rms, cv::Size& Image_Size,
                                cv::Mat& Camera_Matrix, cv::Mat& Distortion, cv::Mat& Rvecs,
                                cv::Mat& Tvecs, std::vector<std::string>& Image_name,
                                std::vector<std::vector<double>>& Raw_Data_all,
                                std::vector<std::vector<cv::Point3f>>& Board_Index_all,
                                std::vector<cv::Point3f>& Board_Index,
                                std::vector<std::vector<cv::Point2f>>& ImageCoordinate,
                                int Board_Cols, int Board_Rows, int /*Window_Size*/,
                                cv::TermCriteria& Corner_Term, float Camera_Rms_Limit,
                                bool /*Show_Corners*/);

// The verdict on the lens. The limit is widened and compared in double; an error equal to the limit
// passes.
//
// Returns    0, or 5 when Camera_Rms is above Camera_Rms_Limit.
// Logs       "Camera calibration successful.", or for code 5 its two lines.
int Judge_Camera_Rms(const std::string& Log_Path, double Camera_Rms, float Camera_Rms_Limit);

#endif  // RIGSYNC_CORE_CAPTURE_DETECT_CORNER_AND_CALIBRATE_H
