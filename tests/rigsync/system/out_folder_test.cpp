// SPDX-License-Identifier: Apache-2.0
#include "rigsync/system/out_folder.h"
#include "rigsync/system/usage_error.h"

#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <cstdint>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

std::string Refusal(const fs::path& Folder, std::uintmax_t Bytes) {
  try {
    rigsync::Make_Out_Folder("--out", Folder.string(), Bytes, "run log and result");
  } catch (const rigsync::Usage_Error& Error) {
    return Error.what();
  }
  return "";
}

TEST(OutFolder, IsMadeWithItsParentsAndComesBackAbsolute) {
  const Scratch_Folder Scratch;
  const fs::path Out = rigsync::Make_Out_Folder("--out", (Scratch.Path() / "a/b/../c").string(),
                                                /*Needed_Bytes=*/1, "anything");
  EXPECT_EQ(Out, fs::canonical(Scratch.Path()) / "a/c");
  EXPECT_TRUE(fs::is_empty(Out));
}

TEST(OutFolder, ThatIsAFileOrTakesNoFilesIsRefusedByName) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("file", "");
  EXPECT_THAT(Refusal(File, 1), AllOf(HasSubstr("--out: '" + File + "'"), HasSubstr("a folder")));
  EXPECT_THAT(Refusal(File + "/below", 1), HasSubstr("Not a directory"));
  // A folder in which not even root can create a file.
  const std::string Text = Refusal("/proc/self/task", 0);
  EXPECT_THAT(Text, HasSubstr("a folder in which files can be written (No such file"));
  EXPECT_THAT(Text, Not(HasSubstr("probe")));
}

TEST(OutFolder, WithoutTheSpaceIsRefusedAndTellsBothSizes) {
  const Scratch_Folder Scratch;
  constexpr std::uintmax_t No_Disk_Has_It = UINTMAX_MAX / 2;
  const std::string Text = Refusal(Scratch.Path(), No_Disk_Has_It);
  EXPECT_THAT(Text, AllOf(HasSubstr("9223372036.9 GB of space for run log and result"),
                          HasSubstr("are free")));
}

TEST(OutFolder, SpaceThatIsReservedForOthersIsNoSpace) {
  fs::space_info Space{};
  Space.capacity = 1000;
  Space.free = 300;
  Space.available = 200;
  EXPECT_TRUE(rigsync::Has_Space(Space, 200));
  EXPECT_FALSE(rigsync::Has_Space(Space, 201));
}

TEST(OutFolder, OfAFolderThatIsRefusedNothingStaysThatWasntThere) {
  const Scratch_Folder Scratch;
  constexpr std::uintmax_t No_Disk_Has_It = UINTMAX_MAX / 2;
  fs::create_directory(Scratch.Path() / "earlier");
  for (const char* Below : {"new", "earlier", "earlier/new/deep", "a/b/../c", "a//b/"}) {
    SCOPED_TRACE(Below);
    EXPECT_THAT(Refusal(Scratch.Path() / Below, No_Disk_Has_It), HasSubstr("of space"));
    EXPECT_TRUE(fs::is_empty(Scratch.Path() / "earlier"));
    fs::remove(Scratch.Path() / "earlier");
    EXPECT_TRUE(fs::is_empty(Scratch.Path()));
    fs::create_directory(Scratch.Path() / "earlier");
  }
  // The parent can be created, the folder in it cannot.
  const std::string Long_Name(300, 'x');
  EXPECT_THAT(Refusal(Scratch.Path() / "above" / Long_Name, 0), HasSubstr("name too long"));
  EXPECT_FALSE(fs::exists(Scratch.Path() / "above"));
}

TEST(OutFolder, SizesReadAsPeopleWriteThem) {
  EXPECT_EQ(rigsync::Bytes_Text(0), "0 kB");
  EXPECT_EQ(rigsync::Bytes_Text(12'345), "12 kB");
  EXPECT_EQ(rigsync::Bytes_Text(999'499), "999 kB");
  EXPECT_EQ(rigsync::Bytes_Text(1'000'000), "1.0 MB");
  EXPECT_EQ(rigsync::Bytes_Text(3'449'999), "3.4 MB");
  EXPECT_EQ(rigsync::Bytes_Text(999'900'000), "999.9 MB");
  EXPECT_EQ(rigsync::Bytes_Text(1'000'000'000), "1.0 GB");
  EXPECT_EQ(rigsync::Bytes_Text(1'200'000'000), "1.2 GB");
}

}  // namespace
