// SPDX-License-Identifier: Apache-2.0
//
// How the board was held: tilt, roll and distance, and what would help most.
#ifndef RIGSYNC_HTML_REPORT_POSES_SECTION_H
#define RIGSYNC_HTML_REPORT_POSES_SECTION_H

#include "rigsync/html_report/element.h"
#include "rigsync/review/run_view.h"

namespace rigsync {

// What is missing for the section is told in its place.
void Add_Poses_Section(Element Main, const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_POSES_SECTION_H
