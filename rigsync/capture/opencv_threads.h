// SPDX-License-Identifier: Apache-2.0
//
// OpenCV starts its threads when a function first has work for several. If the system refuses one
// then, some of its thread libraries wait for it for ever, and others end the process.
#ifndef RIGSYNC_CAPTURE_OPENCV_THREADS_H
#define RIGSYNC_CAPTURE_OPENCV_THREADS_H

namespace rigsync {

// Starts OpenCV's threads now, while nothing depends on them, or has it do without if the system
// doesn't give as many. To be called once, before any work on images. Throws cv::Exception when
// there is no memory for a usual image: image decoders that OpenCV loads would end the process
// without a word.
void Start_Opencv_Threads();

}  // namespace rigsync

#endif  // RIGSYNC_CAPTURE_OPENCV_THREADS_H
