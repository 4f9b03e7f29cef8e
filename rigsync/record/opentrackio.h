// SPDX-License-Identifier: Apache-2.0
//
// A sample of OpenTrackIO 1.0.1, as JSON or CBOR: what of it concerns a pose and its time.
#ifndef RIGSYNC_RECORD_OPENTRACKIO_H
#define RIGSYNC_RECORD_OPENTRACKIO_H

#include "rigsync/capture/tracker_sample.h"
#include "rigsync/record/axis_map.h"
#include "rigsync/take/timecode.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace rigsync {

constexpr int Json_Encoding = 1, Cbor_Encoding = 2;

struct Opentrackio_Sample {
  std::optional<std::int64_t> Source_Number;
  std::string Sample_Id;
  std::string Status;  // tracker.status, free text
  // timing.sampleTimestamp, nanoseconds from the start of the sender's clock.
  std::optional<std::int64_t> Stamp_Ns;
  // timing.timecode, seconds since midnight. Nothing without a frame rate, or for a timecode that
  // its rate doesn't have.
  std::optional<double> Timecode_Seconds;
  std::optional<double> Rate_Hz;  // timing.sampleRate
  // transforms, first to last. A body without any is lost.
  std::vector<Pose_Slots> Transforms;
  // Whether a transform has a scale other than 1, which is left out.
  bool Has_Scale = false;
};

// Nothing for bytes that are no object in this encoding, and for one whose transforms, source
// number or timestamp is there in another form than the format's: text for a number, a number
// beyond 1e9.
std::optional<Opentrackio_Sample> Decode_Opentrackio(int Encoding, std::string_view Bytes);

// The pose of a chain of transforms, each in the one before it. Pan is about Z from X to Y, tilt
// about X from Y to Z, roll about Y from Z to X, in this order: Rz(pan) Rx(tilt) Ry(roll). Pan has
// the opposite sign of FreeD's.
Tracker_Sample Opentrackio_Pose(const std::vector<Pose_Slots>& Transforms, const Axis_Map& Map);

}  // namespace rigsync

#endif  // RIGSYNC_RECORD_OPENTRACKIO_H
