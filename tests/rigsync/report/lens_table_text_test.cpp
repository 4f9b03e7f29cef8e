// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/lens_table_text.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using rigsync::Lens_Table;
using rigsync::Lens_Table_Row;
using rigsync::Mount_Agreement;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

constexpr double Rad = 3.14159265358979323846 / 180.0;

Lens_Table_Row Row_At(const std::string& File, double Focus, double Zoom) {
  Lens_Table_Row Row;
  Row.Of.File = File;
  Row.Of.At = {Focus, Zoom};
  Row.Lens_Px = {960.125, 961.5, 483.25, 265.75, -0.0905, 0.03};
  return Row;
}

// Two results. The tracker is seen 1.5 mm farther to the left, 0.5 mm farther down and 20 mm
// farther ahead in the second, and is turned by 0.25 degrees.
Lens_Table Two_Rows(Mount_Agreement Agreement) {
  Lens_Table Table;
  Table.Width = 960;
  Table.Height = 540;
  Table.Rows = {Row_At("wide.json", 0.5, 24), Row_At("tele.json", 0.5, 70)};
  Table.Rows[1].From_Reference.Shift_Mm = {-1.5, 0.5, 20.0};
  Table.Rows[1].From_Reference.Turn_Deg = {0.0, 0.25, 0.0};
  Table.Rows[1].Agreement = Agreement;
  return Table;
}

// The joint mounts differ by 2 mm across the axis and by 0.4 degrees.
void Add_Uncertainty(Lens_Table& Table) {
  Table.Rows[0].Probability_Of_Less = 0.0;
  Table.Rows[1].Probability_Of_Less = 0.999;
  rigsync::Vector6d Motion;
  Motion << 0.4 * Rad, 0, 0, 0.002, 0, 0.03;
  Table.Rows[1].From_Reference.Joint_Motion = Motion;
  Table.Rows[1].From_Reference.Uncertainty.Half_Width_Mm = {0.25, 0.5, 0.75};
  Table.Rows[1].From_Reference.Uncertainty.Widest_Deg.Half_Width = 0.125;
}

// The lines of a text, as one.
std::string Unfolded(std::string Text) {
  for (char& Letter : Text) Letter = Letter == '\n' ? ' ' : Letter;
  return Text;
}

TEST(LensTableText, AGoodTableSaysWithinWhat) {
  Lens_Table Table = Two_Rows(Mount_Agreement::Agrees);
  Table.Limits = {2.5, 0.2};
  EXPECT_THAT(
      Unfolded(rigsync::Lens_Table_Text(Table, false)),
      HasSubstr("the optical axis only, within 0.2 degrees and 2.5 mm. Not all results have "
                "an uncertainty"));
  Add_Uncertainty(Table);
  EXPECT_THAT(
      Unfolded(rigsync::Lens_Table_Text(Table, false)),
      HasSubstr("as far as their uncertainties can tell and within 0.2 degrees and 2.5 mm. "));
  EXPECT_THAT(rigsync::Disagreement_Texts(Table), IsEmpty());
}

TEST(LensTableText, AMovedTrackerIsToldWithTheJointMounts) {
  Lens_Table Table = Two_Rows(Mount_Agreement::Unlikely);
  Add_Uncertainty(Table);
  ASSERT_THAT(rigsync::Disagreement_Texts(Table), SizeIs(1));
  EXPECT_THAT(
      rigsync::Disagreement_Texts(Table)[0],
      AllOf(HasSubstr("tele.json: the mount differs from that of wide.json by 0.40 degrees, "
                      "and 2.0 mm across"),
            HasSubstr("calibrate all positions of the lens again")));
  EXPECT_THAT(rigsync::Lens_Table_Text(Table, false),
              HasSubstr("These results don't make one table."));
}

TEST(LensTableText, BeyondTheLimitsItSaysWhetherNoiseWouldExplainIt) {
  Lens_Table Table = Two_Rows(Mount_Agreement::Beyond_Limits);
  ASSERT_THAT(rigsync::Disagreement_Texts(Table), SizeIs(1));
  EXPECT_THAT(rigsync::Disagreement_Texts(Table)[0],
              AllOf(HasSubstr("by 0.25 degrees, and 1.6 mm across the optical axis; the limits are "
                              "0.3 degrees and 3 mm"),
                    HasSubstr("without --library-only")));
  Add_Uncertainty(Table);
  Table.Sure_Part = 0.95;
  Table.Rows[1].Result_Probability_Of_Less = 0.95;
  EXPECT_THAT(rigsync::Disagreement_Texts(Table)[0],
              AllOf(HasSubstr("uncertainty of both would explain it"), HasSubstr("more images")));
  Table.Rows[1].Result_Probability_Of_Less = 0.951;
  EXPECT_THAT(
      rigsync::Disagreement_Texts(Table)[0],
      AllOf(HasSubstr("uncertainty of both does not explain that. Their joint mounts differ "
                      "by 0.40 degrees, and 2.0 mm across"),
            HasSubstr("--solution joint"), Not(HasSubstr("would explain"))));
}

TEST(LensTableText, RedefinedAxesAreNoMovedTracker) {
  Lens_Table Table = Two_Rows(Mount_Agreement::Other_Axes);
  Table.Rows[1].From_Reference.Turn_Deg = {0.0, 90.0, 0.0};
  ASSERT_THAT(rigsync::Disagreement_Texts(Table), SizeIs(1));
  EXPECT_THAT(rigsync::Disagreement_Texts(Table)[0],
              AllOf(HasSubstr("tele.json: the axes of the camera's tracker are other ones than in "
                              "wide.json, turned by 90.0 degrees"),
                    Not(HasSubstr("moved"))));
}

TEST(LensTableText, TheColumnsAreThoseOfTheHeadings) {
  Lens_Table Table = Two_Rows(Mount_Agreement::Unlikely);
  Add_Uncertainty(Table);
  Table.Rows[1].Focal_Length_Mm = 57.624;
  EXPECT_THAT(
      rigsync::Lens_Table_Text(Table, false),
      HasSubstr(
          "Lens, pixels of 960 x 540\n"
          "    focus    zoom        fx        fy       cx       cy       k1       k2      mm\n"
          "      0.5      24    960.12    961.50   483.25   265.75  -0.0905   0.0300       -\n"
          "      0.5      70    960.12    961.50   483.25   265.75  -0.0905   0.0300   57.62\n"
          "\n"
          "The camera's point of view from that of the reference row\n"
          "    focus    zoom  ahead mm  right mm   down mm  turn deg\n"
          "      0.5      24   reference\n"
          "      0.5      70    -20.00      1.50     -0.50     0.250   differs\n"
          "          +- 95 %      0.75      0.25      0.50     0.125\n"
          "\n"
          "Results\n"
          "      0.5      24  wide.json\n"
          "      0.5      70  tele.json\n"));
}

}  // namespace
