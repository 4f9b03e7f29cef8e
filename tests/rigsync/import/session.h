// SPDX-License-Identifier: Apache-2.0
//
// A session on a stage for tests of the import: camera and board go from pose to pose and stand
// still in between, a tracking system records both, and a camera takes a clip or photographs.
#ifndef TESTS_RIGSYNC_IMPORT_SESSION_H
#define TESTS_RIGSYNC_IMPORT_SESSION_H

#include "rigsync/footage/footage.h"
#include "rigsync/import/holds.h"
#include "rigsync/take/take.h"

#include <Eigen/Geometry>

#include <functional>
#include <random>
#include <vector>

namespace rigsync {

// Where a body is: its origin in Base, and body to Base.
struct Body_Pose {
  Eigen::Vector3d Position = Eigen::Vector3d::Zero();
  Eigen::Quaterniond Rotation_Base_Body = Eigen::Quaterniond::Identity();
};
using Pose_At = std::function<Body_Pose(double Seconds)>;

Tracker_Sample Sample_Of(const Body_Pose& Pose);

// At rest in Stand n from Begin to End, and between them along a curve whose speed begins and ends
// at 0 (minimum jerk).
struct Stand {
  double Begin_Seconds = 0, End_Seconds = 0;
  Body_Pose Camera, Board;
};

struct Session {
  std::vector<Stand> Stands;

  Body_Pose Camera_At(double Seconds) const;
  Body_Pose Board_At(double Seconds) const;
  double End_Seconds() const { return Stands.back().End_Seconds; }
};

// Numbers that are the same everywhere.
class Chance {
 public:
  explicit Chance(unsigned Seed) : Engine(Seed) {}
  double Between(double Least, double Most);
  double Normal();  // of variance 1
  Eigen::Vector3d Normals();

 private:
  std::mt19937 Engine;
};

struct Session_Plan {
  std::size_t Holds = 30;
  double Least_Hold = 1.2, Longest_Hold = 4.0, Least_Move = 0.7, Longest_Move = 3.0;  // seconds
};
Session Make_Session(const Session_Plan& Plan, Chance& By);

struct Tracker_Plan {
  double Rate_Hz = 100.0;
  double Begin_Seconds = 0, End_Seconds = 0;  // of the session
  double Noise_Mm = 0, Noise_Deg = 0;         // standard deviation on each axis
};
Body_Track Track(const std::string& Name, const Pose_At& Pose, const Tracker_Plan& Plan,
                 Chance& By);

// A clip of the session from Begin to End, whose own time begins at 0: noise of the picture, a
// change that grows with motion and levels off, key frames, and people who walk through.
struct Clip_Plan {
  double Rate_Hz = 25.0;
  double Begin_Seconds = 0, End_Seconds = 0;
};
Clip Film(const Session& Of, const Clip_Plan& Plan, Chance& By);

// A photograph in each hold, at a time of its own within it, on a clock that is Offset less.
Photographs Photograph_Holds(const Session& Of, double Offset_Seconds, Chance& By);

}  // namespace rigsync

#endif  // TESTS_RIGSYNC_IMPORT_SESSION_H
