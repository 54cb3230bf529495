#include "brand/ShownText.h"

#include <QList>
#include <QTextBoundaryFinder>

#include <algorithm>

namespace velmora {

namespace {

constexpr qsizetype longestLine = 1024;
constexpr qsizetype longestParagraphs = 4096;
constexpr int highestTower = 8;
constexpr char32_t ellipsis = 0x2026;

bool isLineBreak(char32_t character)
{
    // Unicode Standard Annex 14: mandatory breaks.
    return (character >= 0x0A && character <= 0x0D) || character == 0x85 || character == 0x2028 || character == 0x2029;
}

bool isDirectionControl(char32_t character)
{
    return (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x206F);
}

bool isMark(char32_t character)
{
    const auto category = QChar::category(character);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_SpacingCombining || category == QChar::Mark_Enclosing;
}

QString shown(const QString& text, qsizetype longest, char32_t lineBreak)
{
    QList<char32_t> result;
    int tower = 0;
    char32_t last = 0;
    // Only the beginning of a longer text is looked at.
    for (const uint unit : text.left(longest * 8).toUcs4()) {
        const auto character = static_cast<char32_t>(unit);
        const bool isSecondHalf = last == '\r' && character == '\n';
        last = character;
        if (isSecondHalf || isDirectionControl(character))
            continue;
        if (isMark(character)) {
            if (++tower > highestTower)
                continue;
        } else if (QChar::category(character) != QChar::Other_Format) {
            tower = 0;
        }
        if (result.size() == longest) {
            result.back() = ellipsis;
            break;
        }
        if (isLineBreak(character))
            result.append(lineBreak);
        else
            result.append(QChar::category(character) == QChar::Other_Control ? U' ' : character);
    }
    return QString::fromUcs4(result.constData(), result.size());
}

QList<qsizetype> boundaries(const QString& text)
{
    QTextBoundaryFinder finder{QTextBoundaryFinder::Grapheme, text};
    QList<qsizetype> found{0};
    while (finder.toNextBoundary() > 0)
        found.append(finder.position());
    return found;
}

}  // namespace

QString oneLine(const QString& text)
{
    return shown(text, longestLine, U' ');
}

QString paragraphs(const QString& text)
{
    return shown(text, longestParagraphs, U'\n');
}

QString shortened(const QString& text, qsizetype length, qsizetype kept)
{
    const auto ends = boundaries(text);
    const auto count = ends.size() - 1;
    if (count <= length)
        return text;
    const auto behind = std::clamp<qsizetype>(kept, 0, length - 1);
    return text.left(ends[length - 1 - behind]) + QChar{ellipsis} + text.mid(ends[count - behind]);
}

QString leadingSymbol(const QString& title)
{
    QTextBoundaryFinder finder{QTextBoundaryFinder::Grapheme, title};
    const auto first = title.left(std::max<qsizetype>(finder.toNextBoundary(), 0));
    const bool standsAlone = first.size() < title.size() && title.at(first.size()).isSpace();
    return standsAlone && QChar::category(first.toUcs4().front()) == QChar::Symbol_Other ? first : QString{};
}

}  // namespace velmora
