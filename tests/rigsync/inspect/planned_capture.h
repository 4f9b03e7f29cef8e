// SPDX-License-Identifier: Apache-2.0
//
// The simulator's plans as captures: its rows and its true board poses, without drawn images.
#ifndef RIGSYNC_TESTS_INSPECT_PLANNED_CAPTURE_H
#define RIGSYNC_TESTS_INSPECT_PLANNED_CAPTURE_H

#include "rigsync/capture/capture_file.h"
#include "rigsync/inspect/tracker_agreement.h"

#include "simulate/simulate.h"

#include <functional>
#include <vector>

namespace planned_capture {

using rigsync::Agreement;
using rigsync::Board_Pose;
using rigsync::Capture_Row;
using rigsync::Findings;
using rigsync::Tracker_Sample;

struct Compared {
  std::vector<Capture_Row> Rows;
  std::vector<Board_Pose> Poses;

  Agreement Measure() const { return rigsync::Measure_Agreement(Rows, Poses).value(); }
  Findings Judge() const {
    Findings List;
    rigsync::Judge_Agreement(Measure(), true, List);
    return List;
  }
};

inline Tracker_Sample As_Written(const simulate::Sample& Reported) {
  const Eigen::Quaterniond& Q = Reported.Rotation;
  return {{Reported.Position.x(), Reported.Position.y(), Reported.Position.z()},
          {Q.w(), Q.x(), Q.y(), Q.z()}};
}

inline simulate::Options Noisy() {
  simulate::Options Options;
  Options.Position_Noise_Mm = 0.3;
  Options.Rotation_Noise_Deg = 0.05;
  return Options;
}

inline Compared Planned(const simulate::Options& Options = Noisy()) {
  const simulate::Plan Plan = simulate::Make_Plan(Options);
  const Eigen::Vector3d Centre_Chart(0.5 * (Options.Board_Cols - 1) * Options.Square_Size,
                                     0.5 * (Options.Board_Rows - 1) * Options.Square_Size, 0.0);
  Compared Capture;
  for (const simulate::Image_Truth& Image : Plan.Images) {
    Capture_Row Row;
    Row.Line = Capture.Rows.size() + 2;
    Row.Is_Sound = true;
    Row.Camera = As_Written(Image.Tc);
    Row.Board = As_Written(Image.Tr);
    Board_Pose Pose;
    Pose.Row = Capture.Rows.size();
    Pose.Rotation_Cam_Chart =
        Eigen::Quaterniond(Eigen::Matrix3d(Image.Transform_Cam_Chart.topLeftCorner<3, 3>()));
    Pose.Centre_Cam = Image.Transform_Cam_Chart.topLeftCorner<3, 3>() * Centre_Chart +
                      Image.Transform_Cam_Chart.topRightCorner<3, 1>();
    Capture.Rows.push_back(Row);
    Capture.Poses.push_back(Pose);
  }
  return Capture;
}

inline void For_Samples(Compared& Capture, const std::function<void(Tracker_Sample&)>& Change) {
  for (Capture_Row& Row : Capture.Rows) {
    Change(Row.Camera);
    Change(Row.Board);
  }
}

}  // namespace planned_capture

#endif  // RIGSYNC_TESTS_INSPECT_PLANNED_CAPTURE_H
