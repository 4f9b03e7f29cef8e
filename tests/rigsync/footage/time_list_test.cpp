// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/time_list.h"

#include "rigsync/system/usage_error.h"

#include <gmock/gmock.h>

namespace rigsync {
namespace {

using testing::HasSubstr;

constexpr Frame_Rate Rate_25{25, 1};

Time_List Parse(const std::string& Text, const std::optional<Frame_Rate>& Rate = Rate_25) {
  return Parse_Time_List(Text, "times.csv", Rate);
}

std::string Refusal(const std::string& Text, const std::optional<Frame_Rate>& Rate = Rate_25) {
  try {
    Parse(Text, Rate);
  } catch (const Usage_Error& Error) {
    EXPECT_EQ(Error.Option_Name(), "--times");
    return Error.what();
  }
  return "accepted";
}

TEST(TimeList, HasNamesAndSecondsInItsOrder) {
  const Time_List List = Parse("b.jpg,12.5\na.jpg, 3\n");
  EXPECT_EQ(List.Form, Time_Form::Seconds);
  EXPECT_EQ(List.Resolution_Seconds, 0.1);
  ASSERT_EQ(List.Times.size(), 2u);
  EXPECT_EQ(List.Times[0].Name, "b.jpg");
  EXPECT_EQ(List.Times[0].Seconds, 12.5);
  EXPECT_EQ(List.Times[1].Name, "a.jpg");
  EXPECT_EQ(List.Times[1].Line, 2u);
}

TEST(TimeList, TakesWhatProgramsPutAroundIt) {
  const Time_List List = Parse(
      "\xef\xbb\xbfSourceFile,SubSecDateTimeOriginal\r\n\r\n"
      "./IMG_1.JPG,2024:05:17 10:21:33.25+02:00\r\n"
      "\"a, b.jpg\",\"2024:05:17 10:21:34.50+02:00\"\r\n"
      "c.jpg\t2024-05-17T08:21:35.75Z");
  EXPECT_EQ(List.Form, Time_Form::Date_And_Time);
  EXPECT_EQ(List.Resolution_Seconds, 0.01);
  ASSERT_EQ(List.Times.size(), 3u);
  EXPECT_EQ(List.Times[0].Name, "IMG_1.JPG");
  EXPECT_EQ(List.Times[1].Name, "a, b.jpg");
  EXPECT_EQ(List.Times[2].Line, 5u);
  // 10:21:33.25 at two hours ahead of UTC.
  EXPECT_EQ(List.Times[0].Seconds, 1715941293.25 - 7200);
  EXPECT_EQ(List.Times[2].Seconds - List.Times[0].Seconds, 2.5);
}

TEST(TimeList, TimecodesAreSecondsSinceMidnightAtTheStatedRate) {
  const Time_List List = Parse("a.jpg,10:21:33:07\n");
  EXPECT_EQ(List.Form, Time_Form::Timecode);
  EXPECT_EQ(List.Resolution_Seconds, 0.04);
  EXPECT_DOUBLE_EQ(List.Times[0].Seconds, 10 * 3600 + 21 * 60 + 33 + 7 / 25.0);
  EXPECT_THAT(Refusal("a.jpg,10:21:33:07\n", std::nullopt),
              HasSubstr("times.csv: line 1: '10:21:33:07' is a timecode, and the list does not say "
                        "at which rate; state it with --times-rate"));
  EXPECT_THAT(Refusal("a.jpg,10:21:33:25\n"),
              HasSubstr("there is no timecode '10:21:33:25' at 25 frames per second"));
}

TEST(TimeList, GoesOnAfterMidnight) {
  const Time_List List = Parse("b.jpg,00:00:10:00\na.jpg,23:59:50:00\n");
  EXPECT_EQ(List.Times[0].Seconds - List.Times[1].Seconds, 20.0);
  const Time_List Of_Day = Parse("a.jpg,23:59:50.5\nb.jpg,00:00:10.5\n");
  EXPECT_EQ(Of_Day.Form, Time_Form::Time_Of_Day);
  EXPECT_EQ(Of_Day.Times[1].Seconds - Of_Day.Times[0].Seconds, 20.0);
  const Time_List Morning_And_Evening = Parse("a.jpg,08:00:00\nb.jpg,19:00:00\n");
  EXPECT_EQ(Morning_And_Evening.Times[0].Seconds, 8 * 3600.0);
}

TEST(TimeList, RefusesALineWithItsNumberAndWhatIsExpected) {
  const std::pair<const char*, const char*> Cases[] = {
      {"a.jpg 12\n", "--times: times.csv: line 1: expected NAME,TIME but got 'a.jpg 12'"},
      {"a.jpg,1\nb.jpg,noon\n", "line 2: 'noon' is no time; expected seconds (12.48), a timecode"},
      {"a.jpg,12.4.8\n", "line 1: '12.4.8' is no time"},
      {"a.jpg,1\n,2\n", "line 2: the name of the picture is missing"},
      {"a.jpg,1\n\na.jpg,2\n", "line 3: 'a.jpg' is listed on line 1 already"},
      {"a.jpg,1\nb.jpg,10:21:33\n",
       "line 2: '10:21:33' is a time of day, and line 1 has seconds; expected the same form"},
      {"a.jpg,2024-05-17T10:21:33\nb.jpg,2024-05-17T10:21:34Z\n",
       "line 2: '2024-05-17T10:21:34Z' is with an offset from UTC, unlike line 1"},
  };
  for (const auto& [Text, Sentence] : Cases) EXPECT_THAT(Refusal(Text), HasSubstr(Sentence));
  EXPECT_THAT(Refusal(std::string("a\0,\0001\0\n\0", 8)), HasSubstr("is not text in UTF-8"));
}

TEST(TimeList, OfAHeaderOrOfNothingIsEmpty) {
  EXPECT_TRUE(Parse("").Times.empty());
  EXPECT_TRUE(Parse("name,time\n").Times.empty());
}

TEST(TimeList, AFileThatCantBeReadIsNamedWithTheReason) {
  try {
    Read_Time_List("/no/such/list.csv", std::nullopt);
    ADD_FAILURE() << "no exception";
  } catch (const Usage_Error& Error) {
    EXPECT_STREQ(Error.what(),
                 "--times: /no/such/list.csv: can't be opened (No such file or directory)");
  }
}

TEST(TimeList, AFolderIsNamedAsWhatCantBeRead) {
  try {
    Read_Time_List("/", std::nullopt);
    ADD_FAILURE() << "no exception";
  } catch (const Usage_Error& Error) {
    EXPECT_STREQ(Error.what(), "--times: /: can't be read");
  }
}

}  // namespace
}  // namespace rigsync
