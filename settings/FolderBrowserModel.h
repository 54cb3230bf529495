// Our own dialog for choosing a folder, for desktops that have none: what it shows and does.
#pragma once

#include "platform/FileManager.h"
#include "platform/FolderChooser.h"

#include <QAbstractListModel>
#include <QString>
#include <QtQmlIntegration>

#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace velmora {

/// The folders inside one folder, a row each, and the way to others. Hidden ones are not listed, but can be typed. Remembers nothing beyond
/// its own life. Main thread only.
class FolderBrowserModel final : public QAbstractListModel {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QString prompt READ prompt CONSTANT)
    Q_PROPERTY(QString path READ path NOTIFY directoryChanged)
    Q_PROPERTY(bool hasParent READ hasParent NOTIFY directoryChanged)
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY directoryChanged)
    Q_PROPERTY(int selectedRow READ selectedRow NOTIFY selectionChanged)
    Q_PROPERTY(QString choice READ choice NOTIFY selectionChanged)
    Q_PROPERTY(bool isNamingFolder READ isNamingFolder NOTIFY isNamingFolderChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)

public:
    enum Role { Name = Qt::UserRole };

    /// Begins in the panel's folder, or in the nearest readable one above it.
    FolderBrowserModel(std::shared_ptr<platform::FileManager> fileManager, const platform::FolderPanel& panel);

    /// The caption of the button that chooses.
    [[nodiscard]] const QString& prompt() const { return prompt_; }

    /// The folder whose folders are listed.
    [[nodiscard]] QString path() const;
    [[nodiscard]] bool hasParent() const { return directory_.has_relative_path(); }
    [[nodiscard]] bool isEmpty() const { return folders_.empty(); }

    /// -1: the listed folder itself would be chosen.
    [[nodiscard]] int selectedRow() const { return selectedRow_; }

    /// What would be chosen now.
    [[nodiscard]] QString choice() const;

    /// A name for a new folder is being asked for.
    [[nodiscard]] bool isNamingFolder() const { return isNamingFolder_; }

    /// Why the last request failed; empty when it did not.
    [[nodiscard]] const QString& errorMessage() const { return errorMessage_; }

    /// Goes to a folder as it is typed: absolute, from the home folder with "~", else from the listed one.
    Q_INVOKABLE void goTo(const QString& typedPath);
    Q_INVOKABLE void goUp();

    Q_INVOKABLE void select(int row);

    /// Selects the next row above (-1) or below (1); the nearest end when none is selected.
    Q_INVOKABLE void moveSelection(int step);

    /// Enters the folder of a row; does nothing for -1.
    Q_INVOKABLE void open(int row);

    /// "New Folder".
    Q_INVOKABLE void beginNamingFolder();

    /// Makes and selects a folder in the listed one.
    Q_INVOKABLE void createFolder(const QString& name);

    /// Chooses.
    Q_INVOKABLE void choose();

    /// "Cancel": the naming of a new folder while that is going on, else everything.
    Q_INVOKABLE void cancel();

    /// The answer, once finished() is emitted; none when it was cancelled.
    [[nodiscard]] const std::optional<std::filesystem::path>& result() const { return result_; }

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

signals:
    void directoryChanged();
    void selectionChanged();
    void isNamingFolderChanged();
    void errorMessageChanged();
    void finished();

private:
    /// False, with a message, when the folder cannot be read: then everything stays as it was.
    bool enter(const std::filesystem::path& directory);
    [[nodiscard]] std::filesystem::path chosenFolder() const;
    void selectNamed(const std::filesystem::path& name);
    void setNamingFolder(bool isNaming);
    void setErrorMessage(const QString& message);

    const std::shared_ptr<platform::FileManager> fileManager_;
    const QString prompt_;
    std::filesystem::path directory_ = "/";
    std::vector<std::filesystem::path> folders_;  // names
    int selectedRow_ = -1;
    bool isNamingFolder_ = false;
    QString errorMessage_;
    std::optional<std::filesystem::path> result_;
};

}  // namespace velmora
