// SPDX-License-Identifier: Apache-2.0
//
// The packets that a tracking system sends over UDP while it tracks: FreeD D1 and OpenTrackIO. As
// everything here, it is written from the formats' descriptions and shares no code with the readers
// of the command.
#ifndef RIGSYNC_SIMULATE_STREAM_H
#define RIGSYNC_SIMULATE_STREAM_H

#include "simulate/simulate.h"

#include <Eigen/Core>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace simulate {

// ---- FreeD D1 ----------------------------------------------------------------------------------

// What a packet says. Angles are degrees: pan is positive to the right, clockwise from above, tilt
// upwards, roll clockwise as seen from behind the camera. The position is metres, z up.
struct Freed_Pose {
  int Camera_Id = 1;  // 0 to 255
  double Pan_Deg = 0, Tilt_Deg = 0, Roll_Deg = 0;
  Eigen::Vector3d Position = Eigen::Vector3d::Zero();
  std::uint32_t Zoom = 0, Focus = 0;  // 24 bits each
  std::uint16_t User = 0;
};

// The pose of a sample whose body looks along its y axis, with x to the right and z up.
Freed_Pose Freed_Pose_Of(int Camera_Id, const Sample& Reported);

// 29 bytes. Angles are rounded to 1/32768 degree, lengths to 1/64 mm. Throws std::range_error for
// what 24 bits can't hold: an angle of 256 degrees, 131 m.
std::string Freed_Packet(const Freed_Pose& Pose);

// ---- OpenTrackIO -------------------------------------------------------------------------------

enum class Payload_Form { Json, Cbor };

struct Opentrackio_Settings {
  Payload_Form Form = Payload_Form::Json;
  // The most bytes of payload in one packet: what is longer goes in several segments.
  std::size_t Segment_Bytes = 1400;
  // Whether the pose is split into two transforms, of a base and of a head on it.
  bool Two_Transforms = false;
  // Frames per second of the timecode that samples bear; 0 for none.
  int Timecode_Rate = 0;
};

// The packets of one sample. Seconds is the instant of the sample since the beginning of its epoch,
// and since midnight for the timecode. Sequence is the number of the first packet and grows by one
// with each; it starts again after 65535.
std::vector<std::string> Opentrackio_Packets(const Opentrackio_Settings& Settings, int Source,
                                             double Seconds, const Sample& Reported,
                                             std::uint16_t& Sequence);

// ---- The stream of a capture -------------------------------------------------------------------

struct Datagram {
  double Seconds = 0;  // when it is sent, on the take's clock
  int Body = 1;        // camera ID or source number: 1 the camera, 2 the board
  std::string Bytes;
};

// Every so many packets, counted from the first; 0 for never.
struct Network_Trouble {
  std::size_t Lost_Every = 0;     // doesn't arrive
  std::size_t Doubled_Every = 0;  // arrives twice
  std::size_t Swapped_Every = 0;  // arrives after the next one
  std::size_t Spoiled_Every = 0;  // arrives with a wrong byte
};

std::vector<Datagram> Arrived(const std::vector<Datagram>& Sent, const Network_Trouble& Trouble);

enum class Stream_Form { Freed, Opentrackio };

struct Stream_Settings {
  Stream_Form Form = Stream_Form::Freed;
  Opentrackio_Settings Opentrackio;
  Network_Trouble Trouble;
};

// What the tracking system sends of the samples of Record_Take, as it arrives. A lost sample is not
// sent. OpenTrackIO's timestamps begin at Clock_Epoch.
std::vector<Datagram> Stream_Of(const Plan& Capture, const Stream_Settings& Settings);

}  // namespace simulate

#endif  // RIGSYNC_SIMULATE_STREAM_H
