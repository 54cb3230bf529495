// Pictures that carry a number, painted for the encoders of tests.
#pragma once

extern "C" {
#include <libavutil/frame.h>
}

namespace velmora::test {

/// Paints `number` into a frame of YUV 4:2:0, 8 bits: what numberInPicture() reads.
void paintNumber(AVFrame& frame, int number);

}  // namespace velmora::test
