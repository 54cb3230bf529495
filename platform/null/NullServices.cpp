#include "platform/null/NullServices.h"

namespace velmora::null_backend {

namespace {

Error unavailable(const std::string& reason)
{
    return {"Velmora.Unavailable", 1, reason, nullptr};
}

class NullShareableContent final : public platform::ShareableContentProvider {
public:
    explicit NullShareableContent(std::string reason) : reason_(std::move(reason)) { }

    void getShareableContent(bool, bool, Completion completion) override { completion(fail(unavailable(reason_))); }

private:
    std::string reason_;
};

class NullCaptureStream final : public platform::CaptureStream {
public:
    explicit NullCaptureStream(std::string reason) : reason_(std::move(reason)) { }

    Result<void> addStreamOutput(std::weak_ptr<platform::StreamOutput>, platform::StreamOutputType, std::shared_ptr<Executor>) override
    {
        return {};
    }

    void startCapture(Completion completion) override { completion(fail(unavailable(reason_))); }
    void stopCapture(Completion completion) override { completion({}); }

private:
    std::string reason_;
};

class NullCaptureStreams final : public platform::CaptureStreamFactory {
public:
    explicit NullCaptureStreams(std::string reason) : reason_(std::move(reason)) { }

    std::shared_ptr<platform::CaptureStream> makeStream(
        const platform::ContentFilter&, const platform::StreamConfiguration&, std::weak_ptr<platform::StreamDelegate>) override
    {
        return std::make_shared<NullCaptureStream>(reason_);
    }

private:
    std::string reason_;
};

}  // namespace

std::shared_ptr<platform::ShareableContentProvider> makeShareableContent(std::string reason)
{
    return std::make_shared<NullShareableContent>(std::move(reason));
}

std::shared_ptr<platform::CaptureStreamFactory> makeCaptureStreams(std::string reason)
{
    return std::make_shared<NullCaptureStreams>(std::move(reason));
}

}  // namespace velmora::null_backend
