// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/exif_time.h"

#include "tests/rigsync/footage/exif_picture.h"

#include <gmock/gmock.h>

namespace rigsync {
namespace {

using testing::IsEmpty;

// 2024-05-17 10:21:33, counted by date.
constexpr double Moment = 1715941293.0;

TEST(ExifTime, IsThatOfTheOriginal) {
  const Exif_Time Read = Parse_Exif_Time(Exif_Picture(
      {{Date_Time_Original, "2024:05:17 10:21:33"}, {Date_Time_Digitized, "2024:05:18 00:00:00"}}));
  ASSERT_TRUE(Read.Time);
  EXPECT_EQ(Read.Time->Time.Seconds, Moment);
  EXPECT_EQ(Read.Time->Time.Decimals, 0);
  EXPECT_FALSE(Read.Time->Offset_Seconds);
}

TEST(ExifTime, HasTheFractionAndTheOffsetOfTheirFields) {
  const Exif_Time Read = Parse_Exif_Time(Exif_Picture({{Date_Time_Original, "2024:05:17 10:21:33"},
                                                       {Offset_Time_Original, "+02:00"},
                                                       {Sub_Sec_Time_Original, "75 "}}));
  ASSERT_TRUE(Read.Time);
  EXPECT_EQ(Read.Time->Time.Seconds, Moment + 0.75);
  EXPECT_EQ(Read.Time->Time.Decimals, 2);
  EXPECT_EQ(Read.Time->Offset_Seconds.value(), 7200.0);
}

TEST(ExifTime, IsFoundBehindOtherSegmentsAndInEitherByteOrder) {
  const Exif_Fields Fields = {{Date_Time_Original, "2024:05:17 10:21:33"}};
  const std::string Exif =
      Jpeg_Segment(0xe1, std::string("Exif\0\0", 6) + Tiff_Block(Fields, /*Is_Big_Endian=*/true));
  const std::string Other =
      Jpeg_Segment(0xe1, std::string("http://ns.adobe.com/xap/1.0/\0<x/>", 33));
  const Exif_Time Read =
      Parse_Exif_Time(Jpeg_Picture({Jpeg_Segment(0xfe, "a comment"), Other, "\xff", Exif}));
  ASSERT_TRUE(Read.Time);
  EXPECT_EQ(Read.Time->Time.Seconds, Moment);
}

TEST(ExifTime, IsReadFromATiffFile) {
  const Exif_Time Read = Parse_Exif_Time(Tiff_Block({{Date_Time_Original, "2024:05:17 10:21:33"}}));
  ASSERT_TRUE(Read.Time);
  EXPECT_EQ(Read.Time->Time.Seconds, Moment);
}

TEST(ExifTime, IsNothingWithoutTheFieldAndForAClockThatIsNotSet) {
  for (const std::string& Bytes : {std::string(), Jpeg_Picture(), Png_Picture(), Exif_Picture({}),
                                   Exif_Picture({{Date_Time_Digitized, "2024:05:17 10:21:33"}}),
                                   Exif_Picture({{Date_Time_Original, "0000:00:00 00:00:00"}}),
                                   Exif_Picture({{Date_Time_Original, "    :  :     :  :  "}})}) {
    const Exif_Time Read = Parse_Exif_Time(Bytes);
    EXPECT_FALSE(Read.Time);
    EXPECT_THAT(Read.Fault, IsEmpty());
  }
}

TEST(ExifTime, AFieldThatCantBeReadIsNamed) {
  const std::pair<Exif_Fields, const char*> Cases[] = {
      {{{Date_Time_Original, "2024:13:17 10:21:33"}},
       "DateTimeOriginal '2024:13:17 10:21:33' is no date and time"},
      {{{Date_Time_Original, "2024:05:17 10:21:33"}, {Sub_Sec_Time_Original, "x5"}},
       "SubSecTimeOriginal 'x5' is no fraction of a second"},
      {{{Date_Time_Original, "2024:05:17 10:21:33"}, {Offset_Time_Original, "CEST"}},
       "OffsetTimeOriginal 'CEST' is no offset from UTC"}};
  for (const auto& [Fields, Fault] : Cases) {
    const Exif_Time Read = Parse_Exif_Time(Exif_Picture(Fields));
    EXPECT_FALSE(Read.Time);
    EXPECT_EQ(Read.Fault, Fault);
  }
}

// A camera's file that was cut off in the middle of its EXIF.
TEST(ExifTime, ATruncatedFileIsReadAsFarAsItGoes) {
  const std::string Whole = Exif_Picture({{Date_Time_Original, "2024:05:17 10:21:33"}});
  for (std::size_t Size = 0; Size < 120; ++Size) {
    const Exif_Time Read = Parse_Exif_Time(Whole.substr(0, Size));
    EXPECT_TRUE(!Read.Time || Read.Time->Time.Seconds == Moment) << Size;
  }
}

}  // namespace
}  // namespace rigsync
