// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/image_errors_section.h"

#include "rigsync/html_report/error_bars.h"
#include "rigsync/html_report/image_card.h"
#include "rigsync/html_report/page.h"
#include "rigsync/html_report/thumbnail.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace rigsync {
namespace {

// The buttons stand before the cards and order them without a script. On paper the cards are in the
// order that was chosen, and the buttons say nothing.
constexpr const char* Card_Style = R"(
.hit { fill: transparent; stroke: none; }
a:hover .hit, a:focus .hit { fill: var(--line); fill-opacity: 0.5; }
.first { fill: var(--line); stroke: var(--quiet); stroke-width: 0.5; }
.sorted { margin: 0.5rem 0 1rem; }
.sorted input { margin: 0 0.4rem 0 0; }
.sorted label { margin-right: 1.25rem; }
.cards {
  display: grid; gap: 1rem; margin-top: 0.75rem; align-items: start;
  grid-template-columns: repeat(auto-fill, minmax(min(19rem, 100%), 1fr));
}
.card {
  border: 1px solid var(--line); border-radius: 0.375rem; padding: 0.6rem; min-width: 0;
  break-inside: avoid; font-size: 0.9rem;
}
.card.out { border: 2px dashed var(--dropped); }
.card.aside { border-color: var(--quiet); }
.card:target { outline: 3px solid var(--kept); outline-offset: 2px; }
.card h4 { margin: 0 0 0.4rem; font-size: 0.9rem; overflow-wrap: anywhere; }
.card p { margin: 0.3rem 0 0; overflow-wrap: anywhere; }
.card .fate { font-weight: 600; }
.card .fate.out { color: var(--dropped); }
.card .fate.aside { color: var(--quiet); }
.card svg { width: 100%; max-width: none; background: var(--soft); font-size: 20px; }
.card svg image { opacity: 0.85; }
.card svg path { filter: drop-shadow(0 0 1px var(--paper)); }
.card .found { stroke-width: 5; stroke-linecap: round; }
.card .arrow { stroke-width: 2; }
.card .dropped { stroke-width: 5; }
@media print {
  .sorted input, .sorted label { display: none; }
  .cards { grid-template-columns: repeat(3, 1fr); }
}
)";

std::string Order_Style(std::size_t Count) {
  std::string Style = Card_Style;
  for (std::size_t k = 0; k < Count; ++k) {
    Style += fmt::format("#images-by-error:checked ~ .cards .rank-{} {{ order: {}; }}\n", k, k);
  }
  return Style;
}

void Add_Choice(Element Parent, const char* Id, const char* Text, bool Is_Chosen) {
  Element Button = Add(Parent, "input");
  Set(Button, "type", "radio");
  Set(Button, "name", "images-order");
  Set(Button, "id", Id);
  if (Is_Chosen) Set(Button, "checked", "checked");
  Set(Add_Text(Parent, "label", Text), "for", Id);
}

std::string Factor_Text(double Factor) {
  return Factor == 1.0 ? "drawn at their true length"
                       : fmt::format("magnified {} times", Short_Number(Factor));
}

bool Is_Any_Finite(const std::vector<Image_Entry>& Entries, double Row_Error::*Value) {
  return std::any_of(Entries.begin(), Entries.end(), [Value](const Image_Entry& Entry) {
    return std::isfinite(Entry.Error.*Value);
  });
}

void Add_Bars(Element Section, const std::vector<Image_Entry>& Entries, const Run_View& View) {
  Element By_Time = Add_Figure(
      Section,
      {"Error of every image by time",
       "A bar is how far, on average, the corners found in an image are from where both "
       "trackers, both mounts and the lens put them. Good: the kept bars are low and alike, "
       "without a step or a slope. A step means that something moved on the rig; single "
       "tall bars that were dropped do no harm. Grey outlines are images that only the "
       "library dropped."});
  Add_Error_Bars(By_Time, Entries, View, Bar_Order::By_Time);
  Element By_Error =
      Add_Figure(Section, {"The same, worst first",
                           "Good: the kept ones fall off gently, and what stands far above them is "
                           "dropped. The library also drops images whose mount is 1.3 standard "
                           "deviations from the mean, so some good ones in every capture."});
  Add_Error_Bars(By_Error, Entries, View, Bar_Order::By_Error);
}

// How to read the cards.
std::string Cards_Text(const std::vector<Image_Entry>& Entries, double Factor) {
  const bool Has_Corners =
      std::any_of(Entries.begin(), Entries.end(),
                  [](const Image_Entry& Entry) { return !Entry.Error.Found_Px.empty(); });
  if (!Has_Corners) return "No corners are known: no board was found, or the run log is gone.";
  std::string Text = "Dots are the corners that were found";
  if (Is_Any_Finite(Entries, &Row_Error::Rms_Px)) {
    Text += fmt::format(
        "; arrows lead to where the rig predicts them, {}. Within an image most point one way, by "
        "the noise of its samples. Good: over all images they point in all directions and are "
        "about as long.",
        Factor_Text(Factor));
  } else {
    Text += ". The result has no mount to predict them with.";
  }
  Text +=
      " A dashed frame marks a dropped image; it is red and has a cross where the joint solve "
      "didn't "
      "keep it either.";
  const bool Has_F = std::any_of(Entries.begin(), Entries.end(), [](const Image_Entry& Entry) {
    return Entry.Error.Joint.has_value();
  });
  if (Has_F) Text += " F compares an image with all others: about 1 when it agrees.";
  return Text;
}

void Add_Cards(Element Section, const std::vector<Image_Entry>& Entries, const Run_View& View) {
  const double Factor = Arrow_Factor(Entries, View);
  Element Figure = Add_Figure(Section, {"Every image", Cards_Text(Entries, Factor)});
  Element Sorted = Add(Figure, "div", "sorted");
  Add_Choice(Sorted, "images-by-time", "by time", true);
  Add_Choice(Sorted, "images-by-error", "by error, worst first", false);
  Element Cards = Add(Sorted, "div", "cards");
  const std::vector<Thumbnail> Photographs = Make_Thumbnails(View);
  for (const Image_Entry& Entry : Entries) {
    Add_Image_Card(Cards, Entry, View, Photographs[Entry.Row], Factor);
  }
}

}  // namespace

void Add_Image_Errors_Section(Element Main, const Run_View& View) {
  Element Section = Add_Section(Main, "images", "Error of every image");
  const std::vector<Image_Entry> Entries = Make_Image_Entries(View);
  if (Entries.empty()) {
    Add_Text(Section, "p", "The CSV names no image.", "missing");
    return;
  }
  Add_Style(Main, Order_Style(Entries.size()));
  if (Is_Any_Finite(Entries, &Row_Error::Mean_Px) ||
      Is_Any_Finite(Entries, &Row_Error::First_Mean_Px)) {
    Add_Bars(Section, Entries, View);
  } else {
    Add_Text(Section, "p",
             "The run ended before there was a mount, so that no image has an error yet.",
             "missing");
  }
  Add_Cards(Section, Entries, View);
}

}  // namespace rigsync
