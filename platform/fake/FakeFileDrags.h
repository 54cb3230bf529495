// A desktop into which nothing is dropped: it remembers what was dragged.
#pragma once

#include "platform/FileDrags.h"

#include <utility>

namespace velmora::fake {

class FakeFileDrags final : public platform::FileDrags {
public:
    struct Drag {
        std::vector<std::filesystem::path> files;
        PixelBufferRef picture;
    };

    void begin(std::vector<std::filesystem::path> files, PixelBufferRef picture) override
    {
        drags.push_back({std::move(files), std::move(picture)});
    }

    std::vector<Drag> drags;
};

}  // namespace velmora::fake
