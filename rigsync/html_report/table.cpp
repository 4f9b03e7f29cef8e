// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/table.h"

#include <cstddef>

namespace rigsync {

Element Add_Table_Frame(Element Parent, std::string_view Label) {
  const Element Frame = Add(Parent, "div", "table");
  Set(Frame, "tabindex", "0");  // so that the arrow keys can scroll it
  Set(Frame, "role", "group");
  Set(Frame, "aria-label", Label);
  return Frame;
}

Element Add_Table(Element Parent, std::string_view Caption,
                  const std::vector<std::string>& Columns) {
  const Element Frame = Add_Table_Frame(Parent, Caption);
  const Element Table = Add(Frame, "table");
  Add_Text(Table, "caption", Caption);
  if (!Columns.empty()) {
    const Element Row = Add(Add(Table, "thead"), "tr");
    for (std::size_t c = 0; c < Columns.size(); ++c) {
      const char* const Tag = Columns[c].empty() ? "td" : "th";
      const Element Cell = Add_Text(Row, Tag, Columns[c], c == 0 ? "" : "number");
      if (!Columns[c].empty()) Set(Cell, "scope", "col");
    }
  }
  return Add(Table, "tbody");
}

Element Add_Row(Element Body, std::string_view Heading, std::string_view Class) {
  const Element Row = Add(Body, "tr", Class);
  Set(Add_Text(Row, "th", Heading), "scope", "row");
  return Row;
}

}  // namespace rigsync
