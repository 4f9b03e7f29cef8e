// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/image_errors_section.h"

#include "rigsync/html_report/image_card.h"
#include "rigsync/html_report/page.h"
#include "tests/rigsync/html_report/page_parts.h"
#include "tests/rigsync/review/calibrated_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>

namespace rigsync {
namespace {

using calibrated_run::Usual_Run;
using page_parts::All;
using page_parts::Text_Of;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

Run_View Usual_View() {
  return Make_Run_View(Usual_Run().Result, Usual_Run().Inspected);
}

Page Page_Of(const Run_View& View) {
  Page Whole = Make_Page("Page");
  Add_Image_Errors_Section(Whole.Main, View);
  return Whole;
}

// 14 good images, two jumped ones, one blank and one missing.
TEST(ImageErrorsSection, EveryImageHasACardAndABarInBothOrders) {
  const Page Whole = Page_Of(Usual_View());
  EXPECT_THAT(All(Whole.Main, "//article"), SizeIs(18));
  EXPECT_THAT(All(Whole.Main, "//article[contains(@class, 'out')]"), SizeIs(4));
  const auto Plots = All(Whole.Main, "//svg[@role='group']");
  ASSERT_THAT(Plots, SizeIs(2));
  for (const Element& Plot : Plots) {
    EXPECT_THAT(All(Plot, ".//a"), SizeIs(18));
    EXPECT_THAT(All(Plot, ".//a/rect[@class='kept']"), SizeIs(14));
    EXPECT_THAT(All(Plot, ".//a/rect[@class='dropped']"), SizeIs(2));
    EXPECT_THAT(All(Plot, ".//a/rect[@class='first']"), SizeIs(16));
  }
}

TEST(ImageErrorsSection, EachBarLeadsToTheCardOfItsImage) {
  const Run_View View = Usual_View();
  const Page Whole = Page_Of(View);
  for (const Element& Link : All(Whole.Main, "//svg//a")) {
    const std::string Target = Link.attribute("href").value();
    ASSERT_EQ(Target.front(), '#');
    const auto Cards = All(Whole.Main, ("//article[@id='" + Target.substr(1) + "']").c_str());
    ASSERT_THAT(Cards, SizeIs(1));
    EXPECT_THAT(Link.child("title").text().get(), HasSubstr(Cards[0].child("h4").text().get()));
  }
}

TEST(ImageErrorsSection, BarsAreAsHighAsTheErrorsAndRankedOnesFall) {
  const Page Whole = Page_Of(Usual_View());
  const auto Ranked = All(All(Whole.Main, "//svg[@role='group']")[1], ".//a/rect[@class='kept']");
  double Earlier = INFINITY;
  for (const Element& Bar : Ranked) {
    const double Height = Bar.attribute("height").as_double();
    EXPECT_LE(Height, Earlier + 1e-9);
    Earlier = Height;
  }
  // The same unit for all: heights are in the ratio of the errors.
  const auto Errors = Measure_Row_Errors(Usual_View());
  const auto By_Time = All(All(Whole.Main, "//svg[@role='group']")[0], ".//a");
  double Ratio = 0;
  for (std::size_t i = 0; i < Errors.size(); ++i) {
    const Element Bar = By_Time[i].find_child_by_attribute("rect", "class", "kept");
    if (!Bar) continue;
    const double Each = Bar.attribute("height").as_double() / Errors[i].Mean_Px;
    if (Ratio == 0) Ratio = Each;
    EXPECT_NEAR(Each / Ratio, 1.0, 0.02);
  }
}

TEST(ImageErrorsSection, CardsOrderThemselvesByErrorWithoutAScript) {
  const Page Whole = Page_Of(Usual_View());
  const auto Errors = Measure_Row_Errors(Usual_View());
  const auto Cards = All(Whole.Main, "//article");
  std::vector<std::pair<int, double>> Ranks;
  for (std::size_t i = 0; i < Cards.size(); ++i) {
    const std::string Class = Cards[i].attribute("class").value();
    Ranks.emplace_back(std::stoi(Class.substr(Class.find("rank-") + 5)), Errors[i].Mean_Px);
  }
  std::sort(Ranks.begin(), Ranks.end());
  for (std::size_t k = 0; k < Ranks.size(); ++k) {
    EXPECT_EQ(Ranks[k].first, static_cast<int>(k));
    if (k > 0 && std::isfinite(Ranks[k].second)) {
      EXPECT_LE(Ranks[k].second, Ranks[k - 1].second);
    }
  }
  const std::string Styles = Text_Of(All(Whole.Head, "style[2]").at(0));
  EXPECT_THAT(Styles, HasSubstr("#images-by-error:checked ~ .cards .rank-17 { order: 17; }"));
  // The rule reaches the cards from the button: both have one parent, the button first.
  const Element Button = All(Whole.Main, "//input[@id='images-by-error']").at(0);
  EXPECT_STREQ(Button.parent().last_child().attribute("class").value(), "cards");
  EXPECT_THAT(All(Whole.Main, "//script"), SizeIs(0));
}

// The order by time is the first one, and each choice has a label to click on.
TEST(ImageErrorsSection, TheOrdersAreNamedByTimeAndByError) {
  const Page Whole = Page_Of(Usual_View());
  const auto Choices = All(Whole.Main, "//input[@type='radio']");
  ASSERT_THAT(Choices, SizeIs(2));
  EXPECT_STREQ(Choices[0].attribute("id").value(), "images-by-time");
  EXPECT_STREQ(Choices[1].attribute("id").value(), "images-by-error");
  EXPECT_TRUE(Choices[0].attribute("checked"));
  EXPECT_FALSE(Choices[1].attribute("checked"));
  EXPECT_THAT(All(Whole.Main, "//label[@for='images-by-time']"), SizeIs(1));
  EXPECT_THAT(All(Whole.Main, "//label[@for='images-by-error']"), SizeIs(1));
}

TEST(ImageErrorsSection, ThePolicyAllowsTheStyleSheetOfTheCards) {
  const std::string Source = Page_Source(Page_Of(Usual_View()));
  const std::size_t First = Source.find("style-src 'sha256-");
  ASSERT_NE(First, std::string::npos);
  EXPECT_NE(Source.substr(First, Source.find(';', First) - First).find("' 'sha256-"),
            std::string::npos);
}

TEST(ImageErrorsSection, NumbersStandUnderTheirKeysOfTheResult) {
  const Run_View View = Usual_View();
  const Page Whole = Page_Of(View);
  std::size_t Kept = 0;
  for (const Image_Report& Image : View.Result.Report.Images) {
    if (Image.Fate != Image_Fate::Kept) continue;
    const std::string Path =
        "//*[@data-key='images.kept." + std::to_string(Kept++) + ".reprojection_px']";
    const auto Numbers = All(Whole.Main, Path.c_str());
    ASSERT_THAT(Numbers, SizeIs(1));
    EXPECT_EQ(Numbers[0].attribute("data-value").as_double(), *Image.Reprojection_Px);
    const Element Card = Numbers[0].parent().parent();
    EXPECT_EQ(Card.child("h4").text().get(), Image.Name);
  }
  EXPECT_EQ(Kept, 14u);
  EXPECT_THAT(All(Whole.Main, "//*[contains(@data-key, 'images.dropped')]"), SizeIs(2));
  EXPECT_THAT(All(Whole.Main, "//*[contains(@data-key, 'joint.rows.')]"), SizeIs(16));
}

TEST(ImageErrorsSection, ANameIsATextWhateverItHolds) {
  Run_View View = Usual_View();
  const std::string Name = "<script>alert(1)</script>&\".png";
  View.Rows[0].Image.Name = Name;
  const Page Whole = Page_Of(View);
  EXPECT_EQ(All(Whole.Main, "//article/h4")[0].text().get(), Name);
  EXPECT_THAT(Page_Source(Whole), Not(HasSubstr("<script")));
}

// Every corner has a dot, and an arrow where there is a prediction; three samples are missing.
TEST(ImageErrorsSection, ArrowsBeginAtTheFoundCornersAndStayInTheFrame) {
  const Run_View View = Usual_View();
  const Page Whole = Page_Of(View);
  const auto Cards = All(Whole.Main, "//article");
  for (std::size_t i = 0; i < Cards.size(); ++i) {
    const std::string Dots =
        All(Cards[i], "svg/path[@class='found']").empty()
            ? ""
            : All(Cards[i], "svg/path[@class='found']")[0].attribute("d").value();
    EXPECT_EQ(static_cast<std::size_t>(std::count(Dots.begin(), Dots.end(), 'M')),
              View.Rows[i].Corners.size());
    for (const Element& Arrows : All(Cards[i], "svg/path[@class='arrow']")) {
      std::istringstream Numbers([&] {
        std::string Text = Arrows.attribute("d").value();
        for (char& Each : Text) Each = Each == 'M' || Each == 'L' ? ' ' : Each;
        return Text;
      }());
      for (double X = 0, Y = 0; Numbers >> X >> Y;) {
        EXPECT_GE(X, -5.0);
        EXPECT_LE(X, 485.0);
        EXPECT_GE(Y, -5.0);
        EXPECT_LE(Y, 365.0);
      }
    }
  }
}

TEST(ImageErrorsSection, TheFactorIsToldAndMakesTheMedianArrowVisible) {
  const Run_View View = Usual_View();
  const auto Entries = Make_Image_Entries(View);
  const double Factor = Arrow_Factor(Entries, View);
  std::vector<double> Lengths;
  for (const Image_Entry& Entry : Entries) {
    if (!Entry.Error.Is_Kept) continue;
    for (std::size_t k = 0; k < Entry.Error.Found_Px.size(); ++k) {
      Lengths.push_back((Entry.Error.Found_Px[k] - Entry.Error.Predicted_Px[k]).norm());
    }
  }
  const double Part = Factor * Finite_Median(Lengths) / View.Width;
  EXPECT_GE(Part, 0.01);
  EXPECT_LE(Part, 0.04);
  const double Digit = Factor / std::pow(10.0, std::floor(std::log10(Factor) + 1e-9));
  EXPECT_TRUE(std::abs(Digit - 1) < 1e-9 || std::abs(Digit - 2) < 1e-9 ||
              std::abs(Digit - 5) < 1e-9);
  EXPECT_THAT(Page_Source(Page_Of(View)),
              HasSubstr("magnified " + Short_Number(Factor) + " times"));
}

TEST(ImageErrorsSection, APhotographFillsItsCard) {
  const Page Whole = Page_Of(Usual_View());
  for (const Element& Image : All(Whole.Main, "//image")) {
    const std::string Size = std::string("0 0 ") + Image.attribute("width").value() + " " +
                             Image.attribute("height").value();
    EXPECT_EQ(Size, Image.parent().attribute("viewBox").value());
  }
}

TEST(ImageErrorsSection, PhotographsThatAreGoneLeaveTheirArrows) {
  Run_View View = Usual_View();
  for (Viewed_Row& Row : View.Rows) Row.File = "/gone";
  const Page Whole = Page_Of(View);
  EXPECT_THAT(All(Whole.Main, "//image"), SizeIs(0));
  EXPECT_THAT(All(Whole.Main, "//path[@class='arrow']"), SizeIs(16));
  EXPECT_THAT(Text_Of(All(Whole.Main, "//article")[0]), HasSubstr("no photograph"));
  EXPECT_THAT(All(Page_Of(Usual_View()).Main, "//image"), SizeIs(17));
}

// It has the errors of its first mount alone.
TEST(ImageErrorsSection, ARunThatEndedBeforeItsSecondMountHasBars) {
  Run_View View = Usual_View();
  View.Chain.reset();
  View.Result.Report.Reprojection_Px.reset();
  const Page Whole = Page_Of(View);
  EXPECT_THAT(All(Whole.Main, "//a/rect[@class='first']"), SizeIs(2 * 16));
  EXPECT_THAT(All(Whole.Main, "//a/rect[@class='kept']"), SizeIs(0));
  EXPECT_THAT(Text_Of(Whole.Main), Not(HasSubstr("no image has an error yet")));
}

TEST(ImageErrorsSection, ARunWithoutAMountSaysSo) {
  Run_View View = Usual_View();
  View.Chain.reset();
  View.Result.Report = {};
  for (Viewed_Row& Row : View.Rows) Row.Report = {};
  const Page Whole = Page_Of(View);
  EXPECT_THAT(Text_Of(Whole.Main), HasSubstr("no image has an error yet"));
  EXPECT_THAT(All(Whole.Main, "//article"), SizeIs(18));
  EXPECT_THAT(Text_Of(Page_Of(Run_View()).Main), HasSubstr("names no image"));
}

}  // namespace
}  // namespace rigsync
