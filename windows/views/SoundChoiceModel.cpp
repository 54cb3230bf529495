#include "windows/views/SoundChoiceModel.h"

#include <algorithm>
#include <utility>

namespace velmora {

SoundChoiceModel::SoundChoiceModel(std::shared_ptr<WindowSelectionService> windowService, QObject* parent)
    : QAbstractListModel(parent)
    , windowService_(std::move(windowService))
{
}

void SoundChoiceModel::show(std::uint32_t windowID, SoundSuggestion suggestion)
{
    windowID_ = windowID;
    selected_ = suggestion.choice;
    clicks_ = {};
    list(std::move(suggestion));
}

void SoundChoiceModel::refresh()
{
    windowService_->suggestSound(windowID_, [weak = self_.weak(), id = windowID_](std::optional<SoundSuggestion> suggestion) {
        if (const auto self = weak.lock(); self && self->windowID_ == id)
            self->list(std::move(suggestion).value_or(SoundSuggestion{}));
    });
}

void SoundChoiceModel::list(SoundSuggestion suggestion)
{
    beginResetModel();
    suggestion_ = std::move(suggestion);
    const bool isListed = selected_
        && (!selected_->application
            || std::any_of(suggestion_.applications.begin(), suggestion_.applications.end(),
                [this](const auto& each) { return each.application == selected_->application; }));
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

void SoundChoiceModel::press(int row)
{
    clicks_.press(row >= 0 && row < rowCount() ? std::optional{choiceAt(row)} : std::nullopt);
}

void SoundChoiceModel::doubleClick()
{
    const auto& first = clicks_.doubleClicked();
    const auto& choice = first ? first : clicks_.pressed();
    for (int row = 0; choice && row < rowCount(); ++row) {
        if (choiceAt(row) == *choice)
            select(row);
    }
    if (first && selected_ == first)
        emit doubleClicked();
}

void SoundChoiceModel::moveSelection(int step)
{
    const int last = rowCount() - 1;
    const int current = selectedRow();
    select(current < 0 ? (step > 0 ? 0 : last) : std::clamp(current + step, 0, last));
}

int SoundChoiceModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(suggestion_.applications.size()) + 1;
}

QVariant SoundChoiceModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const int row = index.row();
    const bool isNoSound = row == rowCount() - 1;
    const auto* application = isNoSound ? nullptr : &suggestion_.applications[static_cast<std::size_t>(row)];
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
    return place < suggestion_.applications.size() ? platform::SoundChoice{suggestion_.applications[place].application}
                                                   : platform::SoundChoice{};
}

bool SoundChoiceModel::isAsBefore(int row) const
{
    return suggestion_.reason == SoundSuggestion::Reason::asBefore && choiceAt(row) == suggestion_.choice;
}

QString SoundChoiceModel::detail(const platform::AudibleApplication& application) const
{
    const auto& [bundle, name, process] = application.application;
    const auto sameName = std::count_if(suggestion_.applications.begin(), suggestion_.applications.end(),
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
