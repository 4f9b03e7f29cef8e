// SPDX-License-Identifier: Apache-2.0
//
// The lens: its numbers with their uncertainty, how these hang together, and its distortion.
#ifndef RIGSYNC_HTML_REPORT_LENS_SECTION_H
#define RIGSYNC_HTML_REPORT_LENS_SECTION_H

#include "rigsync/html_report/element.h"
#include "rigsync/review/run_view.h"

namespace rigsync {

// What is missing for the section is told in its place.
void Add_Lens_Section(Element Main, const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_LENS_SECTION_H
