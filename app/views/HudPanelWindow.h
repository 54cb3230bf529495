// The panel that says that a clip was saved.
#pragma once

#include "app/ClipSavedNotificationController.h"
#include "library/views/SmallFileStatus.h"
#include "platform/FloatingWindows.h"
#include "platform/SharingServices.h"
#include "platform/WindowActivation.h"

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
    Q_PROPERTY(QString caption READ caption NOTIFY contentChanged)
    Q_PROPERTY(velmora::SmallFileStatus* smallFile READ smallFile CONSTANT)
    Q_PROPERTY(int shadowMargin READ shadowMargin NOTIFY shadowMarginChanged)

public:
    struct Actions {
        std::function<void(const std::filesystem::path&)> preview;
        std::function<void(const std::filesystem::path&, const QPoint&)> share;
        std::function<void(const std::filesystem::path&)> reveal;
        std::function<void(const std::filesystem::path&)> drag;  ///< out of the panel, while the pointer's button is held
        std::function<void()> preparePreview;  ///< one is likely to be asked for
        std::shared_ptr<SmallFiles> smallFiles = {};  ///< null: there are none
    };

    explicit ClipSavedHUDModel(Actions actions);

    [[nodiscard]] QString title() const { return QString::fromStdString(content_.title); }
    [[nodiscard]] QString caption() const { return QString::fromStdString(content_.caption); }
    [[nodiscard]] SmallFileStatus* smallFile() { return &smallFile_; }
    void setContent(HudPanel::Content content);

    /// What the window has around the panel for its shadow, in points; 0: there is no shadow, and the window's mask cuts the corners.
    [[nodiscard]] int shadowMargin() const { return shadowMargin_; }
    void setShadowMargin(int margin);

    /// The pointer has come onto the panel.
    Q_INVOKABLE void pointerEntered() { actions_.preparePreview(); }
    Q_INVOKABLE void previewAndTrim() { actions_.preview(content_.clip); }

    /// `x`, `y`: where the menu opens, on the screen.
    Q_INVOKABLE void share(double x, double y);
    Q_INVOKABLE void reveal() { actions_.reveal(content_.clip); }
    Q_INVOKABLE void drag() { actions_.drag(content_.clip); }
    Q_INVOKABLE void dismiss() { content_.onDismiss(); }

signals:
    void contentChanged();
    void shadowMarginChanged();

private:
    const Actions actions_;
    HudPanel::Content content_;
    SmallFileStatus smallFile_;
    int shadowMargin_ = 0;
};

struct HudPanelServices {
    std::shared_ptr<platform::WindowActivation> windowActivation;
    std::shared_ptr<platform::FloatingWindows> floatingWindows;
};

/// 340 x 110 points, on every workspace, above full-screen windows, never with the focus; in front of what other programs show later. Where
/// windows are composited it has a shadow, which is around those points and lets clicks through.
std::unique_ptr<HudPanel> makeHudPanelWindow(ClipSavedHUDModel::Actions actions, HudPanelServices services);

}  // namespace velmora
