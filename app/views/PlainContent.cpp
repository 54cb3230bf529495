#include "app/views/PlainContent.h"

#include "library/ClipItem.h"

#include <QPointer>

namespace velmora {

namespace {

QString text(const std::string& utf8)
{
    return QString::fromStdString(utf8);
}

QuickContent contentOf(std::shared_ptr<PlainModel> model)
{
    auto* plain = model.get();
    return {
        .view = QUrl{QStringLiteral("qrc:/Velmora/App/views/PlainView.qml")},
        .model = std::move(model),
        .willAppear = {},
        .onDismiss = [plain](std::function<void()> close) { QObject::connect(plain, &PlainModel::dismissed, plain, std::move(close)); },
    };
}

}  // namespace

PlainModel::PlainModel(QString heading, std::vector<Button> buttons) : heading_(std::move(heading)), buttons_(std::move(buttons)) { }

QStringList PlainModel::buttons() const
{
    QStringList titles;
    for (const auto& button : buttons_)
        titles.append(button.title);
    return titles;
}

void PlainModel::setParagraphs(QStringList paragraphs)
{
    paragraphs_ = std::move(paragraphs);
    emit paragraphsChanged();
}

void PlainModel::press(int button)
{
    if (button < 0 || static_cast<std::size_t>(button) >= buttons_.size())
        return;
    buttons_[static_cast<std::size_t>(button)].action();
    emit dismissed();
}

QuickContent makePlainContent(const std::filesystem::path& clip, const SharedServices& services)
{
    const auto workspace = services.platform.workspace;
    auto model = std::make_shared<PlainModel>(text(clip.filename().string()),
        std::vector<PlainModel::Button>{
            {QStringLiteral("Play"), [workspace, clip] { workspace->open(clip); }},
            {QStringLiteral("Reveal"), [workspace, clip] { workspace->activateFileViewerSelecting({clip}); }},
        });
    const auto& platform = services.platform;
    ClipItem::load(clip, {platform.fileManager, platform.assetReader, services.clock, services.mainExecutor},
        [plain = QPointer{model.get()}](const std::optional<ClipItem>& item) {
            if (plain)
                plain->setParagraphs({item ? text(item->formattedDuration() + "   " + item->formattedFileSize())
                                           : QStringLiteral("The file is not there any more.")});
        });
    return contentOf(std::move(model));
}

}  // namespace velmora
