// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync report', and the page that 'rigsync calibrate' writes.
#include "tests/rigsync/support/program.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// A calibration of the simulated capture in a folder of its own: capture/ beside result/.
class Report : public testing::Test {
 protected:
  Report() {
    fs::copy(Capture_File("capture.csv").parent_path(), Top() / "capture",
             fs::copy_options::recursive);
    const Finished Result = Rigsync(Calibrate_Arguments(Top() / "capture/capture.csv", Out()));
    EXPECT_EQ(Result.Status, 0) << Result.Error;
    Printed = Result.Output;
    Run = Run_Folders(Out()).front();
  }

  const fs::path& Top() const { return Scratch.Path(); }
  fs::path Out() const { return Top() / "result"; }

  const Scratch_Folder Scratch;
  std::string Printed;
  fs::path Run;
};

TEST_F(Report, OfACalibrationIsInBothFoldersAndNamedOnTheTerminal) {
  const std::string Page = Read_Text(Run / "report.html");
  EXPECT_THAT(Page, StartsWith("<!DOCTYPE html>"));
  EXPECT_EQ(Read_Text(Out() / "report.html"), Page);
  EXPECT_THAT(Printed, HasSubstr("  page             " + (Out() / "report.html").string() + "\n"));
}

TEST_F(Report, MadeAnewIsTheSameToTheByteForFileAndFolder) {
  const std::string Page = Read_Text(Run / "report.html");
  for (const fs::path& Result : {Run, Run / "result.json", Out(), Out() / "result.json"}) {
    SCOPED_TRACE(Result);
    const fs::path Written = Top() / "again.html";
    fs::remove(Written);
    const Finished Made = Rigsync({"report", Result.string(), "-o", Written.string()});
    EXPECT_EQ(Made.Status, 0) << Made.Error;
    EXPECT_EQ(Made.Output, "report: " + Written.string() + "\n");
    EXPECT_TRUE(Read_Text(Written) == Page);
  }
}

TEST_F(Report, GoesBesideTheResultUnlessAnotherFileIsNamed) {
  fs::remove(Run / "report.html");
  EXPECT_EQ(Rigsync({"report", "result.json"}, Run).Status, 0);
  EXPECT_TRUE(Read_Text(Run / "report.html") == Read_Text(Out() / "report.html"));
}

TEST_F(Report, OfAMovedResultFindsTheCaptureThatMovedWithIt) {
  const fs::path New = Top() / "archive";
  fs::create_directory(New);
  fs::rename(Top() / "capture", New / "capture");
  fs::rename(Out(), New / "result");
  for (const fs::path& Result : {New / "result", New / "result" / Run.filename()}) {
    SCOPED_TRACE(Result);
    ASSERT_EQ(Rigsync({"report", Result.string()}).Status, 0);
    const std::string Page = Read_Text(Result / "report.html");
    EXPECT_THAT(Page, HasSubstr((New / "capture/capture.csv").string()));
    EXPECT_THAT(Page, HasSubstr((New / "result" / Run.filename()).string()));
    EXPECT_THAT(Page, Not(HasSubstr("can't be found")));
    EXPECT_THAT(Page, Not(HasSubstr("is gone")));
  }
}

TEST_F(Report, SaysWhatIsGone) {
  EXPECT_THAT(Read_Text(Run / "report.html"),
              AllOf(Not(HasSubstr("can't be found")), Not(HasSubstr("The run log is gone")),
                    Not(HasSubstr("CSV is not where"))));
  const std::string Log = Read_Json(Run / "result.json")["run_log"];
  fs::remove(Log);
  fs::remove_all(Top() / "capture");
  ASSERT_EQ(Rigsync({"report", Run.string()}).Status, 0);
  EXPECT_THAT(Read_Text(Run / "report.html"),
              AllOf(HasSubstr("14 of 14 images can't be found"), HasSubstr("The run log is gone"),
                    HasSubstr("The capture's CSV is not where the run read it")));
}

TEST_F(Report, ThatCantBeWrittenChangesNoStatusAndLeavesNoOlderPage) {
  fs::remove(Out() / "report.html");
  fs::create_directory(Out() / "report.html");  // nothing can be renamed to a folder
  const Finished Result = Rigsync(Calibrate_Arguments(Top() / "capture/capture.csv", Out()));
  EXPECT_EQ(Result.Status, 0);
  EXPECT_THAT(Result.Said, HasSubstr("the page of the result can't be written"));
  EXPECT_THAT(Result.Output, Not(HasSubstr("  page  ")));
  EXPECT_FALSE(fs::exists(Out() / "report.html"));
  EXPECT_EQ(Read_Json(Out() / "result.json")["code"], 0);
}

TEST(ReportUsage, RefusesWhatIsNoResultAndFoldersThatAreNotThere) {
  const Scratch_Folder Scratch;
  const std::string Other = Scratch.Write("other.json", "{}");
  for (const std::string& File :
       {Scratch.String(), Scratch.String() + "/none.json", Other, std::string("/")}) {
    SCOPED_TRACE(File);
    const Finished Result = Rigsync({"report", File});
    EXPECT_EQ(Result.Status, 2);
    EXPECT_EQ(Result.Output, "");
    EXPECT_THAT(Result.Said, HasSubstr(File));
    EXPECT_FALSE(fs::exists(Scratch.Path() / "report.html"));
  }
}

TEST_F(Report, LeavesEveryFileThatIsNoPageAsItIs) {
  const std::string Empty = (Top() / "empty").string();
  std::ofstream(Empty).close();
  for (const fs::path& Input :
       {Run / "result.json", Out() / "result.json", Top() / "capture/capture.csv",
        fs::path(Read_Json(Run / "result.json")["run_log"].get<std::string>()), fs::path(Empty)}) {
    SCOPED_TRACE(Input);
    const std::string Before = Read_Text(Input);
    const Finished Refused = Rigsync({"report", Run.string(), "-o", Input.string()});
    EXPECT_EQ(Refused.Status, 2);
    EXPECT_EQ(Refused.Output, "");
    EXPECT_THAT(Refused.Said, AllOf(HasSubstr("--output"), HasSubstr(Input.string())));
    EXPECT_TRUE(Read_Text(Input) == Before);
  }
}

TEST_F(Report, TakesThePlaceOfAnOlderPage) {
  const fs::path Older = Scratch.Write("older.html", "<!DOCTYPE html><html></html>\n");
  EXPECT_EQ(Rigsync({"report", Run.string(), "-o", Older.string()}).Status, 0);
  EXPECT_TRUE(Read_Text(Older) == Read_Text(Run / "report.html"));
}

TEST_F(Report, RefusesAFileThatItCantWrite) {
  const Finished Result = Rigsync({"report", Run.string(), "-o", "/none/page.html"});
  EXPECT_EQ(Result.Status, 2);
  EXPECT_THAT(Result.Said, AllOf(HasSubstr("--output"), HasSubstr("/none/page.html")));
}

}  // namespace
