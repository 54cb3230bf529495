#include "benchmarks/peers/StructuralSimilarity.h"

namespace velmora::benchmarks {

namespace {

constexpr int side = 8;
constexpr int distance = 4;

/// (0.01 * 255)^2 and (0.03 * 255)^2: keep flat squares from dividing by nothing.
constexpr double steadyMean = 6.5025;
constexpr double steadyVariance = 58.5225;

double similarityOfSquares(const std::uint8_t* one, std::size_t oneStride, const std::uint8_t* other, std::size_t otherStride)
{
    int sumOne = 0;
    int sumOther = 0;
    int squaresOne = 0;
    int squaresOther = 0;
    int products = 0;
    for (int y = 0; y < side; ++y, one += oneStride, other += otherStride) {
        for (int x = 0; x < side; ++x) {
            const int a = one[x];
            const int b = other[x];
            sumOne += a;
            sumOther += b;
            squaresOne += a * a;
            squaresOther += b * b;
            products += a * b;
        }
    }
    constexpr double count = side * side;
    const double meanOne = sumOne / count;
    const double meanOther = sumOther / count;
    const double varianceOne = squaresOne / count - meanOne * meanOne;
    const double varianceOther = squaresOther / count - meanOther * meanOther;
    const double covariance = products / count - meanOne * meanOther;
    return (2 * meanOne * meanOther + steadyMean) * (2 * covariance + steadyVariance)
        / ((meanOne * meanOne + meanOther * meanOther + steadyMean) * (varianceOne + varianceOther + steadyVariance));
}

}  // namespace

double structuralSimilarity(const LumaPlane& one, const LumaPlane& other)
{
    double sum = 0;
    int count = 0;
    for (int y = 0; y + side <= one.height; y += distance) {
        const auto* rowOne = one.pixels + static_cast<std::size_t>(y) * one.bytesPerRow;
        const auto* rowOther = other.pixels + static_cast<std::size_t>(y) * other.bytesPerRow;
        for (int x = 0; x + side <= one.width; x += distance, ++count)
            sum += similarityOfSquares(rowOne + x, one.bytesPerRow, rowOther + x, other.bytesPerRow);
    }
    return sum / count;
}

}  // namespace velmora::benchmarks
