// From the pictures of a screen to the pictures of a video encoder.
#pragma once

#include "base/Geometry.h"

#include <cstddef>
#include <cstdint>

namespace velmora::engine {

/// A BGRA picture, top row first; alpha is ignored.
struct BgraView {
    const std::byte* pixels = nullptr;
    std::size_t bytesPerRow = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
};

/// A 4:2:0 picture of 8 bits in three planes (I420: luma, Cb, Cr) or in two (NV12: luma, Cb and Cr in turn). Its size is that of the
/// BGRA picture padded to even numbers.
struct Yuv420View {
    enum class Layout { i420, nv12 };

    Layout layout = Layout::i420;
    std::uint8_t* luma = nullptr;
    std::size_t lumaBytesPerRow = 0;
    std::uint8_t* cb = nullptr;  ///< nv12: the plane of both
    std::uint8_t* cr = nullptr;  ///< nv12: not used
    std::size_t chromaBytesPerRow = 0;
};

/// Which code converts. All give the same bytes.
enum class ConversionPath { portable, avx2 };

/// The fastest path that this processor can run.
[[nodiscard]] ConversionPath fastestConversionPath();

[[nodiscard]] constexpr std::int32_t paddedToEven(std::int32_t size)
{
    return size + (size & 1);
}

/// Converts the part `area` of `source`, widened to even coordinates, into the same place of `destination`; what lies outside is left
/// alone. The matrix is that of BT.709 with limited range (ITU-R BT.709-6, items 3.2 to 3.4), rounded to nearest; chroma is the mean
/// of the four pixels of its 2x2 block (sited at their centre). An odd last column or row is repeated into the padding.
void convertToYuv420(const BgraView& source, PixelRect area, const Yuv420View& destination, ConversionPath path = fastestConversionPath());

}  // namespace velmora::engine
