// SPDX-License-Identifier: Apache-2.0
//
// The trackers' samples in the order of the images: motion, residuals, a slip.
#ifndef RIGSYNC_HTML_REPORT_SAMPLES_SECTION_H
#define RIGSYNC_HTML_REPORT_SAMPLES_SECTION_H

#include "rigsync/html_report/element.h"
#include "rigsync/review/run_view.h"

namespace rigsync {

// What is missing for the section is told in its place.
void Add_Samples_Section(Element Main, const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_SAMPLES_SECTION_H
