// SPDX-License-Identifier: Apache-2.0
//
// Where in the frame corners were found, and where they are missing.
#ifndef RIGSYNC_HTML_REPORT_COVERAGE_SECTION_H
#define RIGSYNC_HTML_REPORT_COVERAGE_SECTION_H

#include "rigsync/html_report/element.h"
#include "rigsync/review/run_view.h"

namespace rigsync {

// What is missing for the section is told in its place.
void Add_Coverage_Section(Element Main, const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_COVERAGE_SECTION_H
