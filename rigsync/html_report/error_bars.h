// SPDX-License-Identifier: Apache-2.0
//
// Bars for the error of every image.
#ifndef RIGSYNC_HTML_REPORT_ERROR_BARS_H
#define RIGSYNC_HTML_REPORT_ERROR_BARS_H

#include "rigsync/html_report/element.h"
#include "rigsync/html_report/image_entry.h"

#include <vector>

namespace rigsync {

enum class Bar_Order { By_Time, By_Error };

// Each bar is a link to the image's card. A bar far above all kept ones is cut, with its number.
void Add_Error_Bars(Element Figure, const std::vector<Image_Entry>& Entries, const Run_View& View,
                    Bar_Order Order);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_ERROR_BARS_H
