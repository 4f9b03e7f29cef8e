// SPDX-License-Identifier: Apache-2.0
//
// Tables whose headings a screen reader can tell, and which scroll by themselves on a narrow
// screen.
#ifndef RIGSYNC_HTML_REPORT_TABLE_H
#define RIGSYNC_HTML_REPORT_TABLE_H

#include "rigsync/html_report/element.h"

#include <string>
#include <string_view>
#include <vector>

namespace rigsync {

// The box of a table, which scrolls where the screen is too narrow. Label says what it holds.
Element Add_Table_Frame(Element Parent, std::string_view Label);

// <tbody> of a new table. Columns are the headings; those after the first stand over numbers. With
// an empty list there is none. The caption names the table, with the unit where it has one.
Element Add_Table(Element Parent, std::string_view Caption,
                  const std::vector<std::string>& Columns);

// A row with its heading; cells are added to it.
Element Add_Row(Element Body, std::string_view Heading, std::string_view Class = {});

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_TABLE_H
