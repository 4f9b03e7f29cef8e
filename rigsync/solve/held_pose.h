// SPDX-License-Identifier: Apache-2.0
//
// The poses of the board that a person can be asked for: a place in the frame, a distance, a tilt
// and a roll, each in a few steps that can be told in words, with the whole board in the frame.
//
// Right, left, up and down are those of the picture.
#ifndef RIGSYNC_SOLVE_HELD_POSE_H
#define RIGSYNC_SOLVE_HELD_POSE_H

#include "rigsync/capture/board_size.h"
#include "rigsync/capture/lens.h"

#include <Eigen/Core>
#include <Eigen/Geometry>

#include <optional>
#include <vector>

namespace rigsync {

// How the board is turned in its own plane, from how it was held last.
enum class Board_Roll { As_Before, Eighth_Right, Quarter_Right, Half, Quarter_Left, Eighth_Left };

// How much of the frame the board with its margin spans, on the axis on which it spans more.
enum class Board_Distance { Near, Middle, Far };
double Fill_Of(Board_Distance Distance);  // 0 to 1

// Which part of the board is nearest to the camera, and how steeply it is tilted.
enum class Near_Part {
  None,  // parallel to the image plane
  Left,
  Upper_Left,
  Top,
  Upper_Right,
  Right,
  Lower_Right,
  Bottom,
  Lower_Left
};

// In the free space of the frame: -1, 0 or 1, to the right and down.
struct Frame_Place {
  int Right = 0, Down = 0;
};

struct Pose_Parts {
  Board_Roll Roll = Board_Roll::As_Before;
  Board_Distance Distance = Board_Distance::Middle;
  Frame_Place Place;
  Near_Part Nearest = Near_Part::None;
  double Tilt_Deg = 0;  // 0 for Near_Part::None
};

struct Held_Pose {
  Pose_Parts Parts;
  Eigen::Isometry3d Transform_Cam_Chart = Eigen::Isometry3d::Identity();
};

// A camera and a board in front of it.
struct Board_View {
  Board_Size Board;
  double Square_Size = 0;     // metres
  int Width = 0, Height = 0;  // of the frame, pixels
  Lens Lens_Px;
};

// The roll of a board: the turn about the view that is left when the tilt is undone, degrees from
// -180 to 180, 0 where the rows of corners run to the right.
double Roll_Deg_Of(const Eigen::Matrix3d& Rotation_Cam_Chart);

// The pose with these parts. None where the board isn't wholly in the frame or in what the lens
// model covers, where it is seen at too flat an angle, or where its squares are too small to be
// found.
std::optional<Held_Pose> Pose_With(const Board_View& View, const Pose_Parts& Parts,
                                   double Last_Roll_Deg);

// Whether the board with its margin is in the frame and is seen well, as Pose_With asks for.
bool Is_Seen_Well(const Board_View& View, const Eigen::Isometry3d& Transform_Cam_Chart);

// All poses that are possible. A board that looks the same upside down keeps its upper side up,
// because it would be found from its other end.
std::vector<Held_Pose> Possible_Poses(const Board_View& View, double Last_Roll_Deg);

}  // namespace rigsync

#endif  // RIGSYNC_SOLVE_HELD_POSE_H
