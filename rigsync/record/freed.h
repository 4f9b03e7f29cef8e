// SPDX-License-Identifier: Apache-2.0
//
// FreeD's message D1, the pose of one camera: 29 bytes, big-endian, without a time.
//
//    0  1  D1                         11  3  X, 1/64 mm, signed
//    1  1  camera ID                  14  3  Y
//    2  3  pan, 1/32768 deg, signed   17  3  height Z, up positive
//    5  3  tilt, up positive          20  3  zoom, unsigned, any unit
//    8  3  roll, clockwise positive   23  3  focus
//          seen from behind           26  2  spare
//                                     28  1  checksum: 40 hex less all other bytes, modulo 256
//
// Pan is clockwise from above, and 0 looks along +Y. X and Y are horizontal and Base is
// right-handed, so the attitude, body x right, y forward, z up, is Rz(-pan) Rx(tilt) Ry(roll). From
// Vinten's free-d Installation Manual V1.4.4, appendix B.
#ifndef RIGSYNC_RECORD_FREED_H
#define RIGSYNC_RECORD_FREED_H

#include "rigsync/capture/tracker_sample.h"
#include "rigsync/record/axis_map.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace rigsync {

constexpr std::size_t Freed_Size = 29;

struct Freed_Packet {
  int Camera_Id = 0;  // 0 to 255
  Pose_Slots Slots;
  std::uint32_t Zoom = 0, Focus = 0, Spare = 0;
};

// Whether a datagram consists of messages D1, one or several: some senders put all their cameras
// into one.
bool Is_Freed(std::string_view Datagram);

// The functions below take Freed_Size bytes that begin with D1.
bool Is_Freed_Checksum_Good(std::string_view Message);
Freed_Packet Decode_Freed(std::string_view Message);

// Whether all six slots are 0. The format has no word for a lost target, and devices send this. A
// pose that was measured has a unit or two in some slot.
bool Is_Freed_Lost(const Freed_Packet& Packet);

Tracker_Sample Freed_Sample(const Pose_Slots& Slots);

}  // namespace rigsync

#endif  // RIGSYNC_RECORD_FREED_H
