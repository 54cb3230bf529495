#include "app/views/FolderChooserWindow.h"

#include "app/views/FittedView.h"
#include "app/views/Placement.h"
#include "app/views/QuickEngine.h"
#include "settings/FolderBrowserModel.h"

#include <QGuiApplication>
#include <QQuickView>

#include <utility>

namespace velmora {

namespace {

constexpr QSize usualSize{480, 460};
constexpr QSize smallestSize{400, 340};

/// Deletes itself when it has been closed.
class FolderView final : public QQuickView {
public:
    FolderView(std::shared_ptr<platform::FileManager> fileManager, const platform::FolderPanel& panel,
        platform::FolderChooser::Completion completion)
        : QQuickView(&quickEngine(), nullptr)
        , model_(std::move(fileManager), panel)
        , completion_(std::move(completion))
    {
        setFlags(Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
        if (auto* asking = QGuiApplication::focusWindow()) {
            setTransientParent(asking);
            setModality(Qt::WindowModal);
        }
        setTitle(QString::fromStdString(panel.title));
        setColor(windowColor());
        setResizeMode(QQuickView::SizeRootObjectToView);
        setInitialProperties({{QStringLiteral("model"), QVariant::fromValue(&model_)}});
        setSource(QUrl{QStringLiteral("qrc:/Velmora/Settings/FolderBrowserView.qml")});
        setMinimumSize(smallestSize);
        resize(screen() ? fittingSize(usualSize, workAreaSize(*screen()), {}) : usualSize);
        QObject::connect(&model_, &FolderBrowserModel::finished, this, [this] { close(); });
        QObject::connect(this, &QWindow::visibleChanged, this, [this](bool isVisible) {
            if (isVisible)
                return;
            deleteLater();
            if (auto tell = std::exchange(completion_, {}))
                tell(model_.result());
        });
    }

    // The view's items go before the model that they are bound to.
    ~FolderView() override { setSource({}); }

private:
    FolderBrowserModel model_;
    platform::FolderChooser::Completion completion_;
};

class FolderChooserWindow final : public platform::FolderChooser {
public:
    FolderChooserWindow(std::shared_ptr<platform::FileManager> fileManager, std::shared_ptr<platform::WindowActivation> activation)
        : fileManager_(std::move(fileManager))
        , activation_(std::move(activation))
    {
    }

    void chooseFolder(const platform::FolderPanel& panel, Completion completion) override
    {
        auto* view = new FolderView{fileManager_, panel, std::move(completion)};
        centre(*view, *activation_);
        view->show();
        activation_->activate(view->winId());
    }

private:
    const std::shared_ptr<platform::FileManager> fileManager_;
    const std::shared_ptr<platform::WindowActivation> activation_;
};

}  // namespace

std::shared_ptr<platform::FolderChooser> makeFolderChooserWindow(
    std::shared_ptr<platform::FileManager> fileManager, std::shared_ptr<platform::WindowActivation> activation)
{
    return std::make_shared<FolderChooserWindow>(std::move(fileManager), std::move(activation));
}

}  // namespace velmora
