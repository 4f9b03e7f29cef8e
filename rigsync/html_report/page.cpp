// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/page.h"

#include "rigsync/html_report/style_sheet.h"

#include <fmt/format.h>
#include <openssl/evp.h>

#include <array>
#include <sstream>
#include <stdexcept>

namespace rigsync {
namespace {

constexpr std::string_view Style_Sources = "style-src";

// As a content security policy names a style sheet: the SHA-256 of its bytes in base 64.
std::string Style_Digest(std::string_view Style) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> Digest{};
  unsigned Size = 0;
  if (EVP_Digest(Style.data(), Style.size(), Digest.data(), &Size, EVP_sha256(), nullptr) != 1) {
    throw std::runtime_error("the digest of the page's style sheet can't be computed");
  }
  std::string Text(4 * ((Size + 2) / 3) + 1, '\0');
  const int Length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(Text.data()), Digest.data(),
                                     static_cast<int>(Size));
  Text.resize(static_cast<std::size_t>(Length));
  return Text;
}

// Units across a phone in which a text of 12 units can still be read.
constexpr double Widest_On_Phone = 400;
// Of a drawing on a wide screen: its texts are then about as large as those of the page.
constexpr double Pixels_Per_Unit = 1.25;

void Add_Meta(Element Head, const char* Kind, std::string_view Name, std::string_view Content) {
  Element Meta = Add(Head, "meta");
  Set(Meta, Kind, Name);
  Set(Meta, "content", Content);
}

bool Is_Void(std::string_view Tag) {
  return Tag == "meta" || Tag == "img" || Tag == "br" || Tag == "hr" || Tag == "col";
}

bool Is_In_Drawing(Element At) {
  for (; At; At = At.parent()) {
    if (std::string_view(At.name()) == "svg") return true;
  }
  return false;
}

// Gives empty elements an empty text, so that they are written with an end tag.
struct End_Tags : pugi::xml_tree_walker {
  bool for_each(Element& Each) override {
    const bool Is_Empty = Each.type() == pugi::node_element && !Each.first_child();
    if (Is_Empty && !Is_Void(Each.name()) && !Is_In_Drawing(Each)) Append_Text(Each, "");
    return true;
  }
};

}  // namespace

Page Make_Page(std::string_view Title, int Refresh_Seconds) {
  Page New;
  New.Tree = std::make_unique<pugi::xml_document>();
  New.Tree->append_child(pugi::node_doctype).set_value("html");
  Element Html = Add(*New.Tree, "html");
  Set(Html, "lang", "en");
  New.Head = Add(Html, "head");
  Set(Add(New.Head, "meta"), "charset", "utf-8");
  Add_Meta(New.Head, "http-equiv", "Content-Security-Policy",
           fmt::format("default-src 'none'; img-src data:; style-src 'sha256-{}'; base-uri 'none'; "
                       "form-action 'none'",
                       Style_Digest(Style_Sheet())));
  if (Refresh_Seconds > 0) {
    Add_Meta(New.Head, "http-equiv", "refresh", std::to_string(Refresh_Seconds));
  }
  Add_Meta(New.Head, "name", "viewport", "width=device-width, initial-scale=1");
  Add_Meta(New.Head, "name", "color-scheme", "light dark");
  Add_Text(New.Head, "title", Title);
  Add_Text(New.Head, "style", Style_Sheet());
  New.Main = Add(Add(Html, "body"), "main");
  return New;
}

void Add_Style(Element Anywhere, std::string_view Style) {
  Element Head = Anywhere.root().child("html").child("head");
  Element Policy = Head.find_child_by_attribute("meta", "http-equiv", "Content-Security-Policy");
  std::string Content = Policy.attribute("content").value();
  const std::size_t Sources = Content.find(Style_Sources) + Style_Sources.size();
  Content.insert(Sources, fmt::format(" 'sha256-{}'", Style_Digest(Style)));
  Set(Policy, "content", Content);
  Add_Text(Head, "style", Style);
}

Element Add_Section(Element Main, std::string_view Id, std::string_view Heading) {
  Element Section = Add(Main, "section");
  Set(Section, "id", Id);
  Set(Section, "aria-labelledby", fmt::format("{}-heading", Id));
  Set(Add_Text(Section, "h2", Heading), "id", fmt::format("{}-heading", Id));
  return Section;
}

Element Add_Contents(Element Main) {
  Element Contents = Add(Main, "nav", "contents");
  Set(Contents, "aria-label", "Contents");
  return Contents;
}

void Fill_Contents(Element Contents) {
  const Element List = Add(Contents, "ul");
  for (Element Each = Contents.next_sibling("section"); Each; Each = Each.next_sibling("section")) {
    const Element Heading = Each.child("h2");
    if (!Heading) continue;
    Set(Add_Text(Add(List, "li"), "a", Heading.text().get()), "href",
        fmt::format("#{}", Each.attribute("id").value()));
  }
}

Element Add_Figure(Element Section, const Figure_Text& Text) {
  Element Figure = Add(Section, "figure");
  Element Caption = Add(Figure, "figcaption");
  Add_Text(Caption, "h3", Text.Title);
  Add_Text(Caption, "p", Text.How_To_Read);
  return Figure;
}

Element Add_Drawing(Element Figure, double Width, double Height, std::string_view Title,
                    std::string_view Description) {
  const bool Is_Wide = Width > Widest_On_Phone;
  Element Frame = Add(Figure, "div", Is_Wide ? "drawing wide" : "drawing");
  if (Is_Wide) Set(Frame, "tabindex", "0");  // so that the arrow keys can scroll it
  Element Svg = Add(Frame, "svg");
  Set(Svg, "width", Pixels_Per_Unit * Width);
  Set(Svg, "viewBox", fmt::format("0 0 {} {}", Short_Number(Width), Short_Number(Height)));
  Set(Svg, "role", "img");
  Set(Svg, "aria-label", fmt::format("{}. {}", Title, Description));
  return Svg;
}

std::string Page_Source(const Page& Whole) {
  End_Tags Added;
  Whole.Tree->traverse(Added);
  std::ostringstream Source;
  Whole.Tree->save(Source, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
  return Source.str() + "\n";
}

}  // namespace rigsync
