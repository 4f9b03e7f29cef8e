// SPDX-License-Identifier: Apache-2.0
#include "rigsync/report/lag_text.h"

#include "rigsync/geometry/angle.h"
#include "rigsync/geometry/units.h"

#include <fmt/format.h>

#include <cmath>

namespace rigsync {
namespace {

// Below these nothing is left of a motion but the noise of its recording.
constexpr double Least_Speed = 0.001;      // metres per second
constexpr double Least_Turn_Rate = 0.001;  // radians per second

std::string Milliseconds(double Seconds) {
  // Never -0.
  return fmt::format("{:.0f}", std::round(Ms_In_Second * Seconds) + 0.0);
}

std::string Speed_Text(const Seen_Speed& Speed) {
  return fmt::format("{:.1f} mm/s and {:.2f} degrees/s", Mm_In_Metre * Speed.Shift,
                     Degrees_Per_Radian * Speed.Turn);
}

std::string Open_Text(const Lag_Estimate& Lag) {
  const bool Stood = Lag.Speed.Shift < Least_Speed && Lag.Speed.Turn < Least_Turn_Rate;
  const std::string Moved =
      fmt::format("The board moved at {} before the camera while the pictures were taken (RMS)",
                  Speed_Text(Lag.Speed));
  const std::string Width = fmt::format("the capture tells the lag only to +- {} ms",
                                        Milliseconds(Lag.Half_Width_Seconds));
  return (Stood ? fmt::format("There is nothing to solve a lag from: {}. {}.", Width, Moved)
                : fmt::format("The lag is not known: {}. {}, which is too little for the noise of "
                              "the trackers.",
                              Width, Moved)) +
         " A lag does little harm to such a capture. To measure it, take pictures while the camera "
         "or the board moves slowly.";
}

std::string Not_Seen_Text(const Lag_Estimate& Lag) {
  return fmt::format(
      "No lag is seen between pictures and samples: {}, which is not different from 0.",
      Lag_Amount(Lag));
}

std::string Found_Text(const Lag_Estimate& Lag) {
  return fmt::format(
      "The samples show the rig as it was {} +- {} ms {} the pictures. The joint mount allows for "
      "it, the library's does not.",
      Milliseconds(std::abs(Lag.Seconds)), Milliseconds(Lag.Half_Width_Seconds),
      Lag.Seconds > 0.0 ? "before" : "after");
}

std::string Stated_Text(const Lag_Estimate& Lag) {
  return fmt::format(
      "The samples were stated to show the rig as it was {} ms {} the pictures. The joint mount "
      "allows for it, the library's does not.",
      Milliseconds(std::abs(Lag.Seconds)), Lag.Seconds > 0.0 ? "before" : "after");
}

}  // namespace

std::string Lag_Amount(const Lag_Estimate& Lag) {
  switch (Evidence_Of(Lag)) {
    case Lag_Evidence::Stated:
      return Milliseconds(Lag.Seconds) + " ms, as stated";
    case Lag_Evidence::Open:
      return "not known";
    case Lag_Evidence::Not_Seen:
    case Lag_Evidence::Found:
      break;
  }
  return fmt::format("{} +- {} ms", Milliseconds(Lag.Seconds),
                     Milliseconds(Lag.Half_Width_Seconds));
}

std::string Lag_Sentences(const Lag_Estimate& Lag) {
  switch (Evidence_Of(Lag)) {
    case Lag_Evidence::Stated:
      return Stated_Text(Lag);
    case Lag_Evidence::Open:
      return Open_Text(Lag);
    case Lag_Evidence::Not_Seen:
      return Not_Seen_Text(Lag);
    case Lag_Evidence::Found:
      break;
  }
  return Found_Text(Lag);
}

}  // namespace rigsync
