#include "app/control/InstanceBus.h"
#include "app/control/ControlCommands.h"
#include "app/control/EventsCommand.h"
#include "tests/support/sound/ChildProcess.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVirtualObject>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <unistd.h>

namespace velmora {
namespace {

using command_line::Control;
using Role = InstanceBus::Role;

class ScriptedControl final : public InstanceControl {
public:
    void activate() override { calls.append(QStringLiteral("activate")); }
    void chooseWindow() override { calls.append(QStringLiteral("choose window")); }
    void presentClips() override { calls.append(QStringLiteral("clips")); }
    void toggleRecording(UniqueFunction<void(Result<SavedClip>)> completion, CallerTells tells) override
    {
        wasToldByCaller = tells && tells();
        callerTells = std::move(tells);
        calls.append(QStringLiteral("toggle"));
        if (holdsToggle)
            heldToggle = std::move(completion);
        else
            completion(clip);
    }
    Result<std::string> setPaused(std::optional<bool> isPaused) override
    {
        calls.append(isPaused ? *isPaused ? QStringLiteral("pause") : QStringLiteral("resume") : QStringLiteral("toggle pause"));
        if (!selected)
            return tl::unexpected(selected.error());
        return remark;
    }
    void selectWindow(std::uint32_t windowID, std::optional<std::string> sound, UniqueFunction<void(Result<std::string>)> completion,
        CallerTells tells) override
    {
        wasToldByCaller = tells && tells();
        callerTells = std::move(tells);
        calls.append(QStringLiteral("select %1").arg(windowID)
            + (sound ? QStringLiteral(" with the sound of ") + QString::fromStdString(*sound) : QString{}));
        completion(selected ? Result<std::string>{remark} : Result<std::string>{tl::unexpected(selected.error())});
    }
    void selectMatchingWindow(WindowDescriptor descriptor, std::optional<std::string> sound,
        UniqueFunction<void(Result<std::string>)> completion, CallerTells) override
    {
        calls.append(
            QStringLiteral("select %1, %2").arg(QString::fromStdString(descriptor.application), QString::fromStdString(descriptor.title))
            + (sound ? QStringLiteral(" with the sound of ") + QString::fromStdString(*sound) : QString{}));
        if (missingWindows > 0) {
            --missingWindows;
            return completion(fail(errorDomain, noSuchWindow, "There is no such window."));
        }
        completion(remark);
    }
    Result<void> setReplayDuration(std::optional<double> seconds) override
    {
        calls.append(seconds ? QStringLiteral("replay %1").arg(*seconds) : QStringLiteral("no replay"));
        return selected;
    }
    void saveReplay(std::optional<double> seconds, UniqueFunction<void(Result<SavedClip>)> completion, CallerTells tells) override
    {
        wasToldByCaller = tells && tells();
        calls.append(seconds ? QStringLiteral("save %1").arg(*seconds) : QStringLiteral("save all"));
        completion(clip);
    }
    void setEventObserver(EventObserver newObserver) override { observer = std::move(newObserver); }
    void stopCapture(UniqueFunction<void(Result<SavedClip>)> completion, CallerTells tells) override
    {
        wasToldByCaller = tells && tells();
        callerTells = std::move(tells);
        calls.append(QStringLiteral("stop"));
        completion(clip);
    }
    [[nodiscard]] QJsonObject status() const override
    {
        if (const auto work = std::exchange(onStatus, nullptr))
            work();
        return statusObject;
    }
    Result<void> presentClipPreview(const std::filesystem::path& file) override
    {
        calls.append(QStringLiteral("preview ") + QString::fromStdString(file.string()));
        return selected;
    }
    Result<void> copyFile(const std::filesystem::path& file) override
    {
        calls.append(QStringLiteral("copy ") + QString::fromLatin1(QByteArray::fromStdString(file.native()).toPercentEncoding("/")));
        return selected;
    }
    void quit() override { calls.append(QStringLiteral("quit")); }

    QJsonObject statusObject{{QStringLiteral("description"), QStringLiteral("Not configured")}};
    mutable std::function<void()> onStatus;  ///< called by the next question
    EventObserver observer;
    int missingWindows = 0;
    QStringList calls;
    CallerTells callerTells;
    bool wasToldByCaller = false;
    Result<SavedClip> clip = SavedClip{};
    Result<void> selected;
    std::string remark;
    bool holdsToggle = false;
    UniqueFunction<void(Result<SavedClip>)> heldToggle;
};

struct Answer {
    int status = -1;
    std::string output;
    std::string errors;
};

/// With a session bus of its own.
class InstanceBusTest : public testing::Test {
protected:
    void SetUp() override
    {
        const auto line = daemon_.readLine();
        ASSERT_TRUE(line) << "dbus-daemon did not start";
        address_ = QString::fromStdString(*line);
    }

    void TearDown() override
    {
        for (const auto& name : names_)
            QDBusConnection::disconnectFromBus(name);
    }

    QDBusConnection connect(const char* name)
    {
        names_.append(QString::fromLatin1(name));
        return QDBusConnection::connectToBus(address_, names_.constLast());
    }

    /// What a command prints, as if another process ran it; the instance answers meanwhile.
    template <typename Command>
    Answer run(const Command& command)
    {
        Answer answer;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        auto connection = connect("client");
        QEventLoop loop;
        std::thread client([&] {
            answer.status = command(connection);
            QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
        });
        loop.exec();
        client.join();
        answer.output = testing::internal::GetCapturedStdout();
        answer.errors = testing::internal::GetCapturedStderr();
        QDBusConnection::disconnectFromBus(QStringLiteral("client"));
        return answer;
    }

    /// One that has the name and does what it is asked.
    std::unique_ptr<InstanceBus> runningInstance()
    {
        auto bus = std::make_unique<InstanceBus>(connect("instance"));
        EXPECT_EQ(bus->claim(), Role::first);
        bus->serve(control_);
        return bus;
    }

    Answer run(Control command)
    {
        return run([&](const QDBusConnection& connection) { return runControlCommand(command, connection); });
    }

    static Control control(Control::Action action)
    {
        Control command;
        command.action = action;
        return command;
    }

    int argc_ = 1;
    char name_[5] = "test";
    char* argv_[2] = {name_, nullptr};
    QCoreApplication application_{argc_, argv_};
    test::ChildProcess daemon_{{"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address"}};
    QString address_;
    QStringList names_;
    ScriptedControl control_;
};

TEST_F(InstanceBusTest, AWindowIsSelectedWithTheSoundThatTheUserWantsAndTheRemarkIsPrinted)
{
    const auto instance = runningInstance();
    auto select = control(Control::Action::select);
    select.windowID = 7;
    EXPECT_EQ(run(select).output, "");
    select.sound = "Müsic";
    control_.remark = "The window has no sound.";
    const auto answer = run(select);
    EXPECT_EQ(answer.status, command_line::succeeded);
    EXPECT_EQ(answer.output, "The window has no sound.\n");
    EXPECT_EQ(control_.calls, (QStringList{QStringLiteral("select 7"), QStringLiteral("select 7 with the sound of Müsic")}));
}

TEST_F(InstanceBusTest, OnlyOneInstanceGetsTheName)
{
    InstanceBus first{connect("first")};
    InstanceBus second{connect("second")};
    EXPECT_EQ(first.claim(), Role::first);
    EXPECT_EQ(second.claim(), Role::second);
}

TEST_F(InstanceBusTest, TheNameIsFreeAgainWhenTheInstanceEnds)
{
    {
        InstanceBus first{connect("first")};
        EXPECT_EQ(first.claim(), Role::first);
    }
    InstanceBus second{connect("second")};
    EXPECT_EQ(second.claim(), Role::first);
}

TEST_F(InstanceBusTest, WithoutASessionBusTheProgramRunsAlone)
{
    InstanceBus bus{QDBusConnection{QStringLiteral("there is no such connection")}};
    EXPECT_EQ(bus.claim(), Role::alone);
    bus.serve(control_);
    const auto answer =
        run([](const QDBusConnection&) { return runControlCommand({}, QDBusConnection{QStringLiteral("there is no such connection")}); });
    EXPECT_EQ(answer.status, command_line::failed);
    EXPECT_NE(answer.errors.find("no session bus"), std::string::npos) << answer.errors;
}

TEST_F(InstanceBusTest, ASecondStartBringsUpTheFirst)
{
    const auto instance = runningInstance();
    const auto answer = run([](const QDBusConnection& connection) { return activateRunningInstance(connection); });
    EXPECT_EQ(answer.status, command_line::succeeded);
    EXPECT_EQ(control_.calls, QStringList{QStringLiteral("activate")});
}

TEST_F(InstanceBusTest, EachCommandSaysClearlyThatNothingRuns)
{
    using Action = Control::Action;
    for (const auto action : {Action::toggle, Action::pause, Action::resume, Action::togglePause, Action::choose, Action::select,
             Action::stop, Action::status, Action::replayOn, Action::replayOff, Action::replaySave, Action::preview, Action::quit}) {
        const auto answer = run(control(action));
        EXPECT_EQ(answer.status, command_line::failed);
        EXPECT_EQ(answer.errors, "Velmora is not running. Start it with 'velmora'.\n");
        EXPECT_EQ(answer.output, "");
    }
}

TEST_F(InstanceBusTest, AToggleThatEndsARecordingPrintsThePathWhenTheFileIsSafe)
{
    const auto instance = runningInstance();
    control_.holdsToggle = true;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &poll, [&] {
        if (control_.heldToggle)
            std::exchange(control_.heldToggle, {})(InstanceControl::SavedClip{"/clips/a b & \"c\" é.mp4"});
    });
    poll.start(1);
    const auto answer = run(control(Control::Action::toggle));
    EXPECT_EQ(answer.status, command_line::succeeded);
    EXPECT_EQ(answer.output, "/clips/a b & \"c\" é.mp4\n");
}

TEST_F(InstanceBusTest, AToggleThatStartsARecordingPrintsNothing)
{
    const auto instance = runningInstance();
    const auto answer = run(control(Control::Action::toggle));
    EXPECT_EQ(answer.status, command_line::succeeded);
    EXPECT_EQ(answer.output, "");
}

TEST_F(InstanceBusTest, AFailureIsPrintedAsItIs)
{
    const auto instance = runningInstance();
    control_.clip = fail("Velmora.Test", 1, "Cannot record: Please select a video window first.");
    control_.selected = fail("Velmora.Test", 2, "No such window.");
    EXPECT_EQ(run(control(Control::Action::toggle)).errors, "Cannot record: Please select a video window first.\n");
    EXPECT_EQ(run(control(Control::Action::stop)).status, command_line::failed);
    EXPECT_EQ(run(control(Control::Action::select)).errors, "No such window.\n");
    auto preview = control(Control::Action::preview);
    preview.file = "/clips/a.mp4";
    EXPECT_EQ(run(preview).errors, "No such window.\n");
    preview.file = "a.mp4";
    EXPECT_EQ(run(preview).errors, "a.mp4 is not an absolute path.\n");
}

TEST_F(InstanceBusTest, EveryCommandReachesTheProgramWithWhatItCarries)
{
    const auto instance = runningInstance();
    auto select = control(Control::Action::select);
    select.windowID = 4'294'967'295U;
    auto preview = control(Control::Action::preview);
    preview.file = "/clips/naïve.mp4";
    auto json = control(Control::Action::status);
    json.json = true;
    run(control(Control::Action::choose));
    EXPECT_EQ(run(control(Control::Action::clips)).status, command_line::succeeded);
    run(select);
    run(preview);
    run(control(Control::Action::stop));
    EXPECT_EQ(run(json).output, "{\"description\":\"Not configured\"}\n");
    EXPECT_EQ(run(control(Control::Action::status)).output, "Not configured\n");
    EXPECT_EQ(run(control(Control::Action::quit)).status, command_line::succeeded);
    EXPECT_EQ(control_.calls,
        (QStringList{QStringLiteral("choose window"), QStringLiteral("clips"), QStringLiteral("select 4294967295"),
            QStringLiteral("preview /clips/naïve.mp4"), QStringLiteral("stop"), QStringLiteral("quit")}));
}

TEST_F(InstanceBusTest, TheActionsOfTheDesktopEntryReachTheProgram)
{
    const auto instance = runningInstance();
    for (const auto* action : {"toggle", "pause", "choose-window", "show-clips", "no such action"}) {
        run([&](QDBusConnection& connection) {
            auto call = QDBusMessage::createMethodCall(QStringLiteral("com.velmora.Velmora"), QStringLiteral("/com/velmora/Velmora"),
                QStringLiteral("org.freedesktop.Application"), QStringLiteral("ActivateAction"));
            call.setArguments({QString::fromLatin1(action), QVariantList{}, QVariantMap{}});
            EXPECT_EQ(connection.call(call).type(), QDBusMessage::ReplyMessage) << action;
            return 0;
        });
    }
    EXPECT_EQ(control_.calls,
        (QStringList{QStringLiteral("toggle"), QStringLiteral("toggle pause"), QStringLiteral("choose window"), QStringLiteral("clips")}));
}

TEST_F(InstanceBusTest, APauseAndAResumeSayWhatBecameOfThem)
{
    const auto instance = runningInstance();
    control_.remark = "The recording is paused.";
    for (const auto action : {Control::Action::pause, Control::Action::resume, Control::Action::togglePause}) {
        const auto answer = run(control(action));
        EXPECT_EQ(answer.status, command_line::succeeded);
        EXPECT_EQ(answer.output, "The recording is paused.\n");
    }
    EXPECT_EQ(control_.calls, (QStringList{QStringLiteral("pause"), QStringLiteral("resume"), QStringLiteral("toggle pause")}));
    control_.selected = fail("Velmora.Test", 1, "Nothing is being recorded.");
    const auto refused = run(control(Control::Action::pause));
    EXPECT_EQ(refused.status, command_line::failed);
    EXPECT_EQ(refused.errors, "Nothing is being recorded.\n");
    EXPECT_EQ(refused.output, "");
}

TEST_F(InstanceBusTest, TheStatusOfAPausedRecordingSaysSo)
{
    const auto instance = runningInstance();
    control_.statusObject = {{QStringLiteral("description"), QStringLiteral("Recording")}, {QStringLiteral("isPaused"), true}};
    EXPECT_EQ(run(control(Control::Action::status)).output, "Recording\nThe recording is paused.\n");
    control_.statusObject.insert(QStringLiteral("isPaused"), false);
    EXPECT_EQ(run(control(Control::Action::status)).output, "Recording\n");
}

TEST_F(InstanceBusTest, AFileIsCopiedByTheProgramWhateverItsNameAndByNobodyWhereNoneRuns)
{
    QString reason;
    const auto copy = [&](const QDBusConnection& connection) {
        const auto copied = copyByRunningInstance("/clips/a\xFF b.mp4", connection);
        reason = copied ? QString{} : copied.error();
        return copied ? 0 : 1;
    };
    EXPECT_EQ(run(copy).status, 1);
    EXPECT_NE(reason.indexOf(QStringLiteral("not running")), -1) << qPrintable(reason);
    const auto instance = runningInstance();
    EXPECT_EQ(run(copy).status, 0);
    EXPECT_EQ(control_.calls, QStringList{QStringLiteral("copy /clips/a%FF%20b.mp4")});
    control_.selected = fail("Test", 1, "There is no such file.");
    EXPECT_EQ(run(copy).status, 1);
    EXPECT_EQ(reason, QStringLiteral("There is no such file."));
}

TEST_F(InstanceBusTest, ACallThatIsDroppedUnansweredIsAnsweredWithAnError)
{
    const auto instance = runningInstance();
    control_.holdsToggle = true;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &poll, [&] { control_.heldToggle.reset(); });
    poll.start(1);
    const auto answer = run(control(Control::Action::toggle));
    EXPECT_EQ(answer.status, command_line::failed);
    EXPECT_EQ(answer.errors, "Velmora is ending.\n");
}

TEST_F(InstanceBusTest, OverlappingCallsAreEachAnsweredWithTheirOwnClipInWhateverOrderTheseAreSaved)
{
    const auto instance = runningInstance();
    control_.holdsToggle = true;
    std::vector<UniqueFunction<void(Result<InstanceControl::SavedClip>)>> held;
    QEventLoop loop;
    std::vector<QDBusPendingReply<QString>> replies;
    for (const auto* client : {"a", "b", "c"}) {
        auto call = QDBusMessage::createMethodCall(QStringLiteral("com.velmora.Velmora"), QStringLiteral("/com/velmora/Velmora"),
            QStringLiteral("com.velmora.Velmora.Control"), QStringLiteral("Toggle"));
        replies.emplace_back(connect(client).asyncCall(call));
        while (!control_.heldToggle)
            loop.processEvents(QEventLoop::WaitForMoreEvents);
        held.push_back(std::exchange(control_.heldToggle, {}));
    }
    held[2](InstanceControl::SavedClip{"/clips/c.mp4"});
    held[0](fail("Velmora.Test", 1, "Failed saving recording: x"));
    held[1](InstanceControl::SavedClip{"/clips/b.mp4"});
    for (auto& reply : replies)
        reply.waitForFinished();
    EXPECT_EQ(replies[0].error().message(), QStringLiteral("Failed saving recording: x"));
    EXPECT_EQ(replies[1].value(), QStringLiteral("/clips/b.mp4"));
    EXPECT_EQ(replies[2].value(), QStringLiteral("/clips/c.mp4"));
}

TEST_F(InstanceBusTest, AWindowIsSelectedByWhatItSaysOfItself)
{
    const auto instance = runningInstance();
    auto select = control(Control::Action::select);
    select.application = "Player";
    select.title = "Fílm";
    EXPECT_EQ(run(select).status, command_line::succeeded);
    select.title.clear();
    select.sound = "none";
    EXPECT_EQ(run(select).status, command_line::succeeded);
    EXPECT_EQ(
        control_.calls, (QStringList{QStringLiteral("select Player, Fílm"), QStringLiteral("select Player,  with the sound of none")}));
}

TEST_F(InstanceBusTest, OnlyWhoWaitsAsksForAWindowAgain)
{
    const auto instance = runningInstance();
    auto select = control(Control::Action::select);
    select.title = "film";
    control_.missingWindows = 1;
    const auto impatient = run(select);
    EXPECT_EQ(impatient.status, command_line::failed);
    EXPECT_EQ(impatient.errors, "There is no such window.\n");
    control_.missingWindows = 2;
    select.wait = true;
    const auto patient = run(select);
    EXPECT_EQ(patient.status, command_line::succeeded) << patient.errors;
    EXPECT_EQ(control_.calls.size(), 4);
}

TEST_F(InstanceBusTest, AReplayIsKeptSavedAndForgotten)
{
    const auto instance = runningInstance();
    auto replay = control(Control::Action::replayOn);
    EXPECT_EQ(run(replay).status, command_line::succeeded);
    replay.seconds = 20;
    EXPECT_EQ(run(replay).output, "");
    replay.action = Control::Action::replaySave;
    control_.clip = InstanceControl::SavedClip{"/clips/a.mp4"};
    EXPECT_EQ(run(replay).output, "/clips/a.mp4\n");
    replay.seconds = 0;
    EXPECT_EQ(run(replay).output, "/clips/a.mp4\n");
    EXPECT_EQ(run(control(Control::Action::replayOff)).status, command_line::succeeded);
    EXPECT_EQ(control_.calls,
        (QStringList{QStringLiteral("replay 15"), QStringLiteral("replay 20"), QStringLiteral("save 20"), QStringLiteral("save all"),
            QStringLiteral("no replay")}));
    control_.selected = fail("Velmora.Test", 1, "Instant replay keeps at most 25 seconds.");
    replay.action = Control::Action::replayOn;
    const auto refused = run(replay);
    EXPECT_EQ(refused.status, command_line::failed);
    EXPECT_EQ(refused.errors, "Instant replay keeps at most 25 seconds.\n");
}

TEST_F(InstanceBusTest, EventsArePrintedInTheirOrderUntilTheProgramEnds)
{
    using Kind = InstanceEvent::Kind;
    auto instance = runningInstance();
    control_.statusObject = {{QStringLiteral("state"), QStringLiteral("capturing")}};
    const auto question = QDBusMessage::createMethodCall(QLatin1String{instance_bus::serviceName}, QLatin1String{instance_bus::objectPath},
        QLatin1String{instance_bus::controlInterface}, QStringLiteral("Status"));
    const auto happen = [&] {
        // Beside the answer, and the same as it says: no news.
        control_.observer({.kind = Kind::stateChanged, .text = "capturing"});
        QTimer::singleShot(0, &application_, [&] {
            control_.observer({.kind = Kind::stateChanged, .text = "recordingClip"});
            control_.observer({.kind = Kind::recordingStarted});
            control_.observer({.kind = Kind::recordingPaused});
            control_.observer({.kind = Kind::recordingResumed});
            control_.observer({.kind = Kind::clipSaved, .clip = "/clips/\xFF \"a\".mp4"});
            control_.observer({.kind = Kind::captureFailed, .text = "No\nroom"});
            // Signals leave through a queue of their own: once a question that comes later is answered, they have left.
            auto* asked = new QDBusPendingCallWatcher{connect("asker").asyncCall(question), &application_};
            QObject::connect(asked, &QDBusPendingCallWatcher::finished, [&] { instance.reset(); });
        });
    };
    control_.onStatus = happen;
    const auto forPrograms = run([](const QDBusConnection& connection) { return runEventsCommand({.json = true}, connection); });
    EXPECT_EQ(forPrograms.status, command_line::succeeded) << forPrograms.errors;
    EXPECT_EQ(forPrograms.output,
        "{\"event\":\"state\",\"state\":\"capturing\"}\n{\"event\":\"state\",\"state\":\"recordingClip\"}\n{\"event\":\"recordingStarted\"}"
        "\n{\"event\":\"recordingPaused\"}\n{\"event\":\"recordingResumed\"}\n"
        "{\"event\":\"clipSaved\",\"path\":\"file:///clips/"
        "%FF%20%22a%22.mp4\"}\n{\"event\":\"captureFailed\",\"message\":\"No\\nroom\"}\n");

    QDBusConnection::disconnectFromBus(QStringLiteral("instance"));
    instance = runningInstance();
    control_.onStatus = happen;
    const auto forPeople = run([](const QDBusConnection& connection) { return runEventsCommand({}, connection); });
    EXPECT_EQ(forPeople.output,
        "state capturing\nstate recordingClip\nrecordingStarted\nrecordingPaused\nrecordingResumed\nclipSaved "
        "file:///clips/%FF%20%22a%22.mp4\ncaptureFailed No\uFFFDroom\n");
}

TEST_F(InstanceBusTest, WithoutAProgramThereAreNoEvents)
{
    const auto answer = run([](const QDBusConnection& connection) { return runEventsCommand({}, connection); });
    EXPECT_EQ(answer.status, command_line::failed);
    EXPECT_EQ(answer.errors, "Velmora is not running. Start it with 'velmora'.\n");
    EXPECT_EQ(answer.output, "");
}

/// Where this process's standard error goes while this lives, and what was written there.
class Terminal {
public:
    Terminal() : controller_(::posix_openpt(O_RDWR | O_NOCTTY)), errors_(::dup(STDERR_FILENO))
    {
        EXPECT_EQ(::grantpt(controller_), 0);
        EXPECT_EQ(::unlockpt(controller_), 0);
        const int terminal = ::open(::ptsname(controller_), O_RDWR | O_NOCTTY);
        EXPECT_GE(::dup2(terminal, STDERR_FILENO), 0);
        ::close(terminal);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal()
    {
        ::dup2(errors_, STDERR_FILENO);
        ::close(errors_);
        ::close(controller_);
    }

    [[nodiscard]] std::string read() const
    {
        std::string text(1000, '\0');
        const auto length = ::read(controller_, text.data(), text.size());
        return text.substr(0, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    }

private:
    const int controller_;
    const int errors_;
};

TEST_F(InstanceBusTest, ACommandOnATerminalTellsOfItsFailureItself)
{
    const auto instance = runningInstance();
    control_.clip = fail("Velmora.Test", 1, "No disk.");
    control_.selected = fail("Velmora.Test", 2, "No such window.");
    auto select = control(Control::Action::select);
    select.windowID = 7;
    auto selectWithSound = select;
    selectWithSound.sound = "Müsic";
    const std::pair<Control, const char*> commands[] = {{control(Control::Action::toggle), "No disk.\r\n"},
        {control(Control::Action::stop), "No disk.\r\n"}, {select, "No such window.\r\n"}, {selectWithSound, "No such window.\r\n"}};
    for (const auto& [command, message] : commands) {
        control_.wasToldByCaller = false;
        const auto answer = run([&command = command, message = message](const QDBusConnection& connection) {
            const Terminal terminal;
            const int status = runControlCommand(command, connection);
            EXPECT_EQ(terminal.read(), message);
            return status;
        });
        EXPECT_EQ(answer.status, command_line::failed);
        EXPECT_TRUE(control_.wasToldByCaller) << message;
    }
    EXPECT_EQ(control_.calls,
        (QStringList{QStringLiteral("toggle"), QStringLiteral("stop"), QStringLiteral("select 7"),
            QStringLiteral("select 7 with the sound of Müsic")}));
}

TEST_F(InstanceBusTest, ACommandWithoutATerminalLeavesItsFailureToTheProgramToo)
{
    const auto instance = runningInstance();
    auto selectWithSound = control(Control::Action::select);
    selectWithSound.sound = "Müsic";
    for (const auto& command :
        {control(Control::Action::toggle), control(Control::Action::stop), control(Control::Action::select), selectWithSound}) {
        control_.wasToldByCaller = true;
        run(command);
        EXPECT_FALSE(control_.wasToldByCaller);
    }
    EXPECT_EQ(control_.calls.size(), 4);
}

TEST_F(InstanceBusTest, ACallerThatIsGoneTellsNothing)
{
    const auto instance = runningInstance();
    control_.holdsToggle = true;
    auto call = QDBusMessage::createMethodCall(QStringLiteral("com.velmora.Velmora"), QStringLiteral("/com/velmora/Velmora"),
        QStringLiteral("com.velmora.Velmora.Control"), QStringLiteral("ToggleWithOptions"));
    call.setArguments({QVariantMap{{QStringLiteral("caller-tells"), true}}});
    connect("caller").send(call);
    QEventLoop loop;
    while (!control_.heldToggle)
        loop.processEvents(QEventLoop::WaitForMoreEvents);
    EXPECT_TRUE(control_.callerTells());
    QDBusConnection::disconnectFromBus(QStringLiteral("caller"));
    while (control_.callerTells())
        loop.processEvents(QEventLoop::WaitForMoreEvents);
    std::exchange(control_.heldToggle, {})(fail("Velmora.Test", 1, "No disk."));
}

/// As it was before the calls had options.
class OlderInstance final : public QDBusVirtualObject {
public:
    [[nodiscard]] QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        if (message.member().endsWith(QLatin1String("WithOptions")))
            return connection.send(message.createErrorReply(QDBusError::UnknownMethod, QStringLiteral("No such method")));
        calls.append(message.member());
        return connection.send(message.createReply(QString{}));
    }

    QStringList calls;
};

TEST_F(InstanceBusTest, AnInstanceThatKnowsNoOptionsIsAskedWithoutThem)
{
    auto connection = connect("first");
    ASSERT_TRUE(connection.registerService(QStringLiteral("com.velmora.Velmora")));
    OlderInstance older;
    ASSERT_TRUE(connection.registerVirtualObject(QStringLiteral("/com/velmora/Velmora"), &older));
    auto selectWithSound = control(Control::Action::select);
    selectWithSound.sound = "Müsic";
    for (const auto& command :
        {control(Control::Action::toggle), control(Control::Action::stop), control(Control::Action::select), selectWithSound}) {
        const auto answer = run([&](const QDBusConnection& client) {
            const Terminal terminal;
            return runControlCommand(command, client);
        });
        EXPECT_EQ(answer.status, command_line::succeeded);
    }
    EXPECT_EQ(older.calls,
        (QStringList{QStringLiteral("Toggle"), QStringLiteral("Stop"), QStringLiteral("Select"), QStringLiteral("SelectWithSound")}));
}

TEST_F(InstanceBusTest, WhatIsAskedOfOneThatIsJustStartingOrEndingIsToldSo)
{
    InstanceBus instance{connect("instance")};
    ASSERT_EQ(instance.claim(), Role::first);
    auto waiting = control(Control::Action::select);
    waiting.title = "never";
    waiting.wait = true;
    for (const auto& command : {waiting, control(Control::Action::toggle), control(Control::Action::status)}) {
        const auto answer = run(command);
        EXPECT_EQ(answer.status, command_line::failed);
        EXPECT_EQ(answer.errors, "Velmora is just starting or ending. Try again in a moment.\n");
        EXPECT_EQ(answer.output, "");
    }
}

}  // namespace
}  // namespace velmora
