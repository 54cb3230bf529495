#include "library/views/PreviewTimes.h"

#include <algorithm>
#include <cmath>

namespace velmora::preview_times {

QString whole(double seconds)
{
    if (!std::isfinite(seconds))
        return QStringLiteral("00:00");
    const auto rounded = static_cast<qint64>(std::llround(seconds));
    return QStringLiteral("%1:%2").arg(rounded / 60, 2, 10, QLatin1Char('0')).arg(rounded % 60, 2, 10, QLatin1Char('0'));
}

QString withTenths(double seconds)
{
    // Less than nothing is selected where the start has passed the end.
    const auto tenths = std::isfinite(seconds) ? std::llround(std::max(0.0, seconds) * 10) : 0;
    return QStringLiteral("%1:%2.%3")
        .arg(tenths / 600, 2, 10, QLatin1Char('0'))
        .arg(tenths / 10 % 60, 2, 10, QLatin1Char('0'))
        .arg(tenths % 10);
}

}  // namespace velmora::preview_times
