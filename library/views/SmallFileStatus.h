// What a window shows of a copy that is made to fit.
#pragma once

#include "library/views/SmallFiles.h"

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

#include <functional>
#include <memory>
#include <optional>

namespace velmora {

/// Main thread only.
class SmallFileStatus final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(bool isShown READ isShown NOTIFY changed)
    Q_PROPERTY(QString text READ text NOTIFY changed)
    Q_PROPERTY(QString action READ action NOTIFY changed)

public:
    /// Asked for the clip whose copy is shown; none: nothing is.
    using Clip = std::function<std::optional<std::filesystem::path>()>;

    /// Without `files` nothing is ever shown.
    SmallFileStatus(std::shared_ptr<SmallFiles> files, Clip clip, QObject* parent = nullptr);

    [[nodiscard]] bool isShown() const { return status_.has_value(); }
    [[nodiscard]] QString text() const;

    /// What the button does: cancel, or take note.
    [[nodiscard]] QString action() const;
    Q_INVOKABLE void act();

    /// Another clip may be the one.
    void update();

signals:
    void changed();

private:
    const std::shared_ptr<SmallFiles> files_;
    const Clip clip_;
    std::optional<SmallFiles::Status> status_;
};

}  // namespace velmora
