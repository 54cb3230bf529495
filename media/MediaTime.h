// Time in media: a value over a time scale, compared exactly.
#pragma once

#include <compare>
#include <cstdint>

namespace velmora {

/// `value` / `timescale` seconds. Live time stamps count MonotonicClock's nanoseconds (time scale 1 000 000 000) for sound and
/// picture alike. An invalid time means "unknown"; it compares unordered to everything, itself included. Comparison never
/// overflows. The results of conversion, addition and subtraction, and what is added on the common scale, have to fit 64 bits, which the
/// caller sees to. Doubles appear only where an interface says seconds.
struct MediaTime {
    static constexpr std::int32_t nanosecondScale = 1'000'000'000;

    std::int64_t value = 0;
    std::int32_t timescale = 0;

    constexpr MediaTime() = default;
    constexpr MediaTime(std::int64_t v, std::int32_t scale) : value(v), timescale(scale) { }

    static constexpr MediaTime invalid() { return {}; }
    static constexpr MediaTime zero() { return {0, 1}; }
    static constexpr MediaTime nanoseconds(std::int64_t count) { return {count, nanosecondScale}; }

    /// The nearest time on `scale`.
    static MediaTime fromSeconds(double seconds, std::int32_t scale);

    [[nodiscard]] constexpr bool isValid() const { return timescale > 0; }

    [[nodiscard]] double seconds() const;

    /// The nearest time on `scale` (halves away from zero). Precondition: valid, scale > 0.
    [[nodiscard]] MediaTime converted(std::int32_t scale) const;

    /// Exact when both scales are equal or their least common multiple fits 32 bits, else rounded to the finer of the two scales.
    friend MediaTime operator+(MediaTime a, MediaTime b);
    friend MediaTime operator-(MediaTime a, MediaTime b);

    friend std::partial_ordering operator<=>(MediaTime a, MediaTime b);
    friend bool operator==(MediaTime a, MediaTime b) { return (a <=> b) == std::partial_ordering::equivalent; }
};

}  // namespace velmora
