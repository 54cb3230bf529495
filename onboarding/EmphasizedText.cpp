#include "onboarding/EmphasizedText.h"

namespace velmora {

EmphasizedText::EmphasizedText(const QString& markdown)
{
    const QString mark = QStringLiteral("**");
    qsizetype end = 0;
    while (end < markdown.size()) {
        const auto opening = markdown.indexOf(mark, end);
        const auto closing = opening < 0 ? -1 : markdown.indexOf(mark, opening + mark.size());
        const auto before = closing < 0 ? markdown.mid(end) : markdown.mid(end, opening - end);
        parts_.append({before, false});
        if (closing < 0)
            break;
        const auto words = markdown.mid(opening + mark.size(), closing - opening - mark.size());
        parts_.append({words, true});
        end = closing + mark.size();
    }
    for (const auto& part : parts_)
        plain_ += part.words;
}

QString EmphasizedText::styled(const QColor& emphasis) const
{
    QString styled;
    for (const auto& part : parts_) {
        const auto words = part.words.toHtmlEscaped();
        styled += part.isEmphasized ? QStringLiteral("<b><font color=\"%1\">%2</font></b>").arg(emphasis.name(), words) : words;
    }
    return styled;
}

}  // namespace velmora
