#include "engine/codecs/ColourConversion.h"

#include <algorithm>
#include <cassert>

#if defined(__x86_64__)
#include <immintrin.h>
#define VELMORA_HAS_AVX2_PATH 1
#define VELMORA_AVX2 __attribute__((target("avx2")))
#else
#define VELMORA_HAS_AVX2_PATH 0
#endif

namespace velmora::engine {

namespace {

using Layout = Yuv420View::Layout;

// Luma in units of 2^-15: 219 / 255 of (0.2126, 0.7152, 0.0722). The three sum to the rounded 219 / 255, so greys are exact.
constexpr std::int32_t lumaShift = 15;
constexpr std::int32_t lumaR = 5983;
constexpr std::int32_t lumaG = 20127;
constexpr std::int32_t lumaB = 2032;
constexpr std::int32_t lumaOffset = (16 << lumaShift) + (1 << (lumaShift - 1));

// Chroma in units of 2^-16, applied to the sum of four pixels: 224 / 255 of (-0.2126, -0.7152, 0.9278) / 1.8556 for Cb and of
// (0.7874, -0.7152, -0.0722) / 1.5748 for Cr. Each set of three sums to zero, so greys have no colour.
constexpr std::int32_t chromaShift = 18;
constexpr std::int32_t cbR = -6596;
constexpr std::int32_t cbG = -22188;
constexpr std::int32_t cbB = 28784;
constexpr std::int32_t crR = 28784;
constexpr std::int32_t crG = -26145;
constexpr std::int32_t crB = -2639;
constexpr std::int32_t chromaOffset = (128 << chromaShift) + (1 << (chromaShift - 1));

static_assert(lumaR + lumaG + lumaB == 28142);
static_assert(cbR + cbG + cbB == 0 && crR + crG + crB == 0);

constexpr std::uint8_t lumaOf(std::int32_t b, std::int32_t g, std::int32_t r)
{
    return static_cast<std::uint8_t>((lumaB * b + lumaG * g + lumaR * r + lumaOffset) >> lumaShift);
}

constexpr std::uint8_t cbOf(std::int32_t b, std::int32_t g, std::int32_t r)
{
    return static_cast<std::uint8_t>((cbB * b + cbG * g + cbR * r + chromaOffset) >> chromaShift);
}

constexpr std::uint8_t crOf(std::int32_t b, std::int32_t g, std::int32_t r)
{
    return static_cast<std::uint8_t>((crB * b + crG * g + crR * r + chromaOffset) >> chromaShift);
}

/// Two rows of the source (the same one twice below an odd last row) and where they go.
struct RowPair {
    const std::uint8_t* source[2];
    std::uint8_t* luma[2];
    std::uint8_t* cb;
    std::uint8_t* cr;
};

template <Layout layout>
void storeChroma(const RowPair& rows, std::int32_t column, std::uint8_t cb, std::uint8_t cr)
{
    if constexpr (layout == Layout::i420) {
        rows.cb[column] = cb;
        rows.cr[column] = cr;
    } else {
        rows.cb[2 * column] = cb;
        rows.cb[2 * column + 1] = cr;
    }
}

/// Columns `begin` to `end` (both even).
template <Layout layout>
void convertPortable(const RowPair& rows, std::int32_t begin, std::int32_t end)
{
    for (int row = 0; row < 2; ++row) {
        const std::uint8_t* pixels = rows.source[row];
        std::uint8_t* luma = rows.luma[row];
        for (std::int32_t x = begin; x < end; ++x)
            luma[x] = lumaOf(pixels[4 * x], pixels[4 * x + 1], pixels[4 * x + 2]);
    }
    const std::uint8_t* upper = rows.source[0];
    const std::uint8_t* lower = rows.source[1];
    for (std::int32_t column = begin / 2; column < end / 2; ++column) {
        const std::uint8_t* a = upper + 8 * column;
        const std::uint8_t* c = lower + 8 * column;
        const std::int32_t b = a[0] + a[4] + c[0] + c[4];
        const std::int32_t g = a[1] + a[5] + c[1] + c[5];
        const std::int32_t r = a[2] + a[6] + c[2] + c[6];
        storeChroma<layout>(rows, column, cbOf(b, g, r), crOf(b, g, r));
    }
}

/// The last column of an odd width, and its copy in the padding.
template <Layout layout>
void convertOddColumn(const RowPair& rows, std::int32_t x)
{
    std::int32_t b = 0;
    std::int32_t g = 0;
    std::int32_t r = 0;
    for (int row = 0; row < 2; ++row) {
        const std::uint8_t* pixel = rows.source[row] + 4 * x;
        rows.luma[row][x] = rows.luma[row][x + 1] = lumaOf(pixel[0], pixel[1], pixel[2]);
        b += 2 * pixel[0];
        g += 2 * pixel[1];
        r += 2 * pixel[2];
    }
    storeChroma<layout>(rows, x / 2, cbOf(b, g, r), crOf(b, g, r));
}

#if VELMORA_HAS_AVX2_PATH

/// Two 16-bit coefficients for _mm256_madd_epi16: `low` for the lower half of each 32 bits.
VELMORA_AVX2 inline __m256i coefficients(std::int32_t low, std::int32_t high)
{
    return _mm256_set1_epi32(
        static_cast<std::int32_t>((static_cast<std::uint32_t>(high) << 16) | (static_cast<std::uint32_t>(low) & 0xFFFFU)));
}

VELMORA_AVX2 inline __m256i load(const std::uint8_t* bytes)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

/// B and R of eight pixels as 16-bit numbers; the same for G and A.
VELMORA_AVX2 inline __m256i blueAndRed(__m256i pixels)
{
    return _mm256_and_si256(pixels, _mm256_set1_epi32(0x00FF00FF));
}

VELMORA_AVX2 inline __m256i greenAndAlpha(__m256i pixels)
{
    return _mm256_srli_epi16(pixels, 8);
}

VELMORA_AVX2 inline __m256i lumaOf(__m256i br, __m256i ga)
{
    const __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(br, coefficients(lumaB, lumaR)), _mm256_madd_epi16(ga, coefficients(lumaG, 0)));
    return _mm256_srli_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(lumaOffset)), lumaShift);
}

VELMORA_AVX2 inline __m256i chromaOf(__m256i br, __m256i ga, std::int32_t b, std::int32_t g, std::int32_t r)
{
    const __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(br, coefficients(b, r)), _mm256_madd_epi16(ga, coefficients(g, 0)));
    return _mm256_srli_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(chromaOffset)), chromaShift);
}

/// Sixteen luma values from two vectors of eight.
VELMORA_AVX2 inline void storeLuma(std::uint8_t* destination, __m256i first, __m256i second)
{
    const __m256i words = _mm256_permute4x64_epi64(_mm256_packus_epi32(first, second), 0xD8);
    const __m128i bytes = _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(destination), bytes);
}

/// Columns `begin` to `end` (both even) in steps of sixteen; returns where it stopped.
template <Layout layout>
VELMORA_AVX2 std::int32_t convertAvx2(const RowPair& rows, std::int32_t begin, std::int32_t end)
{
    std::int32_t x = begin;
    for (; x + 16 <= end; x += 16) {
        __m256i brSum[2];
        __m256i gaSum[2];
        __m256i luma[2][2];
        for (int half = 0; half < 2; ++half) {
            const __m256i upper = load(rows.source[0] + 4 * (x + 8 * half));
            const __m256i lower = load(rows.source[1] + 4 * (x + 8 * half));
            const __m256i upperBr = blueAndRed(upper);
            const __m256i upperGa = greenAndAlpha(upper);
            const __m256i lowerBr = blueAndRed(lower);
            const __m256i lowerGa = greenAndAlpha(lower);
            luma[0][half] = lumaOf(upperBr, upperGa);
            luma[1][half] = lumaOf(lowerBr, lowerGa);
            brSum[half] = _mm256_add_epi16(upperBr, lowerBr);
            gaSum[half] = _mm256_add_epi16(upperGa, lowerGa);
        }
        storeLuma(rows.luma[0] + x, luma[0][0], luma[0][1]);
        storeLuma(rows.luma[1] + x, luma[1][0], luma[1][1]);

        // Neighbouring pixels are neighbouring 32-bit lanes whose 16-bit halves cannot carry (4 x 255): one 32-bit addition adds both.
        const __m256i br = _mm256_permute4x64_epi64(_mm256_hadd_epi32(brSum[0], brSum[1]), 0xD8);
        const __m256i ga = _mm256_permute4x64_epi64(_mm256_hadd_epi32(gaSum[0], gaSum[1]), 0xD8);
        const __m256i cb = chromaOf(br, ga, cbB, cbG, cbR);
        const __m256i cr = chromaOf(br, ga, crB, crG, crR);
        if constexpr (layout == Layout::i420) {
            // cb 0-3, cr 0-3 | cb 4-7, cr 4-7  ->  cb 0-7 | cr 0-7, as 16 bits
            const __m256i words = _mm256_permute4x64_epi64(_mm256_packus_epi32(cb, cr), 0xD8);
            const __m128i bytes = _mm_packus_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(rows.cb + x / 2), bytes);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(rows.cr + x / 2), _mm_unpackhi_epi64(bytes, bytes));
        } else {
            const __m256i pairs = _mm256_or_si256(cb, _mm256_slli_epi32(cr, 8));
            const __m256i words = _mm256_permute4x64_epi64(_mm256_packus_epi32(pairs, pairs), 0xD8);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(rows.cb + x), _mm256_castsi256_si128(words));
        }
    }
    return x;
}

#endif

template <Layout layout>
void convert(const BgraView& source, const PixelRect& area, const Yuv420View& destination, [[maybe_unused]] ConversionPath path)
{
    const auto* pixels = reinterpret_cast<const std::uint8_t*>(source.pixels);
    const std::int32_t right = area.x + area.width;
    const std::int32_t wholeColumns = std::min(right, source.width & ~1);
    for (std::int32_t y = area.y; y < area.y + area.height; y += 2) {
        const auto upper = static_cast<std::size_t>(y);
        const auto lower = static_cast<std::size_t>(std::min(y + 1, source.height - 1));
        const RowPair rows{{pixels + upper * source.bytesPerRow, pixels + lower * source.bytesPerRow},
            {destination.luma + upper * destination.lumaBytesPerRow, destination.luma + (upper + 1) * destination.lumaBytesPerRow},
            destination.cb + upper / 2 * destination.chromaBytesPerRow,
            layout == Layout::i420 ? destination.cr + upper / 2 * destination.chromaBytesPerRow : nullptr};
        std::int32_t x = area.x;
#if VELMORA_HAS_AVX2_PATH
        if (path == ConversionPath::avx2)
            x = convertAvx2<layout>(rows, x, wholeColumns);
#endif
        if (x < wholeColumns)
            convertPortable<layout>(rows, x, wholeColumns);
        if (right > wholeColumns)
            convertOddColumn<layout>(rows, source.width - 1);
    }
}

}  // namespace

ConversionPath fastestConversionPath()
{
#if VELMORA_HAS_AVX2_PATH
    if (__builtin_cpu_supports("avx2"))
        return ConversionPath::avx2;
#endif
    return ConversionPath::portable;
}

void convertToYuv420(const BgraView& source, PixelRect area, const Yuv420View& destination, ConversionPath path)
{
    area = area.intersected({0, 0, source.width, source.height});
    if (area.isEmpty())
        return;
    const std::int32_t left = area.x & ~1;
    const std::int32_t top = area.y & ~1;
    area = {left, top, paddedToEven(area.x + area.width) - left, paddedToEven(area.y + area.height) - top};
    if (destination.layout == Layout::i420)
        convert<Layout::i420>(source, area, destination, path);
    else
        convert<Layout::nv12>(source, area, destination, path);
}

}  // namespace velmora::engine
