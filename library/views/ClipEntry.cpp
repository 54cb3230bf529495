#include "library/views/ClipEntry.h"

#include "brand/ShownText.h"
#include "library/ClipFormat.h"
#include "library/ClipName.h"
#include "library/views/ClipDays.h"

#include <QStringList>

#include <utility>

namespace velmora {

ClipEntry::ClipEntry(QObject* parent) : QObject(parent) { }

ClipEntry::~ClipEntry()
{
    setClip(nullptr);
}

void ClipEntry::setModel(ClipsModel* model)
{
    if (model == model_)
        return;
    setClip(nullptr);
    if (model_) {
        disconnect(model_, nullptr, this, nullptr);
        disconnect(&model_->shownClips(), nullptr, this, nullptr);
    }
    model_ = model;
    if (model_) {
        connect(model_, &ClipsModel::clipsChanged, this, &ClipEntry::update);
        connect(model_, &ClipsModel::selectionChanged, this, &ClipEntry::selectionChanged);
        connect(model_, &ClipsModel::renamingChanged, this, &ClipEntry::renamingChanged);
        connect(model_, &ClipsModel::lengthLoaded, this, [this](const FolderClipRef& clip) {
            if (clip == clip_)
                emit lengthChanged();
        });
        connect(&model_->shownClips(), &ShownClips::pictureLoaded, this, [this](const FolderClipRef& clip) {
            if (clip == clip_)
                emit pictureChanged();
        });
    }
    emit modelChanged();
    update();
}

void ClipEntry::setNumber(int number)
{
    if (number == number_)
        return;
    number_ = number;
    emit numberChanged();
    update();
}

void ClipEntry::update()
{
    setClip(model_ ? model_->clip(number_) : nullptr);
}

void ClipEntry::setClip(FolderClipRef clip)
{
    if (clip == clip_)
        return;
    const auto before = std::exchange(clip_, std::move(clip));
    // Shown first: what both have in common is not loaded anew.
    if (clip_ && model_)
        model_->shownClips().show(clip_);
    if (before && model_)
        model_->shownClips().hide(before);
    emit clipChanged();
    emit lengthChanged();
    emit pictureChanged();
    emit selectionChanged();
    emit renamingChanged();
}

QString ClipEntry::name() const
{
    return clip_ ? oneLine(velmora::editableName(clip_->filename())) : QString{};
}

QString ClipEntry::editableName() const
{
    return clip_ ? velmora::editableName(clip_->filename()) : QString{};
}

QString ClipEntry::length() const
{
    return clip_ && clip_->duration ? QString::fromStdString(formattedDuration(*clip_->duration)) : QString{};
}

QString ClipEntry::details() const
{
    if (!clip_)
        return {};
    return timeText(clip_->createdAt) + QString::fromUtf8(" · ") + QString::fromStdString(formattedFileSize(clip_->fileSize));
}

QString ClipEntry::spoken() const
{
    if (!clip_)
        return {};
    QStringList parts{name(), dayText(localTime(clip_->createdAt).date(), {}) + QLatin1Char(' ') + timeText(clip_->createdAt), length(),
        QString::fromStdString(formattedFileSize(clip_->fileSize))};
    parts.removeAll(QString{});
    return parts.join(QStringLiteral(", "));
}

QImage ClipEntry::picture() const
{
    return clip_ && model_ ? model_->shownClips().picture(clip_) : QImage{};
}

bool ClipEntry::isSelected() const
{
    return clip_ && model_ && model_->isSelected(*clip_);
}

bool ClipEntry::isCurrent() const
{
    return clip_ && model_ && model_->isCurrent(number_);
}

bool ClipEntry::isRenaming() const
{
    return clip_ && model_ && model_->isRenaming(clip_);
}

}  // namespace velmora
