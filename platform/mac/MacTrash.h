// The trash of a Mac, and what this program remembers of what it put there.
#pragma once

#include "engine/files/Trash.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace velmora::mac_backend {

struct TrashPlaces {
    std::function<Result<std::filesystem::path>(const std::filesystem::path& file)> trashFor;

    /// One small file in it for each recording that was put into the trash. It is made where it is missing.
    std::filesystem::path records;
};

/// A program may put files into the trash of a Mac and find them by their names, but has no leave to list it. So what is there is known by the
/// records alone, each of which names its file, and tells it from another of that name by its number in the file system.
std::shared_ptr<engine::Trash> makeTrash(TrashPlaces places);

}  // namespace velmora::mac_backend
