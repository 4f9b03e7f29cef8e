// SPDX-License-Identifier: Apache-2.0
//
// The lens model that the library solves.
#ifndef RIGSYNC_CAPTURE_LENS_H
#define RIGSYNC_CAPTURE_LENS_H

namespace rigsync {

// A pinhole camera with two radial coefficients; docs/conventions.md has the equations.
struct Lens {
  double Fx = 0, Fy = 0, Cx = 0, Cy = 0;  // pixels
  double K1 = 0, K2 = 0;
};

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_LENS_H
