// SPDX-License-Identifier: Apache-2.0
#include "rigsync/import/clock.h"

#include "rigsync/geometry/statistics.h"
#include "rigsync/take/timecode.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace rigsync {
namespace {

constexpr double Not_Known = std::numeric_limits<double>::quiet_NaN();

// ---- Motion ----------------------------------------------------------------------------------

// Certain: the correlation is at least Least_Score and better than everywhere else by
// Least_Margin.
constexpr double Least_Score = 0.5, Least_Margin = 0.2;

// Times of a signal are known at their own times; between them is a straight line where they are
// not farther apart than Longest_Step.
void Put_On_Grid(const std::vector<double>& Seconds, const std::vector<double>& Values,
                 double Longest_Step, Timed_Signal& On) {
  for (std::size_t i = 1; i < Seconds.size(); ++i) {
    const double Step = Seconds[i] - Seconds[i - 1];
    if (!(Step > 0.0) || Step > Longest_Step) continue;
    const double First = (Seconds[i - 1] - On.Begin_Seconds) * Signal_Steps_Hz;
    const double Last = (Seconds[i] - On.Begin_Seconds) * Signal_Steps_Hz;
    for (auto k = static_cast<std::ptrdiff_t>(std::ceil(First)); static_cast<double>(k) <= Last;
         ++k) {
      if (k < 0 || k >= static_cast<std::ptrdiff_t>(On.Values.size())) continue;
      const double Part = (static_cast<double>(k) - First) / (Last - First);
      On.Values[static_cast<std::size_t>(k)] = (1.0 - Part) * Values[i - 1] + Part * Values[i];
    }
  }
}

Timed_Signal Empty_Signal(double Begin_Seconds, double End_Seconds) {
  Timed_Signal Made;
  Made.Begin_Seconds = Begin_Seconds;
  const double Steps = std::max(0.0, End_Seconds - Begin_Seconds) * Signal_Steps_Hz;
  Made.Values.assign(static_cast<std::size_t>(Steps) + 1, Not_Known);
  return Made;
}

double Quantile(std::vector<double> Values, double Part) {
  const auto At =
      Values.begin() + static_cast<std::ptrdiff_t>(Part * static_cast<double>(Values.size() - 1));
  std::nth_element(Values.begin(), At, Values.end());
  return *At;
}

// Frames without those that only repeat the one before them, as a clip of 25 in 30 has them: a
// difference of 0 between two that are not 0. Frames of a body at rest may all be the same.
std::vector<Clip_Frame> Without_Repeats(const std::vector<Clip_Frame>& Frames) {
  std::vector<Clip_Frame> Left;
  for (std::size_t i = 1; i < Frames.size(); ++i) {
    const bool Is_Repeat = Frames[i].Difference <= 0.0F && i > 1 && i + 1 < Frames.size() &&
                           Frames[i - 1].Difference > 0.0F && Frames[i + 1].Difference > 0.0F;
    if (!Is_Repeat) Left.push_back(Frames[i]);
  }
  return Left;
}

// Of both peaks: the shift by its index, and the coefficient.
struct Peak {
  std::size_t Index = 0;
  double Coefficient = 0, Rank = -INFINITY;
};

// How unlikely a coefficient is by chance: Fisher's transformation, whose deviation falls with the
// root of the overlap. A short overlap has high coefficients by chance.
double Rank_Of(double Coefficient, double Overlap) {
  constexpr double Largest = 0.995;  // beyond it noise is all that is ranked
  return std::atanh(std::clamp(Coefficient, -Largest, Largest)) * std::sqrt(Overlap);
}

double Overlap_At(const Shift_Correlations& All, std::size_t Index, std::size_t Size_A,
                  std::size_t Size_B) {
  const std::ptrdiff_t Shift = All.First_Shift + static_cast<std::ptrdiff_t>(Index);
  const std::ptrdiff_t Begin = std::max<std::ptrdiff_t>(0, Shift);
  const std::ptrdiff_t End = std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(Size_A),
                                                      Shift + static_cast<std::ptrdiff_t>(Size_B));
  return static_cast<double>(std::max<std::ptrdiff_t>(0, End - Begin));
}

// The best shift outside [Lobe_Begin, Lobe_End).
Peak Best_Peak(const Shift_Correlations& All, std::size_t Size_A, std::size_t Size_B,
               std::size_t Lobe_Begin, std::size_t Lobe_End) {
  Peak Best;
  for (std::size_t k = 0; k < All.Coefficients.size(); ++k) {
    if (std::isnan(All.Coefficients[k]) || (k >= Lobe_Begin && k < Lobe_End)) continue;
    const double Rank = Rank_Of(All.Coefficients[k], Overlap_At(All, k, Size_A, Size_B));
    if (Rank > Best.Rank) Best = {k, All.Coefficients[k], Rank};
  }
  return Best;
}

// The shifts that belong to a peak: about it down to half its height, and half a second.
std::pair<std::size_t, std::size_t> Lobe_Of(const Shift_Correlations& All, const Peak& Best) {
  constexpr auto Least = static_cast<std::size_t>(0.5 * Signal_Steps_Hz);
  const auto Belongs = [&](std::size_t k) {
    const std::size_t Away = k > Best.Index ? k - Best.Index : Best.Index - k;
    return Away <= Least || All.Coefficients[k] > 0.5 * Best.Coefficient;
  };
  std::size_t Begin = Best.Index, End = Best.Index + 1;
  while (Begin > 0 && Belongs(Begin - 1)) --Begin;
  while (End < All.Coefficients.size() && Belongs(End)) ++End;
  return {Begin, End};
}

// Where the parabola through a peak and its neighbours is highest, in steps from the peak.
double Vertex_Shift(const std::vector<double>& Values, std::size_t Index) {
  if (Index == 0 || Index + 1 >= Values.size()) return 0.0;
  const double Before = Values[Index - 1], At = Values[Index], After = Values[Index + 1];
  const double Bend = Before - 2.0 * At + After;
  if (!(Bend < 0.0)) return 0.0;  // NaN too
  return std::clamp(0.5 * (Before - After) / Bend, -0.5, 0.5);
}

// ---- Holds -----------------------------------------------------------------------------------

// Certain: so many more photographs and holds have each other than with any other offset, and of
// all this part.
constexpr double Least_More = 5.0, Least_Part = 0.6;

// A photograph is somewhere within this time, if nothing else is known of it.
constexpr double Least_Resolution = 0.1;

// Adds up trapezoids: a sum of straight lines that changes its slope at these offsets.
struct Bend {
  double Offset = 0, Slope_Change = 0;
};

// The sum at each offset where its slope changes.
struct Sum_Point {
  double Offset = 0, Sum = 0;
};

// The offsets at which a photograph, taken at some instant of [Seconds, Seconds + Resolution], and
// a hold have each other. Within Rise of either end they have each other in part.
struct Encounter {
  double Begin = 0, End = 0, Rise = 0;
};

Encounter Encounter_Of(const Hold& In, double Seconds, double Resolution) {
  return {In.Begin_Seconds - Seconds - Resolution, In.End_Seconds - Seconds,
          std::min(Resolution, In.Duration())};
}

void Add_Trapezoid(const Encounter& One, double Resolution, std::vector<Bend>& Bends) {
  const double Slope = 1.0 / Resolution;
  Bends.push_back({One.Begin, Slope});
  Bends.push_back({One.Begin + One.Rise, -Slope});
  Bends.push_back({One.End - One.Rise, -Slope});
  Bends.push_back({One.End, Slope});
}

// Each photograph in a hold counts one, and so does each hold with a photograph: with another
// offset many photographs may fall into few holds. Pictures are in the order of time.
std::vector<Bend> Encounters(const std::vector<Hold>& Holds, const Photographs& From,
                             double Resolution) {
  const double Before = 0.5 * (Resolution - From.Resolution_Seconds);
  std::vector<Bend> Bends;
  for (const Hold& In : Holds) {
    std::optional<Encounter> Any;
    for (auto At = From.Pictures.rbegin(); At != From.Pictures.rend(); ++At) {
      const Encounter One = Encounter_Of(In, At->Seconds - Before, Resolution);
      Add_Trapezoid(One, Resolution, Bends);
      if (Any && One.Begin < Any->End) {
        Any->End = One.End;
        continue;
      }
      if (Any) Add_Trapezoid(*Any, Resolution, Bends);
      Any = One;
    }
    if (Any) Add_Trapezoid(*Any, Resolution, Bends);
  }
  return Bends;
}

std::vector<Sum_Point> Sum_Of(std::vector<Bend> Bends) {
  std::sort(Bends.begin(), Bends.end(),
            [](const Bend& A, const Bend& B) { return A.Offset < B.Offset; });
  std::vector<Sum_Point> Points;
  Points.reserve(Bends.size());
  double Sum = 0, Slope = 0;
  for (const Bend& One : Bends) {
    if (!Points.empty()) Sum += Slope * (One.Offset - Points.back().Offset);
    Slope += One.Slope_Change;
    Points.push_back({One.Offset, Sum});
  }
  return Points;
}

// The highest point, outside [Lobe_Begin, Lobe_End].
const Sum_Point* Highest(const std::vector<Sum_Point>& Points, double Lobe_Begin, double Lobe_End) {
  const Sum_Point* Best = nullptr;
  for (const Sum_Point& One : Points) {
    if (One.Offset >= Lobe_Begin && One.Offset <= Lobe_End) continue;
    if (Best == nullptr || One.Sum > Best->Sum) Best = &One;
  }
  return Best;
}

// The offsets about a point at which the sum stays at Least or above.
std::pair<double, double> Reach(const std::vector<Sum_Point>& Points, std::size_t At,
                                double Least) {
  std::size_t First = At, Last = At;
  while (First > 0 && Points[First - 1].Sum >= Least) --First;
  while (Last + 1 < Points.size() && Points[Last + 1].Sum >= Least) ++Last;
  return {Points[First].Offset, Points[Last].Offset};
}

// What part of the time between the first and the last hold is hold.
double Part_In_Holds(const std::vector<Hold>& Holds) {
  double Held = 0;
  for (const Hold& One : Holds) Held += One.Duration();
  const double Whole = Holds.back().End_Seconds - Holds.front().Begin_Seconds;
  return Whole > 0.0 ? Held / Whole : 1.0;
}

}  // namespace

Clock_Match Match_By_Timecode(double Take_Start, double Picture_Start, double Likely_Offset) {
  Clock_Match Match;
  Match.Method = Clock_Method::Timecode;
  const double Of_One_Day = Picture_Start - Take_Start;
  Match.Offset_Seconds =
      Of_One_Day + Seconds_Per_Day * std::round((Likely_Offset - Of_One_Day) / Seconds_Per_Day);
  Match.Is_Certain = true;
  return Match;
}

Timed_Signal Take_Signal(const std::vector<Body_Speeds>& Bodies) {
  constexpr double Longest_Step = 0.15, Fastest = 30.0;
  double Begin = INFINITY, End = -INFINITY;
  for (const Body_Speeds& Body : Bodies) {
    if (Body.Speeds.empty()) return {};
    Begin = std::min(Begin, Body.Speeds.front().Seconds);
    End = std::max(End, Body.Speeds.back().Seconds);
  }
  if (Bodies.empty()) return {};
  Timed_Signal Whole = Empty_Signal(Begin, End);
  for (std::size_t b = 0; b < Bodies.size(); ++b) {
    std::vector<double> Seconds, Values;
    for (const Speed_Sample& Speed : Bodies[b].Speeds) {
      const double Times_Rest =
          std::max(Speed.Linear / Bodies[b].Rest.Linear, Speed.Angular / Bodies[b].Rest.Angular);
      if (std::isnan(Times_Rest)) continue;
      Seconds.push_back(Speed.Seconds);
      Values.push_back(std::log(std::clamp(Times_Rest, 1.0, Fastest)));
    }
    Timed_Signal Of_Body = Empty_Signal(Begin, End);
    Put_On_Grid(Seconds, Values, Longest_Step, Of_Body);
    for (std::size_t i = 0; i < Whole.Values.size(); ++i) {
      const double Value = Of_Body.Values[i];
      // A body that is lost may be moving.
      Whole.Values[i] = b == 0 ? Value
                        : std::isnan(Value) || std::isnan(Whole.Values[i])
                            ? Not_Known
                            : std::max(Whole.Values[i], Value);
    }
  }
  return Whole;
}

Timed_Signal Clip_Signal(const Clip& From) {
  constexpr double Half_Window = 0.1, Longest_Step = 0.3;
  constexpr double Above_Rest = 1.5, Rest_Part = 0.1, Fast_Part = 0.95;
  constexpr double Least_Difference = 0.02;  // grey levels a frame: rounding
  const std::vector<Clip_Frame> Frames = Without_Repeats(From.Frames);
  if (Frames.size() < 3) return {};
  // A median over neighbours: a key frame of the compression differs for a moment.
  std::vector<double> Seconds, Values, Near;
  std::size_t First = 0, Last = 0;
  for (std::size_t i = 0; i < Frames.size(); ++i) {
    while (Frames[First].Seconds < Frames[i].Seconds - Half_Window) ++First;
    while (Last < Frames.size() && Frames[Last].Seconds <= Frames[i].Seconds + Half_Window) ++Last;
    Near.clear();
    for (std::size_t k = First; k < Last; ++k) Near.push_back(Frames[k].Difference);
    const double Before = i > 0 ? Frames[i - 1].Seconds : From.Frames.front().Seconds;
    Seconds.push_back(0.5 * (Before + Frames[i].Seconds));  // of the change
    Values.push_back(Median(Near));
  }
  const double Rest = std::max(Above_Rest * Quantile(Values, Rest_Part), Least_Difference);
  const double Fast = std::max(Quantile(Values, Fast_Part), Rest);
  for (double& Value : Values) Value = std::log(std::clamp(Value, Rest, Fast));
  Timed_Signal Whole = Empty_Signal(Seconds.front(), Seconds.back());
  Put_On_Grid(Seconds, Values, Longest_Step, Whole);
  return Whole;
}

Clock_Match Match_By_Motion(const std::vector<Body_Speeds>& Bodies, const Clip& From) {
  Clock_Match Match;
  Match.Method = Clock_Method::Correlation;
  const Timed_Signal A = Take_Signal(Bodies), B = Clip_Signal(From);
  if (A.Values.empty() || B.Values.empty()) return Match;
  const std::size_t Size_A = A.Values.size(), Size_B = B.Values.size();
  const Shift_Correlations All = Correlate(A.Values, B.Values, std::min(Size_A, Size_B) / 2);
  const Peak Best = Best_Peak(All, Size_A, Size_B, 0, 0);
  if (!(Best.Coefficient > 0.0)) return Match;
  const auto [Lobe_Begin, Lobe_End] = Lobe_Of(All, Best);
  const Peak Second = Best_Peak(All, Size_A, Size_B, Lobe_Begin, Lobe_End);
  const auto Offset_At = [&](double Index) {
    return A.Begin_Seconds - B.Begin_Seconds +
           (static_cast<double>(All.First_Shift) + Index) / Signal_Steps_Hz;
  };
  Match.Offset_Seconds =
      Offset_At(static_cast<double>(Best.Index) + Vertex_Shift(All.Coefficients, Best.Index));
  Match.Score = Best.Coefficient;
  Match.Second_Score = std::max(0.0, Second.Coefficient);
  Match.Second_Offset_Seconds = Offset_At(static_cast<double>(Second.Index));
  Match.Is_Certain = Match.Score >= Least_Score && Match.Score - Match.Second_Score >= Least_Margin;
  return Match;
}

Clock_Match Match_By_Holds(const std::vector<Hold>& Holds, const Photographs& From) {
  Clock_Match Match;
  Match.Method = Clock_Method::Correlation;
  if (Holds.empty() || From.Pictures.empty()) return Match;
  const double Resolution = std::max(From.Resolution_Seconds, Least_Resolution);
  const std::vector<Sum_Point> Points = Sum_Of(Encounters(Holds, From, Resolution));
  const Sum_Point* const Best = Highest(Points, INFINITY, -INFINITY);
  const auto At = static_cast<std::size_t>(Best - Points.data());
  constexpr double Rounding = 1e-6;
  const auto [First, Last] = Reach(Points, At, Best->Sum - Rounding);
  const std::size_t Pictures = From.Pictures.size();
  const auto Count = static_cast<double>(Pictures + std::min(Pictures, Holds.size()));
  const double Usual = Count * Part_In_Holds(Holds);
  const double Half_Way = Usual < Best->Sum ? 0.5 * (Usual + Best->Sum) : Best->Sum;
  const auto [Lobe_Begin, Lobe_End] = Reach(Points, At, Half_Way);
  const Sum_Point* const Second = Highest(Points, Lobe_Begin, Lobe_End);
  Match.Offset_Seconds = 0.5 * (First + Last);
  Match.Score = std::min(1.0, Best->Sum / Count);  // a sum of slopes rounds
  if (Second != nullptr) {
    Match.Second_Score = std::clamp(Second->Sum / Count, 0.0, 1.0);
    Match.Second_Offset_Seconds = Second->Offset;
  }
  Match.Is_Certain = Match.Score >= Least_Part &&
                     Count * (Match.Score - Match.Second_Score) >= Least_More - Rounding;
  return Match;
}

}  // namespace rigsync
