// SPDX-License-Identifier: Apache-2.0
//
// Each format writes attitudes, body to Base, which is the conjugate of a sample's quaternion; only
// the plain CSV has the sample's own direction. Coordinates are those of Base, which is up to the
// tracking system. Motive, Vicon and Qualisys end their lines as Windows does.
#include "simulate/take.h"

#include "simulate/geometry.h"
#include "simulate/motion.h"
#include "simulate/random.h"
#include "simulate/tracker.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <locale>
#include <sstream>

namespace simulate {

namespace {

// Streams of random numbers, different from those of plan.cpp, render.cpp and motion.cpp.
enum Stream : unsigned { Camera_Noise = 301, Board_Noise, Camera_Losses, Board_Losses };

constexpr const char* Windows_Line_End = "\r\n";

// ---- Samples ---------------------------------------------------------------------------------

// Whether a body is lost, sample by sample. Markers are hidden for a while: losses come in runs,
// whose length and distance are geometrically distributed.
class Losses {
 public:
  Losses(const Options& Settings, Stream Purpose) : Generator(Settings.Seed, Purpose) {
    constexpr double Mean_Run_Seconds = 0.1;
    const auto& Recording = Settings.Recording;
    End_Chance = 1.0 / std::max(1.0, Mean_Run_Seconds * Recording.Rate_Hz);
    // In the long run as many losses begin as end.
    Begin_Chance = Recording.Lost_Percent / (100.0 - Recording.Lost_Percent) * End_Chance;
  }

  bool Next() {
    const double Draw = Generator.Unit();
    Is_Lost = Is_Lost ? Draw >= End_Chance : Draw < Begin_Chance;
    return Is_Lost;
  }

 private:
  Random Generator;
  double Begin_Chance = 0, End_Chance = 1;
  bool Is_Lost = false;
};

// The image whose row the camera's tracker is judged by at this time: moves are halved.
const Image_Truth& Nearest_Hold(const Plan& Capture, double Seconds) {
  const std::size_t Index = Image_At(Capture, Seconds);
  const bool Is_Nearer_To_Next = Progress_At(Capture, Seconds) > 0.5;
  return Capture.Images[Is_Nearer_To_Next ? Index + 1 : Index];
}

// Whether the camera's tracker repeats what it reported before: from the end of the hold before a
// stale row to the end of its own.
bool Is_Frozen(const Plan& Capture, double Seconds) {
  const std::size_t Index = Image_At(Capture, Seconds);
  const bool Moves = Seconds > Capture.Images[Index].Still.End;
  const std::size_t Row = Moves && Index + 1 < Capture.Images.size() ? Index + 1 : Index;
  return Capture.Images[Row].Kind == Row_Kind::Stale;
}

Sample With_Jump(const Image_Truth& Image, const Sample& Reading) {
  if (Image.Kind != Row_Kind::Jumped) return Reading;
  return Moved(Reading, Image.Jump_Shift, Image.Jump_Turn);
}

// ---- Text ------------------------------------------------------------------------------------

std::ostringstream Text_With_Digits(int Digits) {
  std::ostringstream Out;
  Out.imbue(std::locale::classic());
  Out << std::fixed << std::setprecision(Digits);
  return Out;
}

// The attitude: body directions to Base.
Eigen::Quaterniond Attitude(const Sample& Reading) {
  return Reading.Rotation.conjugate();
}

// An angle within half a turn has a quaternion with w of at least 0, which samples have.
Eigen::Vector3d Rotation_Vector(const Eigen::Quaterniond& Rotation) {
  const double Sine = Rotation.vec().norm();
  if (!(Sine > 0.0)) return Eigen::Vector3d::Zero();
  return Rotation.vec() * (2.0 * std::atan2(Sine, Rotation.w()) / Sine);
}

struct Named_Body {
  const char* Name;
  Body_Reading Take_Row::*Reading;
};

std::vector<Named_Body> Bodies_Of(const Plan& Capture) {
  std::vector<Named_Body> Bodies = {{"camera", &Take_Row::Camera}};
  if (!Capture.Settings.Recording.One_Body) Bodies.push_back({"board", &Take_Row::Board});
  return Bodies;
}

void Put(std::ostream& Out, char Separator, std::initializer_list<double> Values) {
  for (const double Value : Values) Out << Separator << Value;
}

void Put_Blanks(std::ostream& Out, char Separator, int Count) {
  for (int k = 0; k < Count; ++k) Out << Separator;
}

// ---- Motive ----------------------------------------------------------------------------------

// A column of a Motive take: what the four lines of column names say of it.
struct Motive_Column {
  std::string Type, Name, Id, Component, Axis;
};

// The columns of a rigid body: its attitude, its position and how well its markers fit.
void Add_Rigid_Body(const std::string& Name, const std::string& Id,
                    std::vector<Motive_Column>& Columns) {
  for (const char* Axis : {"X", "Y", "Z", "W"}) {
    Columns.push_back({"Rigid Body", Name, Id, "Rotation", Axis});
  }
  for (const char* Axis : {"X", "Y", "Z"}) {
    Columns.push_back({"Rigid Body", Name, Id, "Position", Axis});
  }
  Columns.push_back({"Rigid Body", Name, Id, "Mean Marker Error", ""});
}

void Add_Marker(const std::string& Name, const std::string& Id,
                std::vector<Motive_Column>& Columns) {
  for (const char* Axis : {"X", "Y", "Z"}) {
    Columns.push_back({"Rigid Body Marker", Name, Id, "Position", Axis});
  }
  Columns.push_back({"Rigid Body Marker", Name, Id, "Marker Quality", ""});
}

// One of the markers of every body, in the body's axes, metres.
const Eigen::Vector3d Marker_Body(0.05, 0.02, -0.03);

void Put_Rigid_Body(std::ostream& Out, const Body_Reading& Body, double Units_Per_Metre) {
  constexpr double Marker_Error = 0.0003;  // metres
  if (!Body.Is_Tracked) return Put_Blanks(Out, ',', 8);
  const Eigen::Quaterniond Rotation = Attitude(Body.Reading);
  const Eigen::Vector3d Position = Units_Per_Metre * Body.Reading.Position;
  Put(Out, ',', {Rotation.x(), Rotation.y(), Rotation.z(), Rotation.w()});
  Put(Out, ',', {Position.x(), Position.y(), Position.z(), Units_Per_Metre * Marker_Error});
}

void Put_Marker(std::ostream& Out, const Body_Reading& Body, double Units_Per_Metre) {
  if (!Body.Is_Tracked) return Put_Blanks(Out, ',', 4);
  const Eigen::Vector3d Position =
      Units_Per_Metre * (Body.Reading.Position + Attitude(Body.Reading) * Marker_Body);
  Put(Out, ',', {Position.x(), Position.y(), Position.z(), 1.0});
}

// A body that is neither camera nor board, so that bodies have to be found by their names. It lies
// still.
Body_Reading Third_Body() {
  Body_Reading Body;
  Body.Reading.Position = {1.5, -0.75, 0.25};
  Body.Reading.Rotation = Eigen::Quaterniond(0.8, 0.0, 0.0, 0.6);
  return Body;
}

std::string Motive_Header(const Plan& Capture, std::size_t Rows) {
  const Recording_Options& Recording = Capture.Settings.Recording;
  std::ostringstream Out = Text_With_Digits(6);
  Out << "Format Version,1.23,Take Name,capture,Take Notes,,Capture Frame Rate,"
      << Recording.Rate_Hz << ",Export Frame Rate," << Recording.Rate_Hz
      << ",Capture Start Time,2024-03-14 10.20.30.000 AM,Capture Start Frame,0,"
         "Total Frames in Take,"
      << Rows << ",Total Exported Frames," << Rows << ",Rotation Type,Quaternion,Length Units,"
      << (Recording.Unit == Length_Unit::Metres ? "Meters" : "Millimeters")
      << ",Coordinate Space,Global" << Windows_Line_End << Windows_Line_End;
  return Out.str();
}

std::string Motive_Column_Lines(const std::vector<Motive_Column>& Columns) {
  std::string Lines;
  for (const auto Line : {&Motive_Column::Type, &Motive_Column::Name, &Motive_Column::Id,
                          &Motive_Column::Component, &Motive_Column::Axis}) {
    Lines += Line == &Motive_Column::Axis ? "Frame,Time (Seconds)" : ",";
    for (const Motive_Column& Column : Columns) Lines += "," + Column.*Line;
    Lines += Windows_Line_End;
  }
  return Lines;
}

std::vector<Take_File> Motive_Take(const Plan& Capture, const std::vector<Take_Row>& Rows) {
  const bool In_Metres = Capture.Settings.Recording.Unit == Length_Unit::Metres;
  const double Units_Per_Metre = In_Metres ? 1.0 : 1000.0;
  const std::vector<Named_Body> Bodies = Bodies_Of(Capture);
  std::vector<Motive_Column> Columns;
  Add_Rigid_Body("prop", "1003", Columns);
  Add_Marker("prop:Marker1", "1103", Columns);
  for (const Named_Body& Body : Bodies) {
    const std::string Number = Body.Reading == &Take_Row::Camera ? "01" : "02";
    Add_Rigid_Body(Body.Name, "10" + Number, Columns);
    Add_Marker(std::string(Body.Name) + ":Marker1", "11" + Number, Columns);
  }

  std::ostringstream Out = Text_With_Digits(6);
  Out << Motive_Header(Capture, Rows.size()) << Motive_Column_Lines(Columns);
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    Out << i << ',' << Rows[i].Seconds;
    Put_Rigid_Body(Out, Third_Body(), Units_Per_Metre);
    Put_Marker(Out, Third_Body(), Units_Per_Metre);
    for (const Named_Body& Body : Bodies) {
      Put_Rigid_Body(Out, Rows[i].*Body.Reading, Units_Per_Metre);
      Put_Marker(Out, Rows[i].*Body.Reading, Units_Per_Metre);
    }
    Out << Windows_Line_End;
  }
  return {{"take.csv", Out.str()}};
}

// ---- Vicon -----------------------------------------------------------------------------------

constexpr double Degrees = 180.0 / Pi;
constexpr double Millimetres = 1000.0;

void Put_Segment(std::ostream& Out, const Body_Reading& Body, bool As_Quaternion) {
  if (!Body.Is_Tracked) return Put_Blanks(Out, ',', As_Quaternion ? 7 : 6);
  const Eigen::Quaterniond Rotation = Attitude(Body.Reading);
  if (As_Quaternion) {
    Put(Out, ',', {Rotation.x(), Rotation.y(), Rotation.z(), Rotation.w()});
  } else {
    const Eigen::Vector3d Vector_Deg = Degrees * Rotation_Vector(Rotation);
    Put(Out, ',', {Vector_Deg.x(), Vector_Deg.y(), Vector_Deg.z()});
  }
  const Eigen::Vector3d Position_Mm = Millimetres * Body.Reading.Position;
  Put(Out, ',', {Position_Mm.x(), Position_Mm.y(), Position_Mm.z()});
}

// Lines of names, columns and units. A segment's name stands above its first column.
std::string Vicon_Header(const Plan& Capture, bool As_Quaternion) {
  std::ostringstream Names, Columns, Units, Out;
  for (const Named_Body& Body : Bodies_Of(Capture)) {
    Names << ',' << Body.Name << ':' << Body.Name << (As_Quaternion ? ",,,,,," : ",,,,,");
    Columns << (As_Quaternion ? ",RX,RY,RZ,RW,TX,TY,TZ" : ",RX,RY,RZ,TX,TY,TZ");
    Units << (As_Quaternion ? ",,,,,mm,mm,mm" : ",deg,deg,deg,mm,mm,mm");
  }
  Out.imbue(std::locale::classic());
  Out << "Segments" << Windows_Line_End << Capture.Settings.Recording.Rate_Hz << Windows_Line_End
      << ',' << Names.str() << Windows_Line_End << "Frame,Sub Frame" << Columns.str()
      << Windows_Line_End << ',' << Units.str() << Windows_Line_End;
  return Out.str();
}

std::vector<Take_File> Vicon_Take(const Plan& Capture, const std::vector<Take_Row>& Rows,
                                  bool As_Quaternion) {
  std::ostringstream Out = Text_With_Digits(6);
  Out << Vicon_Header(Capture, As_Quaternion);
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    Out << i + 1 << ",0";
    for (const Named_Body& Body : Bodies_Of(Capture)) {
      Put_Segment(Out, Rows[i].*Body.Reading, As_Quaternion);
    }
    Out << Windows_Line_End;
  }
  return {{"take.csv", Out.str()}};
}

// ---- Qualisys --------------------------------------------------------------------------------

std::string Qualisys_Header(const Plan& Capture, std::size_t Rows) {
  const std::vector<Named_Body> Bodies = Bodies_Of(Capture);
  std::ostringstream Out;
  Out.imbue(std::locale::classic());
  Out << "NO_OF_FRAMES\t" << Rows << "\r\nNO_OF_CAMERAS\t8\r\nNO_OF_BODIES\t" << Bodies.size()
      << "\r\nFREQUENCY\t" << Capture.Settings.Recording.Rate_Hz
      << "\r\nNO_OF_ANALOG\t0\r\nANALOG_FREQUENCY\t0\r\nDESCRIPTION\t--\r\n"
         "TIME_STAMP\t2024-03-14, 10:20:30\t1234.56789012\r\nDATA_INCLUDED\t6D\r\nBODY_NAMES";
  for (const Named_Body& Body : Bodies) Out << '\t' << Body.Name;
  Out << Windows_Line_End << "Frame\tTime\t";
  for (const Named_Body& Body : Bodies) {
    Out << Body.Name << " X\tY\tZ\tRoll\tPitch\tYaw\tResidual\t";
    for (int k = 0; k < 9; ++k) Out << "Rot[" << k << "]\t";
  }
  Out << Windows_Line_End;
  return Out.str();
}

// Every number is followed by a tab. The angles are turns about the body's axes, x before y before
// z, and the matrix goes column by column.
void Put_6D(std::ostream& Out, const Body_Reading& Body) {
  constexpr double Residual_Mm = 0.5;
  if (!Body.Is_Tracked) return Put_Blanks(Out, '\t', 16);
  const Eigen::Vector3d Position_Mm = Millimetres * Body.Reading.Position;
  const Eigen::Matrix3d Rotation = Attitude(Body.Reading).toRotationMatrix();
  const double Roll = std::atan2(-Rotation(1, 2), Rotation(2, 2));
  const double Pitch = std::asin(std::clamp(Rotation(0, 2), -1.0, 1.0));
  const double Yaw = std::atan2(-Rotation(0, 1), Rotation(0, 0));
  for (const double Value : {Position_Mm.x(), Position_Mm.y(), Position_Mm.z(), Degrees * Roll,
                             Degrees * Pitch, Degrees * Yaw, Residual_Mm}) {
    Out << Value << '\t';
  }
  for (int c = 0; c < 3; ++c) {
    for (int r = 0; r < 3; ++r) Out << Rotation(r, c) << '\t';
  }
}

std::vector<Take_File> Qualisys_Take(const Plan& Capture, const std::vector<Take_Row>& Rows) {
  std::ostringstream Out = Text_With_Digits(5);
  Out << Qualisys_Header(Capture, Rows.size());
  for (std::size_t i = 0; i < Rows.size(); ++i) {
    Out << i + 1 << '\t' << Rows[i].Seconds << '\t';
    for (const Named_Body& Body : Bodies_Of(Capture)) Put_6D(Out, Rows[i].*Body.Reading);
    Out << Windows_Line_End;
  }
  return {{"take.tsv", Out.str()}};
}

// ---- Pose files ------------------------------------------------------------------------------

// A file of one body: a line for each sample that isn't lost.
struct Pose_File_Form {
  const char* Extension;
  const char* Header;  // with its line end; may be empty
  char Separator;
  bool In_Nanoseconds;  // since 1970; otherwise seconds on the take's clock
  bool Is_W_First;
};

std::string Pose_File_Text(const Pose_File_Form& Form, const std::vector<Take_Row>& Rows,
                           Body_Reading Take_Row::*Body) {
  std::ostringstream Out = Text_With_Digits(6);
  Out << Form.Header;
  for (const Take_Row& Row : Rows) {
    if (!(Row.*Body).Is_Tracked) continue;
    if (Form.In_Nanoseconds) {
      Out << Clock_Epoch * 1'000'000'000 + std::llround(Row.Seconds * 1e9);
    } else {
      Out << Row.Seconds;
    }
    const Eigen::Vector3d& Position = (Row.*Body).Reading.Position;
    const Eigen::Quaterniond Rotation = Attitude((Row.*Body).Reading);
    Put(Out, Form.Separator, {Position.x(), Position.y(), Position.z()});
    if (Form.Is_W_First) Put(Out, Form.Separator, {Rotation.w()});
    Put(Out, Form.Separator, {Rotation.x(), Rotation.y(), Rotation.z()});
    if (!Form.Is_W_First) Put(Out, Form.Separator, {Rotation.w()});
    Out << '\n';
  }
  return Out.str();
}

Pose_File_Form Form_Of(Take_Format Format) {
  if (Format == Take_Format::Tum) {
    return {".txt", "# timestamp tx ty tz qx qy qz qw\n", ' ', false, false};
  }
  if (Format == Take_Format::Euroc) {
    return {".csv",
            "#timestamp, p_RS_R_x [m], p_RS_R_y [m], p_RS_R_z [m], q_RS_w [], q_RS_x [], "
            "q_RS_y [], q_RS_z []\n",
            ',', true, true};
  }
  return {".csv", "", ',', false, false};
}

std::vector<Take_File> Pose_Files(const Plan& Capture, const std::vector<Take_Row>& Rows) {
  const Pose_File_Form Form = Form_Of(Capture.Settings.Recording.Format);
  std::vector<Take_File> Files;
  for (const Named_Body& Body : Bodies_Of(Capture)) {
    Files.push_back(
        {std::string(Body.Name) + Form.Extension, Pose_File_Text(Form, Rows, Body.Reading)});
  }
  return Files;
}

// ---- Plain CSV and its map -------------------------------------------------------------------

// Turns the axes of Base into the file's, in which y is up: x is Base's x, y its z, and z the
// reverse of its y. The map says it the other way round, as what each axis of Base is in the file.
Eigen::Vector3d In_Axes_Of_File(const Eigen::Vector3d& Vector_Base) {
  return {Vector_Base.x(), Vector_Base.z(), -Vector_Base.y()};
}

// A body's own axes are renamed with those of Base, so the axis of its rotation is turned alike.
// The quaternion is that of the sample, Base to body.
void Put_Plain(std::ostream& Out, const Body_Reading& Body) {
  constexpr double Centimetres = 100.0;
  if (!Body.Is_Tracked) return Put_Blanks(Out, ';', 7);
  const Eigen::Vector3d Position_Cm = Centimetres * In_Axes_Of_File(Body.Reading.Position);
  const Eigen::Vector3d Axis = In_Axes_Of_File(Body.Reading.Rotation.vec());
  Put(Out, ';', {Axis.x(), Axis.y(), Axis.z(), Body.Reading.Rotation.w()});
  Put(Out, ';', {Position_Cm.x(), Position_Cm.y(), Position_Cm.z()});
}

std::string Map_Of_Body(const std::string& Name) {
  return "\n[[body]]\nname = \"" + Name + "\"\nposition = [\"" + Name + "_x\", \"" + Name +
         "_y\", \"" + Name + "_z\"]\nlength-unit = \"cm\"\nquaternion = { w = \"" + Name +
         "_qw\", x = \"" + Name + "_qx\", y = \"" + Name + "_qy\", z = \"" + Name +
         "_qz\" }\ndirection = \"base-to-body\"\n";
}

std::vector<Take_File> Plain_Take(const Plan& Capture, const std::vector<Take_Row>& Rows) {
  std::string Map =
      "separator = \"semicolon\"\nheader-lines = 1\naxes = [\"x\", \"-z\", \"y\"]\n\n"
      "[time]\ncolumn = \"t\"\nunit = \"ms\"\n";
  std::ostringstream Out = Text_With_Digits(6);
  Out << 't';
  for (const Named_Body& Body : Bodies_Of(Capture)) {
    for (const char* Part : {"_qx", "_qy", "_qz", "_qw", "_x", "_y", "_z"}) {
      Out << ';' << Body.Name << Part;
    }
    Map += Map_Of_Body(Body.Name);
  }
  Out << '\n';
  for (const Take_Row& Row : Rows) {
    Out << 1000.0 * Row.Seconds;
    for (const Named_Body& Body : Bodies_Of(Capture)) Put_Plain(Out, Row.*Body.Reading);
    Out << '\n';
  }
  return {{"take.csv", Out.str()}, {"take.toml", Map}};
}

}  // namespace

std::vector<Take_Row> Record_Take(const Plan& Capture) {
  const Options& Settings = Capture.Settings;
  const Recording_Options& Recording = Settings.Recording;
  Random Noise_Of_Camera(Settings.Seed, Camera_Noise), Noise_Of_Board(Settings.Seed, Board_Noise);
  Losses Camera_Lost(Settings, Camera_Losses), Board_Lost(Settings, Board_Losses);
  std::vector<Take_Row> Rows;
  if (Capture.Images.empty()) return Rows;
  const auto Count = static_cast<std::size_t>(Duration(Capture) * Recording.Rate_Hz) + 1;
  for (std::size_t i = 0; i < Count; ++i) {
    Take_Row Row;
    Row.Seconds = static_cast<double>(i) / Recording.Rate_Hz;
    const double Seen = Row.Seconds - Recording.Lag_Ms * 1e-3;
    const Rig_Pose Pose = Pose_At(Capture, Seen);
    Row.Camera.Reading =
        With_Jump(Nearest_Hold(Capture, Seen),
                  With_Noise(Settings, Make_Sample(Pose.Transform_Base_Tc), Noise_Of_Camera));
    Row.Board.Reading = With_Noise(Settings, Make_Sample(Pose.Transform_Base_Tr), Noise_Of_Board);
    if (!Rows.empty() && Is_Frozen(Capture, Seen)) Row.Camera.Reading = Rows.back().Camera.Reading;
    Row.Camera.Is_Tracked = !Camera_Lost.Next();
    Row.Board.Is_Tracked = !Board_Lost.Next();
    Rows.push_back(Row);
  }
  return Rows;
}

std::vector<std::string> Take_Names(const Recording_Options& Recording) {
  switch (Recording.Format) {
    case Take_Format::None:
      return {};
    case Take_Format::Motive:
    case Take_Format::Vicon:
    case Take_Format::Vicon_Quaternion:
      return {"take.csv"};
    case Take_Format::Qualisys:
      return {"take.tsv"};
    case Take_Format::Csv:
      return {"take.csv", "take.toml"};
    case Take_Format::Tum:
    case Take_Format::Eth:
    case Take_Format::Euroc:
      break;
  }
  const std::string Extension = Form_Of(Recording.Format).Extension;
  if (Recording.One_Body) return {"camera" + Extension};
  return {"camera" + Extension, "board" + Extension};
}

std::vector<Take_File> Take_Files(const Plan& Capture) {
  const Take_Format Format = Capture.Settings.Recording.Format;
  if (Format == Take_Format::None) return {};
  const std::vector<Take_Row> Rows = Record_Take(Capture);
  switch (Format) {
    case Take_Format::Motive:
      return Motive_Take(Capture, Rows);
    case Take_Format::Vicon:
      return Vicon_Take(Capture, Rows, /*As_Quaternion=*/false);
    case Take_Format::Vicon_Quaternion:
      return Vicon_Take(Capture, Rows, /*As_Quaternion=*/true);
    case Take_Format::Qualisys:
      return Qualisys_Take(Capture, Rows);
    case Take_Format::Csv:
      return Plain_Take(Capture, Rows);
    default:
      return Pose_Files(Capture, Rows);
  }
}

}  // namespace simulate
