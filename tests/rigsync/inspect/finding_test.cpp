// SPDX-License-Identifier: Apache-2.0
#include "rigsync/inspect/finding.h"

#include <gtest/gtest.h>

#include <chrono>

namespace {

using rigsync::Finding;
using rigsync::Findings;
using rigsync::Level;

Finding Make_Finding(const std::string& Id, Level Severity, std::vector<std::size_t> Lines) {
  return {Id, Severity, "What.", "", "Advice.", std::move(Lines)};
}

TEST(Finding, LinesInARowAreOneRun) {
  EXPECT_EQ(rigsync::Lines_Text({}), "");
  EXPECT_EQ(rigsync::Lines_Text({4}), "line 4");
  EXPECT_EQ(rigsync::Lines_Text({4, 5}), "lines 4-5");
  EXPECT_EQ(rigsync::Lines_Text({4, 5, 6, 18, 20, 21}), "lines 4-6, 18, 20-21");
}

TEST(Finding, OfManyRunsTheFirstEightAreNamedAndTheOtherLinesCounted) {
  EXPECT_EQ(rigsync::Lines_Text({1, 3, 5, 7, 9, 11, 13, 15}), "lines 1, 3, 5, 7, 9, 11, 13, 15");
  EXPECT_EQ(rigsync::Lines_Text({1, 3, 5, 7, 9, 11, 13, 15, 17, 18}),
            "lines 1, 3, 5, 7, 9, 11, 13, 15 and 2 more");
}

TEST(Finding, EqualIdsBecomeOneFindingWithAllLinesAscending) {
  Findings List;
  List.Add(Make_Finding("stale", Level::Warning, {7}));
  List.Add(Make_Finding("stale", Level::Warning, {3}));
  List.Add(Make_Finding("stale", Level::Warning, {7}));
  ASSERT_EQ(List.Sorted().size(), 1u);
  EXPECT_EQ(List.Sorted()[0].Lines, (std::vector<std::size_t>{3, 7}));
}

// Sorting all lines at each of them took minutes.
TEST(Finding, AHundredThousandLinesAreAddedOneByOneInSeconds) {
  constexpr std::size_t Count = 100'000;
  const auto Begin = std::chrono::steady_clock::now();
  Findings List;
  for (std::size_t Line = 1; Line <= Count; ++Line) {
    List.Add(Make_Finding("stale", Level::Warning, {Line}));
  }
  const auto Taken = std::chrono::steady_clock::now() - Begin;
  EXPECT_EQ(List.Sorted()[0].Lines.size(), Count);
  EXPECT_LT(std::chrono::duration<double>(Taken).count(), 5.0);
}

TEST(Finding, FindingsAreSortedByFirstLineAndTheWholeCaptureComesLast) {
  Findings List;
  List.Add(Make_Finding("whole", Level::Error, {}));
  List.Add(Make_Finding("late", Level::Warning, {9}));
  List.Add(Make_Finding("early", Level::Note, {2, 30}));
  std::vector<std::string> Ids;
  for (const Finding& One : List.Sorted()) Ids.push_back(One.Id);
  EXPECT_EQ(Ids, (std::vector<std::string>{"early", "late", "whole"}));
}

TEST(Finding, TheGravestLevelCounts) {
  Findings List;
  EXPECT_EQ(List.Gravest(), Level::Note);
  List.Add(Make_Finding("warning", Level::Warning, {2}));
  List.Add(Make_Finding("note", Level::Note, {1}));
  EXPECT_EQ(List.Gravest(), Level::Warning);
  List.Add(Make_Finding("error", Level::Error, {}));
  EXPECT_EQ(List.Gravest(), Level::Error);
  EXPECT_EQ(List.Count(Level::Warning), 1u);
}

TEST(Finding, AQuoteIsOneLineAndNeverCutInsideALetter) {
  EXPECT_EQ(rigsync::Quoted("a\r\n\tb"), "'a b'");
  EXPECT_EQ(rigsync::Quoted(std::string(48, 'x')), "'" + std::string(48, 'x') + "'");
  EXPECT_EQ(rigsync::Quoted(std::string(49, 'x')), "'" + std::string(48, 'x') + "...'");
  const std::string Letters = std::string(47, 'x') + "\xc3\xa9";
  EXPECT_EQ(rigsync::Quoted(Letters), "'" + Letters + "'");
  EXPECT_EQ(rigsync::Quoted(Letters + "y"), "'" + Letters + "...'");
}

}  // namespace
