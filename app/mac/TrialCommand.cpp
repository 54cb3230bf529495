#include "app/mac/TrialCommand.h"

#include "app/mac/TrialExamination.h"
#include "capture/ScreenCaptureKitService.h"

#include <charconv>
#include <string_view>
#include <utility>

namespace velmora {

namespace {

using namespace std::chrono_literals;

/// While the encoder is being made pictures are dropped, and a file that begins with the first of these has a hole.
constexpr auto timeToBegin = 500ms;

constexpr int itemSide = 18;
constexpr int headerMarkSide = 16;

template <typename Number>
std::optional<Number> number(std::string_view text)
{
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::string line(const platform::ShareableWindow& window)
{
    const auto name = window.owningApplication ? window.owningApplication->applicationName : std::string{};
    const auto size = std::to_string(static_cast<std::int64_t>(window.frame.width)) + " x "
        + std::to_string(static_cast<std::int64_t>(window.frame.height));
    return std::to_string(window.windowID) + "  " + size + "  " + name + (name.empty() ? "" : ": ") + window.title.value_or("");
}

class Trial final : public TrialCommand, public ScreenCaptureKitServiceDelegate {
public:
    Trial(trial::Request request, const platform::PlatformServices& services, trial::Surroundings surroundings)
        : request_(std::move(request))
        , surroundings_(std::move(surroundings))
        , services_(services)
    {
    }
    Trial(const Trial&) = delete;
    Trial& operator=(const Trial&) = delete;
    ~Trial() override
    {
        *isThere_ = false;
        if (service_) {
            service_->stopCapture();
            service_->drain();
        }
    }

    void startLater()
    {
        surroundings_.mainExecutor->async([this, isThere = isThere_] {
            if (*isThere)
                start();
        });
    }

    void captureServiceDidEncounterError(ScreenCaptureKitService&, const Error& error) override { fail(error.localizedDescription); }
    void captureServiceDidStopUnexpectedly(ScreenCaptureKitService&, const std::string& reason) override { fail(reason); }

private:
    void start()
    {
        switch (request_.kind) {
        case trial::Request::Kind::permission:
            return askForPermission();
        case trial::Request::Kind::windows:
            return listWindows();
        case trial::Request::Kind::record:
            return record();
        case trial::Request::Kind::doctor:
            return examine();
        case trial::Request::Kind::shell:
            return showShell();
        }
    }

    void examine()
    {
        bool canRecord = true;
        for (const auto& each : trialFindings(surroundings_.inspect())) {
            surroundings_.print(each.line());
            canRecord = canRecord && each.severity != TrialFinding::Severity::fault;
        }
        surroundings_.print(
            canRecord ? "Nothing stands in the way of a recording." : "Nothing can be recorded until the faults above are mended.");
        end(canRecord ? 0 : 1);
    }

    void showShell()
    {
        item_ = surroundings_.makeStatusBarItem(dot(headerMarkSide, false));
        panel_ = surroundings_.makePanel();
        item_->setToolTip("Velmora — Instant Video Clipping (Click to open menu)");
        item_->setMenuDelegate(
            {.menuNeedsUpdate = [this] { return menu(); }, .menuItemTriggered = [this](const MenuItem& chosen) { choose(chosen); }});
        item_->setPicture(dot(itemSide, true));
        surroundings_.print("The item is in the menu bar. Quit ends this.");
    }

    /// A disc, in place of the mark, which is drawn elsewhere.
    static BarPicture dot(int side, bool isTemplate)
    {
        BarPicture picture{
            .side = static_cast<double>(side), .representations = {}, .isTemplate = isTemplate, .accessibleDescription = "Velmora"};
        for (const int scale : {1, 2}) {
            platform::ApplicationIcon icon{side * scale, {}};
            const int radius = icon.side / 3;
            for (int y = 0; y < icon.side; ++y) {
                for (int x = 0; x < icon.side; ++x) {
                    const int right = 2 * x + 1 - icon.side;
                    const int down = 2 * y + 1 - icon.side;
                    const bool isInside = right * right + down * down <= 4 * radius * radius;
                    icon.rgba.insert(icon.rgba.end(), {0, 0, 0, static_cast<std::uint8_t>(isInside ? 255 : 0)});
                }
            }
            picture.representations.push_back(std::move(icon));
        }
        return picture;
    }

    /// Rows of each kind, with the keys that the program's own menu has.
    [[nodiscard]] std::vector<MenuItem> menu() const
    {
        MenuItem header;
        header.kind = MenuItem::Kind::header;
        header.title = " Velmora";
        MenuItem separator;
        separator.kind = MenuItem::Kind::separator;
        MenuItem state;
        state.title = isPanelShown_ ? "The panel is shown" : "No panel";
        state.isEnabled = false;
        MenuItem toggle;
        toggle.title = isPanelShown_ ? "Hide the Panel" : "Show the Panel";
        toggle.action = MenuAction::toggleRecording;
        toggle.keyEquivalent = KeyEquivalent{'c', true, true};
        MenuItem quit;
        quit.title = "✕ Quit Velmora";
        quit.action = MenuAction::quit;
        quit.keyEquivalent = KeyEquivalent{'q', true, false};
        return {header, state, separator, toggle, separator, quit};
    }

    void choose(const MenuItem& chosen)
    {
        surroundings_.print("Chosen: " + chosen.title);
        if (chosen.action == MenuAction::quit)
            return end(0);
        isPanelShown_ = !isPanelShown_;
        if (isPanelShown_) {
            panel_->place();
            panel_->orderFrontAndFadeIn();
        } else {
            panel_->fadeOutAndOrderOut(250ms);
        }
    }

    void askForPermission()
    {
        auto& access = *services_.screenCaptureAccess;
        const bool had = access.preflightScreenCaptureAccess();
        surroundings_.print(had ? "The screen may be captured." : "The screen may not be captured. Asking.");
        const bool has = had || access.requestScreenCaptureAccess();
        if (!had && has)
            surroundings_.print("It may be now.");
        if (const auto explanation = access.explanation(); !explanation.empty())
            surroundings_.print(explanation);
        end(has ? 0 : 1);
    }

    void listWindows()
    {
        services_.shareableContent->getShareableContent(true, true, guarded<Result<platform::ShareableContent>>([this](auto content) {
            if (!content)
                return fail(content.error().localizedDescription);
            for (const auto& each : content->windows) {
                if (each.windowLayer == 0)
                    surroundings_.print(line(each));
            }
            end(0);
        }));
    }

    void record()
    {
        service_ = ScreenCaptureKitService::create({
            .shareableContent = services_.shareableContent,
            .captureStreams = services_.captureStreams,
            .compressionSessions = services_.compressionSessions,
            .assetWriters = services_.assetWriters,
            .fileManager = services_.fileManager,
            .screens = services_.screens,
            .mainExecutor = surroundings_.mainExecutor,
        });
        service_->setDelegate(std::shared_ptr<ScreenCaptureKitServiceDelegate>{isThere_, this});
        CapturedWindowInfo window;
        window.id = request_.windowID;
        service_->startCapture(window, [this, isThere = isThere_](Result<ScreenCaptureKitService::StartOutcome> outcome) {
            if (!*isThere)
                return;
            if (!outcome)
                return fail(outcome.error().localizedDescription);
            surroundings_.print("Capturing.");
            after(timeToBegin, &Trial::begin);
        });
    }

    void begin()
    {
        const auto started = service_->startManualRecording(request_.output);
        if (!started)
            return fail(started.error().localizedDescription);
        surroundings_.print("Recording.");
        after(request_.duration, &Trial::save);
    }

    void save()
    {
        service_->stopManualRecording([this, isThere = isThere_](const Result<std::filesystem::path>& saved) {
            if (!*isThere)
                return;
            if (!saved)
                return fail(saved.error().localizedDescription);
            surroundings_.print("Saved " + saved->native());
            end(0);
        });
    }

    void after(std::chrono::milliseconds delay, void (Trial::*what)())
    {
        surroundings_.later(delay, [this, isThere = isThere_, what] {
            if (*isThere && !hasEnded_)
                (this->*what)();
        });
    }

    /// What is called on any thread, on the main one.
    template <typename T>
    UniqueFunction<void(T)> guarded(std::function<void(T)> what)
    {
        return [isThere = isThere_, main = surroundings_.mainExecutor, what = std::move(what)](T value) {
            main->async([isThere, what, value = std::move(value)]() mutable {
                if (*isThere)
                    what(std::move(value));
            });
        };
    }

    void fail(const std::string& reason)
    {
        if (!hasEnded_)
            surroundings_.print("Failed: " + reason);
        end(1);
    }

    void end(int status)
    {
        if (!std::exchange(hasEnded_, true))
            surroundings_.end(status);
    }

    const trial::Request request_;
    const trial::Surroundings surroundings_;
    const platform::PlatformServices services_;
    const std::shared_ptr<bool> isThere_ = std::make_shared<bool>(true);
    std::shared_ptr<ScreenCaptureKitService> service_;
    std::unique_ptr<StatusBarItem> item_;
    std::unique_ptr<FloatingPanel> panel_;
    bool isPanelShown_ = false;
    bool hasEnded_ = false;
};

}  // namespace

std::optional<trial::Request> trial::parse(const std::vector<std::string>& arguments)
{
    if (arguments.size() == 1 && arguments[0] == "permission")
        return Request{};
    constexpr std::pair<std::string_view, Request::Kind> withoutArguments[] = {
        {"windows", Request::Kind::windows}, {"doctor", Request::Kind::doctor}, {"shell", Request::Kind::shell}};
    for (const auto& [name, kind] : withoutArguments) {
        if (arguments.size() == 1 && arguments[0] == name)
            return Request{.kind = kind, .output = {}};
    }
    if (arguments.size() != 4 || arguments[0] != "record" || arguments[3].empty())
        return std::nullopt;
    const auto window = number<std::uint32_t>(arguments[1]);
    const auto seconds = number<int>(arguments[2]);
    if (!window || !seconds || *seconds < 1)
        return std::nullopt;
    return Request{.kind = Request::Kind::record, .windowID = *window, .duration = std::chrono::seconds{*seconds}, .output = arguments[3]};
}

std::unique_ptr<TrialCommand> startTrial(
    const trial::Request& request, const platform::PlatformServices& services, trial::Surroundings surroundings)
{
    auto command = std::make_unique<Trial>(request, services, std::move(surroundings));
    // Not before the caller has it.
    command->startLater();
    return command;
}

}  // namespace velmora
