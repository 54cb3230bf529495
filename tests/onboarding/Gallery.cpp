// Draws the walkthrough's steps in all their states, to be looked at:
//
//     [QT_SCALE_FACTOR=2] onboarding_gallery DIRECTORY [TEXT_SCALE [contrast]]
#include "tests/brand/Gallery.h"
#include "tests/onboarding/OnboardingFixture.h"

#include <string>

namespace velmora::test {
namespace {

void drawSteps(const Gallery& gallery)
{
    OnboardingFixture fixture;
    ViewTestWindow window{OnboardingFixture::view, fixture.model, OnboardingFixture::size};
    setReducesMotion(window.engine(), true);
    const auto draw = [&](int step, const char* name) {
        fixture.model.setCurrentStep(step);
        gallery.draw(("walkthrough-" + std::string{name}).c_str(), window);
    };
    fixture.appear();
    draw(0, "1");
    draw(1, "2");
    draw(2, "3");
    draw(3, "4-granted");
    draw(4, "5");
    window.type(Qt::Key_Tab);
    draw(4, "5-focus");
    fixture.chooseWindow("Big Buck Bunny — a film whose title is longer than any window is wide, so that it has to end somewhere");
    draw(4, "5-chosen");
    fixture.withdrawPermission("Windows of a Wayland session cannot be captured yet; log in to an X11 session.");
    draw(3, "4");
    fixture.hasTray = false;
    fixture.refuseShortcut();
    fixture.model.viewWillAppear();
    draw(0, "1-no-tray");
    draw(1, "2-no-tray");
    draw(2, "3-no-shortcut");
    draw(4, "5-no-shortcut");
}

}  // namespace
}  // namespace velmora::test

int main(int count, char* arguments[])
{
    velmora::test::drawSteps(velmora::test::Gallery{count, arguments});
    return 0;
}
