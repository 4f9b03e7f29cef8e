// SPDX-License-Identifier: Apache-2.0
#ifndef RIGSYNC_HTML_REPORT_INPUTS_SECTION_H
#define RIGSYNC_HTML_REPORT_INPUTS_SECTION_H

#include "rigsync/html_report/element.h"
#include "rigsync/review/run_view.h"

namespace rigsync {

// What the run was made from and with, where its files are, which of them are gone, and all
// numbers of the result for those who type them into another program.
void Add_Inputs_Section(Element Main, const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_INPUTS_SECTION_H
