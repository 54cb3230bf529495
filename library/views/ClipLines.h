// Clips in lines, as the clips window shows them.
#pragma once

#include "library/ClipFolder.h"

#include <QDate>
#include <QString>

#include <vector>

namespace velmora {

struct ClipLine {
    QString heading;  ///< the day that begins with this line; else empty
    int first = 0;  ///< of its clips, counted from 0 through all lines
    std::vector<FolderClipRef> clips;
};

/// The clips in whose names and days every word of `searchText` is, in lines of at most `columns`. A day begins a line.
[[nodiscard]] std::vector<ClipLine> clipLines(
    const std::vector<FolderClipRef>& clips, const QString& searchText, int columns, const QDate& today);

}  // namespace velmora
