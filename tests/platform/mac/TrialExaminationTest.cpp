#include "app/mac/TrialExamination.h"

#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using platform::DesktopFacts;
using testing::ElementsAre;
using testing::HasSubstr;
using Severity = TrialFinding::Severity;

/// Of a Mac that has everything.
DesktopFacts facts()
{
    DesktopFacts all;
    all.display.kind = DesktopFacts::DisplayKind::mac;
    all.encoders.tried = {{"VideoToolbox", DesktopFacts::Encoder::Outcome::works, {}, false}};
    all.shortcut.state = DesktopFacts::Shortcut::State::free;
    all.notifications.service = "The system";
    all.disk.folder = "/movies/Velmora";
    all.disk.freeBytes = 100'000'000'000;
    return all;
}

TrialFinding finding(const DesktopFacts& all, const std::string& topic)
{
    for (const auto& each : trialFindings(all)) {
        if (each.topic == topic)
            return each;
    }
    ADD_FAILURE() << "nothing is said of " << topic;
    return {};
}

TEST(TrialExamination, OfAMacThatHasEverythingAllIsGood)
{
    std::vector<std::string> topics;
    for (const auto& each : trialFindings(facts())) {
        topics.push_back(each.topic);
        EXPECT_EQ(each.severity, Severity::good) << each.text;
    }
    EXPECT_THAT(topics, ElementsAre("permission", "encoder", "shortcut", "notifications", "disk"));
}

TEST(TrialExamination, WithoutPermissionNothingCanBeRecorded)
{
    auto all = facts();
    all.display.failure = "the screen may not be captured: It has to be started again.";
    const auto refused = finding(all, "permission");
    EXPECT_EQ(refused.severity, Severity::fault);
    EXPECT_THAT(refused.text, HasSubstr(all.display.failure));
}

TEST(TrialExamination, WithoutAnEncoderNothingCanBeRecorded)
{
    auto all = facts();
    all.encoders.tried[0].outcome = DesktopFacts::Encoder::Outcome::fails;
    all.encoders.tried[0].reason = "status -12908";
    EXPECT_EQ(finding(all, "encoder").severity, Severity::fault);
    EXPECT_THAT(finding(all, "encoder").text, HasSubstr("-12908"));
    all.encoders = {.failure = "no answer within 15 seconds", .library = {}, .onlyEncoder = {}, .tried = {}};
    EXPECT_EQ(finding(all, "encoder").severity, Severity::fault);
    EXPECT_THAT(finding(all, "encoder").text, HasSubstr("15 seconds"));
}

TEST(TrialExamination, AShortcutThatCannotBeHadKeepsNobodyFromRecording)
{
    auto all = facts();
    all.shortcut.state = DesktopFacts::Shortcut::State::taken;
    EXPECT_EQ(finding(all, "shortcut").severity, Severity::warning);
    all.shortcut.state = DesktopFacts::Shortcut::State::unknown;
    EXPECT_EQ(finding(all, "shortcut").severity, Severity::note);
}

TEST(TrialExamination, NotificationsThatAreNotShownKeepNobodyFromRecording)
{
    auto all = facts();
    all.notifications = {.failure = {}, .service = {}, .canBeStarted = true};
    EXPECT_EQ(finding(all, "notifications").severity, Severity::note);
    all.notifications.canBeStarted = false;
    EXPECT_EQ(finding(all, "notifications").severity, Severity::warning);
    all.notifications.failure = "no answer";
    EXPECT_EQ(finding(all, "notifications").severity, Severity::warning);
}

TEST(TrialExamination, TheDisksRoomIsInMinutes)
{
    auto all = facts();
    EXPECT_EQ(finding(all, "disk").text, "/movies/Velmora: room for 1627 minutes of recording");
    all.disk.freeBytes = 1'024'000 * 60;
    EXPECT_EQ(finding(all, "disk").text, "/movies/Velmora: room for 1 minute of recording");
    EXPECT_EQ(finding(all, "disk").severity, Severity::warning);
    all.disk.freeBytes = 1'024'000 * 60 - 1;
    EXPECT_EQ(finding(all, "disk").severity, Severity::fault);
    all.disk.freeBytes.reset();
    EXPECT_EQ(finding(all, "disk").severity, Severity::note);
    all.disk.refusal = "Permission denied";
    EXPECT_EQ(finding(all, "disk").severity, Severity::fault);
    EXPECT_THAT(finding(all, "disk").text, HasSubstr("Permission denied"));
    all.disk.failure = "no answer";
    EXPECT_EQ(finding(all, "disk").severity, Severity::fault);
}

TEST(TrialFinding, IsALineInColumns)
{
    EXPECT_EQ((TrialFinding{"disk", Severity::warning, "Room for 3 minutes"}).line(), "warning  disk           Room for 3 minutes");
}

}  // namespace
}  // namespace velmora::test
