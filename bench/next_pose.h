// SPDX-License-Identifier: Apache-2.0
//
// How many images a capture needs until its mount is known to a given accuracy: taken pose by pose
// as the command advises, by a person who follows it roughly, and taken as the simulator's
// operator does.
#ifndef RIGSYNC_BENCH_NEXT_POSE_H
#define RIGSYNC_BENCH_NEXT_POSE_H

#include <string>

namespace bench {

// The columns, and three lines for a seed: one for each way to take a capture.
std::string Next_Pose_Header();
std::string Next_Pose_Lines(unsigned Seed);

}  // namespace bench

#endif  // RIGSYNC_BENCH_NEXT_POSE_H
