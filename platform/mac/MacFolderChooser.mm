#include "platform/mac/MacFolderChooser.h"

#include "platform/mac/ObjectiveC.h"
#include "platform/mac/SystemExceptions.h"

#import <AppKit/AppKit.h>
#include <utility>
#include <vector>

namespace velmora::mac_backend {

namespace {

constexpr const char* domain = "Velmora.FolderChooser";

Result<std::optional<std::filesystem::path>> choiceOf(NSOpenPanel* panel, NSModalResponse response)
{
    if (response != NSModalResponseOK)
        return std::nullopt;
    auto folder = pathOf(panel.URL);
    if (folder.empty())
        return fail(domain, platform::FolderChooser::unusableChoice, "What was chosen is no folder on this computer.");
    return folder;
}

/// A dialog that is open, until it is answered.
struct OpenDialog {
    NSOpenPanel* panel;
};

class MacFolderChooser final : public platform::FolderChooser {
public:
    MacFolderChooser() = default;
    MacFolderChooser(const MacFolderChooser&) = delete;
    MacFolderChooser& operator=(const MacFolderChooser&) = delete;
    ~MacFolderChooser() override
    {
        @autoreleasepool {
            for (const auto& each : dialogs_) {
                // First, because the handler may be called at once.
                NSOpenPanel* const panel = std::exchange(each->panel, nil);
                [panel cancel:nil];
            }
        }
    }

    void chooseFolder(const platform::FolderPanel& panel, Completion completion) override
    {
        @autoreleasepool {
            NSOpenPanel* const made = [NSOpenPanel openPanel];
            made.canChooseFiles = NO;
            made.canChooseDirectories = YES;
            made.canCreateDirectories = YES;
            made.allowsMultipleSelection = NO;
            made.message = textFrom(panel.title);
            made.prompt = textFrom(panel.prompt);
            made.directoryURL = urlOf(panel.directory);
            const auto dialog = std::make_shared<OpenDialog>(OpenDialog{made});
            std::erase_if(dialogs_, [](const auto& each) { return !each->panel; });
            dialogs_.push_back(dialog);
            const auto answer = std::make_shared<Completion>(std::move(completion));
            [NSApplication.sharedApplication activate];
            const auto ended = ^(NSModalResponse response) {
                // The panel holds this block, which holds the panel until here.
                NSOpenPanel* const answered = std::exchange(dialog->panel, nil);
                if (answered)
                    std::exchange(*answer, nullptr)(choiceOf(answered, response));
            };
            auto thrown = thrownBy([&] { [made beginWithCompletionHandler:ended]; });
            if (thrown && std::exchange(dialog->panel, nil))
                std::exchange(*answer, nullptr)(fail(std::move(*thrown)));
        }
    }

private:
    std::vector<std::shared_ptr<OpenDialog>> dialogs_;
};

}  // namespace

std::shared_ptr<platform::FolderChooser> makeFolderChooser()
{
    return std::make_shared<MacFolderChooser>();
}

}  // namespace velmora::mac_backend
