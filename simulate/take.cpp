// SPDX-License-Identifier: Apache-2.0
//
// Each format writes attitudes, body to Base, which is the conjugate of a sample's quaternion; only
// the plain CSV has the sample's own direction. Lines end as the systems end them: those that run
// on Windows with a carriage return.
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
    const double Share = Settings.Recording.Lost_Percent / 100.0;
    End_Chance = 1.0 / std::max(1.0, Mean_Run_Seconds * Settings.Recording.Rate_Hz);
    // In the long run as many losses begin as end.
    Begin_Chance = Share / (1.0 - Share) * End_Chance;
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
    case Take_Format::Motive:
      return {"take.csv"};
    default:
      return {};
  }
}

std::vector<Take_File> Take_Files(const Plan& Capture) {
  switch (Capture.Settings.Recording.Format) {
    case Take_Format::Motive:
      return Motive_Take(Capture, Record_Take(Capture));
    default:
      return {};
  }
}

}  // namespace simulate
