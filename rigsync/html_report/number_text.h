// SPDX-License-Identifier: Apache-2.0
//
// Numbers in a page.
#ifndef RIGSYNC_HTML_REPORT_NUMBER_TEXT_H
#define RIGSYNC_HTML_REPORT_NUMBER_TEXT_H

#include <string>

namespace rigsync {

// With two significant digits and without an exponent: "0.034", "1.8", "25", "130". A number that
// is not finite is "unknown".
std::string Two_Figures(double Value);

// With the sign for the terminal's +-.
std::string With_Plus_Minus(std::string Text);

// 1, 2 or 5 times a power of ten by which Largest is to be magnified to take Room at most. 1 where
// Largest is not above 0.
double Round_Magnification(double Largest, double Room);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_NUMBER_TEXT_H
