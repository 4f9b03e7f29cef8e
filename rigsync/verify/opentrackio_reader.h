// SPDX-License-Identifier: Apache-2.0
//
// A sample of OpenTrackIO 1.0.1, read back from its JSON text as its documentation has it:
// transforms compose from the first to the last; a rotation is Rz(pan) * Rx(tilt) * Ry(roll),
// right-handed, of a body with x right, y forward and z up; the lens has one focal length, an
// offset of the image's centre with y down, and the coefficients of "Brown-Conrady U-D" in powers
// of millimetres, numerators and denominators in turn.
#ifndef RIGSYNC_VERIFY_OPENTRACKIO_READER_H
#define RIGSYNC_VERIFY_OPENTRACKIO_READER_H

#include "rigsync/verify/file_reader.h"

namespace rigsync {

// The first transform is the tracker's, as in the first row of the capture that the result keeps;
// the second is the camera below it. Without such a row, the first transform has to be the
// identity, and a note says so.
Exported_Camera Read_Opentrackio_Sample(const std::string& Text, const Read_Request& Request);

}  // namespace rigsync

#endif  // RIGSYNC_VERIFY_OPENTRACKIO_READER_H
