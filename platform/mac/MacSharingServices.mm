#include "platform/mac/MacSharingServices.h"

#include "platform/mac/ObjectiveC.h"
#include "platform/mac/SystemExceptions.h"

#import <AppKit/AppKit.h>
#include <array>
#include <string_view>
#include <utility>

namespace velmora::mac_backend {

namespace {

constexpr std::string_view copyPath = "copy-path";

NSSharingService* serviceOf(std::string_view identifier)
{
    const std::array<std::pair<std::string_view, NSSharingServiceName>, 3> known{{
        {"send-via-airdrop", NSSharingServiceNameSendViaAirDrop},
        {"send-by-e-mail", NSSharingServiceNameComposeEmail},
        {"send-as-message", NSSharingServiceNameComposeMessage},
    }};
    for (const auto& [name, systemName] : known) {
        if (name == identifier)
            return [NSSharingService sharingServiceNamed:systemName];
    }
    return nil;
}

class MacSharingServices final : public platform::SharingServices {
public:
    MacSharingServices() = default;
    MacSharingServices(const MacSharingServices&) = delete;
    MacSharingServices& operator=(const MacSharingServices&) = delete;
    ~MacSharingServices() override
    {
        @autoreleasepool {
            last_ = nil;
        }
    }

    [[nodiscard]] std::vector<platform::SharingService> services() const override
    {
        @autoreleasepool {
            std::vector<platform::SharingService> all{{platform::copyFileService, "Copy File"}, {std::string{copyPath}, "Copy Path"}};
            for (const std::string_view each : {"send-via-airdrop", "send-by-e-mail", "send-as-message"}) {
                NSSharingService* const service = serviceOf(each);
                if (auto title = textOf(service.menuItemTitle); !title.empty())
                    all.push_back({std::string{each}, std::move(title)});
            }
            return all;
        }
    }

    void perform(const std::string& identifier, const std::filesystem::path& file) override
    {
        @autoreleasepool {
            if (NSURL* const url = urlOf(file))
                thrownBy([&] { hand(url, file, identifier); });
        }
    }

private:
    void hand(NSURL* url, const std::filesystem::path& file, const std::string& identifier)
    {
        if (identifier == copyPath) {
            NSPasteboard* const board = NSPasteboard.generalPasteboard;
            [board clearContents];
            [board setString:textFrom(file.native()) forType:NSPasteboardTypeString];
            return;
        }
        NSMutableArray* const items = [[NSMutableArray alloc] init];
        [items addObject:url];
        if (identifier == platform::copyFileService) {
            NSPasteboard* const board = NSPasteboard.generalPasteboard;
            [board clearContents];
            [board writeObjects:items];
            return;
        }
        NSSharingService* const service = serviceOf(identifier);
        if (![service canPerformWithItems:items])
            return;
        // Its window is open when this has returned.
        last_ = service;
        [service performWithItems:items];
    }

    NSSharingService* last_ = nil;
};

}  // namespace

std::shared_ptr<platform::SharingServices> makeSharingServices()
{
    return std::make_shared<MacSharingServices>();
}

}  // namespace velmora::mac_backend
