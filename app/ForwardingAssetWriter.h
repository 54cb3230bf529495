// What stands between a recording and the writer of its file, and passes on all that it does not care about.
#pragma once

#include "platform/AssetWriter.h"

#include <functional>
#include <memory>
#include <optional>
#include <utility>

namespace velmora {

/// Hands every call to the writer that it wraps. Threads and errors are that writer's.
class ForwardingAssetWriter : public platform::AssetWriter {
public:
    explicit ForwardingAssetWriter(std::shared_ptr<platform::AssetWriter> inner) : inner_(std::move(inner)) { }

    std::shared_ptr<platform::AssetWriterInput> makeInput(
        MediaType mediaType, std::optional<platform::AudioOutputSettings> settings, FormatDescriptionRef sourceFormatHint) override
    {
        return inner_->makeInput(mediaType, settings, std::move(sourceFormatHint));
    }
    [[nodiscard]] bool canAdd(const platform::AssetWriterInput& input) const override { return inner_->canAdd(input); }
    void add(std::shared_ptr<platform::AssetWriterInput> input) override { inner_->add(std::move(input)); }
    bool startWriting() override { return inner_->startWriting(); }
    void startSession(MediaTime time) override { inner_->startSession(time); }
    void pause(MediaTime time) override { inner_->pause(time); }
    void resume(MediaTime time) override { inner_->resume(time); }
    void finishWriting(UniqueFunction<void()> completion) override { inner_->finishWriting(std::move(completion)); }
    void cancelWriting() override { inner_->cancelWriting(); }
    [[nodiscard]] Status status() const override { return inner_->status(); }
    [[nodiscard]] std::optional<Error> error() const override { return inner_->error(); }
    [[nodiscard]] std::uint64_t fileSize() const override { return inner_->fileSize(); }
    [[nodiscard]] std::optional<std::filesystem::path> placeOfMovedFile() const override { return inner_->placeOfMovedFile(); }

protected:
    [[nodiscard]] const std::shared_ptr<platform::AssetWriter>& inner() const { return inner_; }

private:
    const std::shared_ptr<platform::AssetWriter> inner_;
};

using AssetWriterWrapper = std::function<std::shared_ptr<platform::AssetWriter>(std::shared_ptr<platform::AssetWriter>)>;

/// `writers`, with each writer put through `wrapper` on the thread that asked for it.
std::shared_ptr<platform::AssetWriterFactory> wrapped(std::shared_ptr<platform::AssetWriterFactory> writers, AssetWriterWrapper wrapper);

}  // namespace velmora
