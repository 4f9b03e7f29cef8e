// SPDX-License-Identifier: Apache-2.0
//
// The solvers of Transform_Cam_Tc that are compared on one capture, and how far each is off.
#ifndef RIGSYNC_BENCH_COMPARED_SOLVERS_H
#define RIGSYNC_BENCH_COMPARED_SOLVERS_H

#include "bench/corner_capture.h"
#include "bench/library_sequence.h"
#include "rigsync/solve/body_axes.h"
#include "rigsync/solve/capture_solution.h"
#include "rigsync/solve/second_opinion.h"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <optional>

namespace bench {

rigsync::Lens As_Lens(const Library_Lens& Solved);

// NaN where there is no mount.
struct Mount_Error {
  double Mm, Deg;
};

Mount_Error Error_Of(const Eigen::Isometry3d& Truth,
                     const std::optional<Eigen::Matrix4d>& Transform_Cam_Tc);

// How far the picture of a point 3 m away is from where the true lens and mount put it, root mean
// square over the frame, pixels: what a lens and a mount that are off together do to a composite.
double Picture_Error_Px(const Views& Seen, const Eigen::Isometry3d& Truth,
                        const std::optional<Eigen::Matrix4d>& Transform_Cam_Tc);

// Usable by its code, 0 or 99, and a transform of finite numbers.
bool Is_Called_Usable(const Library_Result& Result);

// A result without a code stands for a capture whose lens or mounts weren't solved.
constexpr int No_Code = -1;

// The library on the capture's rows, with the board's place as stated and the camera tracker's axes
// as chosen. The transform is that of the tracker's own axes. An exception gives No_Code.
Library_Result Run_Library(const Views& Seen, const Corner_Capture& Capture,
                           const rigsync::Board_Place& Place, const rigsync::Body_Axes& Axes = {});

// Both mounts solved together, with the lens of the views.
rigsync::Capture_Solution Run_Joint(const Views& Seen, const Corner_Capture& Capture,
                                    const std::optional<rigsync::Stated_Place>& Stated = {});

// The library with the jointly solved place of the board, and with other axes for the camera's
// tracker where the solved mount asks for them.
struct Guided_Library {
  rigsync::Body_Axes Axes;
  Library_Result Result{No_Code, {}, 0};
};

Guided_Library Run_Guided_Library(const Views& Seen, const Corner_Capture& Capture,
                                  const rigsync::Joint_Solution& Joint);

// What the command says of the library's mount, or of the joint one.
rigsync::Second_Opinion Judge(const Guided_Library& Guided,
                              const rigsync::Capture_Solution& Solution,
                              rigsync::Solution_Choice Choice);

// The joint mount, where it was solved.
std::optional<Eigen::Matrix4d> Joint_Mount(const rigsync::Joint_Solution& Joint);

// OpenCV's solvers, on all observations: hand-eye calibration by Park and Martin (1994),
// robot-world and hand-eye calibration by Shah (2013). None when OpenCV throws.
std::optional<Eigen::Matrix4d> Solve_By_Park(const rigsync::Observations& Seen);
std::optional<Eigen::Matrix4d> Solve_By_Shah(const rigsync::Observations& Seen);

}  // namespace bench

#endif  // RIGSYNC_BENCH_COMPARED_SOLVERS_H
