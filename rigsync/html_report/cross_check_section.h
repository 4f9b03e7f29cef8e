// SPDX-License-Identifier: Apache-2.0
//
// Odd and even images solved apart: what they differ by, beside what their uncertainties let
// expect.
#ifndef RIGSYNC_HTML_REPORT_CROSS_CHECK_SECTION_H
#define RIGSYNC_HTML_REPORT_CROSS_CHECK_SECTION_H

#include "rigsync/html_report/element.h"
#include "rigsync/review/run_view.h"

namespace rigsync {

// What is missing for the section is told in its place.
void Add_Cross_Check_Section(Element Main, const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_CROSS_CHECK_SECTION_H
