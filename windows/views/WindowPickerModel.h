// What the window picker shows and does.
#pragma once

#include "base/SelfReference.h"
#include "brand/RowClicks.h"
#include "capture/CaptureCoordinator.h"
#include "windows/WindowSelectionService.h"
#include "windows/views/SoundChoiceModel.h"

#include <QAbstractListModel>
#include <QImage>
#include <QString>
#include <QtQmlIntegration>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace velmora {

/// The windows that match the search, a row each, and the picker's state beside them. Main thread only.
class WindowPickerModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(bool isLoading READ isLoading NOTIFY contentChanged)
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY contentChanged)
    Q_PROPERTY(bool hasRows READ hasRows NOTIFY contentChanged)
    Q_PROPERTY(bool hasIcons READ hasIcons CONSTANT)
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(int selectedRow READ selectedRow NOTIFY selectionChanged)
    Q_PROPERTY(bool canStart READ canStart NOTIFY selectionChanged)
    Q_PROPERTY(bool isSelectionInSight READ isSelectionInSight WRITE setSelectionInSight NOTIFY selectionCaptionChanged)
    Q_PROPERTY(QString selectionCaption READ selectionCaption NOTIFY selectionCaptionChanged)
    Q_PROPERTY(bool isChoosingSound READ isChoosingSound NOTIFY isChoosingSoundChanged)
    Q_PROPERTY(velmora::SoundChoiceModel* sound READ sound CONSTANT)

public:
    enum Role { AppName = Qt::UserRole, Title, SizeText, Symbol, IsActive, Absence, Icon, IsSounding };

    WindowPickerModel(std::shared_ptr<WindowSelectionService> windowService, CaptureCoordinator& coordinator, QObject* parent = nullptr);

    /// Exactly one of these three is true, and decides what the middle of the picker shows.
    [[nodiscard]] bool isLoading() const { return windowService_->isLoading(); }
    [[nodiscard]] bool isEmpty() const { return !isLoading() && filteredWindows_.empty(); }
    [[nodiscard]] bool hasRows() const { return !isLoading() && !filteredWindows_.empty(); }

    /// Whether rows have a place for the icon of their application, which comes when it has been found.
    [[nodiscard]] bool hasIcons() const { return windowService_->hasIcons(); }

    [[nodiscard]] const QString& searchText() const { return searchText_; }
    void setSearchText(const QString& text);

    /// The row of the selected window; -1 when nothing is selected or the search hides it.
    [[nodiscard]] int selectedRow() const;
    [[nodiscard]] std::optional<std::uint32_t> selectedID() const { return selectedID_; }
    [[nodiscard]] bool canStart() const { return selectedID_.has_value(); }

    /// Whether all of the selected row can be seen, as the view says; true until it has said anything.
    [[nodiscard]] bool isSelectionInSight() const { return isSelectionInSight_; }
    void setSelectionInSight(bool isInSight);

    /// Names the window that would be started where its row is not to be seen: hidden by the search, scrolled away, or because the list is
    /// being read. Says so where it is listed no more. Otherwise empty.
    [[nodiscard]] QString selectionCaption() const;

    /// The second step, for a granted window whose application the desktop does not name. start() goes on with what is selected
    /// there, cancel() goes back to the windows.
    [[nodiscard]] bool isChoosingSound() const { return granted_.has_value(); }
    [[nodiscard]] SoundChoiceModel* sound() { return &sound_; }

    [[nodiscard]] const std::vector<CapturedWindowInfo>& filteredWindows() const { return filteredWindows_; }

    /// Called each time the picker is shown: an empty search, a fresh query, and a selection.
    Q_INVOKABLE void viewWillAppear();

    /// The picker is no longer shown: what was granted meanwhile is given back.
    void viewDidDisappear();

    /// "Refresh List".
    Q_INVOKABLE void refreshWindows();

    Q_INVOKABLE void select(int row);

    /// The pointer went down on a row, or on none (-1).
    Q_INVOKABLE void press(int row);

    /// It went down for the second time in one place. Starts the window that was under it at the first, whatever is listed there now. Where
    /// the first was before the picker had appeared, this is a click like others.
    Q_INVOKABLE void doubleClick();

    /// Selects the next row above (-1) or below (1); the nearest end when nothing visible is selected.
    Q_INVOKABLE void moveSelection(int step);

    /// "Start Clipping This Window". A window that the user has to grant first is requested in the desktop's own dialog; the picker stays
    /// open meanwhile, and also if that is cancelled.
    Q_INVOKABLE void start();

    /// "Cancel", and "Back" in the second step.
    Q_INVOKABLE void cancel();

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    /// The symbol for an application of this name.
    [[nodiscard]] static QString symbolName(const QString& appName);

    /// Why a window that is not on the screen cannot be recorded, or stands still in a clip if it is the one that is captured.
    [[nodiscard]] static QString absenceText(const WindowAbsence& absence, bool isActive);

    /// "1280 × 720 pt"; fractions are dropped.
    [[nodiscard]] static QString sizeText(const Rect& frame);

signals:
    void contentChanged();
    void searchTextChanged();
    void selectionChanged();
    void selectionCaptionChanged();
    void isChoosingSoundChanged();

    /// The picker is on the screen again.
    void appeared();

    /// The picker is to be closed.
    void dismissed();

private:
    [[nodiscard]] bool isActive(const CapturedWindowInfo& window) const;
    void setSelectedID(std::optional<std::uint32_t> id);
    void filter();
    void takeWindows();
    void takeIcon(std::uint32_t id, const platform::ApplicationIcon& icon);
    void askForSound(const CapturedWindowInfo& window, int request);
    void abandonRequest();
    void capture(const CapturedWindowInfo& window);
    void report(const Error& error);

    std::shared_ptr<WindowSelectionService> windowService_;
    CaptureCoordinator& coordinator_;
    QString searchText_;
    std::optional<std::uint32_t> selectedID_;
    RowClicks<std::uint32_t> clicks_;
    bool isSelectionInSight_ = true;
    std::map<std::uint32_t, QImage> icons_;  ///< of the windows that are listed, while the picker is shown
    std::vector<CapturedWindowInfo> filteredWindows_;
    SoundChoiceModel sound_;
    std::optional<CapturedWindowInfo> granted_;  ///< whose sound is being chosen
    bool isStarting_ = false;  ///< a capture has been asked for; it is not the picker's to end
    int request_ = 0;  ///< the last one; earlier ones are abandoned
    const SelfReference<WindowPickerModel> self_{*this};
};

}  // namespace velmora
