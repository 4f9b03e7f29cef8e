// SPDX-License-Identifier: Apache-2.0
//
// The page beside 'rigsync inspect --watch': what its screen says, and the next pose drawn. A
// browser loads it again every two seconds.
#ifndef RIGSYNC_HTML_REPORT_WATCH_PAGE_H
#define RIGSYNC_HTML_REPORT_WATCH_PAGE_H

#include "rigsync/inspect/watch.h"

#include <string>

namespace rigsync {

// The whole file.
std::string Watch_Page(const Watched_Capture& Capture);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_WATCH_PAGE_H
