// What every CaptureStream has to do, whichever system captures for it. A back end's test makes a Desktop and instantiates the suite.
#pragma once

#include "base/SerialQueue.h"
#include "platform/CaptureStream.h"
#include "tests/platform/contracts/StreamListener.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace velmora::test {

/// A desktop with one window and, if it has sound, an application that plays.
class CaptureDesktop {
public:
    virtual ~CaptureDesktop() = default;

    virtual std::shared_ptr<platform::CaptureStream> makeStream(
        const platform::StreamConfiguration& configuration, std::weak_ptr<platform::StreamDelegate> delegate) = 0;

    /// The window looks different.
    virtual void draw() = 0;
    /// The window goes: the system ends what captures it.
    virtual void closeWindow() = 0;
    /// The next start fails with an error of this code; false where no start fails.
    virtual bool refuseStart(int code) = 0;

    [[nodiscard]] virtual bool hasSound() const { return false; }
    /// The application plays that many frames, in which the left channel is 0.5 and the right -0.25.
    virtual void play(int) { }
};

struct NamedDesktop {
    std::string name;
    std::function<std::unique_ptr<CaptureDesktop>()> make;
};

class CaptureStreamContract : public testing::TestWithParam<NamedDesktop> {
protected:
    static constexpr std::int64_t width = 64;
    static constexpr std::int64_t height = 48;

    CaptureStreamContract();
    ~CaptureStreamContract() override;

    void makeStream();
    Result<void> start();
    Result<void> stop();

    const std::unique_ptr<CaptureDesktop> desktop_ = GetParam().make();
    platform::StreamConfiguration configuration_;
    const std::shared_ptr<StreamListener> listener_ = std::make_shared<StreamListener>();
    const std::shared_ptr<SerialQueue> queue_ = std::make_shared<SerialQueue>("com.velmora.tests.stream");
    std::shared_ptr<platform::CaptureStream> stream_;
};

}  // namespace velmora::test
