// SPDX-License-Identifier: Apache-2.0
//
// Amounts in the texts of findings: as many digits as a person needs.
#ifndef RIGSYNC_INSPECT_AMOUNT_H
#define RIGSYNC_INSPECT_AMOUNT_H

#include <string>

namespace rigsync {

// An amount of 0 or more with two significant digits and at most four decimals, never in powers of
// ten: "1234", "35", "2.4", "0.051".
std::string Amount(double Value);

std::string Amount_Mm(double Metres);      // "2.4 mm"
std::string Amount_Deg(double Angle_Deg);  // "0.051 degrees"

}  // namespace rigsync

#endif  // RIGSYNC_INSPECT_AMOUNT_H
