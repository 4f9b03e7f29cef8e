// SPDX-License-Identifier: Apache-2.0
//
// Numbers that stand in a page as people read them and, in attributes, as result.json has them, so
// that a program finds them: data-key is the path in the file, data-value the file's own number,
// and the text is that times data-factor.
#ifndef RIGSYNC_HTML_REPORT_KEYED_NUMBER_H
#define RIGSYNC_HTML_REPORT_KEYED_NUMBER_H

#include "rigsync/html_report/element.h"

#include <string>
#include <string_view>

namespace rigsync {

struct Keyed_Number {
  std::string Key;        // "joint.half_width_mm.0": names and, of a list, the index
  double Value = 0;       // as in the file
  int Digits = 2;         // after the decimal point, of the text
  double Factor = 1;      // from the file's unit to the one of the text
  bool Is_Short = false;  // without zeros at the end, for what somebody typed
};

// Says which number of result.json the element shows: its path there, and the number with all its
// digits.
void Mark_Number(Element At, std::string_view Key, double Value);

// A new last child with the number as its text; "none" for one that isn't finite, which the file
// has as null.
Element Add_Number(Element Parent, const char* Tag, const Keyed_Number& Number,
                   std::string_view Class = {});

// <td class="number">
Element Add_Number_Cell(Element Row, const Keyed_Number& Number);

// A text as the file has it, under its key.
Element Add_Keyed_Text(Element Parent, const char* Tag, const std::string& Key,
                       std::string_view Text);

// Digits for a number whose integer part may be long: two fewer, but not below 0, from 100 on.
int Fewer_Digits(double Value, int Digits);

// Every digit of a number, as many as it takes to read the same double back; "null" for one that
// isn't finite.
std::string Exact_Number(double Value);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_KEYED_NUMBER_H
