// SPDX-License-Identifier: Apache-2.0
#include "rigsync/formats/lens_table_file.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using nlohmann::json;
using rigsync::Mount_Agreement;

TEST(LensTableFile, HasANumberForWhatIsKnownAndNullForTheRest) {
  rigsync::Calibration_Result Made;
  rigsync::Lens_Table Table;
  Table.Width = 1920;
  Table.Height = 1080;
  Table.Limits = {3.0, 0.25};
  Table.Reference = 1;
  Table.Rows.resize(2);
  rigsync::Lens_Table_Row& Row = Table.Rows[0];
  Row.Of.File = "wide.json";
  Row.Of.Result = Table.Rows[1].Of.Result = &Made;
  Row.Of.At = {0.5, 0.125};
  Row.Lens_Px = {2000.0, 2001.0, 960.0, 540.0, -0.5, 0.25};
  Row.Focal_Length_Mm = 24.5;
  Row.Agreement = Mount_Agreement::Beyond_Limits;
  Row.From_Reference.Turn_Deg = {0.0, 0.375, 0.5};
  json Read = json::parse(rigsync::Lens_Table_Json(Table, {"It is off."}));
  json Rows = Read.at("rows");
  Read.erase("rows");
  EXPECT_EQ(Read, json::parse(R"({
    "format": "rigsync-lens-table", "format_version": 1, "agrees": false,
    "messages": ["It is off."], "image_size": [1920, 1080], "limits": {"mm": 3.0, "deg": 0.25},
    "reference": 1})"));
  json Expected = json::parse(R"({
    "result": "wide.json", "solution": "library", "focus": 0.5, "zoom": 0.125,
    "fx_fy_px": [2000.0, 2001.0], "cx_cy_px": [960.0, 540.0], "k1_k2": [-0.5, 0.25],
    "focal_length_mm": 24.5, "agreement": "beyond_limits",
    "camera_from_reference": {"right_down_ahead_mm": [0.0, 0.0, 0.0], "turn_deg": 0.625,
      "across_mm": 0.0, "half_width_mm": null, "half_width_deg": null,
      "probability_of_less": null}})");
  ASSERT_EQ(Rows.size(), 2u);
  EXPECT_EQ(Rows[0], Expected);
  EXPECT_TRUE(Rows[1].at("focal_length_mm").is_null());

  // With a joint mount in both results.
  Row.From_Reference.Joint_Motion.emplace();
  Row.From_Reference.Uncertainty.Half_Width_Mm = {1.0, 2.0, 3.0};
  Row.From_Reference.Uncertainty.Half_Width_Deg = {4.0, 5.0, 6.0};
  Row.Probability_Of_Less = 0.75;
  json& Mount = Expected["camera_from_reference"];
  Mount["half_width_mm"] = {1.0, 2.0, 3.0};
  Mount["half_width_deg"] = {4.0, 5.0, 6.0};
  Mount["probability_of_less"] = 0.75;
  Rows = json::parse(rigsync::Lens_Table_Json(Table, {})).at("rows");
  EXPECT_EQ(Rows[0], Expected);
}

TEST(LensTableFile, EachAgreementHasAName) {
  EXPECT_STREQ(rigsync::Agreement_Name(Mount_Agreement::Agrees), "agrees");
  EXPECT_STREQ(rigsync::Agreement_Name(Mount_Agreement::Other_Axes), "other_axes");
  EXPECT_STREQ(rigsync::Agreement_Name(Mount_Agreement::Unlikely), "unlikely");
  EXPECT_STREQ(rigsync::Agreement_Name(Mount_Agreement::Beyond_Limits), "beyond_limits");
}

}  // namespace
