// SPDX-License-Identifier: Apache-2.0
//
// Work on the rows of a capture in several threads, so that a caller sees what one thread would
// show: exceptions and progress are those of rows that are done one after the other.
#ifndef RIGSYNC_CAPTURE_PARALLEL_ROWS_H
#define RIGSYNC_CAPTURE_PARALLEL_ROWS_H

#include <cstddef>
#include <functional>

namespace rigsync {

// The work on one row. Thread is below the number of threads; no two rows are worked on with the
// same number at a time, so that it can select memory that is used again.
using Row_Work = std::function<void(std::size_t Row, std::size_t Thread)>;

// How many rows are done, of all.
using Row_Progress = std::function<void(std::size_t Done, std::size_t All)>;

// The number of the processor's cores, at least 1.
std::size_t Core_Count();

// Calls Work once for each of Rows rows, in at most Threads threads. The calling thread is one of
// them, so one thread does the rows in their order. Rows begin in rising order in any case. Where
// the system has no more threads, or not a file for each to open, fewer do the work.
//
// Progress, unless empty, is called on the calling thread alone, with 0 to Rows in rising order.
//
// After an exception no further row begins. Rows that have begun are finished, and then the
// exception of the lowest row is thrown: the one that a single thread would have met.
void Work_On_Rows(std::size_t Rows, std::size_t Threads, const Row_Work& Work,
                  const Row_Progress& Progress);

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_PARALLEL_ROWS_H
