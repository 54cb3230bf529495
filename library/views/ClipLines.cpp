#include "library/views/ClipLines.h"

#include "library/views/ClipDays.h"

#include <QStringList>

#include <algorithm>
#include <chrono>
#include <cstddef>

namespace velmora {

namespace {

bool hasAllWords(const QString& text, const QStringList& words)
{
    return std::all_of(words.begin(), words.end(), [&](const QString& word) { return text.contains(word, Qt::CaseInsensitive); });
}

/// Asks what day a clip is from, and remembers how long that day is, because the clip after it is most likely from the same.
class Days {
public:
    explicit Days(const QDate& today) : today_(today) { }

    /// Whether it is another than that of the clip before.
    bool advanceTo(ClipItem::Date date)
    {
        const auto seconds = std::chrono::floor<std::chrono::seconds>(date.time_since_epoch()).count();
        if (!text_.isEmpty() && seconds >= begin_ && seconds < end_)
            return false;
        const auto day = localTime(date).date();
        begin_ = day.startOfDay().toSecsSinceEpoch();
        end_ = day.addDays(1).startOfDay().toSecsSinceEpoch();
        text_ = dayText(day, today_);
        return true;
    }

    [[nodiscard]] const QString& text() const { return text_; }

private:
    const QDate today_;
    qint64 begin_ = 0;
    qint64 end_ = 0;
    QString text_;
};

}  // namespace

std::vector<ClipLine> clipLines(const std::vector<FolderClipRef>& clips, const QString& searchText, int columns, const QDate& today)
{
    const auto words = searchText.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    std::vector<ClipLine> lines;
    Days days{today};
    bool beginsDay = false;
    int count = 0;
    for (const auto& clip : clips) {
        beginsDay = days.advanceTo(clip->createdAt) || beginsDay;
        if (!words.isEmpty() && !hasAllWords(QString::fromStdString(clip->filename()) + QLatin1Char('\n') + days.text(), words))
            continue;
        if (beginsDay || lines.back().clips.size() == static_cast<std::size_t>(columns))
            lines.push_back({beginsDay ? days.text() : QString{}, count, {}});
        beginsDay = false;
        lines.back().clips.push_back(clip);
        ++count;
    }
    return lines;
}

}  // namespace velmora
