// SPDX-License-Identifier: Apache-2.0
//
// report.html: whether a calibration can be trusted, at a glance. docs/report.md explains each
// figure.
#ifndef RIGSYNC_HTML_REPORT_REPORT_PAGE_H
#define RIGSYNC_HTML_REPORT_REPORT_PAGE_H

#include "rigsync/review/run_view.h"

#include <string>

namespace rigsync {

// The whole file. Photographs are read again for the thumbnails; one that is gone has none.
std::string Report_Page(const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_REPORT_PAGE_H
