#include "app/views/WindowContents.h"

#include "platform/fake/FakeExportSession.h"
#include "platform/fake/FakePlayer.h"
#include "tests/library/views/SmallFilesFixture.h"
#include "tests/support/CoordinatorFixture.h"

#include <QDBusConnection>
#include <gmock/gmock.h>

#include <fstream>

namespace velmora {
namespace {

using ::testing::IsEmpty;
using ::testing::SizeIs;

class WindowContentsTest : public testing::Test, protected test::CoordinatorFixture {
protected:
    [[nodiscard]] SharedServices makeServices() const
    {
        SharedServices made;
        made.platform.players = players;
        made.platform.assetReader = assetReader;
        made.platform.exportSessions = std::make_shared<fake::FakeExportSessionFactory>();
        made.platform.fileManager = fileManager;
        made.platform.workspace = workspace;
        made.mainExecutor = executor;
        made.clock = clock;
        return made;
    }

    std::shared_ptr<fake::FakePlayers> players = std::make_shared<fake::FakePlayers>();
    test::SmallFilesFixture copies;
    const SharedServices services = makeServices();
    const TrayHost noHost{QDBusConnection{QStringLiteral("no bus")}};
    const WindowContentParts parts{services, {*coordinator, *library, *permissionManager, *shortcutManager},
        std::make_shared<RunningExports>(), [] { return std::shared_ptr<WindowPresenting>{}; }, noHost, copies.files};
};

TEST_F(WindowContentsTest, APreviewLoadsItsPlayerBehindItsFirstFrameAndNothingOfItBefore)
{
    const auto clip = folder.path() / "clip.mp4";
    std::ofstream{clip} << "a film";
    assetReader->durations[clip] = MediaTime{10, 1};
    players->isPrepared = false;
    const auto shown = makeWindowContent({WindowContent::clipPreview, 680, 600, true, true, "Preview", clip}, parts);
    if (shown.willAppear)
        shown.willAppear();
    executor->runAll();
    players->finishPreparation();
    executor->runAll();
    EXPECT_THAT(players->players, IsEmpty()) << "before the first frame";
    shown.didAppear();
    executor->runAll();
    EXPECT_THAT(players->players, SizeIs(1));
    shown.didDisappear();
    executor->runAll();
}

}  // namespace
}  // namespace velmora
