// SPDX-License-Identifier: Apache-2.0
//
// The reader of run logs, in two ways. A log generated from the bytes, with any images, fates and
// numbers, is read back as the report that it was generated from; cut off anywhere, it gives a part
// of that report. Arbitrary bytes as a log give a report with no more than they say.
//
// Input: a first byte that selects the way; then the images, each a byte for its fate, one for the
// length of its name, and the name, followed by the numbers; or the log itself.
#include "rigsync/calibrate/run_report.h"

#include "tests/fuzz/fuzz_support.h"

namespace {

using Lines = std::vector<std::string>;
using rigsync::Image_Fate;
using rigsync::Run_Report;

const std::string Stamp = "2022-11-17 09:05:33\t";

// A number as it comes back from the log's six decimals, and its text.
struct Logged {
  std::string Text;
  double Value = 0.0;
};

Logged Take_Number(Bytes& Input) {
  Logged Number;
  Number.Text = std::to_string(static_cast<double>(Input.Take<std::int16_t>()) / 256.0);
  Number.Value = std::strtod(Number.Text.c_str(), nullptr);
  return Number;
}

std::string Take_Name(Bytes& Input) {
  std::string Name;
  for (int Letters = Input.Take<std::uint8_t>() % 32; Letters > 0; --Letters) {
    const char Letter = Input.Take<char>();
    Name += Letter == '\n' ? '_' : Letter;
  }
  return Name;
}

// A run as the library logs it, and the report that belongs to it.
class Made_Up_Run {
 public:
  explicit Made_Up_Run(Bytes& Input) {
    for (std::size_t i = Input.Take<std::uint8_t>() % 8; i > 0; --i) {
      const auto Fate = static_cast<Image_Fate>(Input.Take<std::uint8_t>() % 4);
      std::string Name = Take_Name(Input);
      // A log does not distinguish the start of this image from a failure to read the one before.
      const bool Is_A_Fate = !Expected.Images.empty() &&
                             "Process : " + Name == Expected.Images.back().Name + " Not exist!";
      if (Is_A_Fate) Name = "_";
      Expected.Images.push_back({Name, Fate, std::nullopt, std::nullopt, std::nullopt});
    }
    Log_Search();
    Log_Lens(Input);
    Log_First_Pass(Input);
    Log_Filter(Input);
    Log_Second_Pass(Input);
  }

  Lines Log;
  Run_Report Expected;

 private:
  void Say(const std::string& Message) { Log.push_back(Stamp + Message); }
  void Say_Number(const std::string& Head, const Logged& Number, const std::string& Tail) {
    Say(Head + Number.Text + Tail);
  }

  static bool Shows_A_Board(const rigsync::Image_Report& Image) {
    return Image.Fate == Image_Fate::Kept || Image.Fate == Image_Fate::Outlier;
  }

  void Log_Search() {
    Expected.Version = "v0.0.9";
    Say("Version : v0.0.9");
    Say("Camera Tracker Calibration start.");
    Say("Start to Detect Corner.");
    for (const auto& Image : Expected.Images) {
      Say("Process : " + Image.Name);
      if (Image.Fate == Image_Fate::Unreadable) Say(Image.Name + " Not exist!");
      if (Image.Fate == Image_Fate::No_Board) Say("Read " + Image.Name + " Failed!");
    }
  }

  void Log_Lens(Bytes& Input) {
    Say("Corner detection successful.");
    Say("RAW DATA START");
    for (const auto& Image : Expected.Images) {
      if (!Shows_A_Board(Image)) continue;
      Say(Image.Name);
      Say("0.000000 1.000000");
    }
    Say("RAW DATA END");
    Say("Camera calibration start.");
    const Logged Rms = Take_Number(Input);
    Say_Number("reprojection error : ", Rms, "");
    Expected.Lens_Rms_Px = Rms.Value;
    Say("Camera calibration successful.");
  }

  void Log_Reprojection(Bytes& Input, bool Kept_Alone, std::optional<double>& Average) {
    std::size_t Index = 0;
    for (auto& Image : Expected.Images) {
      if (!Shows_A_Board(Image) || (Kept_Alone && Image.Fate != Image_Fate::Kept)) continue;
      const Logged Error = Take_Number(Input);
      Say_Number("Image " + std::to_string(Index++) + " reprojection error : ", Error, " pixels.");
      Image.Reprojection_Px = Error.Value;
      if (!Kept_Alone) Image.First_Reprojection_Px = Error.Value;
    }
    const Logged Mean = Take_Number(Input);
    Say_Number("Average reprojection error : ", Mean, " pixels.");
    Average = Mean.Value;
  }

  void Log_First_Pass(Bytes& Input) {
    Say("Start OrganizeRT.");
    Say("Finish OrganizeRT.");
    Say("Start Calculate_Transform_Cam_Tc in first time.");
    Say("Mean_Transform_Cam_Tc : ");
    Say("Finish Calculate_Transform_Cam_Tc.");
    Log_Reprojection(Input, /*Kept_Alone=*/false, Expected.First_Reprojection_Px);
  }

  std::array<double, 3> Say_Three(const std::string& Head, Bytes& Input) {
    const Logged X = Take_Number(Input), Y = Take_Number(Input), Z = Take_Number(Input);
    Say(Head + X.Text + ", " + Y.Text + ", " + Z.Text + " meter.");
    return {X.Value, Y.Value, Z.Value};
  }

  void Log_Filter(Bytes& Input) {
    Lines Removed;
    std::size_t Index = 0;
    for (auto& Image : Expected.Images) {
      if (!Shows_A_Board(Image)) continue;
      const Logged Angle = Take_Number(Input);
      Say_Number("Diff R in image " + std::to_string(Index) + " : ", Angle, " degree.");
      Image.Axis_Difference_Deg = Angle.Value;
      if (Image.Fate == Image_Fate::Outlier) {
        Removed.insert(Removed.begin(), {Stamp + "Remove index : " + std::to_string(Index),
                                         Stamp + "Remove name : " + Image.Name});
      }
      ++Index;
    }
    Expected.Filter_Spread_M = Say_Three("STD_T : ", Input);
    Log.insert(Log.end(), Removed.begin(), Removed.end());
  }

  void Log_Second_Pass(Bytes& Input) {
    Say("Mean_Transform_Chart_Tr : ");
    Say("Mean_Transform_Cam_Tc : ");
    Log_Reprojection(Input, /*Kept_Alone=*/true, Expected.Reprojection_Px);
    const Logged Norm = Take_Number(Input);
    Say_Number("Norm Reprojection error : ", Norm, "");
    Expected.Norm_Reprojection = Norm.Value;
    Expected.Spread_M = Say_Three("T_STD : ", Input);
    const Logged Max = Take_Number(Input);
    Say_Number("Max T_STD : ", Max, " meter.");
    Expected.Max_Spread_M = Max.Value;
    Expected.Step = rigsync::Run_Step::Ended;
    Say("Camera and Tracker Calibration successful.");
  }
};

Run_Report Read(const Fuzz_Folder& Folder, const std::string& Log) {
  return rigsync::Read_Run_Report(Folder.Write("log", Log));
}

std::string Joined(const Lines& Log, std::size_t Count) {
  std::string Text;
  for (std::size_t i = 0; i < Count; ++i) Text += Log[i] + '\n';
  return Text;
}

bool Same(const std::optional<double>& Left, const std::optional<double>& Right) {
  return Left.has_value() == Right.has_value() && (!Left || ::Same(*Left, *Right));
}

void Check_Images(const Run_Report& Read, const Run_Report& Expected) {
  Promise(Read.Images.size() == Expected.Images.size(), "every image is reported");
  for (std::size_t i = 0; i < Read.Images.size(); ++i) {
    const rigsync::Image_Report &Left = Read.Images[i], &Right = Expected.Images[i];
    Promise(Left.Name == Right.Name, "an image has its name");
    Promise(Left.Fate == Right.Fate, "an image has its fate: " + Left.Name);
    Promise(Same(Left.Axis_Difference_Deg, Right.Axis_Difference_Deg), "an image has its angle");
    Promise(Same(Left.Reprojection_Px, Right.Reprojection_Px), "an image has its error");
    Promise(Same(Left.First_Reprojection_Px, Right.First_Reprojection_Px),
            "an image has its first error");
  }
}

void Check_Made_Up(Bytes& Input, const Fuzz_Folder& Folder) {
  const Made_Up_Run Run(Input);
  const Run_Report Whole = Read(Folder, Joined(Run.Log, Run.Log.size()));
  Check_Images(Whole, Run.Expected);
  Promise(Whole.Version == Run.Expected.Version, "the version is reported");
  Promise(Whole.Step == Run.Expected.Step, "the run has ended");
  Promise(Whole.Lens_Rms_Px == Run.Expected.Lens_Rms_Px, "the lens's error is reported");
  Promise(Whole.Filter_Spread_M == Run.Expected.Filter_Spread_M, "the filter's spread is reported");
  Promise(Whole.First_Reprojection_Px == Run.Expected.First_Reprojection_Px, "the first error is");
  Promise(Whole.Reprojection_Px == Run.Expected.Reprojection_Px, "the last error is reported");
  Promise(Whole.Norm_Reprojection == Run.Expected.Norm_Reprojection, "the normed error is");
  Promise(Whole.Spread_M == Run.Expected.Spread_M, "the spread is reported");
  Promise(Whole.Max_Spread_M == Run.Expected.Max_Spread_M, "the largest spread is reported");

  const std::size_t Lines_Left = Input.Take<std::uint8_t>() % (Run.Log.size() + 1);
  const Run_Report Part = Read(Folder, Joined(Run.Log, Lines_Left));
  Promise(Part.Step <= Whole.Step, "a part comes no further than the whole");
  Promise(Part.Images.size() <= Whole.Images.size(), "a part has no more images than the whole");
  for (std::size_t i = 0; i < Part.Images.size(); ++i) {
    Promise(Part.Images[i].Name == Whole.Images[i].Name, "a part has the images of the whole");
  }
}

void Check_Any(const std::string& Log, const Fuzz_Folder& Folder) {
  const Run_Report Report = Read(Folder, Log);
  std::size_t Begun = 0;
  for (std::size_t At = Log.find("\tProcess : "); At != std::string::npos;
       At = Log.find("\tProcess : ", At + 1)) {
    ++Begun;
  }
  Promise(Report.Images.size() <= Begun, "no image is made up");
  std::size_t Sum = 0;
  for (const auto Fate : {Image_Fate::Kept, Image_Fate::Unreadable, Image_Fate::No_Board,
                          Image_Fate::Outlier, Image_Fate::Unknown}) {
    Sum += rigsync::Count_Images(Report, Fate);
  }
  Promise(Sum == Report.Images.size(), "every image has one fate");
  // Whole or line by line, as a run is followed.
  rigsync::Run_Log_Reader Follower;
  for (std::size_t Start = 0; Start < Log.size();) {
    const std::size_t End = std::min(Log.find('\n', Start), Log.size());
    Follower.Take_Line(std::string_view(Log).substr(Start, End - Start));
    Start = End + 1;
  }
  Promise(Follower.Report().Step == Report.Step, "line by line comes as far as the whole");
  Check_Images(Follower.Report(), Report);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* Data, std::size_t Size) {
  static const Fuzz_Folder Folder;
  Bytes Input(Data, Size);
  if (Input.Take<std::uint8_t>() % 2 == 0) {
    Check_Made_Up(Input, Folder);
  } else {
    Check_Any(Input.Take_Rest(), Folder);
  }
  return 0;
}
