// SPDX-License-Identifier: Apache-2.0
//
// Images are decoded one at a time: at most two decoded images exist at any time, the new one and
// the one that it replaces.
#include "tests/support/counting_allocator.h"
#include "tests/whole/whole_run.h"

#include <gtest/gtest.h>

namespace {

TEST(ImageMemory, HoldsAtMostTwoDecodedImagesAtAnyTime) {
  for (const int Width : {960, 1920}) {  // searched as they are, and on a reduced copy
    SCOPED_TRACE(Width);
    const Scratch_Folder Folder;
    simulate::Options Options = Small_Capture();
    Options.Width = Width;
    Options.Height = Width * 9 / 16;
    const Run_Input Input = Write_And_Describe(Options, Folder);

    // 3 bytes a pixel: grey copies and reduced ones stay below.
    Counting_Allocator Counter(static_cast<std::size_t>(3 * Options.Width * Options.Height));
    cv::MatAllocator* Before = cv::Mat::getDefaultAllocator();
    cv::Mat::setDefaultAllocator(&Counter);
    const Run_Output Output = Run_First_Overload(Input);
    cv::Mat::setDefaultAllocator(Before);

    ASSERT_EQ(Output.Code, 0);
    const auto Annotated = Lines_Starting(Output.Log, "Image ").size() - 2 - 14;
    EXPECT_EQ(Counter.Total, 14 + static_cast<int>(Annotated)) << "one decode each, and no more";
    EXPECT_LE(Counter.Most, 2);
    EXPECT_EQ(Counter.Alive, 0);
  }
}

}  // namespace
