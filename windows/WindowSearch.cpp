#include "windows/WindowCatalogue.h"

#include <algorithm>
#include <utility>

namespace velmora::window_catalogue {

void findWindow(platform::ShareableContentProvider& content, Executor& mainExecutor, std::uint32_t id, FindCompletion completion)
{
    content.getShareableContent(
        true, true, [&mainExecutor, id, completion = std::move(completion)](Result<platform::ShareableContent> result) mutable {
            Result<std::optional<platform::ShareableWindow>> found = std::nullopt;
            if (!result) {
                found = fail(std::move(result.error()));
            } else {
                const auto& windows = result->windows;
                const auto match = std::find_if(windows.begin(), windows.end(), [id](const auto& w) { return w.windowID == id; });
                if (match != windows.end())
                    found = *match;
            }
            mainExecutor.async([completion = std::move(completion), found = std::move(found)]() mutable { completion(std::move(found)); });
        });
}

}  // namespace velmora::window_catalogue
