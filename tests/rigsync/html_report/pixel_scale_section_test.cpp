// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/pixel_scale_section.h"

#include "rigsync/html_report/page.h"
#include "tests/rigsync/html_report/page_parts.h"
#include "tests/rigsync/review/calibrated_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>

namespace rigsync {
namespace {

using page_parts::All;
using page_parts::Text_Of;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

Page Page_Of(const Run_View& View) {
  Page Whole = Make_Page("Page");
  Add_Pixel_Scale_Section(Whole.Main, View);
  return Whole;
}

std::vector<std::string> Texts(const std::vector<Element>& Cells) {
  std::vector<std::string> All_Texts;
  for (const Element& Cell : Cells) All_Texts.emplace_back(Cell.text().get());
  return All_Texts;
}

// F is 1000 pixels and the tracker in the camera: at 3 m a pixel is 3 mm, a millimetre a third of a
// pixel, and a tenth of a degree 1000 * 0.0017453 pixels.
TEST(PixelScaleSection, WithoutBoardsTheTalentsDistanceIsTold) {
  Run_View View;
  View.Lens_Px = Lens{1000, 1000, 0, 0, 0, 0};
  View.Result.Transform_Cam_Tc = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  const Page Whole = Page_Of(View);
  EXPECT_THAT(Texts(All(Whole.Main, "//tbody/tr/td")), ElementsAre("3.00", "3.00", "0.33", "1.75"));
  EXPECT_THAT(Texts(All(Whole.Main, "//thead/tr/th")), ElementsAre("talent"));
}

TEST(PixelScaleSection, BoardsAndTalentHaveColumnsAndEachBoardAStroke) {
  const Run_View View =
      Make_Run_View(calibrated_run::Usual_Run().Result, calibrated_run::Usual_Run().Inspected);
  const Page Whole = Page_Of(View);
  EXPECT_THAT(Texts(All(Whole.Main, "//thead/tr/th")),
              ElementsAre("nearest board", "median board", "farthest board", "talent"));
  EXPECT_THAT(All(Whole.Main, "//tbody/tr"), SizeIs(5));
  EXPECT_THAT(All(Whole.Main, "//line[@class='board']"), SizeIs(14));
  EXPECT_THAT(All(Whole.Main, "//polyline"), SizeIs(3));
  // The error is the library's average.
  char Average[32];
  std::snprintf(Average, sizeof Average, "%.2f px", *View.Result.Report.Reprojection_Px);
  EXPECT_THAT(Text_Of(Whole.Main), HasSubstr(std::string("the error of ") + Average));
}

TEST(PixelScaleSection, SaysThatThereIsNothingToReckonWith) {
  EXPECT_THAT(Text_Of(Page_Of(Run_View()).Main), HasSubstr("no mount or no lens"));
}

}  // namespace
}  // namespace rigsync
