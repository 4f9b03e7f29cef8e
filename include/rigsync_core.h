// SPDX-License-Identifier: Apache-2.0
//
/// \file
/// rigsync_core: hand-eye calibration of a film camera and the tracker mounted on it, from
/// chessboard photographs and tracker samples, and export of the result to render engines.
///
/// Every function returns an int code, 0 for success; docs/codes.md lists the codes. Output vectors
/// are marked [in,out]: the library appends to them and never clears them, so pass them empty. The
/// number at the start of a vector's description is the number of its elements. The library catches
/// no exceptions, so any exception from OpenCV or the standard library reaches the host. Strings
/// and vectors cross the library boundary, so host and library must be built with the same standard
/// library.
#ifndef RIGSYNC_CORE_H
#define RIGSYNC_CORE_H

#include <string>
#include <vector>

/// \def RIGSYNC_CORE_API
/// Marks the functions that the shared library exports.
#if defined(_WIN32)
#if defined(RIGSYNC_CORE_BUILD)
#define RIGSYNC_CORE_API __declspec(dllexport)
#else
#define RIGSYNC_CORE_API __declspec(dllimport)
#endif
#else
#define RIGSYNC_CORE_API __attribute__((visibility("default")))
#endif

/// Solves the lens and the camera mount from one capture. The mount is
///
///     Transform_Cam_Tc = Transform_Cam_Chart * Transform_Chart_Tr
///                      * Transform_Tr_Base * Transform_Base_Tc
///
/// averaged over the images that pass the outlier filter. Transform_Chart_Tr, the mount of the
/// board on its tracker, is re-estimated from the same images. docs/conventions.md defines the
/// frames.
///
/// \param[in]     Csv_Path           the capture's CSV file: 16 fields per line, counted from 0;
///                                   field 1 is the image path.
/// \param[in]     Board_Cols         inner corners along a board row.
/// \param[in]     Board_Rows         inner corners along a board column.
/// \param[in]     Square_Size        edge length of one board square, metres.
/// \param[in]     Chart_Euler_Deg    3: angles a0, a1, a2, degrees. The board's rotation in the
///                                   frame of its tracker is Rx(a0) * Ry(a1) * Rz(a2).
/// \param[in]     Chart_Translation  3: the board's origin in the frame of its tracker, metres.
/// \param[in,out] Image_Size         2: width, height, pixels.
/// \param[in,out] Norm_Fxy           2: focal lengths fx / width, fy / height.
/// \param[in,out] Norm_Cxy           2: principal point cx / width, cy / height.
/// \param[in,out] Distortion         5: k1, k2, p1, p2, k3 of OpenCV's lens model.
/// \param[in,out] Transform_Cam_Tc   16: row-major 4 by 4, translation in metres.
/// \param[in]     Output_Dir         existing folder for the run log and the reprojection images.
/// \return 0 for success; 99 when recalibration is recommended; 6 or 14 when the result is
///         rejected. After these four codes all five output vectors are filled. After 1, 2, 4, 5
///         and 15 none is filled. After 7 to 13 all but Transform_Cam_Tc are filled.
/// \throws std::invalid_argument when Chart_Euler_Deg or Chart_Translation has fewer than three
///         elements. The lens vectors are already filled at that point.
/// \throws std::length_error "vector too long" when Board_Cols * Board_Rows * 3 is negative as a
///         32-bit number.
/// \throws cv::Exception from OpenCV, for example for a board with two or fewer corners in a row.
RIGSYNC_CORE_API int Calibration(std::string Csv_Path, int Board_Cols, int Board_Rows,
                                 double Square_Size, std::vector<double> Chart_Euler_Deg,
                                 std::vector<double> Chart_Translation,
                                 std::vector<double>& Image_Size, std::vector<double>& Norm_Fxy,
                                 std::vector<double>& Norm_Cxy, std::vector<double>& Distortion,
                                 std::vector<double>& Transform_Cam_Tc, std::string Output_Dir);

/// The same calibration, which also returns the field of view and the focal length in millimetres.
/// The parameters that both overloads share are described at the first one.
///
/// \param[in]     Sensor_Width_mm    the sensor's width, millimetres. It is not checked.
/// \param[in]     Sensor_Height_mm   the sensor's height, millimetres. It is not checked.
/// \param[in,out] FoV                2: horizontal and vertical field of view, degrees, each
///                                   2 * atan(1 / (2 * Norm_Fxy)). Filled whenever Distortion is.
/// \param[in,out] Focal_Length_mm    1: focal length, millimetres, on the axis with the smaller
///                                   pixel pitch. Filled whenever Distortion is.
/// \param[in]     Csv_Path,Board_Cols,Board_Rows,Square_Size,Chart_Euler_Deg,Chart_Translation
///                                   as in the first overload.
/// \param[in,out] Image_Size,Norm_Fxy,Norm_Cxy,Distortion,Transform_Cam_Tc
///                                   as in the first overload.
/// \param[in]     Output_Dir         as in the first overload.
/// \return the codes of the first overload.
/// \throws std::exception the exceptions of the first overload.
RIGSYNC_CORE_API int Calibration(std::string Csv_Path, double Sensor_Width_mm,
                                 double Sensor_Height_mm, int Board_Cols, int Board_Rows,
                                 double Square_Size, std::vector<double> Chart_Euler_Deg,
                                 std::vector<double> Chart_Translation,
                                 std::vector<double>& Image_Size, std::vector<double>& Norm_Fxy,
                                 std::vector<double>& Norm_Cxy, std::vector<double>& Distortion,
                                 std::vector<double>& Transform_Cam_Tc, std::vector<double>& FoV,
                                 std::vector<double>& Focal_Length_mm, std::string Output_Dir);

/// \name Exports
/// The four exports below convert a solved Transform_Cam_Tc to the axes, units and rotation format
/// of a render engine. All of them invert the transform: the result is the pose of the camera in
/// the frame of its tracker. docs/engines.md shows which number belongs in which field.
///
/// Each call writes its own run log. The flat transform has 16 elements, row-major, in metres, as
/// Calibration fills it. Elements from index 16 on are ignored. The values are not checked: a
/// singular or non-finite transform gives non-finite results, and no code reports it.
/// \{

/// Export for Unreal Engine 4, left-handed. The camera's x points along its view, y right, z up.
///
/// \param[in]     Transform_Cam_Tc      16: the flat transform.
/// \param[in,out] Rot_Tc_Cam_UE4_Euler  3: roll, pitch, yaw, degrees.
/// \param[in,out] Trans_Tc_Cam_UE4_cm   3: x, y, z, centimetres. All six numbers have single
///                                      precision.
/// \param[in]     Output_Dir            existing folder for the run log.
/// \return 0; 3 for gimbal lock, when the pitch is within about 0.08 degrees of 90 or -90 and roll
///         and yaw cannot be separated. Neither vector is filled then.
/// \throws std::invalid_argument for a flat transform with fewer than 16 elements, before any
///         vector is filled.
RIGSYNC_CORE_API int CamAxisToUE4(std::vector<double> Transform_Cam_Tc,
                                  std::vector<double>& Rot_Tc_Cam_UE4_Euler,
                                  std::vector<double>& Trans_Tc_Cam_UE4_cm, std::string Output_Dir);

/// Export for Unreal Engine 5, right-handed. The camera's x points right, y down, z along its view.
///
/// \param[in]     Transform_Cam_Tc  16: the flat transform.
/// \param[in,out] Quat_Tc_Cam       4: the rotation as a quaternion x, y, z, w. w may be negative.
/// \param[in,out] Trans_Tc_Cam_cm   3: x, y, z, centimetres. All seven numbers have double
///                                   precision.
/// \param[in]     Output_Dir        existing folder for the run log.
/// \return always 0.
/// \throws std::invalid_argument as for CamAxisToUE4.
RIGSYNC_CORE_API int CamAxisToUE5(std::vector<double> Transform_Cam_Tc,
                                  std::vector<double>& Quat_Tc_Cam,
                                  std::vector<double>& Trans_Tc_Cam_cm, std::string Output_Dir);

/// Export for Unreal Engine 5 with other axes, right-handed. The camera's x points up, y along its
/// view, z left. Arguments, result formats and log texts are those of CamAxisToUE5, except for the
/// start line and the end line.
///
/// \param[in]     Transform_Cam_Tc  16: the flat transform.
/// \param[in,out] Quat_Tc_Cam       4: the rotation as a quaternion x, y, z, w.
/// \param[in,out] Trans_Tc_Cam_cm   3: x, y, z, centimetres.
/// \param[in]     Output_Dir        existing folder for the run log.
/// \return always 0.
/// \throws std::invalid_argument as for CamAxisToUE4.
RIGSYNC_CORE_API int CamAxisToUE5_ExportxN(std::vector<double> Transform_Cam_Tc,
                                           std::vector<double>& Quat_Tc_Cam,
                                           std::vector<double>& Trans_Tc_Cam_cm,
                                           std::string Output_Dir);

/// Export for Aximmetry, with the lens. Gimbal lock is not an error here: it gives a result.
///
/// \param[in]     Norm_Fxy             2: focal lengths fx / width, fy / height. The second is only
///                                     logged.
/// \param[in]     Norm_Cxy             2: principal point cx / width, cy / height.
/// \param[in]     Transform_Cam_Tc     16: the flat transform.
/// \param[in,out] FoVX                 1: horizontal field of view, degrees.
/// \param[in,out] AximmetryCxy         2: centre shift, cx / width - 0.5 and -(cy / height - 0.5).
/// \param[in,out] Rot_Tc_Cam_AX_Euler  3: rotation angles about x, y and z, degrees.
/// \param[in,out] Trans_Tc_Cam_AX_cm   3: x, y, z, centimetres. These six numbers have single
///                                     precision.
/// \param[in]     Output_Dir           existing folder for the run log.
/// \return always 0.
/// \throws std::invalid_argument for a Norm_Fxy or Norm_Cxy with fewer than two elements, before
///         any vector is filled, and for a flat transform with fewer than 16 elements, after FoVX
///         and AximmetryCxy are filled.
RIGSYNC_CORE_API int CamAxisToAximmetry(std::vector<double> Norm_Fxy, std::vector<double> Norm_Cxy,
                                        std::vector<double> Transform_Cam_Tc,
                                        std::vector<double>& FoVX,
                                        std::vector<double>& AximmetryCxy,
                                        std::vector<double>& Rot_Tc_Cam_AX_Euler,
                                        std::vector<double>& Trans_Tc_Cam_AX_cm,
                                        std::string Output_Dir);

/// \}

#endif  // RIGSYNC_CORE_H
