// SPDX-License-Identifier: Apache-2.0
#include "rigsync/exports/kept_rows.h"

#include "rigsync/system/usage_error.h"
#include "tests/rigsync/exports/solved_rig.h"

#include <gmock/gmock.h>

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::vector<std::size_t> Lines_Of(const rigsync::Kept_Rows& Kept) {
  std::vector<std::size_t> Lines;
  for (const rigsync::Kept_Row& Row : Kept.Rows) Lines.push_back(Row.Line);
  return Lines;
}

TEST(KeptRows, AreThoseThatTheLibraryKept) {
  const Scratch_Folder Scratch;
  const auto Result = Solved_Rig().Write(Scratch);
  const rigsync::Kept_Rows Kept = Read_Kept_Rows(Request_For(Result));
  EXPECT_EQ(Kept.Problem, "");
  EXPECT_THAT(Lines_Of(Kept), ElementsAre(3, 4, 5));
  EXPECT_EQ(Kept.Rows.front().Image, "images/2.png");
}

TEST(KeptRows, AreThoseOfTheJointSolutionWhereItIsTheResult) {
  const Scratch_Folder Scratch;
  auto Result = Solved_Rig().Write(Scratch);
  Result.Solved.emplace();
  for (const std::size_t Row : {0u, 1u, 2u, 3u, 7u}) {
    rigsync::Solved_Row Solved;
    Solved.Row = Row;
    Solved.Is_Kept = Row != 2;
    Result.Solved->Joint.Rows.push_back(Solved);
  }
  EXPECT_THAT(Lines_Of(Read_Kept_Rows(Request_For(Result))), ElementsAre(3, 4, 5));
  Result.Inputs.Solution = rigsync::Solution_Choice::Joint;
  EXPECT_THAT(Lines_Of(Read_Kept_Rows(Request_For(Result))), ElementsAre(2, 3, 5));
}

TEST(KeptRows, OfACaptureThatWasChangedAreNone) {
  const Scratch_Folder Scratch;
  const auto Result = Solved_Rig().Write(Scratch);
  std::ofstream(Result.Inputs.Csv, std::ios::app) << "# more\n";
  const rigsync::Kept_Rows Kept = Read_Kept_Rows(Request_For(Result));
  EXPECT_THAT(Kept.Rows, IsEmpty());
  EXPECT_THAT(Kept.Problem, HasSubstr("capture.csv is not the file that the result was made from"));
}

TEST(KeptRows, OfAResultWithoutAHashAreThoseWhoseLineHasTheirImage) {
  const Scratch_Folder Scratch;
  auto Result = Solved_Rig().Write(Scratch);
  Result.Hashes.Csv.clear();
  Result.Images[2].Name = Result.Report.Images[2].Name = "images/other.png";
  EXPECT_THAT(Lines_Of(Read_Kept_Rows(Request_For(Result))), ElementsAre(3, 5));
}

TEST(KeptRows, SayWhyThereAreNone) {
  const Scratch_Folder Scratch;
  auto Result = Solved_Rig().Write(Scratch);
  rigsync::File_Request Request = Request_For(Result);
  Request.Capture = Scratch.Path();
  EXPECT_THAT(Read_Kept_Rows(Request).Problem, HasSubstr("is a folder"));
  Request.Capture.clear();
  EXPECT_THAT(Read_Kept_Rows(Request).Problem, HasSubstr("does not name its capture"));
  Result.Report.Images.clear();
  EXPECT_THAT(Read_Kept_Rows(Request).Problem, HasSubstr("names no image"));
}

// Without a hash it can't be told at once that this is another capture.
TEST(KeptRows, OfACaptureThatHasNoneOfThemSayIt) {
  const Scratch_Folder Scratch;
  auto Result = Solved_Rig().Write(Scratch);
  Result.Hashes.Csv.clear();
  rigsync::File_Request Request = Request_For(Result);
  Request.Capture = Scratch.Write("other.csv", "1,a.png\n");
  EXPECT_THAT(Read_Kept_Rows(Request).Rows, IsEmpty());
  EXPECT_THAT(Read_Kept_Rows(Request).Problem,
              testing::EndsWith("other.csv has none of the rows that the result was made from"));
}

// Somebody who names a capture means it; the result's own may be on another computer.
TEST(KeptRows, OfAStatedCaptureThatCannotBeUsedAreRefused) {
  const Scratch_Folder Scratch;
  const auto Result = Solved_Rig().Write(Scratch);
  const auto Refused = [&](const std::filesystem::path& Capture, bool Is_Stated) -> std::string {
    rigsync::File_Request Request = Request_For(Result);
    Request.Capture = Capture;
    Request.Is_Capture_Stated = Is_Stated;
    try {
      Read_Kept_Rows(Request);
    } catch (const rigsync::Usage_Error& Refusal) {
      return Refusal.what();
    }
    return "";
  };
  const std::filesystem::path None = Scratch.Path() / "none.csv",
                              Other = Scratch.Write("other.csv", "1,a.png\n");
  EXPECT_EQ(Refused(Result.Inputs.Csv, true), "");
  EXPECT_EQ(Refused(None, false), "");
  EXPECT_EQ(Refused(Other, false), "");
  EXPECT_THAT(Refused(None, true), AllOf(StartsWith("--capture: "), HasSubstr("none.csv")));
  EXPECT_THAT(Refused(Other, true),
              AllOf(StartsWith("--capture: "), HasSubstr("other.csv is not")));
}

}  // namespace
