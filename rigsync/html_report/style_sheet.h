// SPDX-License-Identifier: Apache-2.0
//
// How pages look: on a screen of any width, light or dark, and in print.
#ifndef RIGSYNC_HTML_REPORT_STYLE_SHEET_H
#define RIGSYNC_HTML_REPORT_STYLE_SHEET_H

namespace rigsync {

// Without <, > and &, which stay as they are in no style sheet that is written as text of a tree.
//
// Drawings use these classes: axis, grid, tick, label (texts of axes), note (small text in a
// drawing); kept, dropped, aside (dropped by the library alone), stale, good, warn, bad (what a
// mark says), found, predicted, arrow (of corners), camera, tracker, board (parts of the rig),
// reference (lines to compare with). A class gives stroke and fill, so that a drawing sets
// neither.
const char* Style_Sheet();

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_STYLE_SHEET_H
