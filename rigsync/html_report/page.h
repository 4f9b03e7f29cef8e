// SPDX-License-Identifier: Apache-2.0
//
// One HTML file that needs nothing else: no script, no font, no request. A policy in its head makes
// a browser refuse all of these.
#ifndef RIGSYNC_HTML_REPORT_PAGE_H
#define RIGSYNC_HTML_REPORT_PAGE_H

#include "rigsync/html_report/element.h"

#include <memory>
#include <string>
#include <string_view>

namespace rigsync {

// The tree of a page; Main is where its sections go.
struct Page {
  std::unique_ptr<pugi::xml_document> Tree;
  Element Head, Main;
};

// Refresh_Seconds above 0 makes a browser load the page again after that time.
Page Make_Page(std::string_view Title, int Refresh_Seconds = 0);

// A further style sheet, for rules that depend on what the page shows. Add it once for each text.
// Anywhere is any element of a page of Make_Page, whose policy then allows this sheet too. Like the
// page's own it is without <, > and &.
void Add_Style(Element Anywhere, std::string_view Style);

// A section with its heading; Id is the target of links to it.
Element Add_Section(Element Main, std::string_view Id, std::string_view Heading);

// A list of links to the sections, which Fill_Contents makes when all of them are there: one for
// each section with a heading of the second level that follows the list.
Element Add_Contents(Element Main);
void Fill_Contents(Element Contents);

// What stands with each figure: its title, how to read it, and what good looks like.
struct Figure_Text {
  std::string Title, How_To_Read;
};

// <figure> with its caption; the drawing is added to it.
Element Add_Figure(Element Section, const Figure_Text& Text);

// An SVG drawing of Width by Height units that shrinks with the page. On a phone one that is wider
// than 400 units scrolls by itself instead of shrinking until nobody can read it. Title and
// Description are what a screen reader says instead.
Element Add_Drawing(Element Figure, double Width, double Height, std::string_view Title,
                    std::string_view Description);

std::string Page_Source(const Page& Whole);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_PAGE_H
