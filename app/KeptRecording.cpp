#include "app/KeptRecording.h"

#include "app/ForwardingAssetWriter.h"
#include "capture/replay/ClipExporterError.h"

#include <cerrno>
#include <utility>

namespace velmora {

namespace {

class KeepingWriter final : public ForwardingAssetWriter {
public:
    KeepingWriter(std::shared_ptr<platform::AssetWriter> inner, RecordingKept kept)
        : ForwardingAssetWriter(std::move(inner))
        , kept_(std::move(kept))
    {
    }

    void startSession(MediaTime time) override
    {
        hasBegun_ = true;
        ForwardingAssetWriter::startSession(time);
    }

    void cancelWriting() override
    {
        if (!hasBegun_) {
            ForwardingAssetWriter::cancelWriting();
            return kept_(fail(ClipExporterError::writingFailed(std::nullopt).asError()));
        }
        // Whoever cancels lets go at once; the file takes as long as the disk does.
        finishWriting([inner = inner(), kept = kept_] {
            if (inner->status() == Status::completed)
                return kept({});
            auto error = inner->error();
            kept(fail(error ? std::move(*error) : ClipExporterError::writingFailed(std::nullopt).asError()));
        });
    }

private:
    const RecordingKept kept_;
    bool hasBegun_ = false;
};

class RemovingNothing final : public platform::FileManager {
public:
    explicit RemovingNothing(std::shared_ptr<platform::FileManager> inner) : inner_(std::move(inner)) { }

    [[nodiscard]] std::vector<std::filesystem::path> moviesDirectories() const override { return inner_->moviesDirectories(); }
    [[nodiscard]] std::filesystem::path homeDirectory() const override { return inner_->homeDirectory(); }
    [[nodiscard]] bool fileExists(const std::filesystem::path& path, bool* isDirectory) const override
    {
        return inner_->fileExists(path, isDirectory);
    }
    [[nodiscard]] Result<std::vector<std::filesystem::path>> contentsOfDirectory(
        const std::filesystem::path& directory, bool skipsHiddenFiles) const override
    {
        return inner_->contentsOfDirectory(directory, skipsHiddenFiles);
    }
    [[nodiscard]] Result<platform::FileAttributes> attributesOfItem(const std::filesystem::path& path) const override
    {
        return inner_->attributesOfItem(path);
    }
    [[nodiscard]] Result<void> checkWritable(const std::filesystem::path& directory) const override
    {
        return inner_->checkWritable(directory);
    }
    Result<void> createDirectory(const std::filesystem::path& path) override { return inner_->createDirectory(path); }
    Result<void> removeFile(const std::filesystem::path& path) override { return fail(posixError(EPERM, path.native())); }

private:
    const std::shared_ptr<platform::FileManager> inner_;
};

}  // namespace

std::shared_ptr<platform::AssetWriterFactory> keepingRecordings(std::shared_ptr<platform::AssetWriterFactory> writers, RecordingKept kept)
{
    return wrapped(
        std::move(writers), [kept = std::move(kept)](auto writer) { return std::make_shared<KeepingWriter>(std::move(writer), kept); });
}

std::shared_ptr<platform::FileManager> removingNothing(std::shared_ptr<platform::FileManager> files)
{
    return std::make_shared<RemovingNothing>(std::move(files));
}

}  // namespace velmora
