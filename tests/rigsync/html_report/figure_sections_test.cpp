// SPDX-License-Identifier: Apache-2.0
//
// The sections with figures of the capture: what is drawn, what is said, and what is left when a
// part is missing.
#include "rigsync/html_report/coverage_section.h"
#include "rigsync/html_report/cross_check_section.h"
#include "rigsync/html_report/frame_section.h"
#include "rigsync/html_report/lens_section.h"
#include "rigsync/html_report/poses_section.h"
#include "rigsync/html_report/samples_section.h"
#include "tests/rigsync/html_report/section_view.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace rigsync {
namespace {

using section_view::Count;
using section_view::Make_View;
using section_view::Page_Of;
using section_view::Text_Of;
using testing::HasSubstr;
using testing::Not;

constexpr section_view::Section All_Sections[] = {Add_Frame_Section, Add_Coverage_Section,
                                                  Add_Poses_Section, Add_Samples_Section,
                                                  Add_Lens_Section,  Add_Cross_Check_Section};

const Run_View& Sound_View() {
  static const Run_View View = Make_View();
  return View;
}

double Number_At(const Page& Whole, const std::string& Key) {
  const auto Found = Whole.Main.select_node((".//*[@data-key='" + Key + "']").c_str());
  return Found ? std::stod(Found.node().attribute("data-value").value())
               : std::numeric_limits<double>::quiet_NaN();
}

// ---- All -------------------------------------------------------------------------------------

TEST(FigureSections, EveryDrawingSaysWhatItShowsAndEveryFigureHowToReadIt) {
  for (const auto Add : All_Sections) {
    const Page Whole = Page_Of(Add, Sound_View());
    EXPECT_GE(Count(Whole, ".//section/h2"), 1u);
    EXPECT_GE(Count(Whole, ".//svg"), 1u);
    EXPECT_EQ(Count(Whole, ".//svg[not(@role='img') or string-length(@aria-label) < 20]"), 0u);
    EXPECT_EQ(Count(Whole, ".//figure[not(figcaption/h3) or not(figcaption/p)]"), 0u);
    EXPECT_EQ(Count(Whole, ".//figure[not(contains(figcaption/p, 'Good:'))]"), 0u);
    EXPECT_EQ(Count(Whole, ".//@style"), 0u);
  }
}

TEST(FigureSections, NoNumberOfADrawingIsWrittenAsNotANumber) {
  for (const auto Add : All_Sections) {
    const std::string Source = Page_Source(Page_Of(Add, Sound_View()));
    EXPECT_THAT(Source, Not(HasSubstr("nan")));
    EXPECT_THAT(Source, Not(HasSubstr("inf\"")));
  }
}

// Nothing was read, found or solved.
TEST(FigureSections, WithoutAnythingASectionSaysWhatIsMissing) {
  Run_View With_Rows;
  With_Rows.Rows.resize(1);
  for (const auto Add : All_Sections) {
    for (const Run_View& View : {Run_View{}, With_Rows}) {
      const Page Whole = Page_Of(Add, View);
      EXPECT_EQ(Count(Whole, ".//svg"), 0u);
      EXPECT_GE(Count(Whole, ".//p[@class='quiet']"), 1u);
    }
  }
}

TEST(FigureSections, BrokenNumbersLeaveAPageThatIsWhole) {
  const double None = std::numeric_limits<double>::quiet_NaN();
  Run_View View = Sound_View();
  View.Lens_Px = Lens{None, None, None, None, None, None};
  View.Result.Solved->Lens_Px = *View.Lens_Px;
  View.Result.Solved->Joint.Rows[2].Residual.setConstant(None);
  View.Result.Halves->Points[3].Difference_Px.setConstant(None);
  View.Rows[4].Camera->Position[0] = None;
  View.Rows[5].Board.reset();
  View.Rows[6].Corners.clear();
  for (const auto Add : All_Sections) {
    const std::string Source = Page_Source(Page_Of(Add, View));
    EXPECT_THAT(Source, Not(testing::ContainsRegex("[^a-zA-Z]nan[^a-zA-Z]")));
    EXPECT_THAT(Source, HasSubstr("</html>"));
  }
}

TEST(FigureSections, AResultOfTheLibraryAloneHasTheFiguresOfItsImages) {
  Run_View View = Sound_View();
  View.Result.Solved.reset();
  View.Result.Halves.reset();
  View.Result.Inputs.Is_Library_Only = true;
  EXPECT_GE(Count(Page_Of(Add_Poses_Section, View), ".//svg"), 3u);
  EXPECT_EQ(Count(Page_Of(Add_Frame_Section, View), ".//svg"), 2u);
  EXPECT_EQ(Count(Page_Of(Add_Samples_Section, View), ".//svg"), 2u);
  EXPECT_EQ(Count(Page_Of(Add_Lens_Section, View), ".//svg"), 1u);
  EXPECT_EQ(Count(Page_Of(Add_Lens_Section, View), ".//table[@class='matrix']"), 0u);
  EXPECT_THAT(Text_Of(Page_Of(Add_Cross_Check_Section, View)), HasSubstr("--library-only"));
}

// ---- One by one ------------------------------------------------------------------------------

TEST(FrameSection, ALensOfTheModelFits) {
  EXPECT_THAT(Text_Of(Page_Of(Add_Frame_Section, Sound_View())),
              HasSubstr("The lens model fits: no ring"));
}

// Its errors cancel out along every ring.
TEST(FrameSection, TangentialDistortionIsToldWithWhatItDoesToTheMount) {
  corner_rig::Options Of;
  Of.P1 = 0.004;
  Run_View View = Make_View(Of);
  const std::string Text = Text_Of(Page_Of(Add_Frame_Section, View));
  EXPECT_THAT(Text, HasSubstr("The lens model leaves something: with tangential distortion"));
  EXPECT_THAT(Text, HasSubstr("That is much beside the limits."));
  View.Result.Inputs.Limits = {1000, 90};
  EXPECT_THAT(Text_Of(Page_Of(Add_Frame_Section, View)),
              HasSubstr("That is little beside the limits."));
}

// The numbers of a page that was made without a joint solve: rings alone judge.
TEST(FrameSection, ARingThatIsClearlyOffIsNamed) {
  Run_View View = Sound_View();
  View.Result.Solved.reset();
  View.Lens_Px->K1 += 0.05;
  EXPECT_THAT(Text_Of(Page_Of(Add_Frame_Section, View)),
              testing::ContainsRegex("pixels off (in|out)wards, which is [0-9]+ standard errors"));
}

TEST(CoverageSection, EveryPartOfTheFrameIsACellOrAGap) {
  Run_View View = Sound_View();
  const Page Whole = Page_Of(Add_Coverage_Section, View);
  EXPECT_EQ(Count(Whole, ".//rect[@class='cell']") + Count(Whole, ".//rect[@class='gap']"),
            16u * 9u);
  EXPECT_EQ(Count(Whole, ".//path[@class='dots']"), 1u);
  // All corners in the cell at the upper left: the emptiest part is the first of those without any.
  for (Viewed_Row& Row : View.Rows) {
    for (auto& Corner : Row.Corners) Corner = {10.0f, 10.0f};
  }
  const Page Gaps = Page_Of(Add_Coverage_Section, View);
  EXPECT_EQ(Count(Gaps, ".//rect[@class='cell']"), 1u);
  EXPECT_THAT(Text_Of(Gaps), HasSubstr("reaches the top of the frame"));
  EXPECT_THAT(Text_Of(Gaps), HasSubstr("Corners reach 1 % of the frame"));
}

// Four images have a corner in the first part of the frame, one of them in the second, too.
TEST(CoverageSection, PartsLieSideBySideAndAreFullerTheMoreImagesReachThem) {
  Run_View View;
  View.Width = 1600;
  View.Height = 900;
  View.Rows.resize(4);
  for (Viewed_Row& Row : View.Rows) Row.Corners = {{10.0f, 10.0f}};
  View.Rows[2].Corners.push_back({110.0f, 10.0f});
  const Page Whole = Page_Of(Add_Coverage_Section, View);
  const pugi::xml_node First = Whole.Main.select_node(".//rect[@class='cell'][1]").node(),
                       Second = Whole.Main.select_node(".//rect[@class='cell'][2]").node();
  EXPECT_STREQ(First.child("title").text().get(), "corners of 4 images");
  EXPECT_STREQ(Second.child("title").text().get(), "corners of 1 image");
  EXPECT_DOUBLE_EQ(First.attribute("fill-opacity").as_double(), 0.6);
  EXPECT_DOUBLE_EQ(Second.attribute("fill-opacity").as_double(), 0.36);
  // The frame has 16 by 9 parts; one unit of the drawing is left free between two of them.
  const auto At = [](const pugi::xml_node& Rect, const char* Name) {
    return Rect.attribute(Name).as_double();
  };
  const pugi::xml_node Border = Whole.Main.select_node(".//rect[@class='axis']").node(),
                       Below = Whole.Main.select_nodes(".//rect[@class='gap']")[14].node();
  const double Edge = At(Border, "width") / 16;
  EXPECT_NEAR(At(First, "x"), At(Border, "x") + 0.5, 0.01);
  EXPECT_NEAR(At(First, "y"), At(Border, "y") + 0.5, 0.01);
  EXPECT_NEAR(At(First, "width"), Edge - 1.0, 0.01);
  EXPECT_NEAR(At(First, "height"), At(Border, "height") / 9 - 1.0, 0.01);
  EXPECT_NEAR(At(Second, "x"), At(First, "x") + Edge, 0.01);
  EXPECT_DOUBLE_EQ(At(Second, "y"), At(First, "y"));
  EXPECT_DOUBLE_EQ(At(Below, "x"), At(First, "x"));
  EXPECT_NEAR(At(Below, "y"), At(First, "y") + At(Border, "height") / 9, 0.01);
}

TEST(PosesSection, EveryBoardHasItsMarkAndADroppedOneACross) {
  Run_View View = Sound_View();
  View.Rows[3].Report.Fate = Image_Fate::Outlier;
  View.Rows[8].Corners.clear();
  const Page Whole = Page_Of(Add_Poses_Section, View);
  // 24 boards less one that was not found, in three drawings; one mark of each is the legend's.
  EXPECT_EQ(Count(Whole, ".//circle[@class='kept']"), 3u * (22 + 1));
  EXPECT_EQ(Count(Whole, ".//path[@class='dropped']"), 3u * (1 + 1));
  EXPECT_EQ(Count(Whole, ".//title[contains(., 'line 5, image_3.png')]"), 3u);
  EXPECT_EQ(Count(Whole, ".//title[contains(., 'image_8.png')]"), 0u);
}

// Limits of a whole metre are met by any capture that is solved, limits of a thousandth of a
// millimetre by none.
TEST(PosesSection, ThePoseThatWouldHelpMostIsDrawnUntilThereIsEnough) {
  Run_View View = Sound_View();
  View.Result.Opinion.emplace();
  View.Result.Opinion->Judgement = Verdict::Agree;
  View.Result.Inputs.Limits = {1000, 90};
  const Page Enough = Page_Of(Add_Poses_Section, View);
  EXPECT_EQ(Count(Enough, ".//svg"), 3u);
  EXPECT_THAT(Text_Of(Enough), HasSubstr("There are enough images"));
  View.Result.Opinion->Judgement = Verdict::Dont_Use;
  const Page Contradicted = Page_Of(Add_Poses_Section, View);
  EXPECT_THAT(Text_Of(Contradicted), Not(HasSubstr("There are enough images")));
  EXPECT_THAT(Text_Of(Contradicted), HasSubstr("see the verdict first"));
  View.Result.Inputs.Limits = {0.001, 0.0001};
  const Page Not_Enough = Page_Of(Add_Poses_Section, View);
  EXPECT_EQ(Count(Not_Enough, ".//svg"), 4u);
  EXPECT_EQ(Count(Not_Enough, ".//path[@class='board']"), 11u + 8u + 4u);
  EXPECT_THAT(Text_Of(Not_Enough), Not(HasSubstr("There are enough images")));
  EXPECT_THAT(Text_Of(Not_Enough),
              testing::ContainsRegex("known to [0-9.]+ mm and [0-9.]+ degrees now"));
  EXPECT_THAT(Text_Of(Not_Enough), HasSubstr("One image is not enough."));
}

TEST(SamplesSection, ARowHasItsResidualAndTheNumberOfTheFile) {
  const Page Whole = Page_Of(Add_Samples_Section, Sound_View());
  EXPECT_THAT(Text_Of(Whole), HasSubstr("No row contradicts the others; half of them are off"));
  EXPECT_EQ(Count(Whole, ".//circle[@data-key='joint.rows.7.f']"), 2u);
  EXPECT_EQ(Number_At(Whole, "joint.rows.7.f"), Sound_View().Result.Solved->Joint.Rows[7].F);
  EXPECT_EQ(Count(Whole, ".//line[@class='slip']"), 0u);
  EXPECT_EQ(Count(Whole, ".//div[@class='drawing wide' and @tabindex='0']"), 4u);
}

// Rows that are alike in being far off contradict nothing, and that is no good news.
TEST(SamplesSection, RowsThatAreAllBeyondTheLimitAreNotPraised) {
  Run_View View = Sound_View();
  for (Solved_Row& Row : View.Result.Solved->Joint.Rows) Row.Residual << 0, 0, 0, 0.012, 0, 0;
  EXPECT_THAT(Text_Of(Page_Of(Add_Samples_Section, View)),
              HasSubstr("all are far off; half of them are off by more than 12 mm"));
}

TEST(SamplesSection, RepeatsAreToldForEachTracker) {
  Run_View View = Sound_View();
  for (const std::size_t Row : {5u, 9u}) View.Rows[Row].Board = View.Rows[Row - 1].Board;
  EXPECT_THAT(Text_Of(Page_Of(Add_Samples_Section, View)),
              HasSubstr("2 samples of the board's tracker repeat the one before"));
  View.Rows[9].Camera = View.Rows[8].Camera;
  EXPECT_THAT(Text_Of(Page_Of(Add_Samples_Section, View)),
              HasSubstr("1 sample of the camera's tracker and 2 samples of the board's tracker "
                        "repeat the one before"));
}

TEST(SamplesSection, LeftOutRowsRepeatsAndASlipAreMarked) {
  Run_View View = Sound_View();
  Joint_Solution& Joint = View.Result.Solved->Joint;
  Joint.Rows[5].Is_Kept = false;
  Joint.Rows[5].Residual << 0, 0, 0, 0.03, 0, 0;
  View.Rows[9].Camera = View.Rows[8].Camera;
  Slip Seen;
  Seen.Evidence = Slip_Evidence::Found;
  Seen.Tracker = Slipped_Tracker::Board;
  Seen.First_Row = 14;
  Seen.Motion << 0, 0.01, 0, 0, 0, 0.008;
  View.Result.Solved->Likeliest_Slip = Seen;
  const Page Whole = Page_Of(Add_Samples_Section, View);
  const std::string Text = Text_Of(Whole);
  EXPECT_THAT(Text, HasSubstr("1 of 24 rows contradict the others"));
  EXPECT_THAT(Text, HasSubstr("1 sample of the camera's tracker repeats the one before"));
  EXPECT_THAT(Text, HasSubstr("the board's tracker slipped before line 16, by 8.0 mm and 0.57"));
  EXPECT_EQ(Count(Whole, ".//line[@class='slip']"), 2u);
  // Far beyond the others: at the upper edge, with its size.
  EXPECT_EQ(Count(Whole, ".//path[@class='dropped']/title[contains(., '30 mm')]"), 1u);
  EXPECT_EQ(Count(Whole, ".//text[@class='note' and .='30']"), 1u);
  EXPECT_EQ(Count(Whole, ".//rect[@class='stale']/title"), 2u);
}

// Its label stays within the drawing.
TEST(SamplesSection, ASlipAtTheRightEdgeIsNamedOnItsLeft) {
  Run_View View = Sound_View();
  Slip Seen;
  Seen.Evidence = Slip_Evidence::Found;
  Seen.Motion << 0, 0.01, 0, 0, 0, 0.008;
  for (const auto& [Row, Anchor, Off] :
       {std::tuple<std::size_t, const char*, double>{2, "start", 5.0}, {22, "end", -5.0}}) {
    Seen.First_Row = Row;
    View.Result.Solved->Likeliest_Slip = Seen;
    const Page Whole = Page_Of(Add_Samples_Section, View);
    const pugi::xml_node Line = Whole.Main.select_node(".//line[@class='slip']").node(),
                         Label = Whole.Main.select_node(".//text[.='slip']").node();
    EXPECT_STREQ(Label.attribute("text-anchor").as_string("start"), Anchor);
    EXPECT_NEAR(Label.attribute("x").as_double(), Line.attribute("x1").as_double() + Off, 0.02);
  }
}

// Every second number of a path of straight lines: its heights.
std::vector<double> Heights_Of(const pugi::xml_node& Path) {
  std::string Text = Path.attribute("d").value();
  for (char& Letter : Text) {
    if (std::string_view("MLZ").find(Letter) != std::string_view::npos) Letter = ' ';
  }
  std::istringstream Numbers(Text);
  std::vector<double> Heights;
  for (double X = 0, Y = 0; Numbers >> X >> Y;) Heights.push_back(Y);
  return Heights;
}

// It runs above the curve to its end, and below it back.
TEST(LensSection, TheBandIsAsWideAboveTheCurveAsBelowIt) {
  const Page Whole = Page_Of(Add_Lens_Section, Sound_View());
  const auto Band = Heights_Of(Whole.Main.select_node(".//path[@class='band']").node());
  const auto Curve = Heights_Of(Whole.Main.select_node(".//path[@class='predicted']").node());
  ASSERT_GT(Curve.size(), 2u);
  ASSERT_EQ(Band.size(), 2 * Curve.size());
  for (std::size_t k = 0; k < Curve.size(); ++k) {
    const double Above = Curve[k] - Band[k], Below = Band[Band.size() - 1 - k] - Curve[k];
    EXPECT_GE(Above, 0.0) << k;
    EXPECT_NEAR(Above, Below, 0.021) << k;  // of numbers with two decimals
  }
  EXPECT_GT(Curve.back() - Band[Curve.size() - 1], 0.1);
}

TEST(LensSection, TheTableHasTheNumbersOfTheFile) {
  const Page Whole = Page_Of(Add_Lens_Section, Sound_View());
  const Capture_Solution& Solved = *Sound_View().Result.Solved;
  EXPECT_EQ(Number_At(Whole, "joint.lens.fx"), Solved.Lens_Px.Fx);
  EXPECT_EQ(Number_At(Whole, "joint.lens.k2"), Solved.Lens_Px.K2);
  EXPECT_NEAR(Number_At(Whole, "joint.lens.half_width.2"),
              1.959964 * std::sqrt(Solved.Seen.Lens_Covariance(2, 2)), 1e-12);
  EXPECT_EQ(Count(Whole, ".//table[@class='matrix']/tbody/tr/td"), 36u);
  EXPECT_EQ(Count(Whole, ".//table[@class='matrix']/tbody/tr/td[.='1']"), 6u);
  EXPECT_EQ(Count(Whole, ".//path[@class='band']"), 1u);
}

TEST(CrossCheckSection, ShowsWhatTheHalvesDifferByBesideWhatWasExpected) {
  const Page Whole = Page_Of(Add_Cross_Check_Section, Sound_View());
  const Cross_Check& Check = *Sound_View().Result.Halves;
  EXPECT_EQ(Number_At(Whole, "cross_check.difference_mm"), Check.Mm.Seen);
  EXPECT_EQ(Number_At(Whole, "cross_check.expected_px"), Check.Px.Expected);
  EXPECT_EQ(Count(Whole, ".//circle[@class='reference']"), 45u);
  EXPECT_THAT(Text_Of(Whole), HasSubstr("12 and 12 of them"));
}

// The longest of them gets 0.6 of the distance between two points, or less: a round number of times
// what it is. Points are 960 / 9 pixels apart.
TEST(CrossCheckSection, ArrowsAreMagnifiedToTheRoomBetweenTwoPoints) {
  Run_View View = Sound_View();
  Cross_Check& Check = *View.Result.Halves;
  ASSERT_EQ(Check.Cols, 9);
  for (Cross_Point& Point : Check.Points) {
    Point.Expected_Px = 0.5;
    Point.Difference_Px << 0.3, 0.4;
  }
  Check.Points[7].Difference_Px << 0.6, -0.8;
  EXPECT_THAT(Text_Of(Page_Of(Add_Cross_Check_Section, View)),
              HasSubstr("even ones do, 50 times as long"));
  Check.Points[7].Expected_Px = 1.5;
  EXPECT_THAT(Text_Of(Page_Of(Add_Cross_Check_Section, View)),
              HasSubstr("even ones do, 20 times as long"));
}

TEST(CrossCheckSection, SaysHowFarTheHalvesAgree) {
  Run_View View = Sound_View();
  const std::pair<double, const char*> Cases[] = {{0.95, "The halves agree"},
                                                  {0.96, "a little more"},
                                                  {0.9995, "The halves contradict each other"}};
  for (const auto& [Probability, Text] : Cases) {
    View.Result.Halves->Probability_Nearer = Probability;
    EXPECT_THAT(Text_Of(Page_Of(Add_Cross_Check_Section, View)), HasSubstr(Text));
  }
}

// With a large uncertainty nearly any two halves agree.
TEST(CrossCheckSection, HalvesThatAreFurtherApartThanTheLimitsAreNotSaidToAgree) {
  Run_View View = Sound_View();
  View.Result.Halves->Probability_Nearer = 0.5;
  View.Result.Halves->Mm.Seen = 7.9;
  const std::string Text = Text_Of(Page_Of(Add_Cross_Check_Section, View));
  EXPECT_THAT(Text, Not(HasSubstr("The halves agree")));
  EXPECT_THAT(Text, HasSubstr("but by more than the limits"));
}

TEST(CrossCheckSection, SaysWhyTheHalvesWereNotCompared) {
  const std::pair<Cross_Status, const char*> Cases[] = {
      {Cross_Status::Too_Few_Rows, "Fewer than 12 images"},
      {Cross_Status::Whole_Unsolved, "no answer for all images"},
      {Cross_Status::Half_Unsolved, "Half of the images alone"}};
  Run_View View = Sound_View();
  for (const auto& [Status, Text] : Cases) {
    View.Result.Halves = Cross_Check{};
    View.Result.Halves->Status = Status;
    EXPECT_THAT(Text_Of(Page_Of(Add_Cross_Check_Section, View)), HasSubstr(Text));
  }
}

}  // namespace
}  // namespace rigsync
