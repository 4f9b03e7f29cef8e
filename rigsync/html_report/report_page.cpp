// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/report_page.h"

#include "rigsync/html_report/coverage_section.h"
#include "rigsync/html_report/cross_check_section.h"
#include "rigsync/html_report/frame_section.h"
#include "rigsync/html_report/image_errors_section.h"
#include "rigsync/html_report/inputs_section.h"
#include "rigsync/html_report/lens_section.h"
#include "rigsync/html_report/page.h"
#include "rigsync/html_report/pixel_scale_section.h"
#include "rigsync/html_report/poses_section.h"
#include "rigsync/html_report/rig_section.h"
#include "rigsync/html_report/samples_section.h"
#include "rigsync/html_report/verdict_section.h"
#include "rigsync/report/verdict_words.h"

#include <fmt/format.h>

namespace rigsync {
namespace {

std::string Title_Of(const Run_View& View) {
  const Calibration_Result& Result = View.Result;
  return fmt::format("{} Calibration of {}", Words_Of(Result, {}).Short,
                     Result.Inputs.Csv.filename().string());
}

}  // namespace

std::string Report_Page(const Run_View& View) {
  const Page Whole = Make_Page(Title_Of(View));
  Add_Verdict_Section(Whole.Main, View);
  const Element Contents = Add_Contents(Whole.Main);
  Add_Mount_Section(Whole.Main, View);
  Add_Rig_Section(Whole.Main, View);
  Add_Image_Errors_Section(Whole.Main, View);
  Add_Pixel_Scale_Section(Whole.Main, View);
  Add_Frame_Section(Whole.Main, View);
  Add_Coverage_Section(Whole.Main, View);
  Add_Poses_Section(Whole.Main, View);
  Add_Samples_Section(Whole.Main, View);
  Add_Lens_Section(Whole.Main, View);
  Add_Cross_Check_Section(Whole.Main, View);
  Add_Inputs_Section(Whole.Main, View);
  Fill_Contents(Contents);
  return Page_Source(Whole);
}

}  // namespace rigsync
