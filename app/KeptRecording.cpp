#include "app/KeptRecording.h"

#include "capture/ClipExporterError.h"

#include <cerrno>
#include <utility>

namespace velmora {

namespace {

class KeepingWriter final : public platform::AssetWriter {
public:
    KeepingWriter(std::shared_ptr<platform::AssetWriter> inner, RecordingKept kept) : inner_(std::move(inner)), kept_(std::move(kept)) { }

    std::shared_ptr<platform::AssetWriterInput> makeInput(
        MediaType mediaType, std::optional<platform::AudioOutputSettings> settings, FormatDescriptionRef sourceFormatHint) override
    {
        return inner_->makeInput(mediaType, settings, std::move(sourceFormatHint));
    }
    [[nodiscard]] bool canAdd(const platform::AssetWriterInput& input) const override { return inner_->canAdd(input); }
    void add(std::shared_ptr<platform::AssetWriterInput> input) override { inner_->add(std::move(input)); }
    bool startWriting() override { return inner_->startWriting(); }
    void startSession(MediaTime time) override
    {
        hasBegun_ = true;
        inner_->startSession(time);
    }
    void finishWriting(UniqueFunction<void()> completion) override { inner_->finishWriting(std::move(completion)); }

    void cancelWriting() override
    {
        if (!hasBegun_) {
            inner_->cancelWriting();
            return kept_(fail(ClipExporterError::writingFailed(std::nullopt).asError()));
        }
        // Whoever cancels lets go at once; the file takes as long as the disk does.
        inner_->finishWriting([inner = inner_, kept = kept_] {
            if (inner->status() == Status::completed)
                return kept({});
            auto error = inner->error();
            kept(fail(error ? std::move(*error) : ClipExporterError::writingFailed(std::nullopt).asError()));
        });
    }

    [[nodiscard]] Status status() const override { return inner_->status(); }
    [[nodiscard]] std::optional<Error> error() const override { return inner_->error(); }

private:
    const std::shared_ptr<platform::AssetWriter> inner_;
    const RecordingKept kept_;
    bool hasBegun_ = false;
};

class KeepingWriters final : public platform::AssetWriterFactory {
public:
    KeepingWriters(std::shared_ptr<platform::AssetWriterFactory> inner, RecordingKept kept)
        : inner_(std::move(inner))
        , kept_(std::move(kept))
    {
    }

    Result<std::shared_ptr<platform::AssetWriter>> makeAssetWriter(
        const std::filesystem::path& outputURL, platform::AssetFileType fileType) override
    {
        auto writer = inner_->makeAssetWriter(outputURL, fileType);
        if (!writer)
            return writer;
        return std::make_shared<KeepingWriter>(std::move(*writer), kept_);
    }

private:
    const std::shared_ptr<platform::AssetWriterFactory> inner_;
    const RecordingKept kept_;
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
    return std::make_shared<KeepingWriters>(std::move(writers), std::move(kept));
}

std::shared_ptr<platform::FileManager> removingNothing(std::shared_ptr<platform::FileManager> files)
{
    return std::make_shared<RemovingNothing>(std::move(files));
}

}  // namespace velmora
