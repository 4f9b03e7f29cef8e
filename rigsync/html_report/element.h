// SPDX-License-Identifier: Apache-2.0
//
// Elements of a page. Texts and values may hold anything, the names of a capture's images for
// example: they are escaped when the page is written, and what no page may hold is replaced.
#ifndef RIGSYNC_HTML_REPORT_ELEMENT_H
#define RIGSYNC_HTML_REPORT_ELEMENT_H

#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace rigsync {

using Element = pugi::xml_node;

// Text in UTF-8 without control characters other than newline and tab. Other bytes are replaced by
// U+FFFD.
std::string Page_Text(std::string_view Text);

// A new last child. Class may have several names; empty for none. In SVG and HTML alike.
Element Add(Element Parent, const char* Tag, std::string_view Class = {});

// The same with a text.
Element Add_Text(Element Parent, const char* Tag, std::string_view Text,
                 std::string_view Class = {});

// A text after the element's last child.
void Append_Text(Element Parent, std::string_view Text);

// An attribute; replaces an earlier value. Numbers have at most Digits decimals, without zeros at
// the end, and "0" stands for one that is not finite: a drawing leaves such points out itself.
void Set(Element At, const char* Name, std::string_view Value);
void Set(Element At, const char* Name, double Value, int Digits = 2);

std::string Short_Number(double Value, int Digits = 2);

}  // namespace rigsync

#endif  // RIGSYNC_HTML_REPORT_ELEMENT_H
