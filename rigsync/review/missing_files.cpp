// SPDX-License-Identifier: Apache-2.0
#include "rigsync/review/missing_files.h"

#include "rigsync/system/plain_path.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

bool Is_There(const fs::path& Path) {
  std::error_code Ignored;
  return !Path.empty() && fs::exists(Path, Ignored);
}

// The run's folder now: that of the file, or, for the copy in the output folder, the folder beside
// it that has the run's name.
fs::path Folder_Now(const fs::path& Result_File, const fs::path& Stated) {
  const fs::path Here = Plain_Path(fs::absolute(Result_File)).parent_path();
  const fs::path Beside = Here / Stated.filename();
  return !Stated.empty() && Here.filename() != Stated.filename() && Is_There(Beside) ? Beside
                                                                                     : Here;
}

// A path that leads nowhere, as it lies from the run's folder now.
void Follow(const fs::path& Then, const fs::path& Now, fs::path& Path) {
  if (Path.empty() || Path.is_relative() || Is_There(Path)) return;
  const fs::path Moved = (Now / Path.lexically_relative(Then)).lexically_normal();
  if (Is_There(Moved)) Path = Moved;
}

}  // namespace

Run_View Make_View_Of_File(const fs::path& Result_File, Calibration_Result Result) {
  const fs::path Then = Plain_Path(Result.Run_Folder);
  if (Is_There(Then / "result.json")) return Make_Run_View(Result);
  const fs::path Now = Folder_Now(Result_File, Then);
  Result.Run_Folder = Now;
  Follow(Then, Now, Result.Run_Log);
  Follow(Then, Now, Result.Inputs.Csv);
  Follow(Then, Now, Result.Inputs.Image_Root);
  Run_View View = Make_Run_View(Result);
  for (Viewed_Row& Row : View.Rows) Follow(Then, Now, Row.File);  // absolute names in the CSV
  return View;
}

std::vector<std::string> Missing_Files(const Run_View& View) {
  const Calibration_Result& Result = View.Result;
  std::vector<std::string> Sentences;
  if (!Is_There(Result.Inputs.Csv)) {
    Sentences.push_back(
        "The capture's CSV is not where the run read it, so samples that only it "
        "has are left out.");
  }
  if (!Result.Run_Log.empty() && !Is_There(Result.Run_Log)) {
    Sentences.push_back("The run log is gone, so found corners and samples are left out.");
  }
  const auto Gone = std::count_if(View.Rows.begin(), View.Rows.end(),
                                  [](const Viewed_Row& Row) { return !Is_There(Row.File); });
  if (Gone > 0) {
    Sentences.push_back(
        fmt::format("{} of {} images can't be found, so their thumbnails are left out.", Gone,
                    View.Rows.size()));
  }
  return Sentences;
}

}  // namespace rigsync
