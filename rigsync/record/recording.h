// SPDX-License-Identifier: Apache-2.0
//
// A recording of 'rigsync record' as a take. The file holds packets as they came
// (packet_log.h); what they mean is decided here.
#ifndef RIGSYNC_RECORD_RECORDING_H
#define RIGSYNC_RECORD_RECORDING_H

#include "rigsync/record/axis_map.h"
#include "rigsync/take/take.h"

#include <filesystem>
#include <string>
#include <vector>

namespace rigsync {

struct Recording_Options {
  // Reads packets whose checksum is wrong too (--ignore-checksum).
  bool Ignores_Checksums = false;
  // Where devices hold their angles and coordinates (--axes).
  Axis_Maps Axes;
  // A sample of OpenTrackIO whose tracker.status has one of these texts in it, in capitals or not,
  // is lost (--lost-status). The status is free text, so nothing is guessed from it.
  std::vector<std::string> Lost_Statuses;
};

// Whether a file begins as a recording does. False for one that can't be read.
bool Is_Recording(const std::filesystem::path& File);

// The bodies of a recording in the order in which they first came. They are called after the camera
// ID of FreeD, "freed-1", or the source number of OpenTrackIO, "opentrackio-2". Where an ID came on
// several ports the port is added, "freed-1-6301", and where one came from several senders their
// address, "freed-1-192.168.1.20".
//
// Both formats say how the axes of a body are labelled: x right, y forward, z up. An axis map says
// which slots hold what the format means, so the labels are the same with one.
//
// Times are those of OpenTrackIO's sample timestamps if every sample has one and they go along with
// the times of receipt, otherwise the times of receipt on the recording machine's steady clock;
// Facts tell which. Seconds == 0 is the first sample. Timecode_Start is that of OpenTrackIO.
//
// Warnings tell what was left out: bad checksums, unknown packets, doubled and late samples,
// samples with missing segments, gaps, and a file that ends within a packet. Throws Usage_Error,
// which names the file, when it is no recording, when it holds no readable sample, and when Options
// name a body that it doesn't hold.
Take Read_Recording(const std::filesystem::path& File, const Recording_Options& Options);

}  // namespace rigsync

#endif  // RIGSYNC_RECORD_RECORDING_H
