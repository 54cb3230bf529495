// What the clips window shows and does.
#pragma once

#include "base/SelfReference.h"
#include "brand/RowClicks.h"
#include "library/ClipFolder.h"
#include "library/ClipLibrary.h"
#include "library/ClipSelection.h"
#include "library/views/ClipLines.h"
#include "library/views/ShownClips.h"
#include "library/views/SmallFileStatus.h"
#include "platform/Clock.h"

#include <QAbstractListModel>
#include <QPoint>
#include <QString>
#include <QtQmlIntegration>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

/// The clips that match the search, newest first, in lines of as many as fit beside each other; a day begins a line of its own. Clips are
/// counted from 0 through all lines. Main thread only.
class ClipsModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(int columns READ columns WRITE setColumns NOTIFY columnsChanged)
    Q_PROPERTY(double pictureSide READ pictureSide WRITE setPictureSide)
    Q_PROPERTY(int currentNumber READ currentNumber NOTIFY selectionChanged)
    Q_PROPERTY(bool isReading READ isReading NOTIFY clipsChanged)
    Q_PROPERTY(bool hasClips READ hasClips NOTIFY clipsChanged)
    Q_PROPERTY(QString emptySymbol READ emptySymbol NOTIFY clipsChanged)
    Q_PROPERTY(QString emptyTitle READ emptyTitle NOTIFY clipsChanged)
    Q_PROPERTY(QString emptyText READ emptyText NOTIFY clipsChanged)
    Q_PROPERTY(QString statusText READ statusText NOTIFY statusChanged)
    Q_PROPERTY(bool canUndo READ canUndo NOTIFY statusChanged)
    Q_PROPERTY(bool canOpen READ canOpen NOTIFY statusChanged)
    Q_PROPERTY(bool canShare READ canOpen NOTIFY statusChanged)
    Q_PROPERTY(bool canReveal READ canReveal NOTIFY statusChanged)
    Q_PROPERTY(bool canRename READ canRename NOTIFY statusChanged)
    Q_PROPERTY(bool canTrash READ canTrash NOTIFY statusChanged)
    Q_PROPERTY(QString revealRemark READ revealRemark CONSTANT)
    Q_PROPERTY(velmora::SmallFileStatus* smallFile READ smallFile CONSTANT)

public:
    /// A line's heading is the day that begins with it, else empty.
    enum Role { Heading = Qt::UserRole, First, Count };

    struct Services {
        ClipLibrary& library;
        ClipFolder::Services folder;
        std::shared_ptr<platform::Thumbnails> thumbnails;
        std::shared_ptr<platform::Clock> clock;
        std::function<void(const std::filesystem::path&)> open;
        std::function<void(const std::filesystem::path&, const QPoint&)> share;  ///< opens the share menu there, in points of the screen
        std::function<void(const std::filesystem::path&)> copy;  ///< to the clipboard
        std::function<void(const std::vector<std::filesystem::path>&)> reveal;
        std::function<void(std::vector<std::filesystem::path>)> drag;  ///< out of the window, while the pointer's button is held
        std::function<std::string()> fileBrowserName = {};  ///< what people call it here; empty where that is not known
        std::shared_ptr<SmallFiles> smallFiles = {};  ///< null: there are none
    };

    explicit ClipsModel(Services services, QObject* parent = nullptr);
    ~ClipsModel() override;

    /// The window is shown, and is no longer.
    void viewWillAppear();
    void viewDidDisappear();

    /// Something may have happened to the folder.
    void reload() { folder_.reload(); }
    [[nodiscard]] const std::filesystem::path& folder() const { return folder_.folder(); }

    [[nodiscard]] const QString& searchText() const { return searchText_; }
    void setSearchText(const QString& text);
    [[nodiscard]] int columns() const { return columns_; }
    void setColumns(int columns);

    /// How many pixels the longer side of a picture takes on the screen.
    [[nodiscard]] double pictureSide() const { return pictureSide_; }
    void setPictureSide(double pixels);

    /// The clip that the keyboard is at; -1 when it is at none.
    [[nodiscard]] int currentNumber() const { return static_cast<int>(selection_.current().value_or(static_cast<std::size_t>(-1))); }

    /// Exactly one of these two is true, or there is an empty title.
    [[nodiscard]] bool isReading() const { return folder_.condition() == ClipFolder::Condition::unread; }
    [[nodiscard]] bool hasClips() const { return !shown_.empty(); }
    [[nodiscard]] QString emptySymbol() const;
    [[nodiscard]] QString emptyTitle() const;
    [[nodiscard]] QString emptyText() const;

    /// What was done last, else what is selected, else what cannot be done here, else how many clips there are.
    [[nodiscard]] QString statusText() const;
    [[nodiscard]] bool canUndo() const { return !undoable_.empty() && !isMoving_; }
    [[nodiscard]] bool canOpen() const { return selection_.count() == 1; }
    [[nodiscard]] bool canReveal() const { return selection_.count() > 0; }
    [[nodiscard]] bool canRename() const { return canOpen() && folder_.isWritable() && !isMoving_; }
    [[nodiscard]] bool canTrash() const { return canReveal() && folder_.isWritable() && !isMoving_; }
    [[nodiscard]] QString revealRemark() const;

    /// Of the clip that was asked for last.
    [[nodiscard]] SmallFileStatus* smallFile() { return &smallFile_; }

    /// A press of the pointer on a clip, with Qt::KeyboardModifiers.
    Q_INVOKABLE void click(int number, int modifiers);

    /// The pointer went down on a clip.
    Q_INVOKABLE void press(int number);

    /// It went down for the second time in one place. Opens the clip that was under it at the first, whatever is there now.
    Q_INVOKABLE void doubleClick();

    /// The pointer drags a clip: all that are selected if it is one of these, else it alone, which is selected then.
    Q_INVOKABLE void drag(int number);

    /// A key of the list, with Qt::KeyboardModifiers and the character that it gives; false where it is not one of the list's.
    Q_INVOKABLE bool pressKey(int key, int modifiers, const QString& text, int linesOfPage);

    /// The keyboard comes into the list.
    Q_INVOKABLE void enterList();

    Q_INVOKABLE void open();
    Q_INVOKABLE void share(double x, double y);
    Q_INVOKABLE void copy();
    Q_INVOKABLE void reveal();
    Q_INVOKABLE void moveToTrash();
    Q_INVOKABLE void undo();

    /// The one that is selected is renamed where it stands. A name that is not taken leaves it so, and says why.
    Q_INVOKABLE void beginRenaming();
    Q_INVOKABLE void finishRenaming(const QString& name);
    /// The same, but then it is no longer renamed in any case.
    Q_INVOKABLE void leaveRenaming(const QString& name);
    Q_INVOKABLE void cancelRenaming();

    /// Takes back what narrows the list or is selected, one at a time; at last closes the window.
    Q_INVOKABLE void escape();
    Q_INVOKABLE void close() { emit dismissed(); }

    /// Of each clip. Null beyond the last.
    [[nodiscard]] FolderClipRef clip(int number) const;
    [[nodiscard]] bool isSelected(const FolderClip& clip) const { return selection_.contains(clip); }
    [[nodiscard]] bool isCurrent(int number) const { return number >= 0 && number == currentNumber(); }
    [[nodiscard]] bool isRenaming(const FolderClipRef& clip) const { return renamed_ == clip; }
    [[nodiscard]] ShownClips& shownClips() { return shownClips_; }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

signals:
    void searchTextChanged();
    void columnsChanged();
    void clipsWillChange();
    void clipsChanged();
    void selectionChanged();
    void statusChanged();
    void renamingChanged();
    void renamingEnded();
    void lengthLoaded(const velmora::FolderClipRef& clip);

    /// The keyboard is at a clip of that line, which is to be seen.
    void currentMoved(int line);

    /// Somebody types in the list: the search goes on with the text.
    void searchBegan(const QString& text);

    /// The window is on the screen again.
    void appeared();

    /// The window is to be closed.
    void dismissed();

private:
    using Step = std::vector<platform::TrashedFile>;  ///< what one undoing puts back

    void update(bool startsAnew = false);
    void apply(std::vector<ClipLine> lines);
    [[nodiscard]] QString countText() const;
    [[nodiscard]] int lineOf(std::size_t number) const;
    [[nodiscard]] std::optional<std::size_t> destination(int key, int linesOfPage) const;
    void move(std::size_t number, int modifiers);
    void selectionHasChanged(bool moves);
    [[nodiscard]] std::vector<std::filesystem::path> selectedFiles() const;
    void say(const QString& message);
    void rename(const QString& name, bool staysAtFailure);
    void endRenaming();
    void take(const ClipFolder::Outcome<platform::TrashedFile>& outcome);
    void takeBack(const ClipFolder::Outcome<std::filesystem::path>& outcome, const Step& step);
    void awaitMidnight();

    const Services services_;
    ClipFolder folder_;
    ShownClips shownClips_;
    SmallFileStatus smallFile_;
    std::vector<FolderClipRef> shown_;
    std::vector<ClipLine> lines_;
    ClipSelection selection_;
    RowClicks<std::filesystem::path> clicks_;
    QString searchText_;
    int columns_ = 3;
    double pictureSide_ = 0;
    QString message_;
    FolderClipRef renamed_;
    bool isMoving_ = false;
    std::vector<Step> undoable_;
    std::vector<std::filesystem::path> awaited_;  ///< what was put back, to be selected once it is listed
    std::unique_ptr<platform::Timer> midnight_;

    // Gone with the model, so that a late result finds nobody.
    const SelfReference<ClipsModel> self_{*this};
};

}  // namespace velmora
