#include "library/views/PreviewCut.h"

#include "library/views/PreviewTimes.h"
#include "media/TimeRange.h"

#include <algorithm>

namespace velmora {

QString PreviewCut::action() const
{
    return isThere_ ? QStringLiteral("Keep All") : QStringLiteral("Cut Out a Middle Part");
}

QString PreviewCut::startText() const
{
    return QStringLiteral("Cut: ") + preview_times::whole(start_);
}

QString PreviewCut::endText() const
{
    return QStringLiteral("To: ") + preview_times::whole(end_);
}

QString PreviewCut::keptText() const
{
    return QStringLiteral("Kept: ") + preview_times::whole(keptSeconds());
}

QString PreviewCut::startTenths() const
{
    return preview_times::withTenths(start_);
}

QString PreviewCut::endTenths() const
{
    return preview_times::withTenths(end_);
}

QString PreviewCut::keptTenths() const
{
    return preview_times::withTenths(keptSeconds());
}

double PreviewCut::keptSeconds() const
{
    const double selected = std::max(0.0, selectionEnd_ - selectionStart_);
    if (!isThere_)
        return selected;
    const double cut = std::min(end_, selectionEnd_) - std::max(start_, selectionStart_);
    return std::max(0.0, selected - std::max(0.0, cut));
}

bool PreviewCut::holds(MediaTime time) const
{
    return isThere_ && preview_times::exported(start_) <= time && time < preview_times::exported(end_);
}

std::vector<TimeRange> PreviewCut::ranges() const
{
    const TimeRange range{preview_times::exported(start_), preview_times::exported(end_)};
    return isThere_ && range.start < range.end ? std::vector{range} : std::vector<TimeRange>{};
}

void PreviewCut::setSelection(double start, double end)
{
    selectionStart_ = start;
    selectionEnd_ = end;
    emit changed();
}

void PreviewCut::set(double start, double end)
{
    isThere_ = true;
    start_ = start;
    end_ = end;
    emit boundsChanged();
    emit changed();
}

void PreviewCut::remove()
{
    isThere_ = false;
    emit changed();
}

}  // namespace velmora
