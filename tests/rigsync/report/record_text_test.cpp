// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/record_text.h"

#include <gmock/gmock.h>

#include <string>

namespace rigsync {
namespace {

using testing::HasSubstr;

Live_Body Body(const std::string& Name, Motion State) {
  Live_Body Body;
  Body.Name = Name;
  Body.State = State;
  Body.Rate_Hz = 99.6;
  Body.Mean_Rate_Hz = 98.76;
  Body.Samples = 1234;
  return Body;
}

TEST(LiveLine, HasTheTimeThePictureTheBodiesAndWhatIsWrong) {
  Live_View View;
  View.Seconds = 62.9;
  EXPECT_EQ(Live_Line(View), "1:02  nothing received yet");
  View.Bodies = {Body("freed-1", Motion::Still), Body("freed-2", Motion::Moving),
                 Body("freed-3", Motion::Unknown), Body("freed-4", Motion::Still),
                 Body("freed-5", Motion::Still)};
  View.Bodies[3].Is_Tracked = false;
  View.Bodies[4].Is_Silent = true;
  EXPECT_EQ(Live_Line(View),
            "1:02  freed-1 still 100 Hz, freed-2 moving 100 Hz, freed-3 seen 100 Hz, freed-4 lost "
            "100 Hz, freed-5 silent");
  View.Bodies.resize(1);
  View.Is_Picture_Time = true;
  View.Holds = 3;
  View.Bodies[0].Gaps = 1;
  View.Counts = {9, 1, 2, 1, 2, 1};
  EXPECT_EQ(Live_Line(View),
            "1:02  take the picture now (hold 3)  freed-1 still 100 Hz, 1 gap, 1 wrong checksum, 2 "
            "unknown packets, 1 unreadable sample, 1 unfinished packet, 2 doubled packets");
}

TEST(SilenceText, TellsNothingFromNothingThatCanBeUsed) {
  Live_View View;
  View.Seconds = 5.0;
  EXPECT_EQ(Silence_Text(View, "FreeD on port 6301"),
            "nothing was received in 5 seconds from FreeD on port 6301. Check that the tracker "
            "sends to this machine's address and to this port, that the firewall lets UDP to it "
            "through, and, for a multicast group, that --interface names the network card of the "
            "stage.");
  View.Counts.Packets = View.Counts.Unknown = 12;
  EXPECT_EQ(Silence_Text(View, "FreeD on port 6301"),
            "12 packets came in 5 seconds, and none can be used: 12 unknown packets. What comes is "
            "recorded all the same. Check that the tracker sends FreeD D1 or OpenTrackIO.");
}

TEST(RecordedText, HasEachBodyWhatIsWrongAndTheNextCommand) {
  Live_View View;
  View.Seconds = 12.34;
  View.Counts.Packets = 1300;
  EXPECT_EQ(Recorded_Text(View, "take.rec", 999),
            "Recorded 1300 packets in 12.3 s to take.rec, 1 kB.\n");
  View.Counts.Unknown = 1;
  View.Holds = 2;
  View.Bodies = {Body("one", Motion::Still), Body("three", Motion::Still)};
  View.Bodies[1].Samples = 1;
  View.Bodies[1].Gaps = 2;
  View.Bodies[1].Longest_Gap_Seconds = 0.256;
  const std::string Text = Recorded_Text(View, "take.rec", 1'250'000);
  EXPECT_THAT(Text, HasSubstr("Recorded 1300 packets in 12.3 s to take.rec, 1.2 MB.\n"
                              "  one    1234 samples, 98.8 Hz, no gaps\n"
                              "  three  1 sample, 98.8 Hz, 2 gaps, the longest 0.26 s\n"
                              "Besides: 1 unknown packet.\n"
                              "Everything stood still 2 times.\n"
                              "\n"
                              "Next, with the name of the camera's body after --camera:\n"
                              "  rigsync import take.rec --camera one --board three"));
  EXPECT_THAT(Text, HasSubstr("--images photographs -o capture.csv\n"));
  View.Holds = 1;
  View.Bodies.resize(1);
  EXPECT_THAT(Recorded_Text(View, "take.rec", 1'000'000), HasSubstr("take.rec, 1.0 MB.\n"));
  EXPECT_THAT(Recorded_Text(View, "take.rec", 949'499), HasSubstr("take.rec, 949 kB.\n"));
  EXPECT_THAT(Recorded_Text(View, "take.rec", 1), HasSubstr("Everything stood still 1 time.\n"));
  EXPECT_THAT(Recorded_Text(View, "take.rec", 1), testing::Not(HasSubstr("--board")));
}

}  // namespace
}  // namespace rigsync
