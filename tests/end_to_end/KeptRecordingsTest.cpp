// What is to be had of a capture beside its saved recordings: those that were discarded, and the last seconds.

#include "tests/support/desktop/DesktopServices.h"
#include "tests/support/desktop/TrayProgram.h"
#include "tests/support/recording/RecordedClip.h"
#include "tests/support/recording/Subjects.h"
#include "tests/support/sound/ChildProcess.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <gmock/gmock.h>

namespace velmora::test {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

/// Whole, of at least that many seconds, with the pictures in the order in which they were shown.
void expectAWholeClip(const std::filesystem::path& file, double seconds)
{
    const auto clip = readClip(file);
    ASSERT_TRUE(clip.opened && clip.video) << file;
    EXPECT_THAT(clip.complaints, IsEmpty());
    const auto& pictures = clip.video->pictures;
    ASSERT_FALSE(pictures.empty());
    EXPECT_GE(pictures.back().time, seconds);
    EXPECT_TRUE(std::is_sorted(
        pictures.begin(), pictures.end(), [](const auto& a, const auto& b) { return a.reading.number() < b.reading.number(); }));
}

/// A recording of more than a second that the next choice or the end of the program discards; the clip that it would have been.
std::filesystem::path beginARecording(TrayProgram& program)
{
    const auto before = program.clips();
    EXPECT_EQ(program.run({"toggle"}).status, 0);
    EXPECT_TRUE(waitUntil([&] { return program.clips().size() > before.size(); }));
    record(1800ms);
    for (const auto& clip : program.clips()) {
        if (std::find(before.begin(), before.end(), clip) == before.end())
            return clip;
    }
    return {};
}

bool isEmptied(const TrayProgram& program)
{
    const auto trash = program.home() / "data" / "Trash";
    return std::filesystem::is_empty(trash / "files") && std::filesystem::is_empty(trash / "info");
}

TEST(KeptRecordingsTest, WhatIsDiscardedComesBackByItsNotificationNowOrAfterTheNextStartAndByTheCommandAtAnyTime)
{
    const Panel panel;
    Notifier notifier;
    const NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program;
    const auto select = [&] { return program.run({"select", std::to_string(window.id())}).status; };
    ASSERT_EQ(select(), 0);

    const auto first = beginARecording(program);
    ASSERT_EQ(select(), 0) << "another choice discards it";
    EXPECT_FALSE(std::filesystem::exists(first));
    ASSERT_TRUE(waitUntil([&] { return notifier.displayedCount() == 1; }));
    ASSERT_TRUE(notifier.choose("Restore"));
    ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(first); }));
    expectAWholeClip(first, 1);
    EXPECT_TRUE(waitUntil([&] { return isEmptied(program); }));

    static_cast<void>(notifier.closeAndTell());
    const auto second = beginARecording(program);
    program.restart();
    EXPECT_FALSE(std::filesystem::exists(second));
    ASSERT_TRUE(waitUntil([&] { return notifier.displayedCount() == 1; })) << "the next start offers it";
    ASSERT_TRUE(notifier.choose("Restore"));
    ASSERT_TRUE(waitUntil([&] { return std::filesystem::exists(second); }));
    expectAWholeClip(second, 1);
    EXPECT_TRUE(waitUntil([&] { return isEmptied(program); }));

    ASSERT_EQ(select(), 0);
    const auto third = beginARecording(program);
    program.restart();
    const auto listed = program.run({"restore", "--list", "--json"});
    EXPECT_EQ(listed.status, 0) << listed.messages;
    const auto recordings = QJsonDocument::fromJson(QByteArray::fromStdString(listed.output)).array();
    ASSERT_EQ(recordings.size(), 1) << listed.output;
    EXPECT_EQ(recordings[0].toObject().value(QLatin1String("origin")).toString().toStdString(), third.native());
    EXPECT_GE(recordings[0].toObject().value(QLatin1String("seconds")).toDouble(), 1);
    const auto restored = program.run({"restore"});
    EXPECT_EQ(restored.status, 0) << restored.messages;
    EXPECT_EQ(restored.lastLine(), third.native());
    expectAWholeClip(third, 1);
    const auto nothing = program.run({"restore"});
    EXPECT_EQ(nothing.status, 1);
    EXPECT_THAT(nothing.messages, HasSubstr("No recording"));
    EXPECT_THAT(program.clips(), SizeIs(3));
}

TEST(KeptRecordingsTest, TheLastSecondsAreSavedByCommandAndScriptsHearOfIt)
{
    const NumberedWindow window{{"--size", "320x240"}};
    TrayProgram program;
    ChildProcess events{velmora({"events", "--json"})};
    EXPECT_EQ(events.readLine(), "{\"event\":\"state\",\"state\":\"waitingForWindowSelection\"}");
    ASSERT_EQ(program.run({"replay", "on", "5"}).status, 0);
    EXPECT_EQ(program.run({"replay", "on", "26"}).status, 1);
    ASSERT_EQ(program.run({"select", "--title", window.title(), "--wait"}).status, 0);
    EXPECT_EQ(events.readLine(), "{\"event\":\"state\",\"state\":\"capturing\"}");
    record(3s);
    EXPECT_GT(program.status().value(QLatin1String("replay")).toObject().value(QLatin1String("bytes")).toInteger(), 10'000);

    const auto saved = program.run({"replay", "save", "2"});
    ASSERT_EQ(saved.status, 0) << saved.messages;
    EXPECT_THAT(saved.lastLine(), HasSubstr("/Velmora-2"));
    EXPECT_EQ(events.readLine(), "{\"event\":\"clipSaved\",\"path\":\"" + saved.lastLine() + "\"}");
    EXPECT_EQ(program.lastSavedClip(), saved.lastLine());
    expectAWholeClip(saved.lastLine(), 1.9);
    EXPECT_LE(readClip(saved.lastLine()).video->pictures.back().time, 2.6) << "from the key frame before, half a second at most";

    ASSERT_EQ(program.run({"replay", "off"}).status, 0);
    EXPECT_EQ(program.run({"replay", "save"}).status, 1);
    EXPECT_THAT(events.readLine().value_or(""), HasSubstr("captureFailed"));
    EXPECT_FALSE(program.status().contains(QLatin1String("replay")));
}

}  // namespace
}  // namespace velmora::test
