// SPDX-License-Identifier: Apache-2.0
//
/// \file
/// rigsync_core: where a tracker sits on a film camera, measured from chessboard photographs and
/// tracker samples, and written in the axes of the render engines.
///
/// Every function returns an int code, 0 for success; docs/codes.md lists them. Output vectors,
/// marked [in,out], are appended to and never cleared: pass them empty. A count in front of a
/// vector's meaning is the number of its elements. Nothing is caught at this boundary, so what
/// OpenCV or the standard library throws reaches the host. Strings and vectors cross the boundary,
/// so host and library have to be built with the same standard library.
#ifndef RIGSYNC_CORE_H
#define RIGSYNC_CORE_H

#include <string>
#include <vector>

/// \def RIGSYNC_CORE_API
/// Marks what the shared library shows.
#if defined(_WIN32)
#if defined(RIGSYNC_CORE_BUILD)
#define RIGSYNC_CORE_API __declspec(dllexport)
#else
#define RIGSYNC_CORE_API __declspec(dllimport)
#endif
#else
#define RIGSYNC_CORE_API __attribute__((visibility("default")))
#endif

/// Solves lens and camera mount from one capture:
///
///     Transform_Cam_Tc = Transform_Cam_Chart * Transform_Chart_Tr
///                      * Transform_Tr_Base * Transform_Base_Tc
///
/// averaged over the images that pass the outlier filter, with the board's place on its tracker
/// re-estimated from them. docs/conventions.md defines the frames.
///
/// \param[in]     Csv_Path           the capture's CSV file: 16 fields a line, image path in
///                                   field 1.
/// \param[in]     Board_Cols         inner corners along a board row.
/// \param[in]     Board_Rows         inner corners along a board column.
/// \param[in]     Square_Size        edge of one board square, metres.
/// \param[in]     Chart_Euler_Deg    3: angles, degrees; the board's rotation as seen from its
///                                   tracker is Rx(a0) * Ry(a1) * Rz(a2).
/// \param[in]     Chart_Translation  3: the board's origin as seen from its tracker, metres.
/// \param[in,out] Image_Size         2: width, height, pixels.
/// \param[in,out] Norm_Fxy           2: fx / width, fy / height.
/// \param[in,out] Norm_Cxy           2: cx / width, cy / height.
/// \param[in,out] Distortion         5: k1, k2, p1, p2, k3 of OpenCV's model.
/// \param[in,out] Transform_Cam_Tc   16: row-major 4 by 4, translation in metres.
/// \param[in]     Output_Dir         existing folder for the run log and the reprojection images.
/// \return 0; 99 when recalibration is recommended; 6 or 14 when the result is judged a failure:
///         in these four cases all five vectors are filled. 1, 2, 4, 5, 15: none is filled.
///         7 to 13: all but Transform_Cam_Tc are filled.
/// \throws std::invalid_argument when Chart_Euler_Deg or Chart_Translation has fewer than three
///         elements (the lens vectors are filled by then).
/// \throws std::length_error "vector too long" when Board_Cols * Board_Rows * 3 is negative as a
///         32-bit number.
/// \throws cv::Exception from OpenCV, for example for a board of two corners or fewer in a row.
RIGSYNC_CORE_API int Calibration(std::string Csv_Path, int Board_Cols, int Board_Rows,
                                 double Square_Size, std::vector<double> Chart_Euler_Deg,
                                 std::vector<double> Chart_Translation,
                                 std::vector<double>& Image_Size, std::vector<double>& Norm_Fxy,
                                 std::vector<double>& Norm_Cxy, std::vector<double>& Distortion,
                                 std::vector<double>& Transform_Cam_Tc, std::string Output_Dir);

/// The same calibration, with the lens in two further forms. The first form tells of the parameters
/// that both have.
///
/// \param[in]     Sensor_Width_mm    the sensor's width, millimetres, unchecked.
/// \param[in]     Sensor_Height_mm   the sensor's height, millimetres, unchecked.
/// \param[in,out] FoV                2: horizontal and vertical field of view, degrees, each
///                                   2 * atan(1 / (2 * Norm_Fxy)). Filled whenever Distortion is.
/// \param[in,out] Focal_Length_mm    1: focal length on the axis with the smaller pixel pitch.
///                                   Filled whenever Distortion is.
/// \param[in]     Csv_Path,Board_Cols,Board_Rows,Square_Size,Chart_Euler_Deg,Chart_Translation
///                                   as in the first form.
/// \param[in,out] Image_Size,Norm_Fxy,Norm_Cxy,Distortion,Transform_Cam_Tc
///                                   as in the first form.
/// \param[in]     Output_Dir         as in the first form.
/// \return the codes of the first form.
/// \throws std::exception what the first form throws.
RIGSYNC_CORE_API int Calibration(std::string Csv_Path, double Sensor_Width_mm,
                                 double Sensor_Height_mm, int Board_Cols, int Board_Rows,
                                 double Square_Size, std::vector<double> Chart_Euler_Deg,
                                 std::vector<double> Chart_Translation,
                                 std::vector<double>& Image_Size, std::vector<double>& Norm_Fxy,
                                 std::vector<double>& Norm_Cxy, std::vector<double>& Distortion,
                                 std::vector<double>& Transform_Cam_Tc, std::vector<double>& FoV,
                                 std::vector<double>& Focal_Length_mm, std::string Output_Dir);

/// \name Exports
/// The four exports below write a solved Transform_Cam_Tc in the axes, units and rotation form of a
/// render engine. The result is always the other direction: where the camera is, as seen from its
/// tracker. docs/engines.md tells which number belongs in which field.
///
/// Each is a run of its own with its own run log. The flat transform is 16 elements, row-major, in
/// metres, as Calibration fills it; elements from 16 on are ignored, and the values aren't tested:
/// what is singular or not finite gives results that are not finite, and the same code.
/// \{

/// For Unreal Engine 4, left-handed: the camera's x along its view, y right, z up.
///
/// \param[in]     Transform_Cam_Tc      16: the flat transform.
/// \param[in,out] Rot_Tc_Cam_UE4_Euler  3: roll, pitch, yaw, degrees.
/// \param[in,out] Trans_Tc_Cam_UE4_cm   3: x, y, z, centimetres. All six are single-precision
///                                      values.
/// \param[in]     Output_Dir            existing folder for the run log.
/// \return 0; 3 when the pitch is within about 0.08 degrees of 90 or -90, where roll and yaw can't
///         be told apart: then neither vector is filled.
/// \throws std::invalid_argument for a flat transform of fewer than 16 elements, before anything is
///         filled.
RIGSYNC_CORE_API int CamAxisToUE4(std::vector<double> Transform_Cam_Tc,
                                  std::vector<double>& Rot_Tc_Cam_UE4_Euler,
                                  std::vector<double>& Trans_Tc_Cam_UE4_cm, std::string Output_Dir);

/// For Unreal Engine 5, right-handed: the camera keeps x right, y down, z along its view.
///
/// \param[in]     Transform_Cam_Tc  16: the flat transform.
/// \param[in,out] Quat_Tc_Cam       4: the rotation as a quaternion x, y, z, w. w may be negative.
/// \param[in,out] Trans_Tc_Cam_cm   3: x, y, z, centimetres. All seven are double precision.
/// \param[in]     Output_Dir        existing folder for the run log.
/// \return 0, always.
/// \throws std::invalid_argument as CamAxisToUE4.
RIGSYNC_CORE_API int CamAxisToUE5(std::vector<double> Transform_Cam_Tc,
                                  std::vector<double>& Quat_Tc_Cam,
                                  std::vector<double>& Trans_Tc_Cam_cm, std::string Output_Dir);

/// The same for Unreal Engine 5 in other axes, right-handed: the camera's x up, y along its view,
/// z left. Arguments, results and log texts are those of CamAxisToUE5, but for the start line and
/// the end line.
///
/// \param[in]     Transform_Cam_Tc  16: the flat transform.
/// \param[in,out] Quat_Tc_Cam       4: the rotation as a quaternion x, y, z, w.
/// \param[in,out] Trans_Tc_Cam_cm   3: x, y, z, centimetres.
/// \param[in]     Output_Dir        existing folder for the run log.
/// \return 0, always.
/// \throws std::invalid_argument as CamAxisToUE4.
RIGSYNC_CORE_API int CamAxisToUE5_ExportxN(std::vector<double> Transform_Cam_Tc,
                                           std::vector<double>& Quat_Tc_Cam,
                                           std::vector<double>& Trans_Tc_Cam_cm,
                                           std::string Output_Dir);

/// For Aximmetry, with the lens. A rotation at the gimbal lock is a result here, not an error.
///
/// \param[in]     Norm_Fxy             2: fx / width, fy / height. The second is logged only.
/// \param[in]     Norm_Cxy             2: cx / width, cy / height.
/// \param[in]     Transform_Cam_Tc     16: the flat transform.
/// \param[in,out] FoVX                 1: horizontal field of view, degrees.
/// \param[in,out] AximmetryCxy         2: centre shift, cx / width - 0.5 and -(cy / height - 0.5).
/// \param[in,out] Rot_Tc_Cam_AX_Euler  3: turns about x, y and z, degrees.
/// \param[in,out] Trans_Tc_Cam_AX_cm   3: x, y, z, centimetres. These six are single-precision
///                                     values.
/// \param[in]     Output_Dir           existing folder for the run log.
/// \return 0, always.
/// \throws std::invalid_argument for a Norm_Fxy or Norm_Cxy of fewer than two elements: then
///         nothing is filled; and for a flat transform of fewer than 16: then FoVX and AximmetryCxy
///         are filled.
RIGSYNC_CORE_API int CamAxisToAximmetry(std::vector<double> Norm_Fxy, std::vector<double> Norm_Cxy,
                                        std::vector<double> Transform_Cam_Tc,
                                        std::vector<double>& FoVX,
                                        std::vector<double>& AximmetryCxy,
                                        std::vector<double>& Rot_Tc_Cam_AX_Euler,
                                        std::vector<double>& Trans_Tc_Cam_AX_cm,
                                        std::string Output_Dir);

/// \}

#endif  // RIGSYNC_CORE_H
