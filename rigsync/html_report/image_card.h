// SPDX-License-Identifier: Apache-2.0
//
// A card for an image: the photograph with found corners and arrows to the predicted ones, what
// became of it, and its error.
#ifndef RIGSYNC_HTML_REPORT_IMAGE_CARD_H
#define RIGSYNC_HTML_REPORT_IMAGE_CARD_H

#include "rigsync/html_report/element.h"
#include "rigsync/html_report/image_entry.h"
#include "rigsync/html_report/thumbnail.h"

#include <vector>

namespace rigsync {

// How many times longer than the errors the arrows are, on all cards: a round number with which the
// median arrow of the kept images is a few hundredths of the frame long. 1 where nothing is known.
double Arrow_Factor(const std::vector<Image_Entry>& Entries, const Run_View& View);

void Add_Image_Card(Element Cards, const Image_Entry& Entry, const Run_View& View,
                    const Thumbnail& Photograph, double Factor);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_IMAGE_CARD_H
