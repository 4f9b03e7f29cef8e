// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/photographs.h"

#include "rigsync/system/usage_error.h"
#include "tests/rigsync/footage/exif_picture.h"
#include "tests/support/scratch_folder.h"

#include <gmock/gmock.h>

#include <chrono>

namespace rigsync {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// 2024-05-17 10:21:33, counted by date.
constexpr double Moment = 1715941293.0;

std::string At(const char* Clock_Time, const std::string& Fraction = "",
               const std::string& Offset = "") {
  Exif_Fields Fields = {{Date_Time_Original, std::string("2024:05:17 ") + Clock_Time}};
  if (!Offset.empty()) Fields.emplace_back(Offset_Time_Original, Offset);
  if (!Fraction.empty()) Fields.emplace_back(Sub_Sec_Time_Original, Fraction);
  return Exif_Picture(Fields);
}

std::vector<std::string> Names(const Photographs& Read) {
  std::vector<std::string> List;
  for (const Photograph& Picture : Read.Pictures) List.push_back(Picture.File.filename().string());
  return List;
}

std::string Refusal(const fs::path& Folder, const Photograph_Options& Options = {}) {
  try {
    Read_Photographs(Folder, Options);
  } catch (const Usage_Error& Error) {
    EXPECT_EQ(std::string(Error.what()).rfind(Error.Option_Name() + ": ", 0), 0u) << Error.what();
    return Error.what();
  }
  return "accepted";
}

Photograph_Options With_List(const std::string& File) {
  Photograph_Options Options;
  Options.Times_File = File;
  return Options;
}

void Set_Time(const fs::path& File, double Seconds_Before_Now) {
  // A whole second, so that the difference of two files is exact.
  using std::chrono::seconds;
  const auto Now = fs::file_time_type::clock::now();
  const auto Whole = std::chrono::time_point_cast<seconds>(Now);
  fs::last_write_time(
      File, Whole - std::chrono::milliseconds(static_cast<long>(1000.0 * Seconds_Before_Now)));
}

TEST(Photographs, AreInTheOrderOfTheirExifTimes) {
  const Scratch_Folder Scratch;
  Scratch.Write("a.jpg", At("10:21:40"));
  Scratch.Write("b.JPG", At("10:21:33"));
  const Photographs Read = Read_Photographs(Scratch.Path(), {});
  EXPECT_THAT(Names(Read), ElementsAre("b.JPG", "a.jpg"));
  EXPECT_EQ(Read.Pictures[0].Seconds, Moment);
  EXPECT_EQ(Read.Pictures[1].Seconds, Moment + 7);
  EXPECT_EQ(Read.Source, Time_Source::Exif);
  EXPECT_EQ(Read.Resolution_Seconds, 1.0);
  EXPECT_FALSE(Read.Timecode_Start);
  EXPECT_THAT(Read.Warnings, IsEmpty());
}

TEST(Photographs, OfABurstWithinASecondKeepTheOrderOfTheirNumbers) {
  const Scratch_Folder Scratch;
  for (const char* Name : {"IMG_10.jpg", "IMG_9.jpg", "IMG_09.jpg", "IMG_100.jpg", "IMG.jpg"}) {
    Scratch.Write(Name, At("10:21:33"));
  }
  EXPECT_THAT(Names(Read_Photographs(Scratch.Path(), {})),
              ElementsAre("IMG.jpg", "IMG_09.jpg", "IMG_9.jpg", "IMG_10.jpg", "IMG_100.jpg"));
}

TEST(Photographs, HaveTheResolutionOfTheirFractions) {
  const Scratch_Folder Scratch;
  Scratch.Write("a.jpg", At("10:21:33", "00"));
  Scratch.Write("b.jpg", At("10:21:34", "25"));
  const Photographs Read = Read_Photographs(Scratch.Path(), {});
  EXPECT_EQ(Read.Resolution_Seconds, 0.01);
  EXPECT_EQ(Read.Pictures[1].Seconds, Moment + 1.25);
  // A camera that writes the field and no fraction.
  Scratch.Write("b.jpg", At("10:21:34", "00"));
  EXPECT_EQ(Read_Photographs(Scratch.Path(), {}).Resolution_Seconds, 1.0);
}

TEST(Photographs, AcrossAChangeOfTheOffsetFollowTheClockOfTheWorld) {
  const Scratch_Folder Scratch;
  Scratch.Write("a.jpg", At("10:21:33", "", "+02:00"));
  Scratch.Write("b.jpg", At("09:21:40", "", "+01:00"));
  const Photographs Read = Read_Photographs(Scratch.Path(), {});
  EXPECT_EQ(Read.Pictures[1].Seconds - Read.Pictures[0].Seconds, 7.0);
  EXPECT_EQ(Read.Pictures[0].Seconds, Moment - 7200);
  // One without: then the camera's clock is all there is.
  Scratch.Write("c.jpg", At("10:21:35"));
  EXPECT_THAT(Names(Read_Photographs(Scratch.Path(), {})), ElementsAre("b.jpg", "a.jpg", "c.jpg"));
}

TEST(Photographs, WithoutExifAmongManyThatHaveItAreLeftOutAndNamed) {
  const Scratch_Folder Scratch;
  Scratch.Write("a.jpg", At("10:21:33"));
  Scratch.Write("b.jpg", At("10:21:34"));
  Scratch.Write("logo.png", Png_Picture());
  const Photographs Read = Read_Photographs(Scratch.Path(), {});
  EXPECT_THAT(Names(Read), ElementsAre("a.jpg", "b.jpg"));
  EXPECT_THAT(Read.Warnings,
              ElementsAre("1 of 3 pictures has no time in EXIF and is left out: logo.png."));
}

TEST(Photographs, OfWhichHalfHaveNoExifAreRefused) {
  const Scratch_Folder Scratch;
  Scratch.Write("a.jpg", At("10:21:33"));
  Scratch.Write("b.png", Png_Picture());
  EXPECT_EQ(Refusal(Scratch.Path()),
            "--images: " + Scratch.String() +
                ": 1 of 2 pictures have no time in EXIF: b.png; give the times of all in a list "
                "with --times, or keep only pictures of one kind in the folder");
}

TEST(Photographs, WithAFaultyFieldAreNamedWithIt) {
  const Scratch_Folder Scratch;
  const std::string File = Scratch.Write("a.jpg", At("10:61:33"));
  EXPECT_EQ(Refusal(Scratch.Path()),
            "--images: " + File +
                ": EXIF: DateTimeOriginal '2024:05:17 10:61:33' is no date and time; correct it, "
                "or give the times of all pictures in a list with --times");
}

TEST(Photographs, WithoutExifHaveTheTimesOfTheirFiles) {
  const Scratch_Folder Scratch;
  Set_Time(Scratch.Write("a.png", Png_Picture()), 100.0);
  Set_Time(Scratch.Write("b.png", Png_Picture()), 110.25);
  const Photographs Read = Read_Photographs(Scratch.Path(), {});
  EXPECT_EQ(Read.Source, Time_Source::File_Time);
  EXPECT_THAT(Names(Read), ElementsAre("b.png", "a.png"));
  // Doubles of this size step by a quarter of a microsecond.
  EXPECT_NEAR(Read.Pictures[1].Seconds - Read.Pictures[0].Seconds, 10.25, 1e-6);
  const double Now =
      std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  EXPECT_NEAR(Read.Pictures[1].Seconds, Now - 100.0, 30.0);
  EXPECT_EQ(Read.Resolution_Seconds, 0.001);
  Set_Time(Scratch.Path() / "b.png", 111.0);
  EXPECT_GE(Read_Photographs(Scratch.Path(), {}).Resolution_Seconds, 1.0);
}

TEST(Photographs, TakeTheSourceThatIsAskedFor) {
  const Scratch_Folder Scratch;
  Scratch.Write("a.jpg", At("10:21:33"));
  Photograph_Options Options;
  Options.Source = Time_Source::File_Time;
  EXPECT_EQ(Read_Photographs(Scratch.Path(), Options).Source, Time_Source::File_Time);
  const Scratch_Folder Without;
  Without.Write("a.png", Png_Picture());
  Options.Source = Time_Source::Exif;
  EXPECT_THAT(Refusal(Without.Path(), Options), HasSubstr("no picture has a time in EXIF"));
}

TEST(Photographs, HaveTheTimesOfAListBeforeAllOthers) {
  const Scratch_Folder Scratch;
  Scratch.Write("a.jpg", At("10:21:33"));
  Scratch.Write("b.jpg", At("10:21:34"));
  const Scratch_Folder Lists;
  const Photographs Read = Read_Photographs(
      Scratch.Path(), With_List(Lists.Write("times.csv", "a.jpg,12.50\nb.jpg,3.25\n")));
  EXPECT_THAT(Names(Read), ElementsAre("b.jpg", "a.jpg"));
  EXPECT_EQ(Read.Pictures[0].Seconds, 3.25);
  EXPECT_EQ(Read.Source, Time_Source::List);
  EXPECT_EQ(Read.Resolution_Seconds, 0.01);
  EXPECT_FALSE(Read.Timecode_Start);
}

TEST(Photographs, OfAListWithTimecodesHaveAStart) {
  const Scratch_Folder Scratch;
  Scratch.Write("a.png", Png_Picture());
  const Scratch_Folder Lists;
  Photograph_Options Options = With_List(Lists.Write("times.csv", "a.png,10:00:00:05\n"));
  Options.Times_Rate = Frame_Rate{25, 1};
  const Photographs Read = Read_Photographs(Scratch.Path(), Options);
  EXPECT_DOUBLE_EQ(Read.Pictures[0].Seconds + Read.Timecode_Start.value(), 36000.2);
}

TEST(Photographs, ThatAListDoesntNameAreLeftOutAndNamed) {
  const Scratch_Folder Scratch;
  for (int i = 1; i <= 7; ++i) Scratch.Write("p" + std::to_string(i) + ".png", Png_Picture());
  const Scratch_Folder Lists;
  const Photographs Read =
      Read_Photographs(Scratch.Path(), With_List(Lists.Write("times.csv", "p2.png,1\n")));
  EXPECT_THAT(Names(Read), ElementsAre("p2.png"));
  EXPECT_THAT(Read.Warnings, ElementsAre("6 pictures that the list of times doesn't name are left "
                                         "out: p1.png, p3.png, p4.png and 3 more."));
}

TEST(Photographs, ThatAListNamesAndThatAreNotThereAreRefusedWithTheLine) {
  const Scratch_Folder Scratch;
  Scratch.Write("IMG_1.png", Png_Picture());
  const Scratch_Folder Lists;
  const std::string List = Lists.Write("times.csv", "name,time\nimg_1.jpg,1\n");
  EXPECT_EQ(Refusal(Scratch.Path(), With_List(List)),
            "--times: " + List + ": line 2: 'img_1.jpg' is no picture in " + Scratch.String() +
                "; did you mean 'IMG_1.png'?");
  const std::string Empty = Lists.Write("empty.csv", "name,time\n");
  EXPECT_THAT(Refusal(Scratch.Path(), With_List(Empty)),
              HasSubstr(Empty + ": has no times; expected a line NAME,TIME for each picture"));
}

TEST(Photographs, AreWhatCanBeReadAndTheRestIsCounted) {
  const Scratch_Folder Scratch;
  Scratch.Write("a.png", Png_Picture());
  Scratch.Write("b.heic", "ftypheic");
  Scratch.Write("c.HEIC", "ftypheic");
  Scratch.Write("notes", "text");
  Scratch.Write("broken.jpg", "no picture");
  Scratch.Write("._a.png", Png_Picture());
  fs::create_directory(Scratch.Path() / "folder.png");
  const Photographs Read = Read_Photographs(Scratch.Path(), {});
  EXPECT_THAT(Names(Read), ElementsAre("a.png"));
  EXPECT_THAT(Read.Warnings,
              ElementsAre("Files that are no pictures, or that can't be read, are left out: "
                          "1 without an ending, 2 .heic, 1 .jpg."));
}

TEST(Photographs, AFolderWithoutThemIsRefusedWithWhatItHas) {
  const Scratch_Folder Scratch;
  EXPECT_EQ(Refusal(Scratch.Path()),
            "--images: " + Scratch.String() + ": is empty; expected photographs");
  Scratch.Write("a.cr3", "raw");
  EXPECT_EQ(Refusal(Scratch.Path()), "--images: " + Scratch.String() +
                                         ": has no pictures that can be read, only 1 .cr3; save "
                                         "the photographs as JPEG, PNG or TIFF");
  EXPECT_THAT(Refusal(Scratch.Path() / "none"), HasSubstr("can't be read (No such file"));
  EXPECT_THAT(Refusal(Scratch.Path() / "a.cr3"), HasSubstr("can't be read (Not a directory)"));
}

}  // namespace
}  // namespace rigsync
