// SPDX-License-Identifier: Apache-2.0
//
// 'rigsync record' with a sender on this machine, bounded in time and packets.
#include "rigsync/record/recording.h"
#include "rigsync/system/udp_receiver.h"
#include "tests/rigsync/support/program.h"
#include "tests/rigsync/support/terminal_run.h"
#include "tests/rigsync/support/tracker_packets.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// Sends two hundred times a second until it is destroyed, but no longer than half a minute.
class Stream {
 public:
  explicit Stream(const std::function<void(const Udp_Sender&, int)>& Send_Next)
      : Thread([this, Send_Next] {
          const Udp_Sender Sender;
          for (int i = 0; i < 6000 && !Is_Over; ++i) {
            Send_Next(Sender, i);
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
          }
        }) {}
  ~Stream() {
    Is_Over = true;
    Thread.join();
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

 private:
  std::atomic<bool> Is_Over{false};
  std::thread Thread;
};

// A body that stands still.
std::string Still(int Camera_Id) {
  return Freed_Message({Camera_Id, 10, 20, 30, 1000, 2000, 3000});
}

TEST(RecordCommand, RecordsTwoBodiesAndNamesTheNextCommand) {
  const Scratch_Folder Scratch;
  const std::uint16_t First = Free_Port(), Second = Free_Port();
  // Both move: on a busy machine, equal packets of a body come so close that one is taken for
  // another's repetition.
  const Stream Sending([&](const Udp_Sender& Sender, int i) {
    Sender.Send(Freed_Message({1, 0, 0, 0, 1.0 * i, 0, 0}), First);
    Sender.Send(Freed_Message({2, 0, 0, 0, 0, 1.0 * i, 0}), Second);
  });
  const std::string Ports = std::to_string(First) + "," + std::to_string(Second);
  const Finished Done =
      Rigsync({"record", "-o", "take.rsr", "--freed", Ports, "--packets", "100"}, Scratch.Path());
  EXPECT_EQ(Done.Status, 0) << Done.Error;
  EXPECT_THAT(Done.Output,
              AllOf(HasSubstr("Recorded 100 packets"), HasSubstr("take.rsr"), HasSubstr("no gaps"),
                    HasSubstr("rigsync import take.rsr --camera freed-")));
  EXPECT_LE(Widest_Line(Done.Output), 80U);
  EXPECT_THAT(Done.Said, HasSubstr("listening for FreeD on ports " + std::to_string(First)));
  const rigsync::Take Read = rigsync::Read_Recording(Scratch.Path() / "take.rsr", {});
  ASSERT_EQ(Read.Bodies.size(), 2U);
  EXPECT_EQ(Read.Bodies[0].Samples.size() + Read.Bodies[1].Samples.size(), 100U);
}

TEST(RecordCommand, JoinsTheGroupsOfSourceNumbers) {
  if (!Has_Multicast()) GTEST_SKIP() << "no multicast on the loopback here";
  const Scratch_Folder Scratch;
  const std::uint16_t Port = Free_Port();
  const Stream Sending([&](const Udp_Sender& Sender, int i) {
    const auto Send = [&](int Source, const char* Group) {
      const std::string Text = R"({"sourceNumber":)" + std::to_string(Source) +
                               R"(,"transforms":[{"translation":{"x":1,"y":2,"z":3}}]})";
      Sender.Send(Opentrackio_Packet(1, static_cast<unsigned>(i), 0, true, Text), Port, Group);
    };
    Send(3, "239.135.1.3");
    Send(4, "239.135.1.4");
    Send(5, "239.135.1.5");
  });
  const Finished Done =
      Rigsync({"record", "-o", "take.rsr", "--opentrackio", "3,5," + std::to_string(Port),
               "--interface", "127.0.0.1", "--packets", "50"},
              Scratch.Path());
  EXPECT_EQ(Done.Status, 0) << Done.Error;
  EXPECT_THAT(Done.Output, AllOf(HasSubstr("opentrackio-3"), HasSubstr("opentrackio-5"),
                                 Not(HasSubstr("opentrackio-4"))));
}

TEST(RecordCommand, AsksForThePictureWhenTheRigStandsStill) {
  const Scratch_Folder Scratch;
  const std::uint16_t Port = Free_Port();
  const Stream Sending([&](const Udp_Sender& Sender, int) { Sender.Send(Still(1), Port); });
  const Finished Done =
      Rigsync({"record", "-o", "take.rsr", "--freed", std::to_string(Port), "--packets", "600"},
              Scratch.Path());
  EXPECT_EQ(Done.Status, 0);
  EXPECT_THAT(Done.Error, HasSubstr("take the picture now (hold 1)  freed-1 still"));
  EXPECT_THAT(Done.Output, HasSubstr("Everything stood still 1 time."));
  EXPECT_EQ(Done.Error.find('\x1b'), std::string::npos);
}

TEST(RecordCommand, CtrlCEndsItWithWhatWasRecorded) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.String() + "/take.rsr";
  const std::uint16_t Port = Free_Port();
  const Stream Sending([&](const Udp_Sender& Sender, int) { Sender.Send(Still(1), Port); });
  const Terminal_Run Run = Rigsync_On_Terminal(
      {"record", "-o", File, "--freed", std::to_string(Port)}, {}, [](const std::string& Shown) {
        return Shown.find("take the picture now") != std::string::npos;
      });
  EXPECT_EQ(Run.Status, 0);
  EXPECT_THAT(Run.Shown, HasSubstr("Recorded "));
  const rigsync::Take Read = rigsync::Read_Recording(File, {});
  EXPECT_GT(Read.Bodies.at(0).Samples.size(), 20U);
  EXPECT_THAT(Read.Warnings, Not(testing::Contains(HasSubstr("ends within"))));
}

TEST(RecordCommand, ARecordingIsNeverReplaced) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("take.rsr", "precious");
  const Finished Done = Rigsync({"record", "-o", File, "--freed", "0", "--seconds", "1"});
  EXPECT_EQ(Done.Status, 2);
  EXPECT_THAT(Done.Said, AllOf(HasSubstr("--output: "), HasSubstr("exists already")));
  EXPECT_EQ(Read_Text(File), "precious");
}

// A limit on the size of files stands for the disk.
TEST(RecordCommand, ADiskThatFillsEndsItWithASentenceAndKeepsWhatThereIs) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.String() + "/take.rsr";
  const std::uint16_t Port = Free_Port();
  const Stream Sending([&](const Udp_Sender& Sender, int i) {
    Sender.Send(Freed_Message({1, 0, 0, 0, 1.0 * i, 0, 0}), Port);
  });
  const Finished Done = Run_Program(
      "/bin/sh", {"-c", "trap '' XFSZ; ulimit -f 8; exec \"$0\" \"$@\"", RIGSYNC_PROGRAM, "record",
                  "-o", File, "--freed", std::to_string(Port), "--packets", "1000"});
  EXPECT_EQ(Done.Status, 2);
  EXPECT_THAT(Done.Said, AllOf(HasSubstr("--output: the recording ended: " + File),
                               HasSubstr("File too large"), HasSubstr("is kept")));
  const rigsync::Take Read = rigsync::Read_Recording(File, {});
  // 61 bytes each in blocks of 512 bytes.
  EXPECT_EQ(Read.Bodies.at(0).Samples.size(), (8 * 512 - 24) / 61U);
  EXPECT_THAT(Read.Warnings, Not(testing::Contains(HasSubstr("ends within"))));
}

TEST(RecordCommand, ASilentPortIsToldWithWhatToCheckAndLeavesNoFile) {
  const Scratch_Folder Scratch;
  const Finished Done =
      Rigsync({"record", "-o", "take.rsr", "--freed", "0", "--seconds", "0.3"}, Scratch.Path());
  EXPECT_EQ(Done.Status, 1);
  EXPECT_THAT(Done.Said, AllOf(HasSubstr("nothing was received"), HasSubstr("firewall"),
                               HasSubstr("--interface"), HasSubstr("There is no recording.")));
  EXPECT_FALSE(fs::exists(Scratch.Path() / "take.rsr"));
}

TEST(RecordCommand, PacketsThatNobodyKnowsAreRecordedAndTold) {
  const Scratch_Folder Scratch;
  const std::uint16_t Port = Free_Port();
  const Stream Sending([&](const Udp_Sender& Sender, int) { Sender.Send("hello", Port); });
  const Finished Done =
      Rigsync({"record", "-o", "take.rsr", "--freed", std::to_string(Port), "--packets", "20"},
              Scratch.Path());
  EXPECT_EQ(Done.Status, 1);
  EXPECT_THAT(Done.Output, HasSubstr("20 unknown packets"));
  EXPECT_THAT(Done.Output, Not(HasSubstr("rigsync import")));
  EXPECT_TRUE(fs::exists(Scratch.Path() / "take.rsr"));
}

TEST(RecordCommand, APortOfAnotherProgramIsToldWithItsNumber) {
  const Scratch_Folder Scratch;
  rigsync::Udp_Receiver Other;
  const std::string Port = std::to_string(Other.Listen(rigsync::Any_Address, 0));
  const Finished Done =
      Rigsync({"record", "-o", "take.rsr", "--freed", Port, "--seconds", "1"}, Scratch.Path());
  EXPECT_EQ(Done.Status, 2);
  EXPECT_THAT(Done.Said, AllOf(HasSubstr("--freed: port " + Port + " can't be used"),
                               HasSubstr("Another program listens there")));
  EXPECT_FALSE(fs::exists(Scratch.Path() / "take.rsr"));
}

TEST(RecordCommand, ArgumentsThatMakeNoSenseAreRefusedByName) {
  const Scratch_Folder Scratch;
  const std::vector<std::pair<std::vector<std::string>, std::string>> Cases = {
      {{}, "--freed or --opentrackio is missing"},
      {{"--freed", "65536"}, "--freed: '65536'"},
      {{"--freed", "6301,"}, "--freed: ''"},
      {{"--freed", "6301,6301"}, "each number once"},
      {{"--opentrackio", "201"}, "--opentrackio: '201'"},
      {{"--opentrackio", "1,x"}, "--opentrackio: 'x'"},
      {{"--freed", "0", "--interface", "eth0"}, "--interface: 'eth0'"},
      {{"--freed", "0", "--interface", "192.0.2.1"}, "Is --interface an address"},
      {{"--freed", "0", "--seconds", "0"}, "--seconds: '0'"},
      {{"--freed", "0", "--packets", "0"}, "--packets: '0'"}};
  for (const auto& [More, Said] : Cases) {
    std::vector<std::string> Arguments = {"record", "-o", "take.rsr"};
    Arguments.insert(Arguments.end(), More.begin(), More.end());
    const Finished Done = Rigsync(Arguments, Scratch.Path());
    EXPECT_EQ(Done.Status, 2) << Said;
    EXPECT_THAT(Done.Said, HasSubstr(Said));
  }
  const Finished Done = Rigsync({"record", "-o", "no/take.rsr", "--freed", "0"}, Scratch.Path());
  EXPECT_THAT(Done.Said, HasSubstr("a file in an existing folder"));
}

}  // namespace
