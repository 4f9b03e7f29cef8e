// SPDX-License-Identifier: Apache-2.0
//
// What the lens leaves of the corners, over the frame and against the distance from its centre.
#ifndef RIGSYNC_HTML_REPORT_FRAME_SECTION_H
#define RIGSYNC_HTML_REPORT_FRAME_SECTION_H

#include "rigsync/html_report/element.h"
#include "rigsync/review/run_view.h"

namespace rigsync {

// What is missing for the section is told in its place.
void Add_Frame_Section(Element Main, const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_FRAME_SECTION_H
