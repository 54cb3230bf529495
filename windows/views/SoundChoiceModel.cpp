#include "windows/views/SoundChoiceModel.h"

#include <algorithm>
#include <utility>

namespace velmora {

namespace {

using Suggestion = platform::SoundChoices::Suggestion;

}  // namespace

SoundChoiceModel::SoundChoiceModel(std::shared_ptr<WindowSelectionService> windowService, QObject* parent)
    : QAbstractListModel(parent)
    , windowService_(std::move(windowService))
{
}

void SoundChoiceModel::show(std::uint32_t windowID, platform::SoundChoices choices)
{
    windowID_ = windowID;
    selected_.reset();
    const bool hasApplications = !choices.applications.empty();
    switch (choices.suggestion) {
    case Suggestion::windowsOwn:
    case Suggestion::onlyPlaying:
    case Suggestion::asBefore:
        selected_ = platform::SoundChoice{choices.applications.front().application};
        break;
    case Suggestion::noSoundAsBefore:
        selected_ = platform::SoundChoice{};
        break;
    case Suggestion::nothing:
        if (!hasApplications)
            selected_ = platform::SoundChoice{};
        break;
    }
    list(std::move(choices));
}

void SoundChoiceModel::refresh()
{
    windowService_->getSoundChoices(windowID_, [weak = self_.weak(), id = windowID_](std::optional<platform::SoundChoices> choices) {
        if (const auto self = weak.lock(); self && self->windowID_ == id)
            self->list(std::move(choices).value_or(platform::SoundChoices{}));
    });
}

void SoundChoiceModel::list(platform::SoundChoices choices)
{
    beginResetModel();
    choices_ = std::move(choices);
    const bool isListed = selected_
        && (!selected_->application || std::any_of(choices_.applications.begin(), choices_.applications.end(), [this](const auto& each) {
               return each.application == selected_->application;
           }));
    if (!isListed)
        selected_.reset();
    endResetModel();
    emit selectionChanged();
}

int SoundChoiceModel::selectedRow() const
{
    for (int row = 0; selected_ && row < rowCount(); ++row) {
        if (choiceAt(row) == *selected_)
            return row;
    }
    return -1;
}

void SoundChoiceModel::select(int row)
{
    if (row < 0 || row >= rowCount() || selected_ == choiceAt(row))
        return;
    selected_ = choiceAt(row);
    emit selectionChanged();
}

void SoundChoiceModel::moveSelection(int step)
{
    const int last = rowCount() - 1;
    const int current = selectedRow();
    select(current < 0 ? (step > 0 ? 0 : last) : std::clamp(current + step, 0, last));
}

int SoundChoiceModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(choices_.applications.size()) + 1;
}

QVariant SoundChoiceModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const int row = index.row();
    const bool isNoSound = row == rowCount() - 1;
    const auto* application = isNoSound ? nullptr : &choices_.applications[static_cast<std::size_t>(row)];
    switch (role) {
    case AppName:
    case Qt::DisplayRole:
        return application ? QString::fromStdString(application->application.applicationName) : QStringLiteral("No sound");
    case Detail:
        return application ? detail(*application) : QStringLiteral("The clip will be silent");
    case Symbol:
        if (!application)
            return QStringLiteral("xmark.circle.fill");
        return application->isPlaying ? QStringLiteral("play.circle.fill") : QStringLiteral("pause.circle.fill");
    case IsAsBefore:
        return isAsBefore(row);
    default:
        return {};
    }
}

QHash<int, QByteArray> SoundChoiceModel::roleNames() const
{
    return {{AppName, "appName"}, {Detail, "detail"}, {Symbol, "symbol"}, {IsAsBefore, "isAsBefore"}};
}

platform::SoundChoice SoundChoiceModel::choiceAt(int row) const
{
    const auto place = static_cast<std::size_t>(row);
    return place < choices_.applications.size() ? platform::SoundChoice{choices_.applications[place].application} : platform::SoundChoice{};
}

bool SoundChoiceModel::isAsBefore(int row) const
{
    return (choices_.suggestion == Suggestion::asBefore && row == 0)
        || (choices_.suggestion == Suggestion::noSoundAsBefore && row == rowCount() - 1);
}

QString SoundChoiceModel::detail(const platform::AudibleApplication& application) const
{
    const auto& [bundle, name, process] = application.application;
    const auto sameName = std::count_if(choices_.applications.begin(), choices_.applications.end(),
        [&name = name](const auto& other) { return other.application.applicationName == name; });
    QStringList parts;
    if (!application.nowPlaying.empty())
        parts.append(QString::fromStdString(application.nowPlaying));
    if (!application.isPlaying)
        parts.append(QStringLiteral("not playing now"));
    else if (parts.isEmpty())
        parts.append(QStringLiteral("playing now"));
    if (sameName > 1 && process > 0)
        parts.append(QStringLiteral("process %1").arg(process));
    return parts.join(QStringLiteral(" · "));
}

}  // namespace velmora
