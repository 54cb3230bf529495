// The adapters of ScreenCaptureKit on their stand-ins: the contracts, and what those leave to a Mac's own ways.
#include "platform/mac/ScreenCapture.h"

#include "media/LiveTime.h"
#include "platform/mac/MediaConversion.h"
#include "tests/platform/contracts/CaptureStreamContract.h"
#include "tests/platform/contracts/ShareableContentContract.h"
#include "tests/platform/mac/objc/ObjectCount.h"
#include "tests/platform/mac/objc/ScreenCaptureKitStandIn.h"
#include "tests/platform/mac/standins/CoreFoundationStandIn.h"

#include <future>
#include <gmock/gmock.h>
#include <utility>

namespace velmora::test {
namespace {

using platform::CaptureStream;
using platform::ContentFilter;
using platform::RunningApplication;
using platform::ShareableContent;
using platform::ShareableDisplay;
using platform::ShareableWindow;
using platform::StreamConfiguration;
using platform::StreamOutputType;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

CGRect rectOf(const Rect& rect)
{
    return {{rect.x, rect.y}, {rect.width, rect.height}};
}

/// Lists the windows in another order than that of the screen, which the list of windows has.
class MacListedDesktop final : public ListedDesktop {
public:
    explicit MacListedDesktop(const standin::ScreenDesktop& switches) { standin::screenDesktop() = switches; }

    std::shared_ptr<platform::ShareableContentProvider> makeProvider() override
    {
        return mac_backend::makeScreenCapture().shareableContent;
    }
    void layOut(const ShareableContent& content) override
    {
        auto& desktop = standin::screenDesktop();
        desktop.windows.clear();
        desktop.frontToBack.clear();
        desktop.displays.clear();
        desktop.applications.clear();
        for (const auto& each : content.windows) {
            standin::ListedWindow window{each.windowID, each.title, rectOf(each.frame), each.windowLayer, each.isOnScreen, std::nullopt};
            if (each.owningApplication)
                window.processID = each.owningApplication->processID;
            desktop.windows.insert(desktop.windows.begin(), window);
            desktop.frontToBack.push_back(each.windowID);
        }
        for (const auto& each : content.displays)
            desktop.displays.push_back({each.displayID, rectOf(each.frame)});
        for (const auto& each : content.applications) {
            desktop.applications.push_back({each.processID, each.bundleIdentifier, each.applicationName});
        }
    }
    void refuse(int code) override { standin::screenDesktop().listError = code; }

private:
    const ObjectCount count_{standin::resetScreenCapture};
};

NamedListedDesktop listed(std::string name, standin::ScreenDesktop switches)
{
    return {std::move(name), [switches] { return std::make_unique<MacListedDesktop>(switches); }};
}

INSTANTIATE_TEST_SUITE_P(Mac, ShareableContentContract,
    testing::Values(listed("OnStandIns", {}), listed("AnsweredTwice", {.answersTwice = true}),
        listed("AnsweredWithinTheCall", {.answersAtOnce = true})),
    [](const auto& parameter) { return parameter.param.name; });

/// One window of one application, captured by itself.
class MacCaptureDesktop final : public CaptureDesktop {
public:
    explicit MacCaptureDesktop(const standin::ScreenDesktop& switches)
    {
        standin::screenDesktop() = switches;
        auto& desktop = standin::screenDesktop();
        desktop.windows = {{7, "Window", {{0, 0}, {64, 48}}, 0, true, 501}};
        desktop.frontToBack = {7};
        desktop.applications = {{501, "org.example.browser", "Browser"}};
    }
    MacCaptureDesktop(const MacCaptureDesktop&) = delete;
    MacCaptureDesktop& operator=(const MacCaptureDesktop&) = delete;
    ~MacCaptureDesktop() override { standin::settleScreenCapture(); }

    std::shared_ptr<CaptureStream> makeStream(
        const StreamConfiguration& configuration, std::weak_ptr<platform::StreamDelegate> delegate) override
    {
        const auto capture = mac_backend::makeScreenCapture();
        std::promise<void> listed;
        capture.shareableContent->getShareableContent(false, false, [&](const Result<ShareableContent>&) { listed.set_value(); });
        listed.get_future().get();
        ShareableWindow window;
        window.windowID = 7;
        return capture.captureStreams->makeStream(ContentFilter::desktopIndependentWindow(window), configuration, std::move(delegate));
    }
    void draw() override
    {
        auto* const pixels = standin::makePixelBuffer(64, 48);
        standin::showNothing(standin::statusIdle(), now());
        standin::showPicture(pixels, now());
        standin::showNothing(standin::statusBlank(), now());
        CFRelease(pixels);
    }
    void closeWindow() override { standin::endStream(-3821); }
    bool refuseStart(int code) override
    {
        standin::screenDesktop().startError = code;
        return true;
    }
    [[nodiscard]] bool hasSound() const override { return true; }
    void play(int frames) override
    {
        if (played_ == 0)
            played_ = liveTime(MonotonicClock::now()).converted(48000).value;
        const auto count = static_cast<std::size_t>(frames);
        standin::playSound({.channels = {std::vector<float>(count, 0.5F), std::vector<float>(count, -0.25F)},
            .time = CMTimeMake(played_, 48000),
            .sampleRate = 48000,
            .isPlanar = isPlanar_,
            .isFloat = true});
        isPlanar_ = !isPlanar_;
        played_ += frames;
    }

private:
    static CMTime now()
    {
        const auto time = liveTime(MonotonicClock::now());
        return CMTimeMake(time.value, time.timescale);
    }

    const ObjectCount count_{standin::resetScreenCapture};
    std::int64_t played_ = 0;
    bool isPlanar_ = true;
};

NamedDesktop captured(std::string name, standin::ScreenDesktop switches)
{
    return {std::move(name), [switches] { return std::make_unique<MacCaptureDesktop>(switches); }};
}

INSTANTIATE_TEST_SUITE_P(Mac, CaptureStreamContract,
    testing::Values(captured("OnStandIns", {}), captured("AnsweredTwice", {.answersTwice = true}),
        captured("DeliveringAfterAStop", {.deliversAfterAStop = true}),
        captured("StartingWithAFirstPicture", {.firstPictureIsStarted = true})),
    [](const auto& parameter) { return parameter.param.name; });

class ScreenCaptureTest : public testing::Test {
protected:
    ScreenCaptureTest()
    {
        auto& desktop = standin::screenDesktop();
        desktop.windows = {{7, "Window", {{0, 0}, {64, 48}}, 0, true, 501}, {8, std::nullopt, {}, 0, true, 502}};
        desktop.frontToBack = {7, 8};
        desktop.displays = {{3, {{0, 0}, {1280, 800}}}};
        desktop.applications = {{501, "org.example.browser", "Browser"}, {502, std::nullopt, std::nullopt}};
    }
    ~ScreenCaptureTest() override
    {
        stream_.reset();
        standin::settleScreenCapture();
        queue_->drain();
    }

    ShareableContent list()
    {
        std::promise<Result<ShareableContent>> promise;
        capture_.shareableContent->getShareableContent(
            false, false, [&](Result<ShareableContent> result) { promise.set_value(std::move(result)); });
        return *promise.get_future().get();
    }

    Result<void> start(const ContentFilter& filter, const StreamConfiguration& configuration = {})
    {
        stream_ = capture_.captureStreams->makeStream(filter, configuration, listener_);
        std::promise<Result<void>> promise;
        stream_->startCapture([&](Result<void> result) { promise.set_value(std::move(result)); });
        return promise.get_future().get();
    }

    static ContentFilter window(std::uint32_t windowID)
    {
        ShareableWindow one;
        one.windowID = windowID;
        return ContentFilter::desktopIndependentWindow(one);
    }

    const ObjectCount count_{standin::resetScreenCapture};
    const std::shared_ptr<StreamListener> listener_ = std::make_shared<StreamListener>();
    const std::shared_ptr<SerialQueue> queue_ = std::make_shared<SerialQueue>("com.velmora.tests.stream");
    const mac_backend::ScreenCapture capture_ = mac_backend::makeScreenCapture();
    std::shared_ptr<CaptureStream> stream_;
};

TEST_F(ScreenCaptureTest, WindowsThatAreNotOnTheListOfWindowsStayBehindInTheirOrder)
{
    auto& desktop = standin::screenDesktop();
    desktop.windows = {{1, "a", {}, 0, false, {}}, {2, "b", {}, 0, true, {}}, {3, "c", {}, 0, false, {}}, {4, "d", {}, 0, true, {}}};
    desktop.frontToBack = {4, 2};
    std::vector<std::uint32_t> numbers;
    for (const auto& each : list().windows)
        numbers.push_back(each.windowID);
    EXPECT_THAT(numbers, ElementsAre(4, 2, 1, 3));
}

TEST_F(ScreenCaptureTest, WithoutAListOfWindowsTheOrderIsTheSystems)
{
    standin::screenDesktop().hasWindowList = false;
    std::vector<std::uint32_t> numbers;
    for (const auto& each : list().windows)
        numbers.push_back(each.windowID);
    EXPECT_THAT(numbers, ElementsAre(7, 8));
}

TEST_F(ScreenCaptureTest, AFilterOfADisplayHasItsApplicationsAndExceptions)
{
    const auto content = list();
    ShareableWindow chosen;
    chosen.windowID = 7;
    ShareableWindow excepted;
    excepted.windowID = 8;
    ASSERT_TRUE(start(ContentFilter::displayIncludingApplications(
        content.displays.at(0), {content.applications.at(0), content.applications.at(1)}, {excepted}, chosen)));
    EXPECT_EQ(standin::streamRecord().filter, "display 3, applications 501 502, except 8");
}

TEST_F(ScreenCaptureTest, AFilterOfOneWindowHasThatWindow)
{
    list();
    ASSERT_TRUE(start(window(8)));
    EXPECT_EQ(standin::streamRecord().filter, "window 8");
}

TEST_F(ScreenCaptureTest, WhatWasListedTheTimeBeforeCanStillBeCaptured)
{
    list();
    standin::screenDesktop().windows.clear();
    list();
    EXPECT_TRUE(start(window(7)));
}

TEST_F(ScreenCaptureTest, WhatIsNoLongerListedIsAnErrorOfTheStart)
{
    list();
    standin::screenDesktop().windows.clear();
    standin::screenDesktop().displays.clear();
    standin::screenDesktop().applications.clear();
    list();
    list();
    EXPECT_FALSE(start(window(7)));
    EXPECT_FALSE(start(ContentFilter::displayIncludingApplications({3, {}}, {{"org.example.browser", "Browser", 501}}, {}, {})));
    EXPECT_EQ(standin::streamRecord().starts, 0);
}

TEST_F(ScreenCaptureTest, AnApplicationThatHasGoneIsNotLeftOutInSilence)
{
    const auto content = list();
    EXPECT_FALSE(start(ContentFilter::displayIncludingApplications(content.displays.at(0), {{"org.example.gone", "Gone", 9}}, {}, {})));
}

TEST_F(ScreenCaptureTest, EveryValueOfTheConfigurationIsPassedOn)
{
    list();
    StreamConfiguration configuration;
    configuration.width = 1282;
    configuration.height = 722;
    configuration.capturesAudio = true;
    configuration.sampleRate = 44100;
    configuration.channelCount = 2;
    configuration.excludesCurrentProcessAudio = true;
    configuration.ignoreShadowsSingleWindow = true;
    configuration.ignoreShadowsDisplay = true;
    configuration.showsCursor = true;
    configuration.minimumFrameInterval = {1, 60};
    configuration.sourceRect = Rect{11, 22, 333, 444};
    ASSERT_TRUE(start(window(7), configuration));
    const auto& record = standin::streamRecord();
    EXPECT_EQ(record.width, 1282);
    EXPECT_EQ(record.height, 722);
    EXPECT_EQ(record.pixelFormat, FourCharacterCode{"BGRA"}.value);
    EXPECT_TRUE(record.capturesAudio);
    EXPECT_EQ(record.sampleRate, 44100);
    EXPECT_EQ(record.channelCount, 2);
    EXPECT_TRUE(record.excludesCurrentProcessAudio);
    EXPECT_TRUE(record.ignoresShadowsSingleWindow);
    EXPECT_TRUE(record.ignoresShadowsDisplay);
    EXPECT_TRUE(record.showsCursor);
    EXPECT_EQ(mac_backend::fromCMTime(record.minimumFrameInterval), (MediaTime{1, 60}));
    EXPECT_EQ(record.sourceRect.origin.x, 11);
    EXPECT_EQ(record.sourceRect.origin.y, 22);
    EXPECT_EQ(record.sourceRect.size.width, 333);
    EXPECT_EQ(record.sourceRect.size.height, 444);
}

TEST_F(ScreenCaptureTest, WhatIsOffIsPassedOnAsOff)
{
    list();
    StreamConfiguration configuration;
    configuration.width = 2;
    configuration.height = 2;
    configuration.showsCursor = false;
    ASSERT_TRUE(start(window(7), configuration));
    const auto& record = standin::streamRecord();
    EXPECT_FALSE(record.showsCursor);
    EXPECT_FALSE(record.capturesAudio);
    EXPECT_FALSE(record.excludesCurrentProcessAudio);
    EXPECT_FALSE(record.ignoresShadowsSingleWindow);
    EXPECT_FALSE(record.ignoresShadowsDisplay);
    EXPECT_EQ(record.sourceRect.size.width, 0);
}

TEST_F(ScreenCaptureTest, OutputsAreOfTheirTypesAndARefusedOneIsItsError)
{
    list();
    stream_ = capture_.captureStreams->makeStream(window(7), {}, listener_);
    EXPECT_TRUE(stream_->addStreamOutput(listener_, StreamOutputType::screen, queue_));
    EXPECT_TRUE(stream_->addStreamOutput(listener_, StreamOutputType::audio, queue_));
    EXPECT_THAT(standin::streamRecord().outputs, ElementsAre(0, 1));
    standin::screenDesktop().addError = -3812;
    const auto refused = stream_->addStreamOutput(listener_, StreamOutputType::screen, queue_);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, -3812);
    EXPECT_EQ(refused.error().domain, "com.apple.ScreenCaptureKit.SCStreamErrorDomain");
}

TEST_F(ScreenCaptureTest, AnEndBeforeTheStartsCompletionIsToldBehindIt)
{
    standin::screenDesktop().endsBeforeTheStartIsAnswered = true;
    list();
    EXPECT_TRUE(start(window(7)));
    listener_->waitForEnd();
    EXPECT_THAT(listener_->errors(), SizeIs(1));
    EXPECT_EQ(listener_->errors()[0].code, -3821);
}

TEST_F(ScreenCaptureTest, ACapturedPictureIsTheSystemsOwnMemoryLockedAsLongAsItLives)
{
    list();
    stream_ = capture_.captureStreams->makeStream(window(7), {}, listener_);
    EXPECT_TRUE(stream_->addStreamOutput(listener_, StreamOutputType::screen, queue_));
    std::promise<void> started;
    stream_->startCapture([&](const Result<void>&) { started.set_value(); });
    started.get_future().get();
    auto* const pixels = standin::makePixelBuffer(64, 48);
    standin::showPicture(pixels, CMTimeMake(liveTime(MonotonicClock::now()).value, 1'000'000'000));
    listener_->waitForPictures(1);
    EXPECT_TRUE(standin::isLocked(pixels));
    EXPECT_EQ(listener_->pictures()[0]->imageBuffer->bytesPerRow, 64U * 4 + 64);
    std::promise<void> stopped;
    stream_->stopCapture([&](const Result<void>&) { stopped.set_value(); });
    stopped.get_future().get();
    queue_->drain();
    EXPECT_TRUE(standin::isLocked(pixels));
    listener_->forget();
    EXPECT_FALSE(standin::isLocked(pixels));
    CFRelease(pixels);
}

TEST_F(ScreenCaptureTest, AReleasedStreamIsStoppedOnceAndNeverBeforeItRuns)
{
    list();
    ASSERT_TRUE(start(window(7)));
    stream_.reset();
    standin::settleScreenCapture();
    EXPECT_EQ(standin::streamRecord().stops, 1);
    EXPECT_EQ(standin::streamRecord().refusedStops, 0);

    stream_ = capture_.captureStreams->makeStream(window(7), {}, listener_);
    stream_.reset();
    EXPECT_EQ(standin::streamRecord().stops, 0);

    standin::screenDesktop().startError = -3802;
    EXPECT_FALSE(start(window(7)));
    standin::settleScreenCapture();
    stream_.reset();
    standin::settleScreenCapture();
    EXPECT_EQ(standin::streamRecord().stops, 0);
}

}  // namespace
}  // namespace velmora::test
