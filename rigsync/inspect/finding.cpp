// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/finding.h"

#include "rigsync/system/text.h"
#include "rigsync/system/utf8.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace rigsync {
namespace {

// More runs would fill the report without helping anyone. The JSON report has all lines.
constexpr std::size_t Most_Runs = 8;

constexpr std::size_t Longest_Quote = 48;  // characters

struct Run {
  std::size_t First, Last;
};

std::vector<Run> Find_Runs(const std::vector<std::size_t>& Lines) {
  std::vector<Run> Runs;
  for (const std::size_t Line : Lines) {
    if (!Runs.empty() && Runs.back().Last + 1 == Line) {
      Runs.back().Last = Line;
    } else {
      Runs.push_back({Line, Line});
    }
  }
  return Runs;
}

}  // namespace

void Findings::Add(Finding New) {
  const auto Same = [&](const Finding& One) { return One.Id == New.Id; };
  const auto Earlier = std::find_if(All.begin(), All.end(), Same);
  if (Earlier == All.end()) {
    All.push_back(std::move(New));
    return;
  }
  // Mostly the next line of the file, so that its place is found at once: a capture may have a
  // finding in each of 100,000 lines.
  std::vector<std::size_t>& Lines = Earlier->Lines;
  for (const std::size_t Line : New.Lines) {
    const auto Place = std::lower_bound(Lines.begin(), Lines.end(), Line);
    if (Place == Lines.end() || *Place != Line) Lines.insert(Place, Line);
  }
}

bool Findings::Has(const std::string& Id) const {
  return std::any_of(All.begin(), All.end(), [&](const Finding& One) { return One.Id == Id; });
}

std::vector<Finding> Findings::Sorted() const {
  const auto First_Line = [](const Finding& One) {
    return One.Lines.empty() ? std::numeric_limits<std::size_t>::max() : One.Lines.front();
  };
  std::vector<Finding> Ordered = All;
  std::stable_sort(Ordered.begin(), Ordered.end(), [&](const Finding& Left, const Finding& Right) {
    return First_Line(Left) < First_Line(Right);
  });
  return Ordered;
}

Level Findings::Gravest() const {
  Level Worst = Level::Note;
  for (const Finding& One : All) Worst = std::max(Worst, One.Severity);
  return Worst;
}

std::size_t Findings::Count(Level Severity) const {
  return static_cast<std::size_t>(std::count_if(
      All.begin(), All.end(), [&](const Finding& One) { return One.Severity == Severity; }));
}

std::string Lines_Text(const std::vector<std::size_t>& Lines) {
  if (Lines.empty()) return {};
  const std::vector<Run> Runs = Find_Runs(Lines);
  std::string Text = Lines.size() == 1 ? "line " : "lines ";
  std::size_t Named_Lines = 0;
  for (std::size_t i = 0; i < std::min(Runs.size(), Most_Runs); ++i) {
    const auto [First, Last] = Runs[i];
    if (i > 0) Text += ", ";
    Text += First == Last ? fmt::format("{}", First) : fmt::format("{}-{}", First, Last);
    Named_Lines += Last - First + 1;
  }
  if (Named_Lines < Lines.size()) {
    Text += fmt::format(" and {} more", Lines.size() - Named_Lines);
  }
  return Text;
}

std::string Quoted(const std::string& Text) {
  const std::string Line = One_Line(Text);
  const std::string Begin = First_Characters(Line, Longest_Quote);
  return "'" + Begin + (Begin.size() < Line.size() ? "...'" : "'");
}

const char* Level_Name(Level Severity) {
  switch (Severity) {
    case Level::Note:
      return "note";
    case Level::Warning:
      return "warning";
    case Level::Error:
      return "error";
  }
  return "";
}

}  // namespace rigsync
