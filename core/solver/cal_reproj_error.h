// SPDX-License-Identifier: Apache-2.0
//
// The error of the whole rig in pixels: board corners predicted from the tracker samples, compared
// with the corners found in the image. The error is the mean over images of mean Euclidean
// distances. It is not an RMS error and cannot be compared with the RMS error of the lens solve.
#ifndef RIGSYNC_CORE_SOLVER_CAL_REPROJ_ERROR_H
#define RIGSYNC_CORE_SOLVER_CAL_REPROJ_ERROR_H

#include <Eigen/Core>
#include <opencv2/core.hpp>

#include <string>
#include <vector>

// Average distance between found corners and corners predicted through
//
//   Transform_Cam_Chart = Mean_Transform_Cam_Tc * inverse(Transform_Base_Tc)
//                       * inverse(Transform_Tr_Base) * inverse(Transform_Chart_Tr)
//
// Reads      one entry per image in ImageCoordinate and both pose lists, and in Image_name when
//            images are written; as many found corners per image as Board_Index has points. The
//            driver shortens its lists together, so only the two sizes named below are compared.
// Fills      Reproj_Error, pixels of the full image. When Write_Images is true, also a copy of each
//            image with found corners as red discs and predicted ones as blue discs over them. Its
//            path is Output_Dir + "//Reproject_" + the part of the image's path after the last
//            backslash; a forward slash is not a separator on any platform. A failed write is not
//            detected. When Write_Images is false, images are neither read nor drawn.
// Precision  poses in double; distances in double from float differences; sums in float.
// Returns    0, or 7 when ImageCoordinate and Transform_Base_Tc_all differ in size: Reproj_Error
//            is unchanged and no image is read. Empty lists give NaN; earlier stages guarantee at
//            least 5 images.
// Logs       one line per image, counted from 0 in the list as passed, and the average.
// Throws     cv::Exception, for example when an image that is to be written has been deleted since
//            detection.
int Cal_Reproj_Error(std::string Log_Path, float& Reproj_Error,
                     std::vector<cv::Point3f> Board_Index,
                     std::vector<std::vector<cv::Point2f>> ImageCoordinate, cv::Mat Camera_Matrix,
                     cv::Mat Distortion, Eigen::Matrix4d Mean_Transform_Cam_Tc,
                     std::vector<Eigen::Matrix4d> Transform_Base_Tc_all,
                     std::vector<Eigen::Matrix4d> Transform_Tr_Base_all,
                     Eigen::Matrix4d Transform_Chart_Tr, std::vector<std::string> Image_name,
                     bool Write_Images, std::string Output_Dir);

#endif  // RIGSYNC_CORE_SOLVER_CAL_REPROJ_ERROR_H
