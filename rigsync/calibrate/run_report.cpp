// SPDX-License-Identifier: Apache-2.0
#include "rigsync/calibrate/run_report.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <utility>

namespace rigsync {
namespace {

// What follows Head in Text, when Text begins with it.
std::optional<std::string_view> Behind(std::string_view Text, std::string_view Head) {
  if (Text.substr(0, Head.size()) != Head) return std::nullopt;
  return Text.substr(Head.size());
}

// Text without Tail, when it ends with it and something stands before it.
std::optional<std::string_view> Before(std::string_view Text, std::string_view Tail) {
  if (Text.size() <= Tail.size() || Text.substr(Text.size() - Tail.size()) != Tail) {
    return std::nullopt;
  }
  return Text.substr(0, Text.size() - Tail.size());
}

// A whole text that is a number; "nan" and "inf" are numbers too.
template <typename Number>
std::optional<Number> Number_In(std::string_view Text) {
  Number Value{};
  const auto [End, Error] = std::from_chars(Text.data(), Text.data() + Text.size(), Value);
  if (Error != std::errc() || End != Text.data() + Text.size()) return std::nullopt;
  return Value;
}

// The number between Head and Tail.
std::optional<double> Number_Between(std::string_view Message, std::string_view Head,
                                     std::string_view Tail) {
  auto Rest = Behind(Message, Head);
  if (Rest && !Tail.empty()) Rest = Before(*Rest, Tail);
  return Rest ? Number_In<double>(*Rest) : std::nullopt;
}

// Three numbers with ", " between them, and " meter." behind.
std::optional<std::array<double, 3>> Metres_Behind(std::string_view Message,
                                                   std::string_view Head) {
  auto Rest = Behind(Message, Head);
  if (Rest) Rest = Before(*Rest, " meter.");
  if (!Rest) return std::nullopt;
  std::array<double, 3> Values{};
  for (std::size_t k = 0; k < 3; ++k) {
    const std::size_t End = k < 2 ? Rest->find(", ") : Rest->size();
    if (End == std::string_view::npos) return std::nullopt;
    const auto Value = Number_In<double>(Rest->substr(0, End));
    if (!Value) return std::nullopt;
    Values[k] = *Value;
    if (k < 2) Rest->remove_prefix(End + 2);
  }
  return Values;
}

// An image's index and its number: Head, index, Middle, number, Tail.
std::optional<std::pair<std::size_t, double>> Image_Number(std::string_view Message,
                                                           std::string_view Head,
                                                           std::string_view Middle,
                                                           std::string_view Tail) {
  const auto Rest = Behind(Message, Head);
  if (!Rest) return std::nullopt;
  const std::size_t At = Rest->find(Middle);
  if (At == std::string_view::npos) return std::nullopt;
  const auto Index = Number_In<std::size_t>(Rest->substr(0, At));
  const auto Value = Number_Between(Rest->substr(At), Middle, Tail);
  if (!Index || !Value) return std::nullopt;
  return std::make_pair(*Index, *Value);
}

bool Shows_A_Board(const Image_Report& Image) {
  return Image.Fate == Image_Fate::Kept || Image.Fate == Image_Fate::Outlier ||
         Image.Fate == Image_Fate::Unknown;
}

bool Is_Kept(const Image_Report& Image) {
  return Image.Fate == Image_Fate::Kept;
}

// The image with this index among those that Counts is true for: the library numbers the images
// that are left in its lists.
Image_Report* Image_At(std::vector<Image_Report>& Images, std::size_t Index,
                       bool (*Counts)(const Image_Report&)) {
  for (Image_Report& Image : Images) {
    if (Counts(Image) && Index-- == 0) return &Image;
  }
  return nullptr;
}

// Messages that open a step whenever they come.
std::optional<Run_Step> Step_Of(std::string_view Message) {
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
  if (const auto Step = Step_Of(Message)) Report.Step = *Step;
  // These come in both passes, or for each image.
  if (Report.Step == Run_Step::Solving_Mount && Behind(Message, "Diff R in image ")) {
    Report.Step = Run_Step::Removing_Outliers;
  }
  if (Report.Step == Run_Step::Solving_Mount_Again && Message == "Mean_Transform_Cam_Tc : ") {
    Report.Step = Run_Step::Writing_Images;
    // Every kept image is measured once more.
    for (Image_Report& Image : Report.Images) {
      if (Is_Kept(Image)) Image.Reprojection_Px.reset();
    }
  }
  if (Behind(Message, "Norm Reprojection error : ")) Report.Step = Run_Step::Ended;
}

// What became of the image that was begun last. Returns whether the line tells it.
bool Take_Fate_Line(Run_Report& Report, std::string_view Message) {
  if (Report.Images.empty()) return false;
  Image_Report& Image = Report.Images.back();
  const bool Unreadable = Message == Image.Name + " Not exist!";
  if (Unreadable) Image.Fate = Image_Fate::Unreadable;
  const bool No_Board = Message == "Read " + Image.Name + " Failed!";
  if (No_Board) Image.Fate = Image_Fate::No_Board;
  return Unreadable || No_Board;
}

// Lines of the search. Returns whether this was one: it may begin with an image's path, which may
// begin like any other message. That of a fate is asked for first, for an image that is itself
// called "Process : " and something. (Behind such an image, one whose name is that something with
// " Not exist!" would be taken for its fate.)
bool Take_Search_Line(Run_Report& Report, std::string_view Message) {
  if (Take_Fate_Line(Report, Message)) return true;
  const auto Name = Behind(Message, "Process : ");
  if (!Name) return false;
  Report.Images.push_back({std::string(*Name), Image_Fate::Kept, std::nullopt, std::nullopt});
  return true;
}

// Ends a run before any outlier is named. Those whose axis is beyond its limit are known; whether
// the others are, their positions decide, which aren't logged. Only when all of them are left, or
// none, the number tells.
void Take_Too_Few_Left(Run_Report& Report, std::size_t Left) {
  Report.Too_Few_Left = Left;
  for (Image_Report& Image : Report.Images) {
    if (Is_Kept(Image) && (Left == 0 || Is_Axis_Off(Image))) Image.Fate = Image_Fate::Outlier;
  }
  if (Count_Of(Report, Image_Fate::Kept) == Left) return;
  for (Image_Report& Image : Report.Images) {
    if (Is_Kept(Image)) Image.Fate = Image_Fate::Unknown;
  }
}

void Take_Filter_Line(Run_Report& Report, std::string_view Message) {
  if (const auto Found = Image_Number(Message, "Diff R in image ", " : ", " degree.")) {
    if (Image_Report* const Image = Image_At(Report.Images, Found->first, Shows_A_Board)) {
      Image->Axis_Difference_Deg = Found->second;
    }
  } else if (const auto Text = Behind(Message, "Remove index : ")) {
    // Indices count the list before any removal, and come from the last to the first.
    const auto Index = Number_In<std::size_t>(*Text);
    Image_Report* const Image = Index ? Image_At(Report.Images, *Index, Shows_A_Board) : nullptr;
    if (Image != nullptr) Image->Fate = Image_Fate::Outlier;
  } else if (const auto Spread = Metres_Behind(Message, "STD_T : ")) {
    Report.Filter_Spread_M = Spread;
  } else if (const auto Left = Behind(Message, "Filtered data number not enough : ")) {
    const auto Number = Number_In<std::size_t>(Left->substr(0, Left->find(' ')));
    if (Number) Take_Too_Few_Left(Report, *Number);
  }
}

void Take_Quality_Line(Run_Report& Report, std::string_view Message) {
  if (const auto Found = Image_Number(Message, "Image ", " reprojection error : ", " pixels.")) {
    if (Image_Report* const Image = Image_At(Report.Images, Found->first, Is_Kept)) {
      Image->Reprojection_Px = Found->second;
    }
  } else if (const auto Average =
                 Number_Between(Message, "Average reprojection error : ", " pixels.")) {
    (Report.Step < Run_Step::Removing_Outliers ? Report.First_Reprojection_Px
                                               : Report.Reprojection_Px) = Average;
  } else if (const auto Rms = Number_Between(Message, "reprojection error : ", "")) {
    Report.Lens_Rms_Px = Rms;
  } else if (const auto Norm = Number_Between(Message, "Norm Reprojection error : ", "")) {
    Report.Norm_Reprojection = Norm;
  } else if (const auto Spread = Metres_Behind(Message, "T_STD : ")) {
    Report.Spread_M = Spread;
  } else if (const auto Max = Number_Between(Message, "Max T_STD : ", " meter.")) {
    Report.Max_Spread_M = Max;
  }
}

}  // namespace

bool Is_Axis_Off(const Image_Report& Image) {
  return Image.Axis_Difference_Deg && *Image.Axis_Difference_Deg > Axis_Limit_Deg;
}

std::size_t Count_Of(const Run_Report& Report, Image_Fate Fate) {
  return static_cast<std::size_t>(
      std::count_if(Report.Images.begin(), Report.Images.end(),
                    [Fate](const Image_Report& Image) { return Image.Fate == Fate; }));
}

std::size_t Count_Left(const Run_Report& Report) {
  return Report.Too_Few_Left.value_or(Count_Of(Report, Image_Fate::Kept));
}

// The dump names the images that show a board in their order. One may be called like the mark.
bool Run_Log_Reader::Ends_Corners(std::string_view Message) {
  const Image_Report* const Next = Image_At(So_Far.Images, Dumped, Shows_A_Board);
  if (Next == nullptr || Message != Next->Name) return Message == "RAW DATA END";
  ++Dumped;
  return false;
}

void Run_Log_Reader::Take_Line(std::string_view Line) {
  const std::size_t Tab = Line.find('\t');
  if (Tab == std::string_view::npos) return;
  const std::string_view Message = Line.substr(Tab + 1);
  if (Within_Corners) {
    Within_Corners = !Ends_Corners(Message);
    return;
  }
  Within_Corners = Message == "RAW DATA START";
  if (Take_Search_Line(So_Far, Message)) return;
  if (const auto Version = Behind(Message, "Version : ")) So_Far.Version = *Version;
  Take_Step(So_Far, Message);
  Take_Filter_Line(So_Far, Message);
  Take_Quality_Line(So_Far, Message);
}

Run_Report Read_Run_Report(const std::filesystem::path& Run_Log) {
  Run_Log_Reader Reader;
  std::ifstream File(Run_Log);
  for (std::string Line; std::getline(File, Line);) Reader.Take_Line(Line);
  return Reader.Report();
}

}  // namespace rigsync
