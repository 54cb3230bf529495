// Days as clips are grouped by them.
#pragma once

#include "library/ClipItem.h"

#include <QDate>
#include <QDateTime>
#include <QString>

namespace velmora {

[[nodiscard]] QDateTime localTime(ClipItem::Date date);

/// "Today", "Yesterday", "Monday, 16 November 2026".
[[nodiscard]] QString dayText(const QDate& day, const QDate& today);

/// "14:32", as the user's locale writes it.
[[nodiscard]] QString timeText(ClipItem::Date date);

}  // namespace velmora
