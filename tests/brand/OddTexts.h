// Every kind of text that a window's title, a class, a file's name or an error message can be.
#pragma once

#include <QList>
#include <QString>

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

}  // namespace velmora::test
