// Alerts as windows.
#pragma once

#include "app/ApplicationWindows.h"
#include "platform/WindowActivation.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQmlIntegration>

#include <memory>

namespace velmora {

/// What an alert's view is bound to.
class AlertModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QString messageText READ messageText CONSTANT)
    Q_PROPERTY(QString informativeText READ informativeText CONSTANT)
    Q_PROPERTY(QStringList buttons READ buttons CONSTANT)
    Q_PROPERTY(bool isWarning READ isWarning CONSTANT)

public:
    explicit AlertModel(const Alert& alert);

    [[nodiscard]] const QString& messageText() const { return messageText_; }
    [[nodiscard]] const QString& informativeText() const { return informativeText_; }
    [[nodiscard]] const QStringList& buttons() const { return buttons_; }
    [[nodiscard]] bool isWarning() const { return isWarning_; }

    Q_INVOKABLE void press(int button) { emit pressed(button); }

signals:
    void pressed(int button);

private:
    const QString messageText_;
    const QString informativeText_;
    QStringList buttons_;
    const bool isWarning_;
};

/// One at a time, above other windows. Capture, tray and shortcut go on meanwhile.
std::shared_ptr<AlertPresenter> makeAlertWindows(std::shared_ptr<platform::WindowActivation> activation);

}  // namespace velmora
