// Draws the list of windows and the choice of sound in all their states, to be looked at:
//
//     [QT_SCALE_FACTOR=2] picker_gallery DIRECTORY [TEXT_SCALE [contrast]]
#include "tests/brand/Gallery.h"
#include "tests/support/CoordinatorFixture.h"
#include "windows/views/WindowPickerModel.h"

#include <QUrl>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

// Generated. Referring to it brings the module into the program, where it registers its types before main.
extern void qml_register_types_Velmora_Windows();

namespace velmora::test {
namespace {

struct PickerFixture : CoordinatorFixture {
    void add(std::uint32_t id, const char* application, const char* title)
    {
        addLiveWindow(
            {.id = id, .title = title, .appName = application, .bundleID = application, .frame = {0, 0, 1280, 720}, .isOnScreen = true});
    }

    void appear()
    {
        model.viewWillAppear();
        executor->runAll();
        // A plain square in place of each application's icon.
        auto questions = std::exchange(content->iconQuestions, {});
        for (auto& question : questions) {
            for (const auto id : question.windowIDs) {
                platform::ApplicationIcon icon{.side = 48, .rgba = {}};
                for (int pixel = 0; pixel < 48 * 48; ++pixel)
                    icon.rgba.insert(icon.rgba.end(), {std::uint8_t(40 * id), 120, 200, 255});
                question.found(id, icon);
            }
        }
        executor->runAll();
    }

    WindowPickerModel model{std::make_shared<WindowSelectionService>(content, executor), *coordinator};
    ViewTestWindow window{QUrl{QStringLiteral("qrc:/Velmora/Windows/WindowPickerView.qml")}, model, {560, 480}};
};

void drawWindows(const Gallery& gallery)
{
    PickerFixture fixture;
    auto& window = fixture.window;
    fixture.appear();
    gallery.draw("picker-empty", window);
    fixture.content->holdsAnswers = true;
    fixture.model.refreshWindows();
    gallery.draw("picker-loading", window);
    fixture.content->holdsAnswers = false;
    fixture.content->answerNext();
    fixture.add(1, "Firefox", "Nature Documentary — a film whose title is longer than the row that it has in this list");
    fixture.add(2, "VLC media player", "Big Buck Bunny");
    fixture.add(3, "Terminal", "");
    fixture.content->content.windows.back().isOnScreen = false;
    fixture.content->content.windows.back().isMinimised = true;
    fixture.appear();
    gallery.draw("picker-three", window);
    // The first two play, by their processes.
    fixture.content->tellsOfSounds = true;
    fixture.content->content.windows[2].owningApplication->processID = 1;
    fixture.appear();
    fixture.coordinator->selectWindowAndStartCapture(fixture.model.filteredWindows().front());
    fixture.content->soundsChanged({{4242}});
    fixture.executor->runAll();
    gallery.draw("picker-sounding", window);
    fixture.coordinator->stopCapture();
    fixture.content->soundsChanged({});
    fixture.executor->runAll();
    for (std::uint32_t id = 4; id < 12; ++id)
        fixture.add(id, ("Application " + std::to_string(id)).c_str(), "A film");
    fixture.coordinator->selectWindowAndStartCapture(fixture.model.filteredWindows().front());
    fixture.executor->runAll();
    fixture.appear();
    gallery.draw("picker-many", window);
    window.type(Qt::Key_Tab);
    window.type(Qt::Key_Down);
    gallery.draw("picker-list-focus", window);
    for (int presses = 0; presses < 12; ++presses)
        window.type(Qt::Key_Down);
    gallery.draw("picker-last", window);
    fixture.model.setSearchText(QStringLiteral("vlc"));
    gallery.draw("picker-hidden", window);
    fixture.model.setSearchText(QStringLiteral("nothing of that name"));
    gallery.draw("picker-no-result", window);
}

void drawSounds(const Gallery& gallery)
{
    PickerFixture fixture;
    fixture.content->windowsToRequest = {1};
    fixture.add(1, "Desktop", "A window that is still to be chosen");
    fixture.appear();
    fixture.model.start();
    fixture.executor->runAll();
    auto granted = fixture.content->content.windows.front();
    granted.windowID = 7;
    fixture.content->content.windows.push_back(granted);
    fixture.content->pendingRequest(std::optional{granted});
    fixture.content->pendingSoundQuestion(platform::SoundChoices{
        .applications = {{{"firefox", "Firefox", 12}, "Nature Documentary — a film whose title is longer than its row in this list", true},
            {{"vlc", "VLC media player", 13}, "Big Buck Bunny", true}, {{"mpv", "mpv Media Player", 14}, "Lecture", false}},
        .wasNoSoundChosen = false});
    fixture.executor->runAll();
    gallery.draw("sound", fixture.window);
    fixture.window.type(Qt::Key_Tab);
    gallery.draw("sound-focus", fixture.window);
}

}  // namespace
}  // namespace velmora::test

int main(int count, char* arguments[])
{
    static void (*volatile types)() = &qml_register_types_Velmora_Windows;
    [[maybe_unused]] const auto linked = types;
    const velmora::test::Gallery gallery{count, arguments};
    velmora::test::drawWindows(gallery);
    velmora::test::drawSounds(gallery);
    return 0;
}
