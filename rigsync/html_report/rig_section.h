// SPDX-License-Identifier: Apache-2.0
//
// The rig as it was solved, drawn to scale: camera and tracker from near, and from afar the boards
// where they stood.
#ifndef RIGSYNC_HTML_REPORT_RIG_SECTION_H
#define RIGSYNC_HTML_REPORT_RIG_SECTION_H

#include "rigsync/html_report/element.h"
#include "rigsync/review/run_view.h"

namespace rigsync {

// Main is that of a page of Make_Page, to which a style sheet is added. What is missing for the
// section is told in its place.
void Add_Rig_Section(Element Main, const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_RIG_SECTION_H
