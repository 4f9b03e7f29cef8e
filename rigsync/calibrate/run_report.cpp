// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/run_report.h"

#include "rigsync/calibrate/run_log_file.h"
#include "rigsync/capture/library_limits.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <utility>

namespace rigsync {
namespace {

// Text after Head, if Text begins with Head.
std::optional<std::string_view> Remove_Head(std::string_view Text, std::string_view Head) {
  if (Text.substr(0, Head.size()) != Head) return std::nullopt;
  return Text.substr(Head.size());
}

// Text before Tail, if Text ends with Tail and is longer.
std::optional<std::string_view> Remove_Tail(std::string_view Text, std::string_view Tail) {
  if (Text.size() <= Tail.size() || Text.substr(Text.size() - Tail.size()) != Tail) {
    return std::nullopt;
  }
  return Text.substr(0, Text.size() - Tail.size());
}

// The number that Text consists of; "nan" and "inf" count as numbers.
template <typename Number>
std::optional<Number> Parse(std::string_view Text) {
  Number Value{};
  const auto [End, Error] = std::from_chars(Text.data(), Text.data() + Text.size(), Value);
  if (Error != std::errc() || End != Text.data() + Text.size()) return std::nullopt;
  return Value;
}

// The number between Head and Tail.
std::optional<double> Number_Between(std::string_view Message, std::string_view Head,
                                     std::string_view Tail) {
  auto Rest = Remove_Head(Message, Head);
  if (Rest && !Tail.empty()) Rest = Remove_Tail(*Rest, Tail);
  return Rest ? Parse<double>(*Rest) : std::nullopt;
}

// Three numbers after Head, separated by ", " and followed by " meter.".
std::optional<std::array<double, 3>> Metres_After(std::string_view Message, std::string_view Head) {
  auto Rest = Remove_Head(Message, Head);
  if (Rest) Rest = Remove_Tail(*Rest, " meter.");
  if (!Rest) return std::nullopt;
  std::array<double, 3> Values{};
  for (std::size_t k = 0; k < 3; ++k) {
    const std::size_t End = k < 2 ? Rest->find(", ") : Rest->size();
    if (End == std::string_view::npos) return std::nullopt;
    const auto Value = Parse<double>(Rest->substr(0, End));
    if (!Value) return std::nullopt;
    Values[k] = *Value;
    if (k < 2) Rest->remove_prefix(End + 2);
  }
  return Values;
}

// The index of an image and its number in the text Head, index, Separator, number, Tail.
std::optional<std::pair<std::size_t, double>> Image_Number(std::string_view Message,
                                                           std::string_view Head,
                                                           std::string_view Separator,
                                                           std::string_view Tail) {
  const auto Rest = Remove_Head(Message, Head);
  if (!Rest) return std::nullopt;
  const std::size_t Index_End = Rest->find(Separator);
  if (Index_End == std::string_view::npos) return std::nullopt;
  const auto Index = Parse<std::size_t>(Rest->substr(0, Index_End));
  const auto Value = Number_Between(Rest->substr(Index_End), Separator, Tail);
  if (!Index || !Value) return std::nullopt;
  return std::make_pair(*Index, *Value);
}

bool Is_Kept(const Image_Report& Image) {
  return Image.Fate == Image_Fate::Kept;
}

// The image with this index among those that are listed: the library's indices count the images
// that are still in its lists.
Image_Report* Image_At(std::vector<Image_Report>& Images, std::size_t Index,
                       bool (*Is_Listed)(const Image_Report&)) {
  for (Image_Report& Image : Images) {
    if (Is_Listed(Image) && Index-- == 0) return &Image;
  }
  return nullptr;
}

// The step that a message begins wherever it occurs.
std::optional<Run_Step> Begun_Step(std::string_view Message) {
  constexpr std::pair<std::string_view, Run_Step> Steps[] = {
      {"Start to Detect Corner.", Run_Step::Finding_Boards},
      {"RAW DATA START", Run_Step::Logging_Corners},
      {"Camera calibration start.", Run_Step::Solving_Lens},
      {"Start OrganizeRT.", Run_Step::Solving_Mount},
      {"Mean_Transform_Chart_Tr : ", Run_Step::Solving_Mount_Again},
      {"Camera and Tracker Calibration successful.", Run_Step::Ended},
  };
  for (const auto& [Text, Step] : Steps) {
    if (Message == Text) return Step;
  }
  return std::nullopt;
}

void Take_Step(Run_Report& Report, std::string_view Message) {
  if (const auto Step = Begun_Step(Message)) Report.Step = *Step;
  // These messages occur in both passes, or once for each image.
  if (Report.Step == Run_Step::Solving_Mount && Remove_Head(Message, "Diff R in image ")) {
    Report.Step = Run_Step::Removing_Outliers;
  }
  if (Report.Step == Run_Step::Solving_Mount_Again && Message == "Mean_Transform_Cam_Tc : ") {
    Report.Step = Run_Step::Writing_Images;
    // This step measures every kept image again.
    for (Image_Report& Image : Report.Images) {
      if (Is_Kept(Image)) Image.Reprojection_Px.reset();
    }
  }
  if (Remove_Head(Message, "Norm Reprojection error : ")) Report.Step = Run_Step::Ended;
}

// The fate of the image that was begun last. Returns whether the line states it.
bool Take_Fate_Line(Run_Report& Report, std::string_view Message) {
  if (Report.Images.empty()) return false;
  Image_Report& Image = Report.Images.back();
  const bool Unreadable = Message == Image.Name + " Not exist!";
  if (Unreadable) Image.Fate = Image_Fate::Unreadable;
  const bool No_Board = Message == "Read " + Image.Name + " Failed!";
  if (No_Board) Image.Fate = Image_Fate::No_Board;
  return Unreadable || No_Board;
}

// Lines of the board search. Returns whether this is one; no other message is then looked for in
// it, since an image path can read like any message. The fate comes first because an image may be
// named "Process : x". (After that image, one named "x Not exist!" would be taken for its fate.)
bool Take_Search_Line(Run_Report& Report, std::string_view Message) {
  if (Take_Fate_Line(Report, Message)) return true;
  const auto Name = Remove_Head(Message, "Process : ");
  if (!Name) return false;
  Report.Images.push_back(
      {std::string(*Name), Image_Fate::Kept, std::nullopt, std::nullopt, std::nullopt});
  return true;
}

// This message ends the run before any outlier is named. The images beyond the axis limit are known
// outliers. Position decides about the others and is not logged, so that they are known only if all
// or none of them remain.
void Take_Too_Few_Remaining(Run_Report& Report, std::size_t Remaining) {
  Report.Too_Few_Remaining = Remaining;
  for (Image_Report& Image : Report.Images) {
    if (Is_Kept(Image) && (Remaining == 0 || Is_Axis_Beyond_Limit(Image)))
      Image.Fate = Image_Fate::Outlier;
  }
  if (Count_Images(Report, Image_Fate::Kept) == Remaining) return;
  for (Image_Report& Image : Report.Images) {
    if (Is_Kept(Image)) Image.Fate = Image_Fate::Unknown;
  }
}

void Take_Filter_Line(Run_Report& Report, std::string_view Message) {
  if (const auto Angle = Image_Number(Message, "Diff R in image ", " : ", " degree.")) {
    if (Image_Report* const Image = Image_At(Report.Images, Angle->first, Shows_A_Board)) {
      Image->Axis_Difference_Deg = Angle->second;
    }
  } else if (const auto Text = Remove_Head(Message, "Remove index : ")) {
    // Indices count the list before any removal.
    const auto Index = Parse<std::size_t>(*Text);
    Image_Report* const Image = Index ? Image_At(Report.Images, *Index, Shows_A_Board) : nullptr;
    if (Image != nullptr) Image->Fate = Image_Fate::Outlier;
  } else if (const auto Spread = Metres_After(Message, "STD_T : ")) {
    Report.Filter_Spread_M = Spread;
  } else if (const auto Counts = Remove_Head(Message, "Filtered data number not enough : ")) {
    const auto Remaining = Parse<std::size_t>(Counts->substr(0, Counts->find(' ')));
    if (Remaining) Take_Too_Few_Remaining(Report, *Remaining);
  }
}

void Take_Quality_Line(Run_Report& Report, std::string_view Message) {
  if (const auto Error = Image_Number(Message, "Image ", " reprojection error : ", " pixels.")) {
    if (Image_Report* const Image = Image_At(Report.Images, Error->first, Is_Kept)) {
      Image->Reprojection_Px = Error->second;
      if (Report.Step < Run_Step::Removing_Outliers) Image->First_Reprojection_Px = Error->second;
    }
  } else if (const auto Average =
                 Number_Between(Message, "Average reprojection error : ", " pixels.")) {
    (Report.Step < Run_Step::Removing_Outliers ? Report.First_Reprojection_Px
                                               : Report.Reprojection_Px) = Average;
  } else if (const auto Rms = Number_Between(Message, "reprojection error : ", "")) {
    Report.Lens_Rms_Px = Rms;
  } else if (const auto Norm = Number_Between(Message, "Norm Reprojection error : ", "")) {
    Report.Norm_Reprojection = Norm;
  } else if (const auto Spread = Metres_After(Message, "T_STD : ")) {
    Report.Spread_M = Spread;
  } else if (const auto Max = Number_Between(Message, "Max T_STD : ", " meter.")) {
    Report.Max_Spread_M = Max;
  }
}

}  // namespace

bool Shows_A_Board(const Image_Report& Image) {
  return Image.Fate == Image_Fate::Kept || Image.Fate == Image_Fate::Outlier ||
         Image.Fate == Image_Fate::Unknown;
}

bool Is_Axis_Beyond_Limit(const Image_Report& Image) {
  return Image.Axis_Difference_Deg && *Image.Axis_Difference_Deg > library_limits::Axis_Deg;
}

std::size_t Count_Images(const Run_Report& Report, Image_Fate Fate) {
  return static_cast<std::size_t>(
      std::count_if(Report.Images.begin(), Report.Images.end(),
                    [Fate](const Image_Report& Image) { return Image.Fate == Fate; }));
}

std::size_t Count_Remaining(const Run_Report& Report) {
  return Report.Too_Few_Remaining.value_or(Count_Images(Report, Image_Fate::Kept));
}

// The dump names the images that show a board, in their order, and one may be named like the mark.
bool Run_Log_Reader::Ends_Corners(std::string_view Message) {
  const Image_Report* const Next = Image_At(Partial.Images, Dumped_Images, Shows_A_Board);
  if (Next == nullptr || Message != Next->Name) return Message == "RAW DATA END";
  ++Dumped_Images;
  return false;
}

void Run_Log_Reader::Take_Line(std::string_view Line) {
  const std::size_t Tab = Line.find('\t');
  if (Tab == std::string_view::npos) return;
  const std::string_view Message = Line.substr(Tab + 1);
  if (Is_In_Corner_Dump) {
    Is_In_Corner_Dump = !Ends_Corners(Message);
    return;
  }
  Is_In_Corner_Dump = Message == "RAW DATA START";
  if (Take_Search_Line(Partial, Message)) return;
  if (const auto Version = Remove_Head(Message, "Version : ")) Partial.Version = *Version;
  Take_Step(Partial, Message);
  Take_Filter_Line(Partial, Message);
  Take_Quality_Line(Partial, Message);
}

Run_Report Read_Run_Report(const std::filesystem::path& Run_Log) {
  Run_Log_Reader Reader;
  if (!May_Be_Run_Log(Run_Log)) return Reader.Report();
  std::ifstream File(Run_Log);
  for (std::string Line; std::getline(File, Line);) Reader.Take_Line(Line);
  return Reader.Report();
}

}  // namespace rigsync
