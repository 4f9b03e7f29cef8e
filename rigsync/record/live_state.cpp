// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/live_state.h"

#include "rigsync/record/bytes.h"

#include <algorithm>
#include <utility>

namespace rigsync {
namespace {

// What is kept of a body for its rate and its motion.
constexpr double Kept_Seconds = 2.0;
constexpr std::size_t Most_Kept = 2000;

double Time_Of(const Timed_Sample& Sample) {
  return Sample.Seconds;
}

double Time_Of(double Seconds) {
  return Seconds;
}

// Removes the oldest when they are half of what is kept, so that each is moved once on average.
template <typename Entry>
void Forget_Old(std::vector<Entry>& Entries) {
  const double From = Time_Of(Entries.back()) - Kept_Seconds;
  auto Old = static_cast<std::size_t>(
      std::find_if(Entries.begin(), Entries.end(),
                   [From](const Entry& One) { return Time_Of(One) >= From; }) -
      Entries.begin());
  if (Entries.size() > Most_Kept) Old = std::max(Old, Entries.size() / 2);
  if (2 * Old >= Entries.size()) {
    Entries.erase(Entries.begin(), Entries.begin() + static_cast<std::ptrdiff_t>(Old));
  }
}

double Rate_Of(const std::vector<double>& Times, double Now) {
  const auto First = std::find_if(Times.begin(), Times.end(),
                                  [Now](double Time) { return Time >= Now - Kept_Seconds; });
  if (Times.end() - First < 2) return 0;
  return static_cast<double>(Times.end() - First - 1) / (Times.back() - *First);
}

}  // namespace

double Live_State::Seconds_At(std::int64_t Steady_Ns) const {
  constexpr double Seconds_Per_Nanosecond = 1e-9;
  return static_cast<double>(Nanoseconds_Between(Start_Ns, Steady_Ns)) * Seconds_Per_Nanosecond;
}

void Live_State::Feed(const Udp_Packet& Packet) {
  Decoder.Feed(Packet, [this](const Stream_Sample& Sample) { Take(Sample); });
}

void Live_State::Take(const Stream_Sample& Sample) {
  States.resize(std::max(States.size(), Sample.Body + 1));
  Body_State& Body = States[Sample.Body];
  const double Seconds = Seconds_At(Sample.Steady_Ns);
  ++Body.Samples;
  if (Sample.Is_Late || (Body.Samples > 1 && Seconds <= Body.Last_Seconds)) return;
  if (Body.Samples == 1) Body.First_Seconds = Seconds;
  Body.Last_Seconds = Seconds;
  Body.Is_Tracked = Sample.Is_Tracked;
  Body.Gaps.Take(Seconds);
  Body.Times.push_back(Seconds);
  Forget_Old(Body.Times);
  if (!Sample.Is_Tracked) return;
  Body.Last.push_back({Seconds, true, Sample.Sample});
  Forget_Old(Body.Last);
}

Live_Body Live_State::View_Of(const Body_State& Body, double Now) {
  Live_Body View;
  View.Is_Silent = Now - Body.Last_Seconds > Silent_After_Seconds;
  View.Is_Tracked = Body.Is_Tracked;
  View.State = View.Is_Silent || !Body.Is_Tracked ? Motion::Unknown : Motion_At_End(Body.Last);
  View.Rate_Hz = View.Is_Silent ? 0 : Rate_Of(Body.Times, Now);
  View.Samples = Body.Samples;
  View.Gaps = Body.Gaps.Count();
  View.Longest_Gap_Seconds = Body.Gaps.Longest_Seconds();
  const double Span = Body.Last_Seconds - Body.First_Seconds;
  if (Span > 0) View.Mean_Rate_Hz = static_cast<double>(Body.Samples - 1) / Span;
  return View;
}

Live_View Live_State::Look(std::int64_t Steady_Ns) {
  Live_View View;
  View.Seconds = Seconds_At(Steady_Ns);
  View.Counts = Decoder.Counts();
  const std::vector<std::string> Names = Body_Names(Decoder.Bodies());
  bool Is_Still = !States.empty();
  for (std::size_t i = 0; i < States.size(); ++i) {
    View.Bodies.push_back(View_Of(States[i], View.Seconds));
    Live_Body& Body = View.Bodies.back();
    Body.Name = Names[i];
    Is_Still = Is_Still && Body.State == Motion::Still;
  }
  if (!Is_Still) {
    Still_Since.reset();
  } else if (!Still_Since) {
    Still_Since = View.Seconds;
  }
  const bool Was_Picture_Time =
      std::exchange(Is_Holding, Still_Since && View.Seconds - *Still_Since >= Hold_Seconds);
  if (Is_Holding && !Was_Picture_Time) ++Hold_Count;
  View.Is_Picture_Time = Is_Holding;
  View.Holds = Hold_Count;
  return View;
}

}  // namespace rigsync
