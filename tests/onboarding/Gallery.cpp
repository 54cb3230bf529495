// Draws the walkthrough's steps in all their states, to be looked at:
//
//     [QT_SCALE_FACTOR=2] onboarding_gallery DIRECTORY
#include "tests/brand/ViewTestWindow.h"
#include "tests/onboarding/OnboardingFixture.h"

#include <QDir>

#include <cstdio>

namespace velmora::test {
namespace {

void drawSteps(const QDir& directory)
{
    OnboardingFixture fixture;
    ViewTestWindow window{OnboardingFixture::view, fixture.model, OnboardingFixture::size};
    setReducesMotion(window.engine(), true);
    const auto draw = [&](int step, const char* name) {
        fixture.model.setCurrentStep(step);
        const auto file = directory.filePath(QStringLiteral("walkthrough-%1.png").arg(QLatin1String(name)));
        static_cast<void>(window.grab());
        if (!window.grab().save(file))
            std::fprintf(stderr, "cannot write %s\n", qPrintable(file));
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
    if (count != 2) {
        std::fprintf(stderr, "usage: onboarding_gallery DIRECTORY\n");
        return 2;
    }
    static_cast<void>(velmora::test::application());
    velmora::test::drawSteps(QDir{QString::fromLocal8Bit(arguments[1])});
    return 0;
}
