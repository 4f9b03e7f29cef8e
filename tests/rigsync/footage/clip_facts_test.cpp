// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/clip_facts.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace rigsync {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A picture stream with these other fields.
std::string Pictures(const std::string& Fields) {
  return R"({"index": 2, "codec_type": "video", "width": 1920, "height": 1080, )"
         R"("disposition": {"attached_pic": 0}, )" +
         Fields + "}";
}

std::string Described(const std::string& Streams, const std::string& Format = "") {
  return R"({"programs": [], "streams": [)" + Streams + R"(], "format": {)" + Format + "}}";
}

const char* const Rate_25 = R"("avg_frame_rate": "25/1", "r_frame_rate": "25/1")";

std::string Refusal(const std::string& Json) {
  try {
    Parse_Clip_Facts(Json);
  } catch (const std::runtime_error& Error) {
    return Error.what();
  }
  return "accepted";
}

TEST(ClipFacts, AreThoseOfTheFirstPictureStreamThatIsNoCover) {
  const Clip_Facts Facts = Parse_Clip_Facts(Described(
      R"({"index": 0, "codec_type": "audio"}, {"index": 1, "codec_type": "video", "width": 600,
          "height": 600, "avg_frame_rate": "0/0", "disposition": {"attached_pic": 1}}, )" +
          Pictures(R"("avg_frame_rate": "30000/1001", "duration": "12.5")"),
      R"("duration": "13.0")"));
  EXPECT_EQ(Facts.Stream, 2u);
  EXPECT_EQ(Facts.Width, 1920);
  EXPECT_EQ(Facts.Height, 1080);
  EXPECT_EQ(Facts.Rate.Numerator, 30000);
  EXPECT_EQ(Facts.Rate.Denominator, 1001);
  EXPECT_EQ(Facts.Seconds, 12.5);
  EXPECT_FALSE(Facts.Timecode_Start);
  EXPECT_THAT(Facts.Warnings, IsEmpty());
}

TEST(ClipFacts, OfAMatroskaFileHaveTheLengthOfTheFile) {
  EXPECT_EQ(Parse_Clip_Facts(Described(Pictures(Rate_25), R"("duration": "13.0")")).Seconds, 13.0);
  EXPECT_EQ(Parse_Clip_Facts(Described(Pictures(Rate_25))).Seconds, 0.0);
}

// 250 frames of which half are in the file, and 250 of which an edit list shows half.
TEST(ClipFacts, OfAnAviFileHaveTheLengthOfItsFrames) {
  const std::string Stream =
      Pictures(std::string(Rate_25) + R"(, "duration": "5.0", "nb_frames": "250")");
  EXPECT_EQ(Parse_Clip_Facts(Described(Stream, R"("format_name": "avi")")).Seconds, 10.0);
  EXPECT_EQ(Parse_Clip_Facts(Described(Stream, R"("format_name": "mov,mp4")")).Seconds, 5.0);
}

TEST(ClipFacts, AreOfFramesAsTheyAreShown) {
  for (const char* Angle : {"90", "-90", "270", "-270"}) {
    const Clip_Facts Facts = Parse_Clip_Facts(Described(Pictures(
        std::string(Rate_25) + R"(, "side_data_list": [{}, {"rotation": )" + Angle + "}]")));
    EXPECT_EQ(Facts.Width, 1080) << Angle;
    EXPECT_EQ(Facts.Height, 1920) << Angle;
  }
  const Clip_Facts Upside_Down = Parse_Clip_Facts(
      Described(Pictures(std::string(Rate_25) + R"(, "side_data_list": [{"rotation": -180}])")));
  EXPECT_EQ(Upside_Down.Width, 1920);
}

TEST(ClipFacts, TakeTheTimecodeOfThePicturesThenOfItsStreamThenOfTheFile) {
  const std::string Tag = R"("tags": {"timecode": "01:00:00:)";
  const std::string Track =
      R"(, {"index": 3, "codec_type": "data", "codec_tag_string": "tmcd", )" + Tag + R"(02"}})";
  const std::string Of_File = Tag + R"(03"})";
  const std::string Own = std::string(Rate_25) + ", " + Tag + R"(01"})";
  EXPECT_DOUBLE_EQ(
      Parse_Clip_Facts(Described(Pictures(Own) + Track, Of_File)).Timecode_Start.value(),
      3600 + 1 / 25.0);
  EXPECT_DOUBLE_EQ(
      Parse_Clip_Facts(Described(Pictures(Rate_25) + Track, Of_File)).Timecode_Start.value(),
      3600 + 2 / 25.0);
  EXPECT_DOUBLE_EQ(Parse_Clip_Facts(Described(Pictures(Rate_25), Of_File)).Timecode_Start.value(),
                   3600 + 3 / 25.0);
}

// Rates of pictures and of the stream of timecodes, and the seconds of one hour and ten frames.
TEST(ClipFacts, CountATimecodeAtTheRateOfItsStream) {
  struct Case {
    const char* Pictures_Rate;
    const char* Own_Rate;
    const char* Code;
    double Seconds;
  };
  const Case Cases[] = {
      {"50/1", "25/1", "01:00:00:10", 3600.4},
      {"50/1", "50/1", "01:00:00:10", 3600.2},
      {"12800/256", "12800/512", "01:00:00:10", 3600.4},
      // 30 numbers take 1.001 s.
      {"30000/1001", "30/1", "01:00:00:10", 3603.6 + 10.01 / 30},
      {"60000/1001", "30/1", "01:00:00:10", 3603.6 + 10.01 / 30},
      {"30/1", "30/1", "01:00:00:10", 3600 + 10.0 / 30},
      {"24000/1001", "24000/1001", "01:00:00:10", 3603.6 + 10.01 / 24},
      // 108 numbers of the hour are dropped.
      {"60000/1001", "30/1", "01:00:00;10", (108000 - 108 + 10) * 1.001 / 30},
  };
  for (const Case& Each : Cases) {
    const std::string Json =
        Described(Pictures(std::string(R"("avg_frame_rate": ")") + Each.Pictures_Rate +
                           R"(", "r_frame_rate": ")" + Each.Pictures_Rate + R"(")") +
                  R"(, {"codec_type": "data", "codec_tag_string": "tmcd", "avg_frame_rate": ")" +
                  Each.Own_Rate + R"(", "tags": {"timecode": ")" + Each.Code + R"("}})");
    EXPECT_NEAR(Parse_Clip_Facts(Json).Timecode_Start.value(), Each.Seconds, 1e-9)
        << Each.Pictures_Rate << " " << Each.Own_Rate << " " << Each.Code;
  }
}

TEST(ClipFacts, LeaveOutATimecodeThatTheRateDoesntHave) {
  const Clip_Facts Facts = Parse_Clip_Facts(
      Described(Pictures(std::string(Rate_25) + R"(, "tags": {"timecode": "01:00:00:29"})")));
  EXPECT_FALSE(Facts.Timecode_Start);
  EXPECT_THAT(Facts.Warnings,
              ElementsAre("The clip's timecode '01:00:00:29' is none at 25 frames per second, and "
                          "is left out."));
}

TEST(ClipFacts, WarnOfPixelsThatAreNotSquare) {
  const Clip_Facts Facts = Parse_Clip_Facts(
      Described(Pictures(std::string(Rate_25) + R"(, "sample_aspect_ratio": "4:3")")));
  EXPECT_EQ(Facts.Width, 1920);
  EXPECT_THAT(Facts.Warnings, ElementsAre(HasSubstr("(pixels of 4:3)")));
}

TEST(ClipFacts, OfAnotherTextAreRefusedWithTheReason) {
  EXPECT_EQ(Refusal(""), "ffprobe doesn't describe it");
  EXPECT_EQ(Refusal("{"), "ffprobe doesn't describe it");
  EXPECT_EQ(Refusal("[]"), "has no picture stream");
  EXPECT_EQ(Refusal(R"({"streams": 3})"), "has no picture stream");
  EXPECT_EQ(Refusal(Described(R"({"codec_type": "audio"})")), "has no picture stream");
  EXPECT_EQ(Refusal(Described(Pictures(R"("avg_frame_rate": "0/0")"))), "states no frame rate");
  EXPECT_EQ(Refusal(Described(R"({"codec_type": "video", "width": 0, "height": 4})")),
            "states a width that no picture has");
  EXPECT_EQ(Refusal(Described(R"({"codec_type": "video", "width": 4, "height": 1e9})")),
            "states a height that no picture has");
}

TEST(FrameTimes, AreThoseOfShowingInTheUnitOfTheHead) {
  Frame_Times Times;
  for (const char* Line : {"#software: Lavf59.27.100", "#tb 0: 1/1000", "#media_type 0: video",
                           "0,          0,          0,    40,   129600, 0x36bb28ae",
                           "0,         40,        120,    40,   129600, 0x370d4051, S=1,  8"}) {
    EXPECT_TRUE(Times.Take_Line(Line)) << Line;
  }
  EXPECT_THAT(Times.Seconds(), ElementsAre(0.0, 0.12));
}

// Two threads of ffmpeg write to the same pipe.
TEST(FrameTimes, AreReadBehindTheBeginningOfAMessage) {
  Frame_Times Times;
  EXPECT_TRUE(Times.Take_Line("[h264 @ 0x5581] 0,  40000,  40000,  40000,   129600, 0x370d4051"));
  EXPECT_THAT(Times.Seconds(), ElementsAre(0.04));
  for (const char* Line : {"[h264 @ 0x5581] error while decoding MB 11 7", "0, 1, 2", "",
                           "0,  40000,  40000,  40000,   129600", "1, 4, 4, 4, 1296, 0x370d4051"}) {
    EXPECT_FALSE(Times.Take_Line(Line)) << Line;
  }
  EXPECT_EQ(Times.Seconds().size(), 1u);
}

}  // namespace
}  // namespace rigsync
