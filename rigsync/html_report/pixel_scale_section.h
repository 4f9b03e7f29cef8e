// SPDX-License-Identifier: Apache-2.0
//
// What the error in pixels is on the stage, and what a small error of the mount is in the picture.
#ifndef RIGSYNC_HTML_REPORT_PIXEL_SCALE_SECTION_H
#define RIGSYNC_HTML_REPORT_PIXEL_SCALE_SECTION_H

#include "rigsync/html_report/element.h"
#include "rigsync/review/run_view.h"

namespace rigsync {

// What is missing for the section is told in its place.
void Add_Pixel_Scale_Section(Element Main, const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_PIXEL_SCALE_SECTION_H
