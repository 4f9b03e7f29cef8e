// SPDX-License-Identifier: Apache-2.0
#include "rigsync/record/recording.h"

#include "rigsync/geometry/statistics.h"
#include "rigsync/record/bytes.h"
#include "rigsync/record/gap_counter.h"
#include "rigsync/record/packet_log.h"
#include "rigsync/record/stream_decoder.h"
#include "rigsync/system/text.h"
#include "rigsync/system/usage_error.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <numeric>
#include <optional>
#include <utility>

namespace rigsync {
namespace {

namespace fs = std::filesystem;

constexpr double Seconds_Per_Nanosecond = 1e-9;

// What is gathered of a body while the file is read. Entry i of each list is of the same sample.
// The times of the samples are set when the clock is known.
struct Gathered_Body {
  std::vector<Timed_Sample> Samples;
  std::vector<std::int64_t> Received_Ns;
  std::vector<std::int64_t> Stamps_Ns;  // empty as soon as a sample has none
  bool Has_Stamps = true;
  std::vector<bool> Are_Late;
  std::vector<std::pair<std::size_t, double>> Timecodes;  // sample, seconds
  std::map<std::string, std::size_t> Statuses;            // samples of each
  std::optional<double> Rate_Hz;                          // 0 where samples differ
  bool Has_Scale = false;
};

// A status with a number in it is another one in each sample.
constexpr std::size_t Most_Statuses = 20;

// Which of two times a sample is given.
enum class Sample_Clock { Stamps, Receipt };

double Seconds_Between(std::int64_t From_Ns, std::int64_t To_Ns) {
  return static_cast<double>(Nanoseconds_Between(From_Ns, To_Ns)) * Seconds_Per_Nanosecond;
}

std::string Counted(std::size_t Count, const std::string& Name) {
  return fmt::format("{} {}{}", Count, Name, Count == 1 ? "" : "s");
}

// ---- Reading -----------------------------------------------------------------------------------

bool Is_Lost_By(const std::string& Status, const std::vector<std::string>& Lost_Statuses) {
  const std::string Lower = Lower_Case(Status);
  return std::any_of(Lost_Statuses.begin(), Lost_Statuses.end(), [&](const std::string& Text) {
    return !Text.empty() && Lower.find(Lower_Case(Text)) != std::string::npos;
  });
}

void Gather(const Stream_Sample& Sample, const std::vector<std::string>& Lost_Statuses,
            Gathered_Body& Body) {
  const bool Is_Tracked = Sample.Is_Tracked && !Is_Lost_By(Sample.Status, Lost_Statuses);
  if (Sample.Timecode_Seconds) {
    Body.Timecodes.emplace_back(Body.Samples.size(), *Sample.Timecode_Seconds);
  }
  Body.Samples.push_back({0.0, Is_Tracked, Sample.Sample});
  Body.Received_Ns.push_back(Sample.Steady_Ns);
  Body.Are_Late.push_back(Sample.Is_Late);
  Body.Has_Stamps = Body.Has_Stamps && Sample.Stamp_Ns;
  if (Body.Has_Stamps) Body.Stamps_Ns.push_back(*Sample.Stamp_Ns);
  const bool Is_Known = Body.Statuses.count(Sample.Status) > 0;
  if (Is_Known || Body.Statuses.size() < Most_Statuses) ++Body.Statuses[Sample.Status];
  const double Rate_Hz = Sample.Rate_Hz.value_or(0.0);
  if (Body.Rate_Hz.value_or(Rate_Hz) != Rate_Hz) Body.Rate_Hz = 0.0;
  if (!Body.Rate_Hz) Body.Rate_Hz = Rate_Hz;
  Body.Has_Scale = Body.Has_Scale || Sample.Has_Scale;
}

// ---- The clock ---------------------------------------------------------------------------------

// Receipt less timestamp, seconds, for each sample. To within a microsecond: both count from an
// instant of their own.
std::vector<double> Delays(const Gathered_Body& Body) {
  std::vector<double> Result;
  for (std::size_t i = 0; i < Body.Stamps_Ns.size(); ++i) {
    Result.push_back(Seconds_Between(Body.Stamps_Ns[i], Body.Received_Ns[i]));
  }
  return Result;
}

// Timestamps are trusted when they go along with the receipt. A clock that stands still, or that
// somebody sets while it is recorded, does not, and two clocks that nobody synchronised differ.
// Nothing when they are trusted, otherwise why not.
std::string Doubt_About_Stamps(const std::vector<Gathered_Body>& Bodies) {
  constexpr double Most_Stray_Seconds = 0.5, Most_Apart_Seconds = 0.1, Most_Strays = 0.01;
  std::vector<double> Middles;
  for (const Gathered_Body& Body : Bodies) {
    const std::vector<double> All = Delays(Body);
    const double Middle = Median(All);
    const auto Strays = std::count_if(All.begin(), All.end(), [&](double Delay) {
      return !(std::abs(Delay - Middle) <= Most_Stray_Seconds);
    });
    if (static_cast<double>(Strays) > Most_Strays * static_cast<double>(All.size())) {
      return "the sample timestamps don't go along with the times of receipt";
    }
    Middles.push_back(Middle);
  }
  const auto [Least, Most] = std::minmax_element(Middles.begin(), Middles.end());
  if (*Most - *Least <= Most_Apart_Seconds) return {};
  return fmt::format(
      "the sample timestamps of the bodies are {:.1f} s apart, so their clocks are not "
      "synchronised",
      *Most - *Least);
}

bool Have_All_Stamps(const std::vector<Gathered_Body>& Bodies) {
  return std::all_of(Bodies.begin(), Bodies.end(),
                     [](const Gathered_Body& Body) { return Body.Has_Stamps; });
}

// Decides, and says why where it is not obvious.
Sample_Clock Choose_Clock(const std::vector<Gathered_Body>& Bodies, Take& Result) {
  const auto Tell = [&](const char* Text) { Result.Facts.emplace_back("clock", Text); };
  if (Have_All_Stamps(Bodies)) {
    const std::string Doubt = Doubt_About_Stamps(Bodies);
    if (Doubt.empty()) {
      Tell("the sample timestamps of OpenTrackIO");
      return Sample_Clock::Stamps;
    }
    Result.Warnings.push_back(Doubt + ": the times are those of receipt");
  }
  Tell("the times of receipt");
  return Sample_Clock::Receipt;
}

const std::vector<std::int64_t>& Times_Ns(const Gathered_Body& Body, Sample_Clock Clock) {
  return Clock == Sample_Clock::Stamps ? Body.Stamps_Ns : Body.Received_Ns;
}

void Set_Times(Sample_Clock Clock, std::vector<Gathered_Body>& Bodies) {
  std::int64_t Start = Times_Ns(Bodies.front(), Clock).front();
  for (const Gathered_Body& Body : Bodies) {
    for (const std::int64_t Time : Times_Ns(Body, Clock)) Start = std::min(Start, Time);
  }
  for (Gathered_Body& Body : Bodies) {
    for (std::size_t i = 0; i < Body.Samples.size(); ++i) {
      Body.Samples[i].Seconds = Seconds_Between(Start, Times_Ns(Body, Clock)[i]);
    }
  }
}

// ---- Order -------------------------------------------------------------------------------------

// Leaves the samples for which times ascend. A timestamp brings a late sample to its place; without
// one nobody knows when it was taken. Returns how many are left out.
std::size_t Put_In_Order(Sample_Clock Clock, Gathered_Body& Body) {
  std::vector<Timed_Sample>& Samples = Body.Samples;
  const std::size_t Before = Samples.size();
  const auto Is_Earlier = [](const Timed_Sample& A, const Timed_Sample& B) {
    return A.Seconds < B.Seconds;
  };
  if (Clock == Sample_Clock::Stamps) {
    std::stable_sort(Samples.begin(), Samples.end(), Is_Earlier);
  }
  std::size_t Kept = 0;
  for (std::size_t i = 0; i < Samples.size(); ++i) {
    const bool Is_Left_Out = Clock == Sample_Clock::Receipt && Body.Are_Late[i];
    const bool Ascends = Kept == 0 || Samples[Kept - 1].Seconds < Samples[i].Seconds;
    if (!Is_Left_Out && Ascends) Samples[Kept++] = Samples[i];
  }
  Samples.resize(Kept);
  return Before - Kept;
}

// ---- Timecode ----------------------------------------------------------------------------------

// A timecode counts whole frames, and samples come between them and are received after them. So the
// timecode at Seconds == 0 is what the samples come closest to from below: nearly the largest of
// timecode less time. Nothing for a timecode that does not run with the clock.
std::optional<double> Timecode_Start(const std::vector<Gathered_Body>& Bodies, Take& Result) {
  constexpr double Low = 0.05, High = 0.95, Most_Spread_Seconds = 0.15;
  std::vector<double> Starts;  // from the first one
  double First = 0;
  for (const Gathered_Body& Body : Bodies) {
    for (const auto& [Index, Seconds] : Body.Timecodes) {
      const double Start = Seconds - Body.Samples[Index].Seconds;
      if (Starts.empty()) First = Start;
      Starts.push_back(Time_Of_Day_Difference(First, Start));
    }
  }
  if (Starts.empty()) return std::nullopt;
  std::sort(Starts.begin(), Starts.end());
  const auto At = [&](double Part) {
    return Starts[static_cast<std::size_t>(Part * static_cast<double>(Starts.size() - 1))];
  };
  if (!(At(High) - At(Low) <= Most_Spread_Seconds)) {
    Result.Warnings.emplace_back("the timecode does not run with the samples, so it is not used");
    return std::nullopt;
  }
  const double Start = std::fmod(First + At(High), Seconds_Per_Day);
  return Start < 0 ? Start + Seconds_Per_Day : Start;
}

// ---- What is told ------------------------------------------------------------------------------

std::string Utc_Text(std::int64_t Utc_Ns) {
  constexpr std::int64_t Nanoseconds_Per_Second = 1'000'000'000;
  const auto Seconds = static_cast<std::time_t>(Utc_Ns / Nanoseconds_Per_Second);
  return fmt::format("{:%Y-%m-%d %H:%M:%S} UTC", fmt::gmtime(Seconds));
}

std::string Source_Text(const Stream_Body& Body, std::size_t Samples) {
  const std::string Number =
      !Body.Id ? "without a source number"
               : fmt::format("{} {}",
                             Body.Format == Stream_Format::Freed ? "camera ID" : "source number",
                             *Body.Id);
  return fmt::format("{}, {}, port {}, from {}: {}", Stream_Format_Name(Body.Format), Number,
                     Body.Port, Ipv4_Text(Body.Sender), Counted(Samples, "sample"));
}

std::string Status_Text(const std::map<std::string, std::size_t>& Statuses) {
  std::vector<std::string> Texts;
  for (const auto& [Status, Count] : Statuses) {
    Texts.push_back(fmt::format("'{}' {} times", One_Line(Status), Count));
  }
  return fmt::format("{}{}", fmt::join(Texts, ", "),
                     Statuses.size() == Most_Statuses ? ", and perhaps others" : "");
}

// About a body as it is in the take.
void Tell_Of(const Stream_Body& Body, const std::string& Name, const Gathered_Body& Gathered,
             const Recording_Options& Options, Take& Result) {
  Result.Facts.emplace_back(Name, Source_Text(Body, Gathered.Samples.size()));
  const std::string Map = Axis_Map_Text(Map_Of(Options.Axes, Body));
  if (!Map.empty()) Result.Facts.emplace_back("axes of " + Name, Map);
  if (Gathered.Statuses.size() > 1) {
    Result.Facts.emplace_back("status of " + Name, Status_Text(Gathered.Statuses));
    if (Options.Lost_Statuses.empty()) {
      Result.Warnings.push_back(fmt::format(
          "{} has {} in its status: {}. If one of them means that the body was lost, "
          "give it as --lost-status",
          Name, Counted(Gathered.Statuses.size(), "text"), Status_Text(Gathered.Statuses)));
    }
  }
  if (Gathered.Has_Scale) {
    Result.Warnings.push_back(Name + " has transforms with a scale, which is left out");
  }
}

void Warn_Of_Gaps(const std::string& Name, const std::vector<Timed_Sample>& Samples, Take& Result) {
  Gap_Counter Gaps;
  for (const Timed_Sample& Sample : Samples) Gaps.Take(Sample.Seconds);
  if (Gaps.Count() == 0) return;
  Result.Warnings.push_back(fmt::format("{}: {}, the longest {:.2f} s", Name,
                                        Counted(Gaps.Count(), "gap"), Gaps.Longest_Seconds()));
}

void Warn_Of_Packets(const Stream_Counts& Counts, const Recording_Options& Options, Take& Result) {
  const auto Add = [&](std::size_t Count, const char* Name, const std::string& What) {
    if (Count > 0) Result.Warnings.push_back(Counted(Count, Name) + " " + What);
  };
  Add(Counts.Bad_Checksums, "packet",
      Options.Ignores_Checksums ? "with a wrong checksum, read all the same"
                                : "with a wrong checksum left out; --ignore-checksum reads them");
  Add(Counts.Unknown, "packet", "left out that are neither FreeD D1 nor OpenTrackIO");
  Add(Counts.Unreadable, "sample", "of OpenTrackIO left out that can't be read");
  Add(Counts.Unfinished, "packet", "of OpenTrackIO left out: the rest of the sample is missing");
  Add(Counts.Doubled, "packet", "left out that repeat another of the same moment");
}

[[noreturn]] void Refuse_Recording(const fs::path& File, const std::string& Why) {
  throw Usage_Error("TAKE", fmt::format("TAKE: {}: {}", File.string(), Why));
}

// No sample was found.
[[noreturn]] void Refuse_Empty(const fs::path& File, const Stream_Counts& Counts) {
  if (Counts.Packets == 0) Refuse_Recording(File, "holds no packet; record again");
  if (Counts.Bad_Checksums > 0) {
    Refuse_Recording(File, fmt::format("holds no sample: {} of {} have a wrong checksum. Some "
                                       "devices compute it in a way of their own; read them with "
                                       "--ignore-checksum",
                                       Counts.Bad_Checksums, Counted(Counts.Packets, "packet")));
  }
  Refuse_Recording(File, fmt::format("holds no sample in {}: {} unknown, {} of OpenTrackIO that "
                                     "can't be read, {} with the rest of the sample missing",
                                     Counted(Counts.Packets, "packet"), Counts.Unknown,
                                     Counts.Unreadable, Counts.Unfinished));
}

void Check_Axes(const fs::path& File, const Axis_Maps& Axes,
                const std::vector<Stream_Body>& Bodies) {
  for (const auto& [Name, Map] : Axes) {
    const bool Is_Known =
        Name.empty() || std::any_of(Bodies.begin(), Bodies.end(), [&Key = Name](const auto& Body) {
          return Is_Called(Body, Key);
        });
    if (Is_Known) continue;
    throw Usage_Error("--axes", fmt::format("--axes: there is no body '{}' in {}; it has {}", Name,
                                            File.string(), fmt::join(Body_Names(Bodies), ", ")));
  }
}

std::string Format_Of(const std::vector<Stream_Body>& Bodies) {
  const auto Has = [&](Stream_Format Format) {
    return std::any_of(Bodies.begin(), Bodies.end(),
                       [Format](const Stream_Body& Body) { return Body.Format == Format; });
  };
  const bool Has_Freed = Has(Stream_Format::Freed);
  if (Has_Freed && Has(Stream_Format::Opentrackio)) return "recording of FreeD and OpenTrackIO";
  return Has_Freed ? "recording of FreeD" : "recording of OpenTrackIO";
}

// The rate that all bodies state, or 0.
double Stated_Rate(const std::vector<Gathered_Body>& Bodies) {
  const double Rate_Hz = Bodies.front().Rate_Hz.value_or(0.0);
  const bool Is_Common = std::all_of(Bodies.begin(), Bodies.end(), [&](const Gathered_Body& Body) {
    return Body.Rate_Hz.value_or(0.0) == Rate_Hz;
  });
  return Is_Common ? Rate_Hz : 0.0;
}

}  // namespace

bool Is_Recording(const fs::path& File) {
  return Is_Packet_Log(File);
}

Take Read_Recording(const fs::path& File, const Recording_Options& Options) {
  Packet_Log_Reader Log(File);
  Stream_Decoder Decoder(Options.Ignores_Checksums, Options.Axes);
  std::vector<Gathered_Body> Bodies;
  const auto Take_Sample = [&](const Stream_Sample& Sample) {
    Bodies.resize(std::max(Bodies.size(), Sample.Body + 1));
    Gather(Sample, Options.Lost_Statuses, Bodies[Sample.Body]);
  };
  for (Udp_Packet Packet; Log.Next(Packet);) Decoder.Feed(Packet, Take_Sample);
  if (Bodies.empty()) Refuse_Empty(File, Decoder.Counts());
  Check_Axes(File, Options.Axes, Decoder.Bodies());

  Take Result;
  Result.Format = Format_Of(Decoder.Bodies());
  Result.Rate_Hz = Stated_Rate(Bodies);
  Result.Facts.emplace_back("recorded", Utc_Text(Log.Start_Utc_Ns()));
  if (!Log.Damage().empty()) Result.Warnings.push_back(Log.Damage());
  Warn_Of_Packets(Decoder.Counts(), Options, Result);
  const Sample_Clock Clock = Choose_Clock(Bodies, Result);
  Set_Times(Clock, Bodies);
  Result.Timecode_Start = Timecode_Start(Bodies, Result);
  const std::vector<std::string> Names = Body_Names(Decoder.Bodies());
  for (std::size_t i = 0; i < Bodies.size(); ++i) {
    const std::size_t Left_Out = Put_In_Order(Clock, Bodies[i]);
    if (Left_Out > 0) {
      Result.Warnings.push_back(
          fmt::format("{}: {} left out that came late or at the time of another", Names[i],
                      Counted(Left_Out, "sample")));
    }
    Tell_Of(Decoder.Bodies()[i], Names[i], Bodies[i], Options, Result);
    Warn_Of_Gaps(Names[i], Bodies[i].Samples, Result);
    Result.Bodies.push_back(
        {Names[i], std::move(Bodies[i].Samples), Body_Labels::Right_Forward_Up});
  }
  return Result;
}

}  // namespace rigsync
