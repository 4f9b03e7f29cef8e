// SPDX-License-Identifier: Apache-2.0
//
// What a technician needs first: whether the result may be used and what to do next, and the mount
// with its uncertainty.
#ifndef RIGSYNC_HTML_REPORT_VERDICT_SECTION_H
#define RIGSYNC_HTML_REPORT_VERDICT_SECTION_H

#include "rigsync/html_report/element.h"
#include "rigsync/review/run_view.h"

namespace rigsync {

// The verdict as the page's heading, with reasons, cause and next step.
void Add_Verdict_Section(Element Main, const Run_View& View);

// Both mounts in millimetres and degrees, the half-widths of the joint one beside the limits, and
// what they come to at the talent's distance.
void Add_Mount_Section(Element Main, const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_VERDICT_SECTION_H
