// SPDX-License-Identifier: Apache-2.0
//
// The settings in which the solvers are compared, each with its own captures: noise, stale rows,
// little motion and so on, one thing at a time.
#ifndef RIGSYNC_BENCH_SETTING_ROWS_H
#define RIGSYNC_BENCH_SETTING_ROWS_H

#include <string>

namespace bench {

// The names of the columns, and the lines of a seed, one for each setting, as CSV.
std::string Setting_Rows_Header();
std::string Setting_Rows_Lines(unsigned Seed);

}  // namespace bench

#endif  // RIGSYNC_BENCH_SETTING_ROWS_H
