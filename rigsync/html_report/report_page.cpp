// SPDX-License-Identifier: Apache-2.0
#include "rigsync/html_report/report_page.h"

#include "rigsync/html_report/page.h"

namespace rigsync {

std::string Report_Page(const Run_View& View) {
  const Page Whole = Make_Page("Calibration");
  Add_Text(Whole.Main, "h1", View.Result.Message);
  return Page_Source(Whole);
}

}  // namespace rigsync
