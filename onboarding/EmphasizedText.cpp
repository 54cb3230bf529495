#include "onboarding/EmphasizedText.h"

#include "brand/BrandColors.h"

namespace velmora {

EmphasizedText::EmphasizedText(const QString& markdown)
{
    const QString mark = QStringLiteral("**");
    qsizetype end = 0;
    while (end < markdown.size()) {
        const auto opening = markdown.indexOf(mark, end);
        const auto closing = opening < 0 ? -1 : markdown.indexOf(mark, opening + mark.size());
        const auto before = closing < 0 ? markdown.mid(end) : markdown.mid(end, opening - end);
        plain_ += before;
        styled_ += before.toHtmlEscaped();
        if (closing < 0)
            break;
        const auto words = markdown.mid(opening + mark.size(), closing - opening - mark.size());
        plain_ += words;
        styled_ += QStringLiteral("<b><font color=\"%1\">%2</font></b>").arg(BrandColors::snowSlate.name(), words.toHtmlEscaped());
        end = closing + mark.size();
    }
}

}  // namespace velmora
