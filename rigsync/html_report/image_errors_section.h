// SPDX-License-Identifier: Apache-2.0
//
// The error of every image, before and after: bars in the order of the capture and by size, and a
// card for each image with its photograph, found and predicted corners.
#ifndef RIGSYNC_HTML_REPORT_IMAGE_ERRORS_SECTION_H
#define RIGSYNC_HTML_REPORT_IMAGE_ERRORS_SECTION_H

#include "rigsync/html_report/element.h"
#include "rigsync/review/run_view.h"

namespace rigsync {

// Main is that of a page of Make_Page, to which a style sheet is added. Photographs are read again.
// What is missing for the section is told in its place.
void Add_Image_Errors_Section(Element Main, const Run_View& View);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_IMAGE_ERRORS_SECTION_H
