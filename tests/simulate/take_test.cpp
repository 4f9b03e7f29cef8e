// SPDX-License-Identifier: Apache-2.0
//
// Takes, read by small readers that know each format's columns and nothing of the writers.
#include "simulate/take.h"

#include "simulate/motion.h"
#include "tests/support/largest.h"

#include "tests/support/decimal_comma.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

using simulate::Image_Truth;
using simulate::Make_Plan;
using simulate::Options;
using simulate::Plan;
using simulate::Row_Kind;
using simulate::Sample;
using simulate::Take_Format;
using simulate::Take_Row;

Options Take_Of(Take_Format Format) {
  Options Settings;
  Settings.Seed = 6;
  Settings.Width = 320;
  Settings.Height = 240;
  Settings.Board_Cols = 6;
  Settings.Board_Rows = 5;
  Settings.Image_Count = 6;
  Settings.Recording.Format = Format;
  return Settings;
}

struct Read_Sample {
  double Seconds = 0;
  bool Is_Lost = false;
  Eigen::Vector3d Position = Eigen::Vector3d::Zero();      // metres
  Eigen::Matrix3d Attitude = Eigen::Matrix3d::Identity();  // body to Base
};

using Bodies = std::map<std::string, std::vector<Read_Sample>>;

std::vector<std::string> Split(const std::string& Text, char Separator) {
  std::vector<std::string> Parts(1);
  for (const char Letter : Text) {
    if (Letter == Separator) {
      Parts.emplace_back();
    } else {
      Parts.back() += Letter;
    }
  }
  return Parts;
}

std::vector<std::string> Lines_Of(const std::string& Text) {
  std::vector<std::string> Lines = Split(Text, '\n');
  if (Lines.back().empty()) Lines.pop_back();
  for (std::string& Line : Lines) {
    if (!Line.empty() && Line.back() == '\r') Line.pop_back();
  }
  return Lines;
}

double Number(const std::string& Text) {
  char* End = nullptr;
  const double Value = std::strtod(Text.c_str(), &End);
  EXPECT_EQ(*End, '\0') << Text;
  return Value;
}

Eigen::Matrix3d Matrix_Of(double W, double X, double Y, double Z) {
  Eigen::Matrix3d Rotation;
  Rotation << 1 - 2 * (Y * Y + Z * Z), 2 * (X * Y - W * Z), 2 * (X * Z + W * Y),  //
      2 * (X * Y + W * Z), 1 - 2 * (X * X + Z * Z), 2 * (Y * Z - W * X),          //
      2 * (X * Z - W * Y), 2 * (Y * Z + W * X), 1 - 2 * (X * X + Y * Y);
  return Rotation;
}

std::string Text_Of(const std::vector<simulate::Take_File>& Files, const std::string& Name) {
  for (const simulate::Take_File& File : Files) {
    if (File.Name == Name) return File.Text;
  }
  ADD_FAILURE() << "no file " << Name;
  return "";
}

// A Motive take: columns by their names, seven of each body.
Bodies Read_Motive(const std::string& Text) {
  const std::vector<std::string> Lines = Lines_Of(Text);
  const double Scale = Lines.at(0).find("Length Units,Meters") != std::string::npos ? 1.0 : 1e-3;
  const std::vector<std::string> Types = Split(Lines.at(2), ','), Names = Split(Lines.at(3), ','),
                                 Parts = Split(Lines.at(5), ','), Axes = Split(Lines.at(6), ',');
  Bodies All;
  for (std::size_t Row = 7; Row < Lines.size(); ++Row) {
    const std::vector<std::string> Cells = Split(Lines[Row], ',');
    EXPECT_EQ(Cells.size(), Types.size()) << Lines[Row];
    std::map<std::string, std::map<std::string, std::string>> Values;
    for (std::size_t c = 2; c < Cells.size(); ++c) {
      if (Types.at(c) == "Rigid Body") Values[Names.at(c)][Parts.at(c) + Axes.at(c)] = Cells[c];
    }
    for (auto& [Name, Value] : Values) {
      Read_Sample Next;
      Next.Seconds = Number(Cells[1]);
      Next.Is_Lost = Value["PositionX"].empty();
      if (!Next.Is_Lost) {
        Next.Position = {Number(Value["PositionX"]), Number(Value["PositionY"]),
                         Number(Value["PositionZ"])};
        Next.Position *= Scale;
        Next.Attitude = Matrix_Of(Number(Value["RotationW"]), Number(Value["RotationX"]),
                                  Number(Value["RotationY"]), Number(Value["RotationZ"]));
      }
      All[Name].push_back(Next);
    }
  }
  return All;
}

Eigen::Matrix3d Matrix_Of_Vector_Deg(const Eigen::Vector3d& Vector_Deg) {
  const double Angle = Vector_Deg.norm() / 57.29577951308232;
  const Eigen::Vector3d Part = std::sin(0.5 * Angle) * Vector_Deg.normalized();
  return Matrix_Of(std::cos(0.5 * Angle), Part.x(), Part.y(), Part.z());
}

// A Vicon take: six or seven columns of each segment, from the one that its name stands above.
Bodies Read_Vicon(const std::string& Text) {
  const std::vector<std::string> Lines = Lines_Of(Text);
  EXPECT_EQ(Lines.at(0), "Segments");
  const double Rate_Hz = Number(Lines.at(1));
  const std::vector<std::string> Names = Split(Lines.at(2), ','), Columns = Split(Lines.at(3), ','),
                                 Units = Split(Lines.at(4), ',');
  const bool Is_Quaternion = Columns.at(5) == "RW";
  EXPECT_EQ(Units.at(2), Is_Quaternion ? "" : "deg");
  EXPECT_EQ(Units.back(), "mm");
  Bodies All;
  for (std::size_t Row = 5; Row < Lines.size(); ++Row) {
    const std::vector<std::string> Cells = Split(Lines[Row], ',');
    EXPECT_EQ(Cells.size(), Columns.size()) << Lines[Row];
    for (std::size_t c = 2; c < Cells.size(); ++c) {
      if (Names.at(c).empty()) continue;
      Read_Sample Next;
      Next.Seconds = (Number(Cells[0]) - 1.0) / Rate_Hz;
      Next.Is_Lost = Cells[c].empty();
      if (!Next.Is_Lost) {
        const std::size_t T = c + (Is_Quaternion ? 4 : 3);
        const Eigen::Vector3d R(Number(Cells[c]), Number(Cells[c + 1]), Number(Cells[c + 2]));
        Next.Attitude = Is_Quaternion ? Matrix_Of(Number(Cells[c + 3]), R.x(), R.y(), R.z())
                                      : Matrix_Of_Vector_Deg(R);
        Next.Position = {Number(Cells[T]), Number(Cells[T + 1]), Number(Cells[T + 2])};
        Next.Position *= 1e-3;
      }
      All[Split(Names[c], ':').at(1)].push_back(Next);
    }
  }
  return All;
}

// A Qualisys take. The matrix is compared with the angles: turns about x, y, z of the body.
Bodies Read_Qualisys(const std::string& Text) {
  const std::vector<std::string> Lines = Lines_Of(Text);
  EXPECT_EQ(Split(Lines.at(9), '\t').at(0), "BODY_NAMES");
  const std::vector<std::string> Names = Split(Lines.at(9), '\t');
  Bodies All;
  for (std::size_t Row = 11; Row < Lines.size(); ++Row) {
    const std::vector<std::string> Cells = Split(Lines[Row], '\t');
    EXPECT_EQ(Cells.size(), Split(Lines.at(10), '\t').size()) << Lines[Row];
    for (std::size_t Body = 1; Body < Names.size(); ++Body) {
      const std::size_t First = 2 + 16 * (Body - 1);
      EXPECT_EQ(Split(Lines.at(10), '\t').at(First), Names[Body] + " X");
      Read_Sample Next;
      Next.Seconds = Number(Cells[1]);
      Next.Is_Lost = Cells[First].empty();
      if (!Next.Is_Lost) {
        const auto Cell = [&](std::size_t k) { return Number(Cells[First + k]); };
        Next.Position = 1e-3 * Eigen::Vector3d(Cell(0), Cell(1), Cell(2));
        for (int k = 0; k < 9; ++k) {
          Next.Attitude(k % 3, k / 3) = Cell(7 + static_cast<std::size_t>(k));
        }
        const Eigen::Matrix3d Turned = Matrix_Of_Vector_Deg({Cell(3), 0, 0}) *
                                       Matrix_Of_Vector_Deg({0, Cell(4), 0}) *
                                       Matrix_Of_Vector_Deg({0, 0, Cell(5)});
        // Five decimals of a degree, and of an element.
        EXPECT_LE(Largest_Element(Turned - Next.Attitude), 0.6e-5);
      }
      All[Names[Body]].push_back(Next);
    }
  }
  return All;
}

// 2024-03-14 10:20:30 UTC: 19796 days, 10 hours, 20 minutes and 30 seconds after 1970.
constexpr long long Start_Nanoseconds = ((19796LL * 24 + 10) * 3600 + 20 * 60 + 30) * 1'000'000'000;

// A pose file of one body: time, position, quaternion.
std::vector<Read_Sample> Read_Pose_File(const std::string& Text, Take_Format Format) {
  const char Separator = Format == Take_Format::Tum ? ' ' : ',';
  std::vector<Read_Sample> Samples;
  for (const std::string& Line : Lines_Of(Text)) {
    if (Line.at(0) == '#') continue;
    const std::vector<std::string> Cells = Split(Line, Separator);
    EXPECT_EQ(Cells.size(), 8u) << Line;
    const auto Cell = [&](std::size_t k) { return Number(Cells.at(k)); };
    Read_Sample Next;
    Next.Seconds = Format == Take_Format::Euroc
                       ? static_cast<double>(std::stoll(Cells[0]) - Start_Nanoseconds) * 1e-9
                       : Cell(0);
    Next.Position = {Cell(1), Cell(2), Cell(3)};
    Next.Attitude = Format == Take_Format::Euroc ? Matrix_Of(Cell(4), Cell(5), Cell(6), Cell(7))
                                                 : Matrix_Of(Cell(7), Cell(4), Cell(5), Cell(6));
    Samples.push_back(Next);
  }
  return Samples;
}

// The plain CSV: centimetres with y up, quaternions x, y, z, w from Base to the body. Written out,
// what its map says: x, y, z of Base are x, -z, y of the file.
Bodies Read_Plain(const std::string& Text) {
  Eigen::Matrix3d Rotation_Base_File;
  Rotation_Base_File << 1, 0, 0,  //
      0, 0, -1,                   //
      0, 1, 0;
  const std::vector<std::string> Lines = Lines_Of(Text);
  const std::vector<std::string> Names = Split(Lines.at(0), ';');
  Bodies All;
  for (std::size_t Row = 1; Row < Lines.size(); ++Row) {
    const std::vector<std::string> Cells = Split(Lines[Row], ';');
    EXPECT_EQ(Cells.size(), Names.size()) << Lines[Row];
    for (std::size_t c = 1; c + 6 < Names.size(); c += 7) {
      Read_Sample Next;
      Next.Seconds = Number(Cells[0]) * 1e-3;
      Next.Is_Lost = Cells[c].empty();
      if (!Next.Is_Lost) {
        const auto Cell = [&](std::size_t k) { return Number(Cells[c + k]); };
        const Eigen::Matrix3d Attitude = Matrix_Of(Cell(3), Cell(0), Cell(1), Cell(2)).transpose();
        Next.Attitude = Rotation_Base_File * Attitude * Rotation_Base_File.transpose();
        Next.Position = Rotation_Base_File * Eigen::Vector3d(Cell(4), Cell(5), Cell(6)) * 1e-2;
      }
      All[Names[c].substr(0, Names[c].find('_'))].push_back(Next);
    }
  }
  return All;
}

Bodies Read_Take(const Plan& Capture) {
  const std::vector<simulate::Take_File> Files = simulate::Take_Files(Capture);
  Bodies All;
  const Take_Format Format = Capture.Settings.Recording.Format;
  switch (Format) {
    case Take_Format::Motive:
      return Read_Motive(Text_Of(Files, "take.csv"));
    case Take_Format::Vicon:
    case Take_Format::Vicon_Quaternion:
      return Read_Vicon(Text_Of(Files, "take.csv"));
    case Take_Format::Qualisys:
      return Read_Qualisys(Text_Of(Files, "take.tsv"));
    case Take_Format::Csv:
      return Read_Plain(Text_Of(Files, "take.csv"));
    default:
      for (const simulate::Take_File& File : Files) {
        All[Split(File.Name, '.').at(0)] = Read_Pose_File(File.Text, Format);
      }
      return All;
  }
}

// What a sample of a row says in the terms of a take: the quaternion of a row takes Base to body,
// so its matrix is transposed.
Eigen::Matrix3d Attitude_Of(const Sample& Reading) {
  const Eigen::Quaterniond& Q = Reading.Rotation;
  return Matrix_Of(Q.w(), Q.x(), Q.y(), Q.z()).transpose();
}

struct Precision {
  Take_Format Format;
  double Position, Rotation;  // from half of the last digit: metres, and of a matrix's element
};

// With numbers off by d, the element 1 - 2 (y y + z z) of the matrix changes by at most
// 4 d (|y| + |z|), which is 4 sqrt(2) d for a unit quaternion, and other elements by less.
constexpr double Per_Digit = 5.657;

constexpr Precision Precisions[] = {
    {Take_Format::Motive, 0.5e-6, Per_Digit * 0.5e-6},
    // A rotation vector in degrees, each of three numbers off by half a digit: sqrt(3) of it, and
    // no element changes faster than the angle.
    {Take_Format::Vicon, 0.5e-9, 1.7321 * 0.5e-6 / 57.2957},
    {Take_Format::Vicon_Quaternion, 0.5e-9, Per_Digit * 0.5e-6},
    {Take_Format::Qualisys, 0.5e-8, 0.5e-5},
    {Take_Format::Tum, 0.5e-6, Per_Digit * 0.5e-6},
    {Take_Format::Eth, 0.5e-6, Per_Digit * 0.5e-6},
    {Take_Format::Euroc, 0.5e-6, Per_Digit * 0.5e-6},
    {Take_Format::Csv, 0.5e-8, Per_Digit * 0.5e-6}};

class TakeFormat : public testing::TestWithParam<Precision> {};

TEST_P(TakeFormat, HasTheSamplesOfTheRowsToTheDigitsOfTheFormat) {
  const Plan Capture = Make_Plan(Take_Of(GetParam().Format));
  const Bodies Read = Read_Take(Capture);
  ASSERT_EQ(Read.count("camera"), 1u);
  ASSERT_EQ(Read.count("board"), 1u);
  for (const Image_Truth& Image : Capture.Images) {
    SCOPED_TRACE(Image.Name);
    for (const auto& [Name, Row] :
         {std::pair<const char*, Sample>{"camera", Image.Tc}, {"board", Image.Tr}}) {
      // Every sample of the hold, as all of it is still.
      int Count = 0;
      for (const Read_Sample& Next : Read.at(Name)) {
        if (Next.Seconds < Image.Still.Begin || Next.Seconds > Image.Still.End) continue;
        ++Count;
        ASSERT_FALSE(Next.Is_Lost);
        ASSERT_LE(Largest_Element(Next.Position - Row.Position),
                  GetParam().Position * 1.0001 + 1e-12);
        ASSERT_LE(Largest_Element(Next.Attitude - Attitude_Of(Row)), GetParam().Rotation * 1.0001);
      }
      EXPECT_GE(Count, 100) << "holds last a second at least";
    }
  }
}

// Five decimals of degrees: turns about x, y and z of the body, in this order. A number that was
// rounded before would differ by another unit in some of the thousands of samples.
TEST(Take, AnglesOfQualisysAreRoundedOnce) {
  const Plan Capture = Make_Plan(Take_Of(Take_Format::Qualisys));
  const std::vector<std::string> Lines =
      Lines_Of(Text_Of(simulate::Take_Files(Capture), "take.tsv"));
  const std::vector<simulate::Take_Row> Rows = simulate::Record_Take(Capture);
  ASSERT_EQ(Lines.size(), Rows.size() + 11);
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    const Eigen::Matrix3d Turned = Attitude_Of(Rows[i].Camera.Reading);
    const std::vector<std::string> Cells = Split(Lines[i + 11], '\t');
    const double Expected_Rad[] = {std::atan2(-Turned(1, 2), Turned(2, 2)), std::asin(Turned(0, 2)),
                                   std::atan2(-Turned(0, 1), Turned(0, 0))};
    for (std::size_t k = 0; k < 3; ++k) {
      const double Expected_Deg = Expected_Rad[k] * 180.0 / std::acos(-1.0);
      ASSERT_NEAR(Number(Cells.at(5 + k)), Expected_Deg, 0.5e-5 + 1e-9) << i;
    }
  }
}

TEST_P(TakeFormat, SamplesAtTheStatedRateFromTheBeginningToTheEnd) {
  Options Settings = Take_Of(GetParam().Format);
  Settings.Recording.Rate_Hz = 50.0;
  const Plan Capture = Make_Plan(Settings);
  const Bodies Read = Read_Take(Capture);
  const std::vector<Read_Sample>& Samples = Read.at("camera");
  ASSERT_EQ(Samples.size(), static_cast<std::size_t>(simulate::Duration(Capture) * 50.0) + 1);
  for (std::size_t i = 0; i < Samples.size(); ++i) {
    EXPECT_NEAR(Samples[i].Seconds, static_cast<double>(i) * 0.02, 1e-9);
  }
}

TEST_P(TakeFormat, IsTheSameForEqualSeedsOnly) {
  Options Settings = Take_Of(GetParam().Format);
  Settings.Position_Noise_Mm = 0.3;
  Settings.Recording.Lost_Percent = 3.0;
  const auto Text = [&] { return simulate::Take_Files(Make_Plan(Settings)).front().Text; };
  const std::string First = Text();
  EXPECT_EQ(First, Text());
  Settings.Seed = 7;
  EXPECT_NE(First, Text());
}

INSTANTIATE_TEST_SUITE_P(All, TakeFormat, testing::ValuesIn(Precisions));

TEST_P(TakeFormat, LeavesOutOrBlanksTheSamplesThatAreLost) {
  Options Settings = Take_Of(GetParam().Format);
  Settings.Recording.Lost_Percent = 20.0;
  const Plan Capture = Make_Plan(Settings);
  const std::vector<Take_Row> Rows = simulate::Record_Take(Capture);
  const Bodies Read = Read_Take(Capture);
  for (const auto& [Name, Body] :
       {std::pair<const char*, simulate::Body_Reading Take_Row::*>{"camera", &Take_Row::Camera},
        {"board", &Take_Row::Board}}) {
    std::vector<double> Tracked, Told;
    for (const Take_Row& Row : Rows) {
      if ((Row.*Body).Is_Tracked) Tracked.push_back(Row.Seconds);
    }
    for (const Read_Sample& Next : Read.at(Name)) {
      if (!Next.Is_Lost) Told.push_back(Next.Seconds);
    }
    EXPECT_LT(Tracked.size(), Rows.size());
    EXPECT_THAT(Told, testing::Pointwise(testing::DoubleNear(1e-9), Tracked));
  }
}

TEST_P(TakeFormat, NamesItsFiles) {
  for (const bool One_Body : {false, true}) {
    Options Settings = Take_Of(GetParam().Format);
    Settings.Recording.One_Body = One_Body;
    std::vector<std::string> Names;
    for (const simulate::Take_File& File : simulate::Take_Files(Make_Plan(Settings))) {
      Names.push_back(File.Name);
    }
    EXPECT_EQ(Names, simulate::Take_Names(Settings.Recording));
    const Bodies Read = Read_Take(Make_Plan(Settings));
    EXPECT_EQ(Read.count("camera"), 1u);
    EXPECT_EQ(Read.count("board"), One_Body ? 0u : 1u);
  }
}

TEST(MotiveTake, IsInMillimetresWhenAskedFor) {
  Options Settings = Take_Of(Take_Format::Motive);
  const Plan In_Metres = Make_Plan(Settings);
  Settings.Recording.Unit = simulate::Length_Unit::Millimetres;
  const Plan In_Millimetres = Make_Plan(Settings);
  const std::string Text = simulate::Take_Files(In_Millimetres).front().Text;
  EXPECT_THAT(Text, testing::HasSubstr(",Length Units,Millimeters,"));
  const Bodies A = Read_Take(In_Metres), B = Read_Take(In_Millimetres);
  for (std::size_t i = 0; i < A.at("board").size(); ++i) {
    // Six decimals of a metre, and six of a millimetre.
    EXPECT_LE(Largest_Element(A.at("board")[i].Position - B.at("board")[i].Position), 0.501e-6);
  }
}

TEST(MotiveTake, GivesEachBodyAndMarkerAnIdOfItsOwn) {
  const std::vector<simulate::Take_File> Files =
      simulate::Take_Files(Make_Plan(Take_Of(Take_Format::Motive)));
  // The names of all columns stand above their ids.
  const std::vector<std::string> Lines = Lines_Of(Files.at(0).Text);
  const auto Names = std::find_if(Lines.begin(), Lines.end(), [](const std::string& Line) {
    return Line.find(",camera,") != std::string::npos;
  });
  ASSERT_LT(Names + 1, Lines.end());
  const std::vector<std::string> Name = Split(Names[0], ','), Id = Split(Names[1], ',');
  ASSERT_EQ(Name.size(), Id.size());
  std::map<std::string, std::string> Ids;
  for (std::size_t i = 2; i < Name.size(); ++i) {
    EXPECT_EQ(Ids.emplace(Name[i], Id[i]).first->second, Id[i]) << "one for all columns";
  }
  EXPECT_EQ(Ids, (std::map<std::string, std::string>{{"prop", "1003"},
                                                     {"prop:Marker1", "1103"},
                                                     {"camera", "1001"},
                                                     {"camera:Marker1", "1101"},
                                                     {"board", "1002"},
                                                     {"board:Marker1", "1102"}}));
}

// The positions of a body's marker, metres, one for each row.
std::vector<Eigen::Vector3d> Motive_Markers(const std::string& Text, const std::string& Name) {
  const std::vector<std::string> Lines = Lines_Of(Text);
  const std::vector<std::string> Names = Split(Lines.at(3), ',');
  const auto First =
      static_cast<std::size_t>(std::find(Names.begin(), Names.end(), Name) - Names.begin());
  std::vector<Eigen::Vector3d> Positions;
  for (std::size_t Row = 7; Row < Lines.size(); ++Row) {
    const std::vector<std::string> Cells = Split(Lines[Row], ',');
    Positions.emplace_back(Number(Cells.at(First)), Number(Cells.at(First + 1)),
                           Number(Cells.at(First + 2)));
  }
  return Positions;
}

// It is 50 mm along the body's x, 20 mm along its y and 30 mm against its z. The positions of body
// and marker have six decimals, and so has the quaternion that turns these 62 mm.
TEST(MotiveTake, HasAMarkerThatIsFixedOnEachBody) {
  const Plan Capture = Make_Plan(Take_Of(Take_Format::Motive));
  const Bodies Read = Read_Take(Capture);
  const std::string Text = simulate::Take_Files(Capture).front().Text;
  const double Rounding = 2 * 0.5e-6 + 0.062 * 3 * Per_Digit * 0.5e-6;
  for (const auto& [Name, Samples] : Read) {
    const std::vector<Eigen::Vector3d> Markers = Motive_Markers(Text, Name + ":Marker1");
    ASSERT_EQ(Markers.size(), Samples.size());
    for (std::size_t i = 0; i < Markers.size(); ++i) {
      const Eigen::Vector3d Marker_Base = Samples[i].Attitude * Eigen::Vector3d(0.05, 0.02, -0.03);
      ASSERT_LE(Largest_Element(Markers[i] - Samples[i].Position - Marker_Base), Rounding)
          << Name << " " << i;
    }
  }
}

TEST(MotiveTake, HasAThirdBodyBeforeTheTwo) {
  const Bodies Read = Read_Take(Make_Plan(Take_Of(Take_Format::Motive)));
  EXPECT_EQ(Read.count("prop"), 1u);
  EXPECT_EQ(Read.size(), 3u);
}

TEST(RecordTake, SeesTheRigAsItWasBeforeTheLag) {
  Options Settings = Take_Of(Take_Format::Motive);
  Settings.Recording.Drift_Mm_Per_Second = 10.0;
  Settings.Recording.Drift_Deg_Per_Second = 0.5;
  Settings.Recording.Lag_Ms = 100.0;
  const Plan Capture = Make_Plan(Settings);
  const std::vector<Take_Row> Late = simulate::Record_Take(Capture);
  Settings.Recording.Lag_Ms = 0.0;
  const std::vector<Take_Row> Prompt = simulate::Record_Take(Make_Plan(Settings));
  // 100 ms are ten samples.
  for (std::size_t i = 10; i < Late.size(); ++i) {
    ASSERT_LE((Late[i].Camera.Reading.Position - Prompt[i - 10].Camera.Reading.Position).norm(),
              1e-12);
    ASSERT_LE((Late[i].Board.Reading.Position - Prompt[i - 10].Board.Reading.Position).norm(),
              1e-12);
  }
}

TEST(RecordTake, HasTheNoiseOfTheSettingsInEverySample) {
  Options Settings = Take_Of(Take_Format::Motive);
  Settings.Position_Noise_Mm = 0.5;
  Settings.Rotation_Noise_Deg = 0.1;
  const Plan Capture = Make_Plan(Settings);
  double Squares = 0.0, Angle_Squares = 0.0, Product = 0.0;
  int Count = 0;
  for (const Take_Row& Row : simulate::Record_Take(Capture)) {
    const simulate::Rig_Pose Pose = simulate::Pose_At(Capture, Row.Seconds);
    Product += (Row.Camera.Reading.Position - Pose.Transform_Base_Tc.col(3).head<3>())
                   .dot(Row.Board.Reading.Position - Pose.Transform_Base_Tr.col(3).head<3>()) /
               3.0;
    for (const auto& [Reading, Truth] :
         {std::pair<Sample, Eigen::Matrix4d>{Row.Camera.Reading, Pose.Transform_Base_Tc},
          {Row.Board.Reading, Pose.Transform_Base_Tr}}) {
      const Sample Clean = simulate::Make_Sample(Truth);
      Squares += (Reading.Position - Clean.Position).squaredNorm() / 3.0;
      const double Angle = Reading.Rotation.angularDistance(Clean.Rotation);
      Angle_Squares += Angle * Angle / 3.0;
      ++Count;
    }
  }
  // Of 3 n / 2 products of independent numbers the mean is 0, with the deviation of one of them
  // over the root of their number; five of them.
  EXPECT_LE(std::abs(Product / (0.5 * Count)) / (0.5e-3 * 0.5e-3), 5.0 / std::sqrt(1.5 * Count))
      << "both trackers have the same noise";
  // The relative error of a standard deviation from 3 n numbers is 1 / sqrt(6 n); five of them.
  const double Tolerance = 5.0 / std::sqrt(6.0 * Count);
  EXPECT_NEAR(std::sqrt(Squares / Count) / 0.5e-3, 1.0, Tolerance);
  EXPECT_NEAR(std::sqrt(Angle_Squares / Count) / (0.1 / 57.29577951308232), 1.0, Tolerance);
}

TEST(RecordTake, LosesAboutTheStatedShareInRuns) {
  Options Settings = Take_Of(Take_Format::Motive);
  Settings.Image_Count = 60;
  Settings.Recording.Lost_Percent = 10.0;
  const std::vector<Take_Row> Rows = simulate::Record_Take(Make_Plan(Settings));
  for (const auto Body : {&Take_Row::Camera, &Take_Row::Board}) {
    int Lost = 0, Runs = 0;
    for (std::size_t i = 0; i < Rows.size(); ++i) {
      const bool Is_Lost = !(Rows[i].*Body).Is_Tracked;
      Lost += Is_Lost ? 1 : 0;
      Runs += Is_Lost && (i == 0 || (Rows[i - 1].*Body).Is_Tracked) ? 1 : 0;
    }
    // About 19000 samples in 190 runs of ten, whose number and length are both uncertain by about
    // 1 in 14: five times the root of their sum is half of what is expected.
    const double Share = static_cast<double>(Lost) / static_cast<double>(Rows.size());
    EXPECT_NEAR(Share, 0.1, 0.05);
    EXPECT_NEAR(static_cast<double>(Lost) / Runs, 10.0, 4.0);
  }
}

TEST(RecordTake, JumpsAndRepeatsSamplesInTheHoldsOfSuchRows) {
  Options Settings = Take_Of(Take_Format::Motive);
  Settings.Image_Count = 12;
  Settings.Jump_Count = 3;
  Settings.Stale_Count = 3;
  const Plan Capture = Make_Plan(Settings);
  for (const Take_Row& Row : simulate::Record_Take(Capture)) {
    const Image_Truth& Image = Capture.Images[simulate::Image_At(Capture, Row.Seconds)];
    if (Row.Seconds > Image.Still.End) continue;
    // The row is the sample of the hold, as there is no noise.
    ASSERT_LE((Row.Camera.Reading.Position - Image.Tc.Position).norm(), 1e-12) << Image.Name;
    ASSERT_LE((Row.Board.Reading.Position - Image.Tr.Position).norm(), 1e-12) << Image.Name;
  }
}

TEST(PlainTake, HasAMapOfEveryColumn) {
  const std::vector<simulate::Take_File> Files =
      simulate::Take_Files(Make_Plan(Take_Of(Take_Format::Csv)));
  const std::string Map = Text_Of(Files, "take.toml");
  for (const std::string& Column : Split(Lines_Of(Text_Of(Files, "take.csv")).at(0), ';')) {
    EXPECT_THAT(Map, testing::HasSubstr('"' + Column + '"'));
  }
  EXPECT_THAT(Map, testing::HasSubstr("axes = [\"x\", \"-z\", \"y\"]\n"));
}

TEST(TakeFiles, AreTheSameInALocaleWithDecimalCommas) {
  for (const Take_Format Format :
       {Take_Format::Motive, Take_Format::Vicon, Take_Format::Vicon_Quaternion,
        Take_Format::Qualisys, Take_Format::Tum, Take_Format::Eth, Take_Format::Euroc,
        Take_Format::Csv}) {
    Options Settings = Take_Of(Format);
    Settings.Recording.Rate_Hz = 1250.0;  // with a separator of thousands
    Settings.Image_Count = 2;
    Settings.Recording.Shortest_Hold = Settings.Recording.Longest_Hold = 0.2;
    Settings.Recording.Shortest_Move = Settings.Recording.Longest_Move = 0.1;
    const Plan Capture = Make_Plan(Settings);
    const std::vector<simulate::Take_File> Expected = simulate::Take_Files(Capture);
    const Decimal_Commas Elsewhere;
    const std::vector<simulate::Take_File> Written = simulate::Take_Files(Capture);
    ASSERT_EQ(Written.size(), Expected.size());
    ASSERT_FALSE(Written.empty());
    for (std::size_t i = 0; i < Written.size(); ++i) {
      EXPECT_TRUE(Written[i].Text == Expected[i].Text) << Written[i].Name;
    }
  }
}

}  // namespace
