// Every kind of text that a window's title, a class, a file's name or an error message can be.
#pragma once

#include <QList>
#include <QString>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace velmora::test {

struct OddText {
    const char* kind;
    QString text;
};

inline std::vector<OddText> oddTexts()
{
    std::vector<OddText> texts;
    for (const auto& [name, lineBreak] :
        {std::pair{"line feed", QChar{0x0A}}, {"vertical tab", QChar{0x0B}}, {"form feed", QChar{0x0C}}, {"carriage return", QChar{0x0D}},
            {"next line", QChar{0x85}}, {"line separator", QChar{0x2028}}, {"paragraph separator", QChar{0x2029}}})
        texts.push_back({name, QStringLiteral("Evening") + lineBreak + QStringLiteral("News of a whole long day in the city")});
    texts.push_back({"both line breaks", QStringLiteral("Evening\r\nNews\r\n")});
    texts.push_back({"only line breaks", QString{300, QLatin1Char('\n')}});
    texts.push_back({"tabs", QStringLiteral("Evening\tNews\t\t12:00")});

    QString controls;
    for (char16_t control = 0; control < 0xA0; control = control == 0x1F ? 0x7F : static_cast<char16_t>(control + 1))
        controls += QChar{control};
    texts.push_back({"controls", QStringLiteral("Evening") + controls + QStringLiteral("News")});

    QString directions = QStringLiteral("Evening");
    for (const int control : {0x202A, 0x202B, 0x202D, 0x202E, 0x2066, 0x2067, 0x2068, 0x202C, 0x2069, 0x200E, 0x200F, 0x061C})
        directions += QChar{control} + QStringLiteral("abc");
    texts.push_back({"direction controls", directions});
    texts.push_back({"an override that nobody ends", QChar{0x202E} + QStringLiteral("gpj.swen")});
    texts.push_back({"right to left", QString::fromUtf8("חדשות הערב — שידור חי — نشرة الأخبار المسائية")});
    texts.push_back({"both directions", QString::fromUtf8("Evening חדשות News نشرة 12:00 שידור (live)")});

    QString tower;
    for (int letter = 0; letter < 6; ++letter)
        tower += QLatin1Char('o') + QString{400, QChar{0x0301}} + QString{400, QChar{0x0323}};
    texts.push_back({"combining towers", tower});

    texts.push_back({"100 000 letters", QString{100'000, QLatin1Char('W')}});
    texts.push_back({"100 000 letters in words", QString{QStringLiteral("evening ")}.repeated(12'500)});
    texts.push_back({"100 000 line breaks", QString{100'000, QLatin1Char('\n')}});
    texts.push_back({"emoji", QString::fromUtf8("👩‍👩‍👧‍👦 🏳️‍🌈 ⚠️ 1️⃣ 🇪🇺 👍🏿")});
    texts.push_back({"emoji in a long row", QString::fromUtf8("👩‍👩‍👧‍👦").repeated(500)});
    texts.push_back({"half a pair", QStringLiteral("Evening") + QChar{0xD83D} + QStringLiteral("News") + QChar{0xDE00}});
    texts.push_back({"noncharacters", QStringLiteral("Evening") + QChar{0xFFFE} + QChar{0xFFFF} + QChar{0xFDD0}});
    texts.push_back({"markup", QStringLiteral("<img src='http://127.0.0.1/x'> <b>&amp;</b> _&_ %1 ${HOME}")});
    texts.push_back({"spaces", QString{40, QChar{0x3000}} + QChar{0xFEFF} + QChar{0x200B}});
    return texts;
}

/// Whether it stays in its line and turns nothing around it.
inline bool isOrderlyLine(const QString& text)
{
    return std::none_of(text.begin(), text.end(), [](QChar character) {
        const int code = character.unicode();
        const auto category = character.category();
        return category == QChar::Other_Control || category == QChar::Separator_Line || category == QChar::Separator_Paragraph
            || (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
    });
}

struct OddBytes {
    const char* kind;
    std::string text;
};

/// The same in UTF-8, and bytes that are not UTF-8, as a name of a file or of a window may be.
inline std::vector<OddBytes> oddBytes()
{
    std::vector<OddBytes> found;
    for (const auto& [kind, text] : oddTexts())
        found.push_back({kind, text.toStdString()});
    found.push_back({"Latin-1", "Caf\xE9 du soir, \xE0 12 h"});
    found.push_back({"bytes that no text has", "\xFF\xFE Evening \xC0\xAF\xF8\x88 News"});
    found.push_back({"a character that is cut off", "Evening \xE2\x82"});
    found.push_back({"both halves of a pair", "Evening \xED\xA0\xBD\xED\xB8\x80"});
    return found;
}

/// What a file or folder can be called of them.
inline std::vector<OddBytes> oddNames()
{
    constexpr std::size_t longestName = 200;
    auto names = oddBytes();
    for (auto& [kind, text] : names) {
        std::erase(text, '\0');
        std::replace(text.begin(), text.end(), '/', '-');
        text.resize(std::min(text.size(), longestName));
    }
    return names;
}

}  // namespace velmora::test
