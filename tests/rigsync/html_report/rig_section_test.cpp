// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/rig_section.h"

#include "rigsync/html_report/page.h"
#include "rigsync/html_report/scale_drawing.h"
#include "tests/rigsync/html_report/page_parts.h"
#include "tests/rigsync/review/calibrated_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace rigsync {
namespace {

using calibrated_run::Usual_Run;
using Eigen::Vector3d;
using page_parts::All;
using page_parts::Text_Of;
using testing::HasSubstr;
using testing::SizeIs;

Page Page_Of(const Run_View& View) {
  Page Whole = Make_Page("Page");
  Add_Rig_Section(Whole.Main, View);
  return Whole;
}

// Ahead, right and up as the words of each view say, and nothing along the line of sight.
TEST(ScaleDrawing, DirectionsOfTheCameraRunAsTheirWordsSay) {
  const Page Whole = Make_Page("Page");
  const std::vector<Vector3d> Cube = {{-1, -1, -1}, {1, 1, 1}};
  const Vector3d Right = Vector3d::UnitX(), Up = -Vector3d::UnitY(), Ahead = Vector3d::UnitZ();
  const struct {
    Viewpoint From;
    Vector3d To_Right, To_Top, Along;
  } Views[] = {{From_The_Side(), Ahead, Up, Right},
               {From_Above(), Right, Ahead, Up},
               {From_Behind(), Right, Up, Ahead}};
  for (const auto& Each : Views) {
    const Scale_Drawing Into(Whole.Main, Each.From, Cube, "");
    const Eigen::Vector2d Middle = Into.At(Vector3d::Zero());
    const Eigen::Vector2d By_Right = Into.At(Each.To_Right) - Middle;
    const Eigen::Vector2d By_Up = Into.At(Each.To_Top) - Middle;
    EXPECT_GT(By_Right.x(), 50.0);
    EXPECT_NEAR(By_Right.y(), 0.0, 1e-9);
    EXPECT_LT(By_Up.y(), -50.0);
    EXPECT_NEAR(By_Up.x(), 0.0, 1e-9);
    EXPECT_NEAR(By_Right.norm(), By_Up.norm(), 1e-9);  // to scale
    EXPECT_NEAR((Into.At(Each.Along) - Middle).norm(), 0.0, 1e-9);
  }
}

TEST(ScaleDrawing, APolygonHasOnePairOfNumbersForEachPoint) {
  const Page Whole = Make_Page("Page");
  const Scale_Drawing Into(Whole.Main, From_Above(), {{-1, 0, -1}, {1, 0, 1}}, "");
  const std::vector<Vector3d> Points = {{0, 0, 0}, {0.5, 0, 0}, {0.5, 0, 0.25}};
  Into.Add_Polygon(Into.Svg(), Points, "board");
  std::string Expected;
  for (const Vector3d& Point : Points) {
    const Eigen::Vector2d At = Into.At(Point);
    Expected +=
        (Expected.empty() ? "" : " ") + Short_Number(At.x(), 1) + "," + Short_Number(At.y(), 1);
  }
  EXPECT_STREQ(All(Into.Svg(), "polygon[@class='board']")[0].attribute("points").value(),
               Expected.c_str());
}

TEST(ScaleDrawing, TheScaleBarIsAsLongAsItSays) {
  const Page Whole = Make_Page("Page");
  const Scale_Drawing Into(Whole.Main, From_Above(), {{-1.3, 0, 0}, {2.9, 0, 4.1}}, "");
  const Element Bar = All(Into.Svg(), "line[@class='axis']")[0];
  const double Length = Bar.attribute("x2").as_double() - Bar.attribute("x1").as_double();
  const double Metre = (Into.At(Vector3d(1, 0, 0)) - Into.At(Vector3d(0, 0, 0))).norm();
  EXPECT_THAT(Text_Of(Into.Svg()), HasSubstr("2 m"));
  EXPECT_NEAR(Length, 2.0 * Metre, 0.02);
}

// 0.6 m to the right and 0.3 m up; seen from the side the first is along the line of sight.
TEST(ScaleDrawing, DimensionsAreTheDistancesInBothDirections) {
  const Page Whole = Make_Page("Page");
  const std::vector<Vector3d> Points = {{0, 0, 0}, {0.6, -0.3, 0}};
  const Scale_Drawing Behind(Whole.Main, From_Behind(), Points, "");
  Behind.Add_Dimensions(Points[0], Points[1]);
  EXPECT_THAT(Text_Of(Behind.Svg()), HasSubstr("600 mm"));
  EXPECT_THAT(Text_Of(Behind.Svg()), HasSubstr("300 mm"));
  const Scale_Drawing Side(Whole.Main, From_The_Side(), Points, "");
  Side.Add_Dimensions(Points[0], Points[1]);
  EXPECT_THAT(Text_Of(Side.Svg()), testing::Not(HasSubstr("600 mm")));
  EXPECT_THAT(Text_Of(Side.Svg()), HasSubstr("300 mm"));
}

TEST(RigSection, HasThreeViewsOfTheTrackerAndThreeOfTheBoards) {
  const Page Whole = Page_Of(Make_Run_View(Usual_Run().Result, Usual_Run().Inspected));
  EXPECT_THAT(All(Whole.Main, "//svg[@role='img']"), SizeIs(6));
  // 14 kept and two dropped boards in each of three views.
  EXPECT_THAT(All(Whole.Main, "//polygon[@class='board']"), SizeIs(3 * 14));
  EXPECT_THAT(All(Whole.Main, "//polygon[@class='dropped outside']"), SizeIs(3 * 2));
  EXPECT_THAT(All(Whole.Main, "//g/title"), SizeIs(3 * 16));
}

// The simulator's mount: 60 mm to the right, 140 mm up, 80 mm behind. Solved jointly it is known to
// a millimetre or two.
TEST(RigSection, SaysInWordsWhereTheTrackerIs) {
  Calibration_Result Result = Usual_Run().Result;
  Result.Inputs.Solution = Solution_Choice::Joint;
  const Page Whole = Page_Of(Make_Run_View(Result, Usual_Run().Inspected));
  const auto Numbers = All(Whole.Main, "//*[@data-key]");
  ASSERT_THAT(Numbers, SizeIs(3));
  const double Truth_Mm[] = {60, 140, 80};
  for (std::size_t k = 0; k < 3; ++k) {
    EXPECT_EQ(Numbers[k].attribute("data-key").value(),
              "transform_cam_tc." + std::to_string(4 * k + 3));
    EXPECT_NEAR(Numbers[k].text().as_double(), Truth_Mm[k], 3.0);
    EXPECT_NEAR(Numbers[k].attribute("data-value").as_double() *
                    Numbers[k].attribute("data-factor").as_double(),
                Numbers[k].text().as_double(), 0.05);
  }
  const std::string Words = Text_Of(Numbers[0].parent());
  EXPECT_THAT(Words, HasSubstr(" mm to the right of, "));
  EXPECT_THAT(Words, HasSubstr(" mm above and "));
  EXPECT_THAT(Words, HasSubstr(" mm behind the lens"));
}

TEST(RigSection, SaysWhatARunDoesNotHave) {
  const std::string Words = Text_Of(Page_Of(Run_View()).Main);
  EXPECT_THAT(Words, HasSubstr("no mount to draw"));
  EXPECT_THAT(Words, HasSubstr("Where the boards stood is not known"));
}

TEST(RigSection, ABoardsNameIsATextWhateverItHolds) {
  Run_View View = Make_Run_View(Usual_Run().Result, Usual_Run().Inspected);
  for (Viewed_Row& Row : View.Rows) Row.Image.Name = "<script>&\"";
  EXPECT_THAT(Page_Source(Page_Of(View)), testing::Not(HasSubstr("<script")));
}

}  // namespace
}  // namespace rigsync
