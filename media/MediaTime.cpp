#include "media/MediaTime.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>
#include <numeric>

namespace velmora {

namespace {

__extension__ typedef __int128 Wide;

Wide roundedQuotient(Wide numerator, Wide denominator)
{
    const Wide half = denominator / 2;
    return numerator >= 0 ? (numerator + half) / denominator : -((-numerator + half) / denominator);
}

std::int32_t commonScale(std::int32_t a, std::int32_t b)
{
    if (a == b)
        return a;
    const std::int64_t multiple = std::int64_t{a} / std::gcd(a, b) * b;
    return multiple <= std::numeric_limits<std::int32_t>::max() ? static_cast<std::int32_t>(multiple) : std::max(a, b);
}

}  // namespace

MediaTime MediaTime::fromSeconds(double seconds, std::int32_t scale)
{
    assert(scale > 0);
    return {static_cast<std::int64_t>(std::llround(seconds * scale)), scale};
}

double MediaTime::seconds() const
{
    return isValid() ? static_cast<double>(value) / timescale : std::numeric_limits<double>::quiet_NaN();
}

MediaTime MediaTime::converted(std::int32_t scale) const
{
    assert(isValid() && scale > 0);
    if (scale == timescale)
        return *this;
    return {static_cast<std::int64_t>(roundedQuotient(Wide{value} * scale, timescale)), scale};
}

MediaTime operator+(MediaTime a, MediaTime b)
{
    if (!a.isValid() || !b.isValid())
        return MediaTime::invalid();
    const auto scale = commonScale(a.timescale, b.timescale);
    return {a.converted(scale).value + b.converted(scale).value, scale};
}

MediaTime operator-(MediaTime a, MediaTime b)
{
    return a + MediaTime{-b.value, b.timescale};
}

std::partial_ordering operator<=>(MediaTime a, MediaTime b)
{
    if (!a.isValid() || !b.isValid())
        return std::partial_ordering::unordered;
    const Wide left = Wide{a.value} * b.timescale;
    const Wide right = Wide{b.value} * a.timescale;
    if (left < right)
        return std::partial_ordering::less;
    return left > right ? std::partial_ordering::greater : std::partial_ordering::equivalent;
}

}  // namespace velmora
