// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/script_text.h"

#include "tests/rigsync/exports/script_numbers.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

TEST(ScriptText, TheLiteralIsReadBackAsItWas) {
  const Json Numbers = {{"name", "Bühne \"1\"\n"},
                        {"values", {1.0, -0.1, 1e-300, 3}},
                        {"rows", {{1, 2}, {3, 4}}},
                        {"points", {{{"a", 1}}, {{"a", 2}}}}};
  const std::string Script = "import x\n" + rigsync::Numbers_Assignment(Numbers) + "print()\n";
  EXPECT_EQ(Numbers_In(Script), Numbers);
}

TEST(ScriptText, AListOfNumbersIsOnOneLine) {
  EXPECT_EQ(rigsync::Numbers_Assignment({{"a", {1, 2.5}}, {"b", {{1, 2}, {3, 4}}}}),
            "NUMBERS = (\n"
            "# ---- begin of the numbers (JSON)\n"
            "{\n"
            "  \"a\": [1, 2.5],\n"
            "  \"b\": [\n"
            "    [1, 2],\n"
            "    [3, 4]\n"
            "  ]\n"
            "}\n"
            "# ---- end of the numbers\n"
            ")\n");
}

TEST(ScriptText, AxesAreThreeWords) {
  const rigsync::Tracker_Axes Axes{{0, 0, 1}, {-1, 0, 0}, {0, 1, 0}};
  EXPECT_EQ(rigsync::Axes_Words(Axes), Json({"z", "-x", "y"}));
}

TEST(ScriptText, EveryLineOfACommentBeginsWithItsSign) {
  const std::string Long(60, 'a'), Other(60, 'b');
  EXPECT_EQ(rigsync::Comment(Long + " " + Other), "# " + Long + "\n# " + Other + "\n");
}

}  // namespace
