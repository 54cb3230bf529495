#include "app/ForwardingAssetWriter.h"

namespace velmora {

namespace {

class WrappedWriters final : public platform::AssetWriterFactory {
public:
    WrappedWriters(std::shared_ptr<platform::AssetWriterFactory> inner, AssetWriterWrapper wrapper)
        : inner_(std::move(inner))
        , wrapper_(std::move(wrapper))
    {
    }

    [[nodiscard]] platform::SoundPreparation* soundPreparation() override { return inner_->soundPreparation(); }

    Result<std::shared_ptr<platform::AssetWriter>> makeAssetWriter(
        const std::filesystem::path& outputURL, platform::AssetFileType fileType) override
    {
        return inner_->makeAssetWriter(outputURL, fileType).map(wrapper_);
    }

private:
    const std::shared_ptr<platform::AssetWriterFactory> inner_;
    const AssetWriterWrapper wrapper_;
};

}  // namespace

std::shared_ptr<platform::AssetWriterFactory> wrapped(std::shared_ptr<platform::AssetWriterFactory> writers, AssetWriterWrapper wrapper)
{
    return std::make_shared<WrappedWriters>(std::move(writers), std::move(wrapper));
}

}  // namespace velmora
