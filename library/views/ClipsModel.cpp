#include "library/views/ClipsModel.h"

#include "brand/ShownText.h"
#include "library/ClipFormat.h"
#include "library/ClipName.h"
#include "library/views/ClipDays.h"
#include "library/views/ClipsMessages.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <chrono>
#include <iterator>
#include <utility>

namespace velmora {

using clips_messages::counted;
using clips_messages::quoted;
using clips_messages::reason;

namespace {

/// Pictures are kept in sizes that are powers of two; a window that is resized does not need another with every step.
constexpr int smallestPicture = 128;
constexpr int largestPicture = 1024;
constexpr std::size_t mostSteps = 20;

Qt::KeyboardModifiers keyboardModifiers(int flags)
{
    return Qt::KeyboardModifiers{static_cast<Qt::KeyboardModifiers::Int>(flags)};
}

}  // namespace

ClipsModel::ClipsModel(Services services, QObject* parent)
    : QAbstractListModel(parent)
    , services_(std::move(services))
    , folder_(services_.folder)
    , shownClips_(folder_, services_.thumbnails, services_.folder.mainExecutor)
    , smallFile_(services_.smallFiles, [this] { return services_.smallFiles->newest(); })
{
    connect(&folder_, &ClipFolder::changed, this, [this] { update(); });
    connect(&folder_, &ClipFolder::durationLoaded, this, &ClipsModel::lengthLoaded);
    connect(&services_.library, &ClipLibrary::customOutputDirectoryChanged, this,
        [this] { folder_.setFolder(services_.library.effectiveOutputDirectory()); });
    folder_.setFolder(services_.library.effectiveOutputDirectory());
}

ClipsModel::~ClipsModel() = default;

void ClipsModel::viewWillAppear()
{
    folder_.setFolder(services_.library.effectiveOutputDirectory());
    folder_.reload();
    awaitMidnight();
    emit appeared();
}

void ClipsModel::viewDidDisappear()
{
    midnight_.reset();
    cancelRenaming();
    shownClips_.forgetHidden();
}

void ClipsModel::awaitMidnight()
{
    const auto now = services_.clock->now();
    const auto next = localTime(now).date().addDays(1).startOfDay().toMSecsSinceEpoch();
    const auto delay = std::chrono::milliseconds{next} - now.time_since_epoch();
    midnight_ = services_.clock->schedule(delay, [this] {
        awaitMidnight();
        update();
    });
}

void ClipsModel::setSearchText(const QString& text)
{
    if (text == searchText_)
        return;
    searchText_ = text;
    emit searchTextChanged();
    update(true);
}

void ClipsModel::setColumns(int columns)
{
    columns = std::max(1, columns);
    if (columns == columns_)
        return;
    columns_ = columns;
    emit columnsChanged();
    update();
}

void ClipsModel::setPictureSide(double pixels)
{
    pictureSide_ = pixels;
    const auto side = static_cast<unsigned>(std::clamp(pixels, 1.0, static_cast<double>(largestPicture)));
    shownClips_.setSide(std::max(smallestPicture, static_cast<int>(std::bit_ceil(side))));
}

QString ClipsModel::countText() const
{
    const auto all = folder_.clips().size();
    if (shown_.size() == all)
        return all == 0 ? QString{} : counted(all);
    return QStringLiteral("%L1 of %2").arg(shown_.size()).arg(counted(all));
}

QString ClipsModel::emptySymbol() const
{
    if (!folder_.clips().empty())
        return QStringLiteral("magnifyingglass");
    return folder_.condition() == ClipFolder::Condition::readable ? QStringLiteral("play.rectangle.fill")
                                                                  : QStringLiteral("exclamationmark.triangle.fill");
}

QString ClipsModel::emptyTitle() const
{
    if (hasClips() || isReading())
        return {};
    switch (folder_.condition()) {
    case ClipFolder::Condition::gone:
        return QStringLiteral("The clips folder is not there.");
    case ClipFolder::Condition::unreadable:
        return QStringLiteral("The clips folder cannot be read.");
    default:
        return folder_.clips().empty() ? QStringLiteral("No clips yet.") : QStringLiteral("No clip fits the search.");
    }
}

QString ClipsModel::emptyText() const
{
    if (hasClips() || isReading())
        return {};
    switch (folder_.condition()) {
    case ClipFolder::Condition::gone:
        return oneLine(QString::fromStdString(folder_.folder().native())) + QStringLiteral("\nIt is made again with the next clip.");
    case ClipFolder::Condition::unreadable:
        return paragraphs(QString::fromStdString(folder_.error()));
    default:
        return folder_.clips().empty() ? QStringLiteral("What you record appears here as soon as it is saved.")
                                       : QStringLiteral("It looks for each word in names and days.");
    }
}

QString ClipsModel::statusText() const
{
    if (!message_.isEmpty())
        return message_;
    if (selection_.count() > 1) {
        std::int64_t bytes = 0;
        for (const auto& clip : selection_.in(shown_))
            bytes += clip->fileSize;
        return QStringLiteral("%1 selected, %2").arg(counted(selection_.count()), QString::fromStdString(formattedFileSize(bytes)));
    }
    if (folder_.condition() == ClipFolder::Condition::readable && !folder_.isWritable())
        return QStringLiteral("This folder is read-only: its clips can neither be renamed nor moved to the trash.");
    return countText();
}

QString ClipsModel::revealRemark() const
{
    const auto name = services_.fileBrowserName ? oneLine(QString::fromStdString(services_.fileBrowserName())) : QString{};
    return QStringLiteral("Show in ") + (name.isEmpty() ? QStringLiteral("the file manager") : name);
}

FolderClipRef ClipsModel::clip(int number) const
{
    const auto index = static_cast<std::size_t>(number);
    return number >= 0 && index < shown_.size() ? shown_[index] : nullptr;
}

void ClipsModel::say(const QString& message)
{
    message_ = message;
    emit statusChanged();
}

// Pointer and keyboard.

void ClipsModel::click(int number, int modifiers)
{
    if (!clip(number))
        return;
    const auto index = static_cast<std::size_t>(number);
    const auto held = keyboardModifiers(modifiers);
    const bool adds = held.testFlag(Qt::ControlModifier);
    if (held.testFlag(Qt::ShiftModifier))
        selection_.extendTo(shown_, index, adds);
    else if (adds)
        selection_.toggle(shown_, index);
    else
        selection_.select(shown_, index);
    selectionHasChanged(true);
}

void ClipsModel::press(int number)
{
    const auto pressed = clip(number);
    clicks_.press(pressed ? std::optional{pressed->file} : std::nullopt);
}

void ClipsModel::doubleClick()
{
    const auto& file = clicks_.doubleClicked();
    if (file && std::any_of(shown_.begin(), shown_.end(), [&file](const auto& each) { return each->file == *file; }))
        services_.open(*file);
}

void ClipsModel::drag(int number)
{
    const auto taken = clip(number);
    if (!taken)
        return;
    if (!isSelected(*taken))
        click(number, Qt::NoModifier);
    services_.drag(selectedFiles());
}

bool ClipsModel::pressKey(int key, int modifiers, const QString& text, int linesOfPage)
{
    const auto held = keyboardModifiers(modifiers);
    const bool withControl = held.testFlag(Qt::ControlModifier);
    const bool isPlain = !(held & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
    // What a name has no use for is not for the list either.
    if (renamed_)
        return key != Qt::Key_Tab && key != Qt::Key_Backtab;
    if (const auto number = destination(key, linesOfPage)) {
        move(*number, modifiers);
        return true;
    }
    switch (key) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        open();
        return true;
    case Qt::Key_F2:
        beginRenaming();
        return true;
    case Qt::Key_Delete:
        if (isPlain)
            moveToTrash();
        return isPlain;
    case Qt::Key_Space:
        if (!selection_.current())
            return true;
        if (withControl)
            selection_.toggle(shown_, *selection_.current());
        else
            selection_.select(shown_, *selection_.current());
        selectionHasChanged(false);
        return true;
    case Qt::Key_A:
        if (!withControl)
            break;
        selection_.selectAll(shown_);
        selectionHasChanged(false);
        return true;
    case Qt::Key_C:
        if (!withControl)
            break;
        copy();
        return true;
    default:
        break;
    }
    if (!isPlain || text.isEmpty() || !text.front().isPrint())
        return false;
    emit searchBegan(searchText_ + text);
    return true;
}

void ClipsModel::enterList()
{
    if (shown_.empty())
        return;
    move(selection_.current().value_or(0), 0);
}

int ClipsModel::lineOf(std::size_t number) const
{
    const auto next = std::upper_bound(
        lines_.begin(), lines_.end(), static_cast<int>(number), [](int value, const ClipLine& line) { return value < line.first; });
    return static_cast<int>(next - lines_.begin()) - 1;
}

/// None where the key goes nowhere.
std::optional<std::size_t> ClipsModel::destination(int key, int linesOfPage) const
{
    const auto isOne = [key](auto... keys) { return ((key == keys) || ...); };
    if (shown_.empty()
        || !isOne(Qt::Key_Left, Qt::Key_Right, Qt::Key_Up, Qt::Key_Down, Qt::Key_Home, Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown))
        return std::nullopt;
    const auto last = shown_.size() - 1;
    if (key == Qt::Key_Home || (!selection_.current() && key != Qt::Key_End))
        return 0;
    if (key == Qt::Key_End)
        return last;
    const auto current = *selection_.current();
    if (key == Qt::Key_Left)
        return current == 0 ? 0 : current - 1;
    if (key == Qt::Key_Right)
        return std::min(current + 1, last);
    const int step = isOne(Qt::Key_PageUp, Qt::Key_PageDown) ? std::max(1, linesOfPage) : 1;
    const int here = lineOf(current);
    const int there = std::clamp(here + (isOne(Qt::Key_Up, Qt::Key_PageUp) ? -step : step), 0, static_cast<int>(lines_.size()) - 1);
    if (there == here)
        return current;
    const auto& line = lines_[static_cast<std::size_t>(there)];
    const auto column = static_cast<int>(current) - lines_[static_cast<std::size_t>(here)].first;
    return static_cast<std::size_t>(line.first + std::min(column, static_cast<int>(line.clips.size()) - 1));
}

void ClipsModel::move(std::size_t number, int modifiers)
{
    const auto held = keyboardModifiers(modifiers);
    const bool withControl = held.testFlag(Qt::ControlModifier);
    if (held.testFlag(Qt::ShiftModifier))
        selection_.extendTo(shown_, number, withControl);
    else if (withControl)
        selection_.moveTo(shown_, number);
    else
        selection_.select(shown_, number);
    selectionHasChanged(true);
}

void ClipsModel::selectionHasChanged(bool moves)
{
    message_.clear();
    emit selectionChanged();
    emit statusChanged();
    if (moves && selection_.current())
        emit currentMoved(lineOf(*selection_.current()));
}

void ClipsModel::escape()
{
    if (renamed_)
        return cancelRenaming();
    if (!searchText_.isEmpty()) {
        emit searchBegan({});
        return;
    }
    if (selection_.count() > 1) {
        selection_.select(shown_, *selection_.current());
        return selectionHasChanged(false);
    }
    emit dismissed();
}

// What is done with clips.

void ClipsModel::open()
{
    if (canOpen())
        services_.open(selection_.in(shown_).front()->file);
}

void ClipsModel::share(double x, double y)
{
    if (canOpen())
        services_.share(selection_.in(shown_).front()->file, QPoint{qRound(x), qRound(y)});
}

void ClipsModel::copy()
{
    if (!canOpen())
        return;
    const auto& file = selection_.in(shown_).front()->file;
    services_.copy(file);
    say(quoted(file) + QStringLiteral(" is on the clipboard."));
}

void ClipsModel::reveal()
{
    if (canReveal())
        services_.reveal(selectedFiles());
}

std::vector<std::filesystem::path> ClipsModel::selectedFiles() const
{
    std::vector<std::filesystem::path> files;
    for (const auto& clip : selection_.in(shown_))
        files.push_back(clip->file);
    return files;
}

void ClipsModel::beginRenaming()
{
    if (!canRename())
        return;
    renamed_ = selection_.in(shown_).front();
    message_.clear();
    emit currentMoved(lineOf(*selection_.current()));
    emit renamingChanged();
    emit statusChanged();
}

void ClipsModel::finishRenaming(const QString& name)
{
    rename(name, true);
}

void ClipsModel::leaveRenaming(const QString& name)
{
    rename(name, false);
    endRenaming();
}

void ClipsModel::cancelRenaming()
{
    if (!renamed_)
        return;
    message_.clear();
    endRenaming();
    emit statusChanged();
}

void ClipsModel::endRenaming()
{
    if (!std::exchange(renamed_, nullptr))
        return;
    emit renamingChanged();
    emit renamingEnded();
}

void ClipsModel::rename(const QString& name, bool staysAtFailure)
{
    if (!renamed_ || isMoving_)
        return;
    const auto wanted = renamedFile(renamed_->filename(), name);
    if (!wanted)
        return say(QString::fromStdString(wanted.error().localizedDescription));
    if (*wanted == renamed_->filename())
        return endRenaming();
    isMoving_ = true;
    say({});
    folder_.rename(renamed_, *wanted, [this, clip = renamed_, wanted = *wanted, staysAtFailure](Result<FolderClipRef> renamed) {
        isMoving_ = false;
        if (!renamed) {
            if (!staysAtFailure || renamed.error().code == ENOENT)
                endRenaming();
            return say(renamed.error().code == EEXIST
                    ? QStringLiteral("Something called %1 is already there.").arg(quoted(std::filesystem::path{wanted}))
                    : QStringLiteral("%1 could not be renamed: %2").arg(quoted(clip->file), reason(renamed.error())));
        }
        selection_.rename(clip->file, (*renamed)->file);
        shownClips_.replace(clip, *renamed);
        endRenaming();
        say(QStringLiteral("Its name is %1 now.").arg(quoted((*renamed)->file)));
    });
}

void ClipsModel::moveToTrash()
{
    if (!canTrash())
        return;
    endRenaming();
    const auto clips = selection_.in(shown_);
    isMoving_ = true;
    say(clips.size() > 1 ? QStringLiteral("Moving %1 to the trash...").arg(counted(clips.size())) : QString{});
    folder_.moveToTrash(clips, [this](const auto& outcome) { take(outcome); });
}

void ClipsModel::take(const ClipFolder::Outcome<platform::TrashedFile>& outcome)
{
    isMoving_ = false;
    if (!outcome.moved.empty()) {
        undoable_.push_back(outcome.moved);
        if (undoable_.size() > mostSteps)
            undoable_.erase(undoable_.begin());
    }
    say(clips_messages::trashed(outcome));
}

void ClipsModel::undo()
{
    if (!canUndo())
        return;
    isMoving_ = true;
    auto step = std::move(undoable_.back());
    undoable_.pop_back();
    say({});
    folder_.putBack(step, [this, step](const auto& outcome) { takeBack(outcome, step); });
}

void ClipsModel::takeBack(const ClipFolder::Outcome<std::filesystem::path>& outcome, const Step& step)
{
    isMoving_ = false;
    awaited_ = outcome.moved;
    // What is gone for good cannot be tried again.
    Step left;
    for (const auto& [file, error] : outcome.refused) {
        const auto same = std::find_if(step.begin(), step.end(), [&origin = file](const auto& one) { return one.origin == origin; });
        if (same != step.end() && error.code != ENOENT)
            left.push_back(*same);
    }
    if (!left.empty())
        undoable_.push_back(std::move(left));
    say(clips_messages::putBack(outcome, step));
}

// The list.

void ClipsModel::update(bool startsAnew)
{
    emit clipsWillChange();
    auto lines = clipLines(folder_.clips(), searchText_, columns_, localTime(services_.clock->now()).date());
    shown_.clear();
    for (const auto& line : lines)
        shown_.insert(shown_.end(), line.clips.begin(), line.clips.end());
    if (startsAnew) {
        beginResetModel();
        lines_ = std::move(lines);
        endResetModel();
    } else {
        apply(std::move(lines));
    }
    const auto before = selection_.count();
    selection_.follow(shown_);
    if (!awaited_.empty()) {
        selection_.selectFiles(shown_, std::exchange(awaited_, {}));
        if (selection_.current())
            emit currentMoved(lineOf(*selection_.current()));
    }
    if (renamed_ && std::find(shown_.begin(), shown_.end(), renamed_) == shown_.end())
        endRenaming();
    if (selection_.count() < before && !isMoving_ && startsAnew)
        message_.clear();
    emit clipsChanged();
    emit selectionChanged();
    emit statusChanged();
}

/// Lines that stay are left alone, so that whoever looks at them, or has the keyboard there, stays there.
void ClipsModel::apply(std::vector<ClipLine> lines)
{
    const auto areAlike = [](const ClipLine& a, const ClipLine& b) { return a.heading == b.heading && a.clips == b.clips; };
    const auto same = std::mismatch(lines_.begin(), lines_.end(), lines.begin(), lines.end(), areAlike).first - lines_.begin();
    const auto oldEnd = std::make_reverse_iterator(lines_.begin() + same);
    const auto newEnd = std::make_reverse_iterator(lines.begin() + same);
    const auto tail = std::mismatch(lines_.rbegin(), oldEnd, lines.rbegin(), newEnd, areAlike).first - lines_.rbegin();
    const auto before = static_cast<int>(lines_.size() - static_cast<std::size_t>(same + tail));
    const auto after = static_cast<int>(lines.size() - static_cast<std::size_t>(same + tail));
    const auto first = static_cast<int>(same);
    const int kept = std::min(before, after);
    if (before > after) {
        beginRemoveRows({}, first + kept, first + before - 1);
        lines_ = std::move(lines);
        endRemoveRows();
    } else if (after > before) {
        beginInsertRows({}, first + kept, first + after - 1);
        lines_ = std::move(lines);
        endInsertRows();
    } else {
        lines_ = std::move(lines);
    }
    if (kept > 0)
        emit dataChanged(index(first), index(first + kept - 1));
    // Those behind count from another number.
    if (tail > 0 && before + after > 0)
        emit dataChanged(index(rowCount() - static_cast<int>(tail)), index(rowCount() - 1), {First});
}

int ClipsModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(lines_.size());
}

QVariant ClipsModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid))
        return {};
    const auto& line = lines_[static_cast<std::size_t>(index.row())];
    switch (role) {
    case Heading:
    case Qt::DisplayRole:
        return line.heading;
    case First:
        return line.first;
    case Count:
        return static_cast<int>(line.clips.size());
    default:
        return {};
    }
}

QHash<int, QByteArray> ClipsModel::roleNames() const
{
    return {{Heading, "heading"}, {First, "first"}, {Count, "count"}};
}

}  // namespace velmora
