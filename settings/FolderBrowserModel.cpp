#include "settings/FolderBrowserModel.h"

#include <QCollator>
#include <QLocale>

#include <algorithm>
#include <iterator>
#include <utility>

namespace velmora {

namespace {

QString text(const std::filesystem::path& path)
{
    return QString::fromStdString(path.string());
}

/// Absolute, without "." and "..", without a slash at its end.
std::filesystem::path plain(const std::filesystem::path& path)
{
    const auto normal = path.lexically_normal();
    return normal.has_filename() || !normal.has_relative_path() ? normal : normal.parent_path();
}

QCollator nameOrder()
{
    const QLocale locale;
    QCollator order{locale.language() == QLocale::C ? QLocale{QLocale::English} : locale};
    order.setCaseSensitivity(Qt::CaseInsensitive);
    order.setNumericMode(true);
    return order;
}

}  // namespace

FolderBrowserModel::FolderBrowserModel(std::shared_ptr<platform::FileManager> fileManager, const platform::FolderPanel& panel)
    : fileManager_(std::move(fileManager))
    , prompt_(QString::fromStdString(panel.prompt))
{
    auto start = panel.directory.is_absolute() ? plain(panel.directory) : fileManager_->homeDirectory();
    while (!enter(start) && start.has_relative_path())
        start = start.parent_path();
    setErrorMessage({});
}

QString FolderBrowserModel::path() const
{
    return text(directory_);
}

std::filesystem::path FolderBrowserModel::chosenFolder() const
{
    return selectedRow_ < 0 ? directory_ : directory_ / folders_[static_cast<std::size_t>(selectedRow_)];
}

QString FolderBrowserModel::choice() const
{
    return text(chosenFolder());
}

void FolderBrowserModel::goTo(const QString& typedPath)
{
    // The folder's own bytes, which the text may not be able to express.
    if (typedPath == path()) {
        enter(directory_);
        return;
    }
    std::filesystem::path typed = typedPath.toStdString();
    if (typed.empty())
        return;
    if (*typed.begin() == "~") {
        auto inHome = fileManager_->homeDirectory();
        for (auto part = std::next(typed.begin()); part != typed.end(); ++part)
            inHome /= *part;
        typed = std::move(inHome);
    }
    enter(plain(directory_ / typed));
}

void FolderBrowserModel::goUp()
{
    const auto name = directory_.filename();
    if (hasParent() && enter(directory_.parent_path()))
        selectNamed(name);
}

void FolderBrowserModel::select(int row)
{
    if (row < -1 || row >= rowCount() || row == selectedRow_)
        return;
    selectedRow_ = row;
    emit selectionChanged();
}

void FolderBrowserModel::moveSelection(int step)
{
    if (folders_.empty())
        return;
    const int last = rowCount() - 1;
    select(selectedRow_ < 0 ? (step > 0 ? 0 : last) : std::clamp(selectedRow_ + step, 0, last));
}

void FolderBrowserModel::open(int row)
{
    if (row >= 0 && row < rowCount())
        enter(directory_ / folders_[static_cast<std::size_t>(row)]);
}

void FolderBrowserModel::beginNamingFolder()
{
    setErrorMessage({});
    setNamingFolder(true);
}

void FolderBrowserModel::createFolder(const QString& name)
{
    const std::filesystem::path folder = name.toStdString();
    if (name.isEmpty())
        return setErrorMessage(QStringLiteral("A folder needs a name."));
    if (name.contains(u'/'))
        return setErrorMessage(QStringLiteral("The name of a folder cannot contain “/”."));
    if (fileManager_->fileExists(directory_ / folder))
        return setErrorMessage(QStringLiteral("There is already something with the name “%1”.").arg(name));
    if (const auto created = fileManager_->createDirectory(directory_ / folder); !created)
        return setErrorMessage(QString::fromStdString(created.error().localizedDescription));
    setNamingFolder(false);
    if (enter(directory_))
        selectNamed(folder);
}

void FolderBrowserModel::choose()
{
    result_ = chosenFolder();
    emit finished();
}

void FolderBrowserModel::cancel()
{
    if (isNamingFolder_) {
        setErrorMessage({});
        return setNamingFolder(false);
    }
    emit finished();
}

int FolderBrowserModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(folders_.size());
}

QVariant FolderBrowserModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid) || (role != Name && role != Qt::DisplayRole))
        return {};
    return text(folders_[static_cast<std::size_t>(index.row())]);
}

QHash<int, QByteArray> FolderBrowserModel::roleNames() const
{
    return {{Name, "name"}};
}

bool FolderBrowserModel::enter(const std::filesystem::path& directory)
{
    const auto contents = fileManager_->contentsOfDirectory(directory, true);
    if (!contents) {
        setErrorMessage(QString::fromStdString(contents.error().localizedDescription));
        return false;
    }
    std::vector<std::filesystem::path> names;
    for (const auto& entry : *contents) {
        bool isDirectory = false;
        if (fileManager_->fileExists(entry, &isDirectory) && isDirectory)
            names.push_back(entry.filename());
    }
    const auto order = nameOrder();
    std::sort(names.begin(), names.end(), [&](const auto& a, const auto& b) { return order.compare(text(a), text(b)) < 0; });

    beginResetModel();
    directory_ = directory;
    folders_ = std::move(names);
    selectedRow_ = -1;
    endResetModel();
    setErrorMessage({});
    emit directoryChanged();
    emit selectionChanged();
    return true;
}

void FolderBrowserModel::selectNamed(const std::filesystem::path& name)
{
    const auto row = std::find(folders_.begin(), folders_.end(), name);
    if (row != folders_.end())
        select(static_cast<int>(std::distance(folders_.begin(), row)));
}

void FolderBrowserModel::setNamingFolder(bool isNaming)
{
    if (isNamingFolder_ == isNaming)
        return;
    isNamingFolder_ = isNaming;
    emit isNamingFolderChanged();
}

void FolderBrowserModel::setErrorMessage(const QString& message)
{
    if (errorMessage_ == message)
        return;
    errorMessage_ = message;
    emit errorMessageChanged();
}

}  // namespace velmora
