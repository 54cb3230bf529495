// The picker's question: whose sound goes with a window?
#pragma once

#include "base/SelfReference.h"
#include "brand/RowClicks.h"
#include "windows/WindowSelectionService.h"

#include <QAbstractListModel>
#include <QtQmlIntegration>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace velmora {

/// A row for each application that has sound, and a last one for no sound. Main thread only.
class SoundChoiceModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the picker")
    Q_PROPERTY(int selectedRow READ selectedRow NOTIFY selectionChanged)
    Q_PROPERTY(bool canStart READ canStart NOTIFY selectionChanged)

public:
    enum Role { AppName = Qt::UserRole, Detail, Symbol, IsAsBefore };

    explicit SoundChoiceModel(std::shared_ptr<WindowSelectionService> windowService, QObject* parent = nullptr);

    /// Starts over, with the suggestion selected, if there is one.
    void show(std::uint32_t windowID, SoundSuggestion suggestion);

    /// "Refresh List": asks again, and keeps the selection if it is still listed.
    Q_INVOKABLE void refresh();

    [[nodiscard]] const std::optional<platform::SoundChoice>& selected() const { return selected_; }
    /// -1 when nothing is selected.
    [[nodiscard]] int selectedRow() const;
    [[nodiscard]] bool canStart() const { return selected_.has_value(); }

    Q_INVOKABLE void select(int row);

    /// As in the list of windows.
    Q_INVOKABLE void press(int row);
    Q_INVOKABLE void doubleClick();

    /// Selects the next row above (-1) or below (1); the nearest end when nothing is selected.
    Q_INVOKABLE void moveSelection(int step);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

signals:
    void selectionChanged();

    /// On what is selected.
    void doubleClicked();

private:
    void list(SoundSuggestion suggestion);
    [[nodiscard]] platform::SoundChoice choiceAt(int row) const;
    [[nodiscard]] bool isAsBefore(int row) const;
    [[nodiscard]] QString detail(const platform::AudibleApplication& application) const;

    std::shared_ptr<WindowSelectionService> windowService_;
    std::uint32_t windowID_ = 0;
    SoundSuggestion suggestion_;
    std::optional<platform::SoundChoice> selected_;
    RowClicks<platform::SoundChoice> clicks_;
    const SelfReference<SoundChoiceModel> self_{*this};
};

}  // namespace velmora
