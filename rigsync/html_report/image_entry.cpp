// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/image_entry.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

namespace rigsync {
namespace {

const char* List_Of(Image_Fate Fate) {
  if (Fate == Image_Fate::Kept) return "kept";
  return Fate == Image_Fate::Unknown ? "unknown" : "dropped";
}

// The file has a list for each fate.
std::vector<std::string> Keys_Of_Images(const Run_View& View) {
  std::map<std::string, std::size_t> Counts;
  std::vector<std::string> Keys(View.Rows.size());
  const std::vector<Image_Report>& Images = View.Result.Report.Images;
  for (std::size_t i = 0; i < Images.size() && i < Keys.size(); ++i) {
    const char* const List = List_Of(Images[i].Fate);
    Keys[i] = fmt::format("images.{}.{}", List, Counts[List]++);
    if (Images[i].Name != View.Rows[i].Image.Name) Keys[i].clear();
  }
  return Keys;
}

void Take_Joint_Keys(const Run_View& View, std::vector<Image_Entry>& Entries) {
  if (!View.Result.Solved) return;
  std::size_t k = 0;
  for (const Solved_Row& Solved : View.Result.Solved->Joint.Rows) {
    const std::string Key = fmt::format("joint.rows.{}", k++);
    if (Solved.Row < Entries.size()) Entries[Solved.Row].Joint_Key = Key;
  }
}

void Take_Ranks(std::vector<Image_Entry>& Entries) {
  std::vector<std::size_t> Order(Entries.size());
  std::iota(Order.begin(), Order.end(), std::size_t{0});
  const auto Size = [&](std::size_t i) {
    const double Px = Ranking_Px(Entries[i].Error);
    return std::isfinite(Px) ? Px : -1.0;
  };
  std::stable_sort(Order.begin(), Order.end(),
                   [&](std::size_t Left, std::size_t Right) { return Size(Left) > Size(Right); });
  for (std::size_t k = 0; k < Order.size(); ++k) Entries[Order[k]].Rank = k;
}

}  // namespace

std::vector<Image_Entry> Make_Image_Entries(const Run_View& View) {
  const std::vector<Row_Error> Errors = Measure_Row_Errors(View);
  const std::vector<std::string> Keys = Keys_Of_Images(View);
  std::vector<Image_Entry> Entries;
  for (std::size_t i = 0; i < Errors.size(); ++i) {
    Image_Entry Entry;
    Entry.Row = i;
    Entry.Error = Errors[i];
    Entry.Id = fmt::format("image-{}", i + 1);
    Entry.Key = Keys[i];
    Entry.Fate = Errors[i].Is_Kept ? "kept" : "dropped: " + Errors[i].Drop_Reason;
    Entries.push_back(Entry);
  }
  Take_Joint_Keys(View, Entries);
  Take_Ranks(Entries);
  return Entries;
}

double Ranking_Px(const Row_Error& Error) {
  return std::isfinite(Error.Mean_Px) ? Error.Mean_Px : Error.First_Mean_Px;
}

}  // namespace rigsync
