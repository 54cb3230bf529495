#include "app/doctor/Diagnosis.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmora {
namespace {

using platform::DesktopFacts;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::Field;
using ::testing::HasSubstr;
using Encoder = DesktopFacts::Encoder;
using Severity = Finding::Severity;

/// A desktop on which nothing is missing.
DesktopFacts soundDesktop()
{
    DesktopFacts facts;
    facts.system = "Debian GNU/Linux 12 (bookworm)";
    facts.encoders.library = "FFmpeg 5.1";
    facts.encoders.tried = {
        {"h264_nvenc", Encoder::Outcome::fails, "Operation not permitted"}, {"libx264", Encoder::Outcome::works, {}, true}};
    facts.display = {DesktopFacts::DisplayKind::x11, {}, ":0", "The X.Org Foundation 12101007", "XFCE"};
    facts.shortcut.state = DesktopFacts::Shortcut::State::free;
    facts.sound.server = "PipeWire";
    facts.notifications.service = "dunst 1.9.0";
    facts.tray.hasXEmbedHost = true;
    facts.disk.folder = "/volume/somebody/Videos/Velmora";
    facts.disk.exists = true;
    facts.disk.freeBytes = 50'000'000'000;
    return facts;
}

DesktopFacts soundWaylandDesktop()
{
    auto facts = soundDesktop();
    facts.display = {DesktopFacts::DisplayKind::wayland, {}, "wayland-0", {}, "GNOME"};
    facts.portal = {{}, true, false, 5, true, 2};
    facts.shortcut.state = DesktopFacts::Shortcut::State::unknown;
    facts.tray.hasXEmbedHost = false;
    facts.tray.hasStatusNotifierHost = true;
    return facts;
}

std::vector<Finding> of(const std::vector<Finding>& findings, const std::string& topic)
{
    std::vector<Finding> some;
    std::copy_if(findings.begin(), findings.end(), std::back_inserter(some), [&](const auto& finding) { return finding.topic == topic; });
    return some;
}

/// The one finding on the topic, and whether every other topic is as it was without the fault.
Finding theOnlyFault(const DesktopFacts& facts, const DesktopFacts& without, const std::string& topic)
{
    const auto findings = diagnose(facts);
    for (const auto& finding : diagnose(without)) {
        if (finding.topic != topic) {
            EXPECT_THAT(findings, Contains(finding));
        }
    }
    const auto found = of(findings, topic);
    EXPECT_EQ(found.size(), 1U) << topic;
    return found.empty() ? Finding{} : found.front();
}

TEST(Diagnosis, ADesktopThatLacksNothingHasNoWarningAndCanRecord)
{
    for (const auto& facts : {soundDesktop(), soundWaylandDesktop()}) {
        const auto findings = diagnose(facts);
        for (const auto& finding : findings) {
            EXPECT_LE(finding.severity, Severity::note) << finding.text;
            EXPECT_EQ(finding.remedy, "") << finding.text;
        }
        for (const auto* topic : {"encoder", "display", "shortcut", "program", "sound", "notifications", "tray", "disk"})
            EXPECT_FALSE(of(findings, topic).empty()) << topic;
        EXPECT_TRUE(canRecord(findings));
    }
    EXPECT_TRUE(of(diagnose(soundDesktop()), "portal").empty());
    EXPECT_FALSE(of(diagnose(soundWaylandDesktop()), "portal").empty());
}

TEST(Diagnosis, AMacIsAskedWhetherItsScreenMayBeCaptured)
{
    auto sound = soundDesktop();
    sound.display = {DesktopFacts::DisplayKind::mac, {}, {}, {}, {}};
    EXPECT_EQ(of(diagnose(sound), "display"), (std::vector<Finding>{{"display", Severity::good, "The screen may be captured", {}}}));
    auto facts = sound;
    facts.display.failure = "the screen may not be captured";
    const auto fault = theOnlyFault(facts, sound, "display");
    EXPECT_EQ(fault.text, "On this Mac the screen may not be captured");
    EXPECT_THAT(fault.remedy, HasSubstr("System Settings"));
}

TEST(Diagnosis, EveryEncoderHasALineAndTheFirstThatWorksIsTheOneInUse)
{
    auto facts = soundDesktop();
    facts.encoders.tried.push_back({"libopenh264", Encoder::Outcome::works, {}, true});
    const auto found = of(diagnose(facts), "encoder");
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(found[0], (Finding{"encoder", Severity::note, "h264_nvenc cannot be used here: Operation not permitted", {}}));
    EXPECT_EQ(found[1], (Finding{"encoder", Severity::good, "libx264 works, and is the one in use (FFmpeg 5.1)", {}}));
    EXPECT_EQ(found[2], (Finding{"encoder", Severity::good, "libopenh264 works", {}}));
}

TEST(Diagnosis, WithoutTheCodecModuleNothingCanBeRecorded)
{
    auto facts = soundDesktop();
    facts.encoders = {};
    facts.encoders.failure = "velmora_codecs.so: cannot open shared object file";
    const auto fault = theOnlyFault(facts, soundDesktop(), "encoder");
    EXPECT_EQ(fault.severity, Severity::fault);
    EXPECT_THAT(fault.text, HasSubstr("velmora_codecs.so: cannot open shared object file"));
    EXPECT_THAT(fault.remedy, HasSubstr("Install Velmora again"));
    EXPECT_FALSE(canRecord(diagnose(facts)));
}

TEST(Diagnosis, WhereNoEncoderWorksTheRemedyNamesTheOneThatNeedsNoHardware)
{
    auto facts = soundDesktop();
    facts.encoders.tried[1] = {"libx264", Encoder::Outcome::missing, {}, true};
    const auto found = of(diagnose(facts), "encoder");
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(found[1].text, "libx264 is not in FFmpeg 5.1");
    EXPECT_EQ(found[2].severity, Severity::fault);
    EXPECT_THAT(found[2].remedy, HasSubstr("libx264"));
    EXPECT_FALSE(canRecord(diagnose(facts)));
}

TEST(Diagnosis, AnEncoderThatTheEnvironmentRulesInAloneIsSaid)
{
    auto facts = soundDesktop();
    facts.encoders.onlyEncoder = "h264_nvenc";
    facts.encoders.tried[1].outcome = Encoder::Outcome::ruledOut;
    const auto found = of(diagnose(facts), "encoder");
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(found[2].severity, Severity::fault);
    EXPECT_THAT(found[2].remedy, AllOf(HasSubstr("VELMORA_VIDEO_ENCODER"), HasSubstr("h264_nvenc")));
}

TEST(Diagnosis, ADriverThatEndedItsTrialIsAWarningWhoseRemedyIsTheDriver)
{
    auto facts = soundDesktop();
    facts.encoders.tried[0].outcome = Encoder::Outcome::endedAProgram;
    const auto found = of(diagnose(facts), "encoder");
    EXPECT_EQ(found[0].severity, Severity::warning);
    EXPECT_THAT(found[0].text, HasSubstr("h264_nvenc"));
    EXPECT_THAT(found[0].remedy, HasSubstr("driver"));
    EXPECT_TRUE(canRecord(diagnose(facts)));
}

TEST(Diagnosis, WithoutADisplayNothingCanBeRecorded)
{
    auto facts = soundDesktop();
    facts.display = {};
    facts.shortcut.state = DesktopFacts::Shortcut::State::unknown;
    const auto found = of(diagnose(facts), "display");
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].severity, Severity::fault);
    EXPECT_THAT(found[0].remedy, HasSubstr("DISPLAY"));
    EXPECT_FALSE(canRecord(diagnose(facts)));
}

TEST(Diagnosis, ADisplayThatIsGoneIsNamedWithWhatItAnswered)
{
    auto facts = soundDesktop();
    facts.display.failure = "The X display :0 cannot be reached.";
    facts.shortcut.state = DesktopFacts::Shortcut::State::unknown;
    const auto found = of(diagnose(facts), "display");
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].severity, Severity::fault);
    EXPECT_THAT(found[0].text, HasSubstr("The X display :0 cannot be reached."));
    EXPECT_THAT(found[0].remedy, HasSubstr("DISPLAY"));
}

TEST(Diagnosis, AWaylandDesktopWithoutAPortalThatSharesWindowsCannotBeRecorded)
{
    auto facts = soundWaylandDesktop();
    facts.portal = {};
    auto fault = theOnlyFault(facts, soundWaylandDesktop(), "portal");
    EXPECT_EQ(fault.severity, Severity::fault);
    EXPECT_THAT(fault.remedy, HasSubstr("xdg-desktop-portal"));
    EXPECT_FALSE(canRecord(diagnose(facts)));

    facts.portal = {{}, true, false, 4, false, 1};
    fault = theOnlyFault(facts, soundWaylandDesktop(), "portal");
    EXPECT_EQ(fault.severity, Severity::fault);
    EXPECT_THAT(fault.text, HasSubstr("no single windows"));
    EXPECT_THAT(fault.remedy, HasSubstr("xdg-desktop-portal-gnome"));
}

TEST(Diagnosis, APortalThatWouldBeStartedWhenItIsNeededIsNoFault)
{
    auto facts = soundWaylandDesktop();
    facts.portal = {{}, false, true, 0, false, 0};
    const auto finding = theOnlyFault(facts, soundWaylandDesktop(), "portal");
    EXPECT_EQ(finding.severity, Severity::note);
    EXPECT_TRUE(canRecord(diagnose(facts)));
}

TEST(Diagnosis, AShortcutThatIsTakenIsAWarningWithTheCommandToBind)
{
    auto facts = soundDesktop();
    facts.shortcut.state = DesktopFacts::Shortcut::State::taken;
    const auto fault = theOnlyFault(facts, soundDesktop(), "shortcut");
    EXPECT_EQ(fault.severity, Severity::warning);
    EXPECT_THAT(fault.text, HasSubstr("Alt+Super+C"));
    EXPECT_THAT(fault.remedy, HasSubstr("velmora toggle"));
    EXPECT_TRUE(canRecord(diagnose(facts)));
}

TEST(Diagnosis, TheRunningProgramKnowsBetterThanTheKeysWhetherItHasTheShortcut)
{
    auto facts = soundDesktop();
    facts.shortcut.state = DesktopFacts::Shortcut::State::taken;
    facts.program.isRunning = true;
    facts.program.status = R"({"description":"Capturing","shortcutIsRegistered":true})";
    EXPECT_EQ(of(diagnose(facts), "shortcut").front().severity, Severity::good);
    EXPECT_THAT(of(diagnose(facts), "program").front().text, HasSubstr("Capturing"));

    facts.program.status = R"({"description":"Capturing","shortcutIsRegistered":false,"shortcutError":"Another program has it."})";
    const auto fault = of(diagnose(facts), "shortcut").front();
    EXPECT_EQ(fault.severity, Severity::warning);
    EXPECT_THAT(fault.text, HasSubstr("Another program has it."));
    EXPECT_THAT(fault.remedy, HasSubstr("velmora toggle"));
}

TEST(Diagnosis, OnWaylandWithoutAShortcutsPortalAKeyHasToBeBound)
{
    auto facts = soundWaylandDesktop();
    facts.portal.shortcuts = 0;
    const auto found = of(diagnose(facts), "shortcut");
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].severity, Severity::warning);
    EXPECT_THAT(found[0].remedy, HasSubstr("velmora toggle"));
}

TEST(Diagnosis, WithoutASoundServerClipsAreSilent)
{
    auto facts = soundDesktop();
    facts.sound = {{}, {}, "No PipeWire server answers: Host is down"};
    const auto fault = theOnlyFault(facts, soundDesktop(), "sound");
    EXPECT_EQ(fault.severity, Severity::warning);
    EXPECT_THAT(fault.text, HasSubstr("Host is down"));
    EXPECT_THAT(fault.remedy, AllOf(HasSubstr("PipeWire"), HasSubstr("PulseAudio")));
    EXPECT_TRUE(canRecord(diagnose(facts)));
}

TEST(Diagnosis, WithoutANotificationServiceTheRemedyIsToInstallOne)
{
    auto facts = soundDesktop();
    facts.notifications = {};
    const auto fault = theOnlyFault(facts, soundDesktop(), "notifications");
    EXPECT_EQ(fault.severity, Severity::warning);
    EXPECT_THAT(fault.remedy, HasSubstr("dunst"));

    facts.notifications.canBeStarted = true;
    EXPECT_EQ(theOnlyFault(facts, soundDesktop(), "notifications").severity, Severity::good);
}

TEST(Diagnosis, WithoutATrayTheRemedySaysWhereTheMenuIs)
{
    auto facts = soundDesktop();
    facts.tray = {};
    const auto fault = theOnlyFault(facts, soundDesktop(), "tray");
    EXPECT_EQ(fault.severity, Severity::warning);
    EXPECT_THAT(fault.remedy, AllOf(HasSubstr("small window"), HasSubstr("AppIndicator")));
}

TEST(Diagnosis, AFolderInWhichNoFileCanBeCreatedIsAFault)
{
    auto facts = soundDesktop();
    facts.disk.refusal = "Read-only file system";
    const auto fault = theOnlyFault(facts, soundDesktop(), "disk");
    EXPECT_EQ(fault.severity, Severity::fault);
    EXPECT_THAT(fault.text, AllOf(HasSubstr("/volume/somebody/Videos/Velmora"), HasSubstr("Read-only file system")));
    EXPECT_THAT(fault.remedy, HasSubstr("another clips folder"));
    EXPECT_FALSE(canRecord(diagnose(facts)));
}

TEST(Diagnosis, AFullDiskIsAFaultAndOneThatSoonWillBeIsAWarning)
{
    auto facts = soundDesktop();
    facts.disk.freeBytes = 0;
    auto fault = theOnlyFault(facts, soundDesktop(), "disk");
    EXPECT_EQ(fault.severity, Severity::fault);
    EXPECT_THAT(fault.text, HasSubstr("full"));
    EXPECT_THAT(fault.remedy, HasSubstr("Make room"));

    // Ten minutes at 8 Mbit/s and the sound's 192 kbit/s are some 615 MB.
    facts.disk.freeBytes = 600'000'000;
    fault = theOnlyFault(facts, soundDesktop(), "disk");
    EXPECT_EQ(fault.severity, Severity::warning);
    EXPECT_THAT(fault.text, HasSubstr("9 minutes"));

    facts.disk.freeBytes = 630'000'000;
    EXPECT_EQ(theOnlyFault(facts, soundDesktop(), "disk").severity, Severity::good);
}

TEST(Diagnosis, AQuestionThatFoundNoAnswerIsNeverTakenForAGoodOne)
{
    const std::string hung = "no answer within 15 seconds";
    auto facts = soundWaylandDesktop();
    for (auto* failure : {&facts.encoders.failure, &facts.display.failure, &facts.portal.failure, &facts.program.failure,
             &facts.sound.failure, &facts.notifications.failure, &facts.tray.failure, &facts.disk.failure})
        *failure = hung;
    const auto findings = diagnose(facts);
    for (const auto* topic : {"encoder", "display", "portal", "program", "sound", "notifications", "tray", "disk"}) {
        const auto found = of(findings, topic);
        ASSERT_EQ(found.size(), 1U) << topic;
        EXPECT_GE(found[0].severity, Severity::warning) << topic;
        EXPECT_THAT(found[0].text, HasSubstr(hung)) << topic;
        EXPECT_NE(found[0].remedy, "") << topic;
    }
    EXPECT_FALSE(canRecord(findings));
}

TEST(Diagnosis, EveryWarningAndEveryFaultHasARemedy)
{
    for (const auto& finding : diagnose({})) {
        if (finding.severity >= Severity::warning) {
            EXPECT_NE(finding.remedy, "") << finding.text;
        }
    }
}

}  // namespace
}  // namespace velmora
