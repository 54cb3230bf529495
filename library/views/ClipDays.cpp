#include "library/views/ClipDays.h"

#include <QLocale>

#include <chrono>

namespace velmora {

QDateTime localTime(ClipItem::Date date)
{
    return QDateTime::fromMSecsSinceEpoch(std::chrono::floor<std::chrono::milliseconds>(date.time_since_epoch()).count());
}

QString dayText(const QDate& day, const QDate& today)
{
    if (day == today)
        return QStringLiteral("Today");
    if (day.addDays(1) == today)
        return QStringLiteral("Yesterday");
    // In the language of all other texts.
    return QLocale{QLocale::English}.toString(day, QStringLiteral("dddd, d MMMM yyyy"));
}

QString timeText(ClipItem::Date date)
{
    const auto time = localTime(date).time();
    const QLocale locale;
    // Without a language there is no short form.
    return locale.language() == QLocale::C ? time.toString(QStringLiteral("HH:mm")) : locale.toString(time, QLocale::ShortFormat);
}

}  // namespace velmora
