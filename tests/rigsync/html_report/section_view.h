// SPDX-License-Identifier: Apache-2.0
//
// A run of a simulated capture as the sections of a page see it, and what a page holds.
#ifndef RIGSYNC_TESTS_HTML_REPORT_SECTION_VIEW_H
#define RIGSYNC_TESTS_HTML_REPORT_SECTION_VIEW_H

#include "rigsync/html_report/page.h"
#include "rigsync/review/run_view.h"
#include "tests/rigsync/solve/corner_rig.h"

#include <string>

namespace section_view {

// Everything is known, and all images are kept.
inline rigsync::Run_View Make_View(const corner_rig::Options& Of = {}) {
  const corner_rig::Rig Rig = corner_rig::Make_Rig(Of);
  rigsync::Run_View View;
  View.Width = 960;
  View.Height = 540;
  View.Lens_Px = Rig.Lens_Px;
  rigsync::Calibration_Result& Result = View.Result;
  Result.Inputs.Board = Rig.Board;
  Result.Inputs.Square_Size = Rig.Square_Size;
  Result.Solved = rigsync::Solve_Capture(Rig.Facts, Rig.Board, Rig.Square_Size, Rig.Lens_Px);
  Result.Halves = rigsync::Check_Halves(Rig.Facts, Rig.Board, Rig.Square_Size, *Result.Solved,
                                        {View.Width, View.Height}, 3.0);
  for (const rigsync::Row_Facts& Facts : Rig.Facts) {
    rigsync::Viewed_Row Row;
    Row.Image = {Facts.Row + 2, "image_" + std::to_string(Facts.Row) + ".png"};
    Row.Camera = Facts.Camera;
    Row.Board = Facts.Board;
    Row.Corners = Facts.Corners;
    View.Rows.push_back(Row);
  }
  return View;
}

inline std::size_t Count(const rigsync::Page& Whole, const char* XPath) {
  return Whole.Main.select_nodes(XPath).size();
}

// All texts of the page.
inline std::string Text_Of(const rigsync::Page& Whole) {
  std::string Text;
  for (const pugi::xpath_node& Found : Whole.Main.select_nodes(".//text()")) {
    Text += std::string(Found.node().value()) + "\n";
  }
  return Text;
}

using Section = void (*)(rigsync::Element, const rigsync::Run_View&);

inline rigsync::Page Page_Of(Section Add, const rigsync::Run_View& View) {
  rigsync::Page Whole = rigsync::Make_Page("Page");
  Add(Whole.Main, View);
  return Whole;
}

}  // namespace section_view

#endif  // RIGSYNC_TESTS_HTML_REPORT_SECTION_VIEW_H
