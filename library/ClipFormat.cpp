#include "library/ClipFormat.h"

#include <QLocale>

#include <cmath>

namespace velmora {

std::string formattedDuration(double duration)
{
    const auto seconds = static_cast<std::int64_t>(std::round(duration));
    const auto rest = seconds % 60;
    return std::to_string(seconds / 60) + (rest < 10 ? ":0" : ":") + std::to_string(rest);
}

std::string formattedFileSize(std::int64_t fileSize)
{
    if (fileSize == 0)
        return "Zero KB";
    if (fileSize == 1)
        return "1 byte";
    const QLocale locale;
    if (fileSize < 1000)
        return locale.toString(static_cast<qlonglong>(fileSize)).toStdString() + " bytes";
    // The unit is chosen by the rounded number: 999,950 bytes are 1 MB, not 1,000 KB.
    const double kilobytes = std::round(static_cast<double>(fileSize) / 1e3);
    if (kilobytes < 1000)
        return locale.toString(kilobytes, 'f', 0).toStdString() + " KB";
    const double megabytes = std::round(static_cast<double>(fileSize) / 1e5) / 10;
    const bool isWhole = megabytes == std::floor(megabytes);
    return locale.toString(megabytes, 'f', isWhole ? 0 : 1).toStdString() + " MB";
}

}  // namespace velmora
