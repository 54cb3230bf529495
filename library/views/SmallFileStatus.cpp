#include "library/views/SmallFileStatus.h"

#include "brand/ShownText.h"

#include <utility>

namespace velmora {

SmallFileStatus::SmallFileStatus(std::shared_ptr<SmallFiles> files, Clip clip, QObject* parent)
    : QObject(parent)
    , files_(std::move(files))
    , clip_(std::move(clip))
{
    if (files_)
        connect(files_.get(), &SmallFiles::changed, this, &SmallFileStatus::update);
    update();
}

QString SmallFileStatus::text() const
{
    if (!status_)
        return {};
    switch (status_->phase) {
    case SmallFiles::Phase::waiting:
        return QStringLiteral("Small file: waiting for another");
    case SmallFiles::Phase::running:
        return QStringLiteral("Small file: %1 %").arg(static_cast<int>(status_->progress * 100));
    case SmallFiles::Phase::copied:
    case SmallFiles::Phase::failed:
        break;
    }
    return oneLine(QString::fromStdString(status_->text));
}

QString SmallFileStatus::action() const
{
    const bool isBusy = status_ && (status_->phase == SmallFiles::Phase::waiting || status_->phase == SmallFiles::Phase::running);
    return isBusy ? QStringLiteral("Cancel") : QStringLiteral("OK");
}

void SmallFileStatus::act()
{
    if (!files_)
        return;
    if (const auto clip = clip_())
        files_->dismiss(*clip);
}

void SmallFileStatus::update()
{
    if (!files_)
        return;
    const auto clip = clip_();
    status_ = clip ? files_->status(*clip) : std::nullopt;
    emit changed();
}

}  // namespace velmora
