#include "library/views/ClipsMessages.h"

#include "brand/ShownText.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace velmora::clips_messages {

namespace {

void append(QString& text, const QString& sentence)
{
    if (!text.isEmpty())
        text += QLatin1Char(' ');
    text += sentence;
}

}  // namespace

QString quoted(const std::filesystem::path& file)
{
    return QString::fromUtf8("“%1”").arg(oneLine(QString::fromStdString(file.filename().native())));
}

QString counted(std::size_t count)
{
    return count == 1 ? QStringLiteral("1 clip") : QStringLiteral("%L1 clips").arg(count);
}

QString reason(const Error& error)
{
    if (error.domain != posixErrorDomain)
        return oneLine(QString::fromStdString(error.localizedDescription));
    switch (error.code) {
    case EBUSY:
        return QStringLiteral("it is being recorded.");
    case ENOENT:
        return QStringLiteral("it is no longer there.");
    case EXDEV:
        return QStringLiteral("its disk has no trash.");
    default:
        return QString::fromStdString(std::generic_category().message(error.code)) + QLatin1Char('.');
    }
}

QString trashed(const ClipFolder::Outcome<platform::TrashedFile>& outcome)
{
    QString text;
    if (outcome.moved.size() == 1)
        text = quoted(outcome.moved.front().origin) + QStringLiteral(" is in the trash.");
    else if (!outcome.moved.empty())
        text = counted(outcome.moved.size()) + QStringLiteral(" are in the trash.");
    if (outcome.refused.empty())
        return text;
    const auto& [file, error] = outcome.refused.front();
    append(text, QStringLiteral("%1 could not be moved to the trash: %2").arg(quoted(file), reason(error)));
    if (outcome.refused.size() > 1)
        append(text, QStringLiteral("Nor could %1.").arg(counted(outcome.refused.size() - 1)));
    if (outcome.moved.empty())
        append(text, QStringLiteral("Nothing was deleted."));
    return text;
}

QString putBack(const ClipFolder::Outcome<std::filesystem::path>& outcome, const std::vector<platform::TrashedFile>& wanted)
{
    QString text;
    if (outcome.moved.size() == 1) {
        const auto& file = outcome.moved.front();
        const bool hasItsName = std::any_of(wanted.begin(), wanted.end(), [&](const auto& one) { return one.origin == file; });
        text = hasItsName ? quoted(file) + QStringLiteral(" is back.")
                          : QStringLiteral("It is back as %1, because something has its name.").arg(quoted(file));
    } else if (!outcome.moved.empty()) {
        text = counted(outcome.moved.size()) + QStringLiteral(" are back.");
    }
    if (outcome.refused.empty())
        return text;
    const auto& [file, error] = outcome.refused.front();
    append(text,
        QStringLiteral("%1 could not be put back: %2")
            .arg(quoted(file),
                error.code == ENOENT ? QStringLiteral("it is no longer in the trash, or its folder is gone.") : reason(error)));
    return text;
}

}  // namespace velmora::clips_messages
