// SPDX-License-Identifier: Apache-2.0
//
// A recording while it runs: which bodies are seen, how often, whether they stand still, and
// whether now is the moment for a picture.
#ifndef RIGSYNC_RECORD_LIVE_STATE_H
#define RIGSYNC_RECORD_LIVE_STATE_H

#include "rigsync/record/gap_counter.h"
#include "rigsync/record/stillness.h"
#include "rigsync/record/stream_decoder.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace rigsync {

// A body whose last sample is older than this is silent.
constexpr double Silent_After_Seconds = 1.0;

// How long all bodies have to be judged still, beyond the samples of the judgement itself, before a
// picture is asked for.
constexpr double Hold_Seconds = 0.5;

struct Live_Body {
  std::string Name;
  bool Is_Silent = false;
  bool Is_Tracked = true;  // by its last sample
  Motion State = Motion::Unknown;
  double Rate_Hz = 0;  // over the last seconds
  std::size_t Samples = 0, Gaps = 0;
  double Longest_Gap_Seconds = 0;
  double Mean_Rate_Hz = 0;  // from its first sample to its last
};

struct Live_View {
  std::vector<Live_Body> Bodies;
  Stream_Counts Counts;
  double Seconds = 0;            // since the beginning
  bool Is_Picture_Time = false;  // all bodies are still
  std::size_t Holds = 0;         // how often that began
};

class Live_State {
 public:
  explicit Live_State(std::int64_t Start_Steady_Ns) : Start_Ns(Start_Steady_Ns) {}

  void Feed(const Udp_Packet& Packet);

  // Since the beginning.
  double Seconds_At(std::int64_t Steady_Ns) const;

  // Call it several times a second: holds are counted here.
  Live_View Look(std::int64_t Steady_Ns);

 private:
  struct Body_State {
    std::vector<Timed_Sample> Last;  // tracked samples of the last seconds, by time
    std::vector<double> Times;       // of all samples of the last seconds
    Gap_Counter Gaps;
    std::size_t Samples = 0;
    double First_Seconds = 0, Last_Seconds = 0;
    bool Is_Tracked = true;
  };

  void Take(const Stream_Sample& Sample);
  static Live_Body View_Of(const Body_State& Body, double Now);

  std::int64_t Start_Ns;
  Stream_Decoder Decoder;
  std::vector<Body_State> States;
  std::optional<double> Still_Since;
  bool Is_Holding = false;
  std::size_t Hold_Count = 0;
};

}  // namespace rigsync

#endif  // RIGSYNC_RECORD_LIVE_STATE_H
