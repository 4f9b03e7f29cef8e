// SPDX-License-Identifier: Apache-2.0
//
// Captures with random faults: which wrong mounts would be called usable? Each seed is one capture,
// with a random number of faults of random strength, random noise and a random mount.
#ifndef RIGSYNC_BENCH_FAULT_STUDY_H
#define RIGSYNC_BENCH_FAULT_STUDY_H

#include <string>

namespace bench {

// The names of the columns, and the line of a seed, as CSV.
std::string Fault_Study_Header();
std::string Fault_Study_Line(unsigned Seed);

}  // namespace bench

#endif  // RIGSYNC_BENCH_FAULT_STUDY_H
