// SPDX-License-Identifier: Apache-2.0
//
// The run log: names, line form, the copy on standard output, and folders that cannot be written.
#include "core/base/run_log.h"

#include "tests/support/quiet_output.h"
#include "tests/support/run_log_reader.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <fcntl.h>
#include <cstdlib>
#include <ctime>
#include <map>
#include <regex>
#include <thread>

namespace {

using testing::ElementsAre;

// A time zone for the life of the object.
class Time_Zone {
 public:
  explicit Time_Zone(const char* Zone) {
    const char* Earlier = std::getenv("TZ");
    if (Earlier != nullptr) Before = Earlier;
    Had_One = Earlier != nullptr;
    setenv("TZ", Zone, 1);
    tzset();
  }
  ~Time_Zone() {
    if (Had_One) {
      setenv("TZ", Before.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }
  Time_Zone(const Time_Zone&) = delete;
  Time_Zone& operator=(const Time_Zone&) = delete;

 private:
  std::string Before;
  bool Had_One = false;
};

// Root can write to read-only folders, so a test with such a folder runs as another user. Is_Plain
// is false when the process cannot become one.
class Plain_User {
 public:
  Plain_User() : Was_Root(geteuid() == 0), Is_Plain(!Was_Root || seteuid(65534) == 0) {}
  ~Plain_User() {
    if (Was_Root && Is_Plain && seteuid(0) != 0) std::abort();
  }
  Plain_User(const Plain_User&) = delete;
  Plain_User& operator=(const Plain_User&) = delete;

  const bool Was_Root, Is_Plain;
};

// Redirects the descriptor of standard output to a file: concurrent writes are safe on a
// descriptor, but not on a string stream.
class Output_To_File {
 public:
  explicit Output_To_File(const std::string& Path) : Before(dup(STDOUT_FILENO)) {
    std::cout.flush();
    const int File = open(Path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    dup2(File, STDOUT_FILENO);
    close(File);
  }
  ~Output_To_File() {
    std::cout.flush();
    dup2(Before, STDOUT_FILENO);
    close(Before);
  }
  Output_To_File(const Output_To_File&) = delete;
  Output_To_File& operator=(const Output_To_File&) = delete;

 private:
  int Before;
};

std::size_t Open_Files() {
  std::size_t Count = 0;
  for ([[maybe_unused]] const auto& Entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++Count;
  }
  return Count;
}

// A time in a zone so many seconds east of Greenwich, computed without the time zone database.
std::string Shifted_Text(std::time_t Moment, int Seconds_East, const char* Format) {
  const std::time_t Shifted = Moment + Seconds_East;
  std::tm Parts{};
  gmtime_r(&Shifted, &Parts);
  char Text[80];
  std::strftime(Text, sizeof Text, Format, &Parts);
  return Text;
}

TEST(RunLog, TellsLocalTimeInBothKinds) {
  // Zones that differ from Greenwich by more than whole hours, on either side.
  const std::pair<const char*, int> Zones[] = {{"TST-05:45", 20700}, {"TST+09:30", -34200}};
  const std::pair<const char*, const char*> Kinds[] = {{"now", "%Y-%m-%d %H:%M:%S"},
                                                       {"date", "%Y-%m-%d-%H.%M.%S"}};
  for (const auto& [Zone, Seconds_East] : Zones) {
    const Time_Zone There(Zone);
    for (const auto& [Kind, Format] : Kinds) {
      SCOPED_TRACE(std::string(Zone) + " " + Kind);
      const std::time_t Before = std::time(nullptr);
      const std::string Text = Time_Text(Kind);
      const std::time_t After = std::time(nullptr);
      std::vector<std::string> Expected;
      for (std::time_t Moment = Before; Moment <= After; ++Moment) {
        Expected.push_back(Shifted_Text(Moment, Seconds_East, Format));
      }
      EXPECT_THAT(Expected, testing::Contains(Text));
    }
  }
}

TEST(RunLog, NamesTheFileByTheSecondWithNoDotBeforeTxt) {
  std::string Log_Path = "what stood here before";
  Make_Log_Path(Log_Path, "/some/folder");
  const std::regex Name(
      "/some/folder/log_[0-9]{4}-[0-9]{2}-[0-9]{2}-[0-9]{2}\\.[0-9]{2}\\.[0-9]{2}txt");
  EXPECT_TRUE(std::regex_match(Log_Path, Name)) << Log_Path;
}

TEST(RunLog, PutsOneSeparatorBehindTheFolderWhateverItsText) {
  const std::pair<const char*, const char*> Cases[] = {
      {"/folder/", "/folder//log_"}, {"", "/log_"},         {"/", "//log_"},
      {"folder", "folder/log_"},     {"a b ", "a b /log_"}, {"a\\b", "a\\b/log_"}};
  for (const auto& [Folder, Start] : Cases) {
    SCOPED_TRACE(Folder);
    std::string Log_Path;
    Make_Log_Path(Log_Path, Folder);
    // "2022-11-17-09.05.33" has 19 characters.
    ASSERT_EQ(Log_Path.size(), std::string(Start).size() + 19 + 3);
    EXPECT_EQ(Log_Path.substr(0, std::string(Start).size()), Start);
    EXPECT_EQ(Log_Path.substr(Log_Path.size() - 3), "txt");
  }
}

TEST(RunLog, MakesNoFileAndNoFolderForTheNameAlone) {
  const Scratch_Folder Folder;
  std::string Log_Path;
  Make_Log_Path(Log_Path, Folder.String());
  Make_Log_Path(Log_Path, (Folder.Path() / "missing").string());
  EXPECT_TRUE(std::filesystem::is_empty(Folder.Path()));
}

TEST(RunLog, WritesTimeTabAndMessageTheSameToFileAndStandardOutput) {
  const Scratch_Folder Folder;
  const std::string Log_Path = (Folder.Path() / "log").string();
  std::string Shown;
  const std::time_t Before = std::time(nullptr);
  {
    const Quiet_Output Output;
    Write_Log(Log_Path, "first");
    Write_Log(Log_Path, " 100 %s %d\\n\t and more ");
    Shown = Output.Captured();
  }
  const std::time_t After = std::time(nullptr);
  EXPECT_THAT(Messages(Shown), ElementsAre("first", " 100 %s %d\\n\t and more "));
  EXPECT_EQ(Read_Text(Log_Path), Shown);
  std::vector<std::string> Times;
  for (std::time_t Moment = Before; Moment <= After; ++Moment) {
    std::tm Parts{};
    localtime_r(&Moment, &Parts);
    char Text[80];
    std::strftime(Text, sizeof Text, "%Y-%m-%d %H:%M:%S", &Parts);
    Times.push_back(Text);
  }
  EXPECT_THAT(Times, testing::Contains(Shown.substr(0, 19)));
}

TEST(RunLog, WritesAnEmptyMessageAsTimeAndTab) {
  const Scratch_Folder Folder;
  const std::string Log_Path = (Folder.Path() / "log").string();
  const Quiet_Output Output;
  Write_Log(Log_Path, "");
  const std::string Text = Read_Text(Log_Path);
  ASSERT_EQ(Text.size(), 21u);
  EXPECT_EQ(Text.substr(19), "\t\n");
  EXPECT_EQ(Output.Captured(), Text);
}

TEST(RunLog, AppendsToWhatTheFileHolds) {
  const Scratch_Folder Folder;
  const std::string Log_Path = Folder.Write("log", "an earlier run\n");
  const Quiet_Output Output;
  Write_Log(Log_Path, "a later one");
  EXPECT_EQ(Read_Text(Log_Path), "an earlier run\n" + Output.Captured());
}

TEST(RunLog, HasEachLineOnDiskAndNoFileOpenWhenTheCallReturns) {
  const Scratch_Folder Folder;
  const std::string Log_Path = (Folder.Path() / "log").string();
  const Quiet_Output Output;
  const std::size_t Open_Before = Open_Files();
  Write_Log(Log_Path, "one");
  EXPECT_THAT(Messages(Read_Text(Log_Path)), ElementsAre("one"));
  EXPECT_EQ(Open_Files(), Open_Before);
  Write_Log(Log_Path, "two");
  EXPECT_THAT(Messages(Read_Text(Log_Path)), ElementsAre("one", "two"));
  // No file stays open between two lines.
  std::filesystem::remove(Log_Path);
  Write_Log(Log_Path, "three");
  EXPECT_THAT(Messages(Read_Text(Log_Path)), ElementsAre("three"));
}

TEST(RunLog, FlushesStandardOutputAfterEachLineWhenTheFileIsClosed) {
  const Scratch_Folder Folder;
  const std::string Log_Path = (Folder.Path() / "log").string();
  class Looking_Buffer : public std::stringbuf {
   public:
    explicit Looking_Buffer(const std::string& Log_Path) : Path(Log_Path) {}
    std::vector<std::string> Shown, On_Disk;

   protected:
    int sync() override {
      Shown.push_back(str());
      On_Disk.push_back(Read_Text(Path));
      return 0;
    }

   private:
    const std::string Path;
  } Buffer(Log_Path);
  std::streambuf* Before = std::cout.rdbuf(&Buffer);
  Write_Log(Log_Path, "message");
  std::cout.rdbuf(Before);
  ASSERT_EQ(Buffer.Shown.size(), 1u);
  EXPECT_THAT(Messages(Buffer.Shown[0]), ElementsAre("message"));
  EXPECT_EQ(Buffer.On_Disk[0], Buffer.Shown[0]);
}

TEST(RunLog, StillShowsEveryLineWhereTheFileCannotBeOpened) {
  const Scratch_Folder Folder;
  const std::string A_File = Folder.Write("file", "untouched");
  std::filesystem::create_directory(Folder.Path() / "folder");
  const std::string Cases[] = {
      (Folder.Path() / "missing" / "log").string(),  // the folder isn't there
      A_File + "/log",                               // the folder is a file
      (Folder.Path() / "folder").string(),           // the file is a folder
      (Folder.Path() / std::string(300, 'x')).string(),
      "",
  };
  for (const std::string& Log_Path : Cases) {
    SCOPED_TRACE(Log_Path);
    const Quiet_Output Output;
    Write_Log(Log_Path, "one");
    Write_Log(Log_Path, "two");
    EXPECT_THAT(Messages(Output.Captured()), ElementsAre("one", "two"));
  }
  EXPECT_FALSE(std::filesystem::exists(Folder.Path() / "missing"));
  EXPECT_EQ(Read_Text(A_File), "untouched");
  EXPECT_TRUE(std::filesystem::is_empty(Folder.Path() / "folder"));
}

TEST(RunLog, StillShowsEveryLineWhereTheFolderIsReadOnly) {
  const Scratch_Folder Folder;
  const std::filesystem::path Locked = Folder.Path() / "locked";
  std::filesystem::create_directory(Locked);
  chmod(Locked.c_str(), 0555);
  std::string Shown;
  {
    const Plain_User User;
    if (!User.Is_Plain) GTEST_SKIP() << "root that can't become another user";
    const Quiet_Output Output;
    Write_Log((Locked / "log").string(), "one");
    Write_Log((Locked / "log").string(), "two");
    Shown = Output.Captured();
  }
  EXPECT_THAT(Messages(Shown), ElementsAre("one", "two"));
  EXPECT_TRUE(std::filesystem::is_empty(Locked));
  chmod(Locked.c_str(), 0755);
}

TEST(RunLog, KeepsTheLinesOfThreadsThatShareAFileWhole) {
  constexpr int Threads = 6, Lines = 150;
  const Scratch_Folder Folder;
  const std::string Log_Path = (Folder.Path() / "log").string();
  // Short lines and lines beyond the 8 KB that a file stream buffers.
  const auto Message = [](int Thread, int Line) {
    const std::size_t Length = Line % 10 == 0 ? 20000 : 40;
    return std::to_string(Thread) + " " + std::to_string(Line) + " " +
           std::string(Length, static_cast<char>('a' + Thread));
  };
  {
    const Output_To_File Shown((Folder.Path() / "shown").string());
    std::vector<std::thread> Running;
    for (int Thread = 0; Thread < Threads; ++Thread) {
      Running.emplace_back([&, Thread] {
        for (int Line = 0; Line < Lines; ++Line) Write_Log(Log_Path, Message(Thread, Line));
      });
    }
    for (std::thread& Thread : Running) Thread.join();
  }
  // Every thread's lines are complete and in the thread's order.
  std::map<int, int> Next;
  const std::vector<std::string> Found = Messages(Read_Text(Log_Path));
  ASSERT_EQ(Found.size(), static_cast<std::size_t>(Threads) * Lines);
  for (const std::string& Text : Found) {
    const int Thread = Text[0] - '0';
    ASSERT_TRUE(Thread >= 0 && Thread < Threads) << Text.substr(0, 40);
    ASSERT_TRUE(Text == Message(Thread, Next[Thread])) << Text.substr(0, 40);
    ++Next[Thread];
  }
}

TEST(RunLog, WritesAPoseAsALabelAndFourRowsTopToBottom) {
  Eigen::Matrix4d Pose;
  Pose << 1.0, -2.5, 0.0000004, -0.0,  //
      1e7, 0.12345675, -1e-9, 22.0,    //
      31.0, 32.0, 33.0, 1.0 / 0.0,     //
      0.0, 1e20, std::nan(""), 1.0;
  const Scratch_Folder Folder;
  const std::string Log_Path = (Folder.Path() / "log").string();
  const Quiet_Output Output;
  Write_Matrix(Log_Path, "Mean_Transform_Cam_Tc", Pose);
  EXPECT_THAT(
      Messages(Read_Text(Log_Path)),
      ElementsAre("Mean_Transform_Cam_Tc : ", "[[1.000000, -2.500000, 0.000000, -0.000000],",
                  " [10000000.000000, 0.123457, -0.000000, 22.000000],",
                  " [31.000000, 32.000000, 33.000000, inf],",
                  " [0.000000, 100000000000000000000.000000, nan, 1.000000]]"));
  EXPECT_EQ(Output.Captured(), Read_Text(Log_Path));
}

}  // namespace
