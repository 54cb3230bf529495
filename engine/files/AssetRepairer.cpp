#include "engine/files/AssetRepairer.h"

#include "media/mp4/PendingFile.h"
#include "media/mp4/Repair.h"

namespace velmora::engine {

namespace {

class AssetRepairer final : public platform::AssetRepairer {
public:
    Result<Outcome> repair(const std::filesystem::path& file) override
    {
        const auto report = mp4::repair(file);
        if (!report)
            return fail(report.error());
        return report->wasFinished ? Outcome::nothingToDo : Outcome::repaired;
    }

    std::size_t removeAbandonedExports(const std::filesystem::path& directory) override { return mp4::removeAbandonedFiles(directory); }
};

}  // namespace

std::shared_ptr<platform::AssetRepairer> makeAssetRepairer()
{
    return std::make_shared<AssetRepairer>();
}

}  // namespace velmora::engine
