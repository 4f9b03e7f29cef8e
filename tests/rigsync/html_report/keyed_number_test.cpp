// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/keyed_number.h"

#include "rigsync/html_report/page.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <sstream>

namespace rigsync {
namespace {

std::string Source_Of(const Keyed_Number& Number) {
  pugi::xml_document Tree;
  Add_Number(Tree, "b", Number);
  std::ostringstream Source;
  Tree.save(Source, "", pugi::format_raw | pugi::format_no_declaration);
  return Source.str();
}

TEST(KeyedNumber, StandsInThePeoplesUnitAndInTheFilesOwn) {
  EXPECT_EQ(Source_Of({"library.transform_cam_tc.3", -0.1398637, 2, 1000}),
            "<b data-key=\"library.transform_cam_tc.3\" data-value=\"-0.1398637\" "
            "data-factor=\"1000\">-139.86</b>");
  EXPECT_EQ(Source_Of({"seconds", 4.0, 1}), "<b data-key=\"seconds\" data-value=\"4\">4.0</b>");
}

TEST(KeyedNumber, ThatRoundsToZeroHasNoSign) {
  EXPECT_EQ(Source_Of({"k", -0.004, 2}), "<b data-key=\"k\" data-value=\"-0.004\">0.00</b>");
}

TEST(KeyedNumber, ThatIsNotFiniteIsNullAsInTheFile) {
  EXPECT_EQ(Source_Of({"k", std::numeric_limits<double>::infinity()}),
            "<b data-key=\"k\" data-value=\"null\">none</b>");
}

TEST(KeyedNumber, HasEveryDigit) {
  for (const double Value : {0.1, 1.0 / 3.0, 1e-300, 6.02214076e23, -0.0}) {
    EXPECT_EQ(std::strtod(Exact_Number(Value).c_str(), nullptr), Value);
  }
}

}  // namespace
}  // namespace rigsync
