#include "platform/mac/MacThumbnails.h"

#include <utility>

namespace velmora::mac_backend {

namespace {

class MacThumbnails final : public platform::Thumbnails {
public:
    explicit MacThumbnails(std::shared_ptr<platform::AssetReader> reader) : reader_(std::move(reader)) { }

    void find(const std::filesystem::path&, int, Completion completion) override { completion(PixelBufferRef{}); }

    void make(const std::filesystem::path& file, int side, Completion completion) override
    {
        reader_->generateImage(file, MediaTime{0, 1}, side, side, std::move(completion));
    }

private:
    const std::shared_ptr<platform::AssetReader> reader_;
};

}  // namespace

std::shared_ptr<platform::Thumbnails> makeThumbnails(std::shared_ptr<platform::AssetReader> reader)
{
    return std::make_shared<MacThumbnails>(std::move(reader));
}

}  // namespace velmora::mac_backend
