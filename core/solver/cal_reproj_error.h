// SPDX-License-Identifier: Apache-2.0
//
// The whole rig measured in pixels: board corners predicted from the tracker samples alone against
// the corners found in the image. The measure is a mean over images of mean Euclidean distances;
// it isn't the RMS of the lens solve, and the two don't compare.
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
// Reads      one entry per image in ImageCoordinate and both pose lists, and in Image_name where
//            images are written; as many found corners per image as Board_Index has points. The
//            driver's lists shrink together, so only the two sizes named below are compared.
// Fills      Reproj_Error, pixels of the full image. Where Write_Images is true, a copy of each
//            image with found corners as red discs and predicted ones as blue discs over them, as
//            Output_Dir + "//Reproject_" + what stands behind the last backslash of its name; a
//            forward slash cuts nothing, on every platform. A failed write goes unnoticed.
//            Without writing, images are neither read nor drawn.
// Precision  poses in double; distances in double from float differences; sums in float.
// Returns    0, or 7 when ImageCoordinate and Transform_Base_Tc_all differ in size: Reproj_Error
//            untouched, no image read. No images give NaN; the pipeline's minimum rules that out.
// Logs       one line per image, counted from 0 in the list as it stands, and the average.
// Throws     cv::Exception, for example from writing an image that has vanished since detection.
int Cal_Reproj_Error(std::string Log_Path, float& Reproj_Error,
                     std::vector<cv::Point3f> Board_Index,
                     std::vector<std::vector<cv::Point2f>> ImageCoordinate, cv::Mat Camera_Matrix,
                     cv::Mat Distortion, Eigen::Matrix4d Mean_Transform_Cam_Tc,
                     std::vector<Eigen::Matrix4d> Transform_Base_Tc_all,
                     std::vector<Eigen::Matrix4d> Transform_Tr_Base_all,
                     Eigen::Matrix4d Transform_Chart_Tr, std::vector<std::string> Image_name,
                     bool Write_Images, std::string Output_Dir);

#endif  // RIGSYNC_CORE_SOLVER_CAL_REPROJ_ERROR_H
