// The panel that says that a clip was saved.
#pragma once

#include "app/ClipSavedNotificationController.h"
#include "platform/SharingServices.h"

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

#include <functional>
#include <memory>

namespace velmora {

/// What the panel's view is bound to.
class ClipSavedHUDModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QString title READ title NOTIFY contentChanged)

public:
    struct Actions {
        std::function<void(const std::filesystem::path&)> preview;
        std::function<void(const std::filesystem::path&, const QPoint&)> share;
        std::function<void(const std::filesystem::path&)> reveal;
    };

    explicit ClipSavedHUDModel(Actions actions);

    [[nodiscard]] QString title() const { return QString::fromStdString(content_.title); }
    void setContent(HudPanel::Content content);

    Q_INVOKABLE void previewAndTrim() { actions_.preview(content_.clip); }

    /// `x`, `y`: where the menu opens, on the screen.
    Q_INVOKABLE void share(double x, double y);
    Q_INVOKABLE void reveal() { actions_.reveal(content_.clip); }
    Q_INVOKABLE void dismiss() { content_.onDismiss(); }

signals:
    void contentChanged();

private:
    const Actions actions_;
    HudPanel::Content content_;
};

/// 340 x 110 points, on every workspace, above full-screen windows, never with the focus.
std::unique_ptr<HudPanel> makeHudPanelWindow(ClipSavedHUDModel::Actions actions);

}  // namespace velmora
