// SPDX-License-Identifier: Apache-2.0
//
// Looks into the tree of a page.
#ifndef RIGSYNC_TESTS_HTML_REPORT_PAGE_PARTS_H
#define RIGSYNC_TESTS_HTML_REPORT_PAGE_PARTS_H

#include <pugixml.hpp>

#include <string>
#include <vector>

namespace page_parts {

inline std::vector<pugi::xml_node> All(pugi::xml_node In, const char* Path) {
  std::vector<pugi::xml_node> Found;
  for (const pugi::xpath_node& Each : In.select_nodes(Path)) Found.push_back(Each.node());
  return Found;
}

// The texts of an element and all that is in it.
inline std::string Text_Of(pugi::xml_node In) {
  std::string Text;
  for (const pugi::xpath_node& Each : In.select_nodes(".//text()")) Text += Each.node().value();
  return Text;
}

}  // namespace page_parts

#endif  // RIGSYNC_TESTS_HTML_REPORT_PAGE_PARTS_H
