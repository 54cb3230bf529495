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
    void updateSize(std::int32_t, std::int32_t, Completion completion) override { completion(fail(unavailable(reason_))); }
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

class NullHotKeyCenter final : public platform::HotKeyCenter {
public:
    tl::expected<EventHandlerReference, platform::HotKeyStatus> installEventHandler(EventHandler) override { return 1; }
    void removeEventHandler(EventHandlerReference) override { }
    tl::expected<HotKeyReference, platform::HotKeyStatus> registerEventHotKey(std::uint32_t, std::uint32_t, platform::HotKeyID) override
    {
        return tl::unexpected(hotKeysUnavailable);
    }
    void unregisterEventHotKey(HotKeyReference) override { }
};

class NullScreenCaptureAccess final : public platform::ScreenCaptureAccess {
public:
    explicit NullScreenCaptureAccess(std::string reason) : reason_(std::move(reason)) { }

    [[nodiscard]] bool preflightScreenCaptureAccess() override { return false; }
    bool requestScreenCaptureAccess() override { return false; }
    [[nodiscard]] std::string explanation() const override { return reason_; }

private:
    std::string reason_;
};

class NullWindowActivation final : public platform::WindowActivation {
public:
    void activate(std::uint64_t) override { }
    [[nodiscard]] std::optional<platform::ScreenFrames> mainScreen() override { return {}; }
};

class NullFloatingWindows final : public platform::FloatingWindows {
public:
    [[nodiscard]] bool areComposited() override { return false; }
    void setClickableArea(std::uint64_t, std::optional<PixelRect>) override { }
    [[nodiscard]] std::unique_ptr<InFront> keepInFront(std::uint64_t, const PixelRect&) override { return nullptr; }
};

class NullTrayAppearance final : public platform::TrayAppearance {
public:
    [[nodiscard]] std::optional<platform::ItemColor> itemColor() override { return {}; }
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

std::shared_ptr<platform::HotKeyCenter> makeHotKeyCenter()
{
    return std::make_shared<NullHotKeyCenter>();
}

std::shared_ptr<platform::ScreenCaptureAccess> makeScreenCaptureAccess(std::string reason)
{
    return std::make_shared<NullScreenCaptureAccess>(std::move(reason));
}

std::shared_ptr<platform::WindowActivation> makeWindowActivation()
{
    return std::make_shared<NullWindowActivation>();
}

std::shared_ptr<platform::FloatingWindows> makeFloatingWindows()
{
    return std::make_shared<NullFloatingWindows>();
}

std::shared_ptr<platform::TrayAppearance> makeTrayAppearance()
{
    return std::make_shared<NullTrayAppearance>();
}

}  // namespace velmora::null_backend
