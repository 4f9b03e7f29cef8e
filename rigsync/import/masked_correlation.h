// SPDX-License-Identifier: Apache-2.0
//
// The correlation of two signals at every shift, where both may have gaps and overlap in part.
#ifndef RIGSYNC_IMPORT_MASKED_CORRELATION_H
#define RIGSYNC_IMPORT_MASKED_CORRELATION_H

#include <cstddef>
#include <vector>

namespace rigsync {

// Values at equal steps, of the order of 1. NaN is a gap.
using Signal = std::vector<double>;

struct Shift_Correlations {
  // Entry k is for the shift First_Shift + k: A[i + shift] lies over B[i].
  std::ptrdiff_t First_Shift = 0;
  // Pearson's coefficient of the values that lie over each other, -1 to 1. NaN with fewer than
  // Least_Overlap of them, or where one side doesn't vary.
  std::vector<double> Coefficients;
};

// By Fourier transforms, so an hour at 100 steps a second takes about a second. Both signals must
// have entries.
Shift_Correlations Correlate(const Signal& A, const Signal& B, std::size_t Least_Overlap);

}  // namespace rigsync

#endif  // RIGSYNC_IMPORT_MASKED_CORRELATION_H
