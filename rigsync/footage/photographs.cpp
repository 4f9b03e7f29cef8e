// SPDX-License-Identifier: Apache-2.0
#include "rigsync/footage/photographs.h"

#include "rigsync/footage/exif_time.h"
#include "rigsync/footage/time_list.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr const char* Folder_Flag = "--images";
constexpr const char* Times_Flag = "--times";

[[noreturn]] void Refuse_Folder(const fs::path& Folder, const std::string& Why) {
  throw Usage_Error(Folder_Flag, fmt::format("{}: {}: {}", Folder_Flag, Folder.string(), Why));
}

std::string Name_Of(const fs::path& File) {
  return File.filename().string();
}

bool Is_Digit(char Letter) {
  return Letter >= '0' && Letter <= '9';
}

// Takes the run of digits, or of other letters, at the front of Text.
std::string_view Take_Run(std::string_view& Text) {
  std::size_t Length = 1;
  while (Length < Text.size() && Is_Digit(Text[Length]) == Is_Digit(Text[0])) ++Length;
  const std::string_view Run = Text.substr(0, Length);
  Text.remove_prefix(Length);
  return Run;
}

std::string_view Without_Zeros(std::string_view Digits) {
  return Digits.substr(std::min(Digits.find_first_not_of('0'), Digits.size()));
}

// Numbers in names by their value, IMG_9 before IMG_10, and the rest by its letters.
bool Is_Name_Before(std::string_view Left, std::string_view Right) {
  const std::pair<std::string_view, std::string_view> Whole(Left, Right);
  while (!Left.empty() && !Right.empty()) {
    const std::string_view First = Take_Run(Left);
    const std::string_view Second = Take_Run(Right);
    if (Is_Digit(First[0]) && Is_Digit(Second[0])) {
      const std::string_view Number = Without_Zeros(First);
      const std::string_view Other_Number = Without_Zeros(Second);
      if (Number.size() != Other_Number.size()) return Number.size() < Other_Number.size();
      if (Number != Other_Number) return Number < Other_Number;
    } else if (First != Second) {
      return First < Second;
    }
  }
  if (Left.empty() != Right.empty()) return Left.empty();
  return Whole.first < Whole.second;  // 07 and 7
}

bool Is_Before(const Photograph& Left, const Photograph& Right) {
  if (Left.Seconds != Right.Seconds) return Left.Seconds < Right.Seconds;
  return Is_Name_Before(Name_Of(Left.File), Name_Of(Right.File));
}

// "a.png, b.png and 4 more"
std::string Some_Names(const std::vector<fs::path>& Files) {
  constexpr std::size_t Most_Names = 3;
  const std::size_t Shown = Files.size() > Most_Names + 1 ? Most_Names : Files.size();
  std::vector<std::string> Names;
  for (std::size_t i = 0; i < Shown; ++i) Names.push_back(Name_Of(Files[i]));
  if (Shown == Files.size()) return fmt::format("{}", fmt::join(Names, ", "));
  return fmt::format("{} and {} more", fmt::join(Names, ", "), Files.size() - Shown);
}

// "1 picture", "3 pictures"
std::string Count_Text(std::size_t Count, const char* One, const char* Several) {
  return fmt::format("{} {}", Count, Count == 1 ? One : Several);
}

// ---- The folder --------------------------------------------------------------------------------

struct Folder_Content {
  std::vector<fs::path> Pictures;       // by name
  std::map<std::string, int> Left_Out;  // other files by their ending, and how many
};

// The endings of pictures. Raw files of cameras are left out even where a decoder would find the
// small preview inside them, as in a DNG.
bool Has_Picture_Ending(const fs::path& File) {
  static const std::set<std::string> Endings = {
      ".bmp", ".dib", ".jpeg", ".jpg", ".jpe", ".jp2", ".exr", ".hdr",  ".pbm", ".pgm",
      ".png", ".pnm", ".ppm",  ".ras", ".sr",  ".pic", ".tif", ".tiff", ".webp"};
  return Endings.count(Lower_Case(File.extension().string())) == 1;
}

std::vector<fs::path> Files_In(const fs::path& Folder) {
  std::error_code Reason;
  fs::directory_iterator Next(Folder, Reason);
  std::vector<fs::path> Files;
  for (; !Reason && Next != fs::directory_iterator(); Next.increment(Reason)) {
    std::error_code Ignored;
    // Hidden files are those of the system, such as .DS_Store.
    const bool Is_Hidden = Name_Of(Next->path()).front() == '.';
    if (!Is_Hidden && Next->is_regular_file(Ignored)) Files.push_back(Next->path());
  }
  if (Reason) Refuse_Folder(Folder, fmt::format("can't be read ({})", Reason.message()));
  std::sort(Files.begin(), Files.end(), [](const fs::path& Left, const fs::path& Right) {
    return Is_Name_Before(Name_Of(Left), Name_Of(Right));
  });
  return Files;
}

Folder_Content Read_Folder(const fs::path& Folder) {
  Folder_Content Content;
  for (const fs::path& File : Files_In(Folder)) {
    if (Has_Picture_Ending(File) && cv::haveImageReader(File.string())) {
      Content.Pictures.push_back(File);
    } else {
      ++Content.Left_Out[Lower_Case(File.extension().string())];
    }
  }
  return Content;
}

// "2 .heic, 1 .txt"
std::string Left_Out_Text(const std::map<std::string, int>& Left_Out) {
  std::vector<std::string> Parts;
  for (const auto& [Ending, Count] : Left_Out) {
    Parts.push_back(fmt::format("{} {}", Count, Ending.empty() ? "without an ending" : Ending));
  }
  return fmt::format("{}", fmt::join(Parts, ", "));
}

void Require_Pictures(const fs::path& Folder, const Folder_Content& Content) {
  if (!Content.Pictures.empty()) return;
  if (Content.Left_Out.empty()) Refuse_Folder(Folder, "is empty; expected photographs");
  Refuse_Folder(Folder, fmt::format("has no pictures that can be read, only {}; save the "
                                    "photographs as JPEG, PNG or TIFF",
                                    Left_Out_Text(Content.Left_Out)));
}

void Warn_Of_Left_Out(const Folder_Content& Content, std::vector<std::string>& Warnings) {
  if (Content.Left_Out.empty()) return;
  Warnings.push_back(
      fmt::format("Files that are no pictures, or that can't be read, are left out: "
                  "{}.",
                  Left_Out_Text(Content.Left_Out)));
}

// ---- A list of times ---------------------------------------------------------------------------

// The picture whose name differs in upper and lower case or in its ending alone, as advice.
std::string Similar_Name(const std::vector<fs::path>& Pictures, const std::string& Name) {
  const std::string Stem = Lower_Case(fs::path(Name).stem().string());
  for (const fs::path& File : Pictures) {
    if (Lower_Case(File.stem().string()) == Stem) {
      return fmt::format("; did you mean '{}'?", Name_Of(File));
    }
  }
  return "; remove the line, or add the picture";
}

void Take_Listed_Times(const fs::path& Folder, const Folder_Content& Content,
                       const Photograph_Options& Options, Photographs& Result) {
  const Time_List List = Read_Time_List(*Options.Times_File, Options.Times_Rate);
  std::map<std::string, fs::path> Unlisted;
  for (const fs::path& File : Content.Pictures) Unlisted.emplace(Name_Of(File), File);
  for (const Listed_Time& Time : List.Times) {
    const auto Found = Unlisted.find(Time.Name);
    if (Found == Unlisted.end()) {
      throw Usage_Error(Times_Flag,
                        fmt::format("{}: {}: line {}: '{}' is no picture in {}{}", Times_Flag,
                                    Options.Times_File->string(), Time.Line, One_Line(Time.Name),
                                    Folder.string(), Similar_Name(Content.Pictures, Time.Name)));
    }
    Result.Pictures.push_back({Found->second, Time.Seconds});
    Unlisted.erase(Found);
  }
  if (List.Times.empty()) {
    throw Usage_Error(Times_Flag, fmt::format("{}: {}: has no times; expected a line NAME,TIME for "
                                              "each picture",
                                              Times_Flag, Options.Times_File->string()));
  }
  std::vector<fs::path> Left_Out;
  for (const fs::path& File : Content.Pictures) {
    if (Unlisted.count(Name_Of(File)) == 1) Left_Out.push_back(File);
  }
  if (!Left_Out.empty()) {
    Result.Warnings.push_back(fmt::format("{} that the list of times doesn't name {} left out: {}.",
                                          Count_Text(Left_Out.size(), "picture", "pictures"),
                                          Left_Out.size() == 1 ? "is" : "are",
                                          Some_Names(Left_Out)));
  }
  Result.Source = Time_Source::List;
  Result.Resolution_Seconds = List.Resolution_Seconds;
  if (List.Form == Time_Form::Timecode) Result.Timecode_Start = 0.0;
}

// ---- EXIF --------------------------------------------------------------------------------------

struct Exif_Times {
  std::vector<std::pair<fs::path, Date_Time>> Known;
  std::vector<fs::path> Unknown;
};

Exif_Times Read_Exif_Times(const std::vector<fs::path>& Pictures) {
  Exif_Times Times;
  for (const fs::path& File : Pictures) {
    const Exif_Time Read = Read_Exif_Time(File);
    if (!Read.Fault.empty()) {
      throw Usage_Error(Folder_Flag,
                        fmt::format("{}: {}: EXIF: {}; correct it, or give the times of all "
                                    "pictures in a list with {}",
                                    Folder_Flag, File.string(), Read.Fault, Times_Flag));
    }
    if (Read.Time) {
      Times.Known.emplace_back(File, *Read.Time);
    } else {
      Times.Unknown.push_back(File);
    }
  }
  return Times;
}

// Times of EXIF and of files are on different clocks, so the pictures of one source have to be
// enough. A few without EXIF among many are taken for what they mostly are: not photographs of this
// capture.
void Judge_Unknown(const fs::path& Folder, const Exif_Times& Times, Photographs& Result) {
  if (Times.Unknown.empty()) return;
  const std::size_t Count = Times.Known.size() + Times.Unknown.size();
  if (2 * Times.Known.size() <= Count) {
    Refuse_Folder(Folder,
                  fmt::format("{} of {} pictures have no time in EXIF: {}; give the times "
                              "of all in a list with {}, or keep only pictures of one kind "
                              "in the folder",
                              Times.Unknown.size(), Count, Some_Names(Times.Unknown), Times_Flag));
  }
  Result.Warnings.push_back(
      fmt::format("{} of {} pictures {} no time in EXIF and {} left out: {}.", Times.Unknown.size(),
                  Count, Times.Unknown.size() == 1 ? "has" : "have",
                  Times.Unknown.size() == 1 ? "is" : "are", Some_Names(Times.Unknown)));
}

// Many cameras write a fraction of 00 always.
double Exif_Resolution(const Exif_Times& Times) {
  int Most_Decimals = 0;
  bool Has_Fraction = false;
  for (const auto& [File, Time] : Times.Known) {
    Most_Decimals = std::max(Most_Decimals, Time.Time.Decimals);
    Has_Fraction = Has_Fraction || Time.Time.Seconds != std::floor(Time.Time.Seconds);
  }
  return Has_Fraction ? std::pow(10.0, -Most_Decimals) : 1.0;
}

void Take_Exif_Times(const fs::path& Folder, const Exif_Times& Times, Photographs& Result) {
  Judge_Unknown(Folder, Times, Result);
  // Where some pictures lack the offset, the camera's clock is what all of them have.
  const bool All_Have_Offset =
      std::all_of(Times.Known.begin(), Times.Known.end(),
                  [](const auto& Entry) { return Entry.second.Offset_Seconds.has_value(); });
  for (const auto& [File, Time] : Times.Known) {
    const double Offset = All_Have_Offset ? *Time.Offset_Seconds : 0.0;
    Result.Pictures.push_back({File, Time.Time.Seconds - Offset});
  }
  Result.Source = Time_Source::Exif;
  Result.Resolution_Seconds = Exif_Resolution(Times);
}

// ---- File times --------------------------------------------------------------------------------

// Seconds since 1970 of a file's last change. The clock of files has another start, which C++17
// doesn't tell: Now_Difference is the difference between the two clocks.
double File_Seconds(const fs::path& Folder, const fs::path& File, double Now_Difference) {
  std::error_code Reason;
  const fs::file_time_type Time = fs::last_write_time(File, Reason);
  if (Reason) {
    Refuse_Folder(
        Folder, fmt::format("the time of {} can't be read ({})", Name_Of(File), Reason.message()));
  }
  // The nanoseconds since the start would be rounded in a double, so that whole seconds are none.
  const auto Second = std::chrono::floor<std::chrono::seconds>(Time.time_since_epoch());
  const std::chrono::duration<double> Fraction = Time.time_since_epoch() - Second;
  return static_cast<double>(Second.count()) + Now_Difference + Fraction.count();
}

// To the whole second, as both clocks count seconds of UTC and start at a full one.
double Clock_Difference() {
  using std::chrono::duration;
  const auto File_Now = fs::file_time_type::clock::now().time_since_epoch();
  const auto Now = std::chrono::system_clock::now().time_since_epoch();
  return std::round(duration<double>(Now).count() - duration<double>(File_Now).count());
}

// A memory card counts in steps of two seconds, other file systems in one second or less.
double File_Time_Resolution(const std::vector<Photograph>& Pictures) {
  constexpr double Fine =
      0.001;  // what a camera does between exposure and closing the file is more
  for (const double Step : {2.0, 1.0}) {
    const auto Is_Whole = [Step](const Photograph& Picture) {
      return std::remainder(Picture.Seconds, Step) == 0.0;
    };
    if (std::all_of(Pictures.begin(), Pictures.end(), Is_Whole)) return Step;
  }
  return Fine;
}

void Take_File_Times(const fs::path& Folder, const std::vector<fs::path>& Files,
                     Photographs& Result) {
  const double Difference = Clock_Difference();
  for (const fs::path& File : Files) {
    Result.Pictures.push_back({File, File_Seconds(Folder, File, Difference)});
  }
  Result.Source = Time_Source::File_Time;
  Result.Resolution_Seconds = File_Time_Resolution(Result.Pictures);
}

}  // namespace

Photographs Read_Photographs(const fs::path& Folder, const Photograph_Options& Options) {
  const Folder_Content Content = Read_Folder(Folder);
  Require_Pictures(Folder, Content);
  Photographs Result;
  Warn_Of_Left_Out(Content, Result.Warnings);
  if (Options.Times_File) {
    Take_Listed_Times(Folder, Content, Options, Result);
  } else if (Options.Source == Time_Source::File_Time) {
    Take_File_Times(Folder, Content.Pictures, Result);
  } else {
    const Exif_Times Times = Read_Exif_Times(Content.Pictures);
    if (Times.Known.empty() && Options.Source == Time_Source::Exif) {
      Refuse_Folder(Folder, fmt::format("no picture has a time in EXIF; give the times in a list "
                                        "with {}",
                                        Times_Flag));
    }
    if (Times.Known.empty()) {
      Take_File_Times(Folder, Content.Pictures, Result);
    } else {
      Take_Exif_Times(Folder, Times, Result);
    }
  }
  std::sort(Result.Pictures.begin(), Result.Pictures.end(), Is_Before);
  return Result;
}

}  // namespace rigsync
