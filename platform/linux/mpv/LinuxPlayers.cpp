#include "platform/linux/mpv/LinuxPlayers.h"

#include "base/SelfReference.h"
#include "platform/linux/modules/ModuleLoader.h"
#include "platform/linux/mpv/PlayerModule.h"

#include <optional>
#include <utility>

namespace velmora::linux_backend {

namespace {

Result<std::shared_ptr<PlayerModule>> playerModule()
{
    static const Result<std::shared_ptr<PlayerModule>> module = []() -> Result<std::shared_ptr<PlayerModule>> {
        const auto directories = moduleDirectories();
        if (!directories)
            return fail(directories.error());
        return loadModule<PlayerModule>({playerModuleFileName, playerModuleEntryName}, *directories, VELMORA_VERSION);
    }();
    return module;
}

class LinuxPlayers final : public platform::PlayerFactory {
public:
    LinuxPlayers(std::shared_ptr<platform::AssetReader> assetReader, std::shared_ptr<Executor> mainExecutor)
        : assetReader_(std::move(assetReader))
        , mainExecutor_(std::move(mainExecutor))
    {
    }

    void prepare(UniqueFunction<void()> completion) override
    {
        if (isLoaded_)
            return completion();
        if (!loading_)
            loading_.emplace("com.velmora.player.loading");
        loading_->async([weak = self_.weak(), executor = mainExecutor_, completion = std::move(completion)]() mutable {
            static_cast<void>(playerModule());
            executor->async([weak, completion = std::move(completion)]() mutable {
                if (const auto self = weak.lock()) {
                    self->isLoaded_ = true;
                    self->loading_.reset();
                }
                completion();
            });
        });
    }

    Result<std::unique_ptr<platform::Player>> makePlayer(const std::filesystem::path& file) override
    {
        const auto module = playerModule();
        if (!module)
            return fail(module.error());
        auto loadPictureTimes = [reader = assetReader_, file](UniqueFunction<void(std::vector<MediaTime>)> completion) {
            reader->loadPictureTimes(file, [completion = std::move(completion)](Result<std::vector<MediaTime>> times) mutable {
                completion(times ? std::move(*times) : std::vector<MediaTime>{});
            });
        };
        return (*module)->makePlayer(file, std::move(loadPictureTimes), mainExecutor_);
    }

private:
    const std::shared_ptr<platform::AssetReader> assetReader_;
    const std::shared_ptr<Executor> mainExecutor_;
    bool isLoaded_ = false;
    std::optional<SerialQueue> loading_;  // while it loads: nothing else needs a thread
    const SelfReference<LinuxPlayers> self_{*this};
};

}  // namespace

std::shared_ptr<platform::PlayerFactory> makePlayers(
    std::shared_ptr<platform::AssetReader> assetReader, std::shared_ptr<Executor> mainExecutor)
{
    return std::make_shared<LinuxPlayers>(std::move(assetReader), std::move(mainExecutor));
}

}  // namespace velmora::linux_backend
