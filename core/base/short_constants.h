// SPDX-License-Identifier: Apache-2.0
//
// The shortened constants of angle conversion. Results must match those of earlier versions, which
// used exactly these digits, so a more precise pi must not replace them.
#ifndef RIGSYNC_CORE_BASE_SHORT_CONSTANTS_H
#define RIGSYNC_CORE_BASE_SHORT_CONSTANTS_H

// Board angles, outlier angles and exported angles are converted with these eleven digits of pi.
constexpr double Pi_Short = 3.1415926535;
constexpr double Half_Pi_Short = 1.57079632675;
static_assert(Half_Pi_Short == Pi_Short / 2.0, "one constant, written twice");

// Radians to degrees, in single precision, and the same number widened: a double is also converted
// with the single-precision factor and not with 180 / pi.
constexpr float Degree_Factor = 57.29578f;
constexpr double Degree_Factor_Wide = 57.295780181884766;
static_assert(Degree_Factor_Wide == static_cast<double>(Degree_Factor), "widened, not refined");

#endif  // RIGSYNC_CORE_BASE_SHORT_CONSTANTS_H
