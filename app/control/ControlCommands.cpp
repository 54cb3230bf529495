#include "app/control/ControlCommands.h"

#include "app/TerminationSignals.h"
#include "app/control/BusRequests.h"
#include "app/control/InstanceBus.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusReply>
#include <QJsonDocument>
#include <QJsonObject>
#include <QVariantMap>

#include <chrono>
#include <cstdio>
#include <limits>
#include <optional>
#include <unistd.h>
#include <utility>

namespace velmora {

namespace {

using namespace instance_bus;
using command_line::Control;

// Nobody tells of windows that come.
constexpr std::chrono::milliseconds waitInterval{500};

int fail(const QString& message)
{
    std::fprintf(stderr, "%s\n", qUtf8Printable(message));
    return command_line::failed;
}

QDBusMessage methodCall(const char* interface, const char* method, const QVariantList& arguments)
{
    auto call = QDBusMessage::createMethodCall(
        QLatin1String{serviceName}, QLatin1String{objectPath}, QLatin1String{interface}, QLatin1String{method});
    call.setArguments(arguments);
    // Whoever stops or asks does not want a program that was not there before.
    call.setAutoStartService(false);
    return call;
}

/// For whoever wants a window of the program's, and so the program.
QDBusMessage actionCall(const char* action)
{
    auto call = methodCall(applicationInterface, "ActivateAction", {QLatin1String{action}, QVariantList{}, QVariantMap{}});
    call.setAutoStartService(true);
    return call;
}

struct Refusal {
    QString message;  ///< for the user
    bool isUnknownMethod = false;
    bool isNoSuchWindow = false;
};

tl::expected<QVariantList, Refusal> send(
    const QDBusConnection& connection, const QDBusMessage& call, int milliseconds = std::numeric_limits<int>::max())
{
    if (!connection.isConnected())
        return tl::unexpected(Refusal{QStringLiteral("Velmora cannot be reached: there is no session bus.")});
    const auto reply = connection.call(call, QDBus::Block, milliseconds);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return reply.arguments();
    const QDBusError error{reply};
    if (error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner") || error.type() == QDBusError::ServiceUnknown)
        return tl::unexpected(Refusal{QStringLiteral("Velmora is not running. Start it with 'velmora'.")});
    if (error.type() == QDBusError::NoReply || error.type() == QDBusError::Disconnected)
        return tl::unexpected(Refusal{QStringLiteral("Velmora ended before it answered.")});
    // The name is taken before there is anybody to answer, and given up after that.
    if (error.type() == QDBusError::UnknownObject)
        return tl::unexpected(Refusal{QStringLiteral("Velmora is just starting or ending. Try again in a moment.")});
    return tl::unexpected(
        Refusal{reply.errorMessage(), error.type() == QDBusError::UnknownMethod, error.name() == QLatin1String{noSuchWindowError}});
}

/// A window by what it says of itself, not by its number.
bool isDescribed(const Control& command)
{
    return !command.application.empty() || !command.title.empty();
}

QVariantMap options(const Control& command)
{
    QVariantMap options;
    const auto insert = [&options](const char* name, const std::string& text) {
        if (!text.empty())
            options.insert(QLatin1String{name}, QString::fromStdString(text));
    };
    insert(bus_requests::soundOption, command.sound.value_or(""));
    insert(bus_requests::applicationOption, command.application);
    insert(bus_requests::titleOption, command.title);
    return options;
}

QDBusMessage methodCall(const Control& command)
{
    switch (command.action) {
    case Control::Action::toggle:
        return methodCall(controlInterface, "Toggle", {});
    case Control::Action::pause:
        return methodCall(controlInterface, "Pause", {});
    case Control::Action::resume:
        return methodCall(controlInterface, "Resume", {});
    case Control::Action::togglePause:
        return methodCall(controlInterface, "TogglePause", {});
    case Control::Action::choose:
        return actionCall(chooseWindowAction);
    case Control::Action::clips:
        return actionCall(showClipsAction);
    case Control::Action::select:
        if (isDescribed(command))
            return methodCall(controlInterface, "SelectMatching", {options(command)});
        if (command.sound)
            return methodCall(controlInterface, "SelectWithSound", {command.windowID, QString::fromStdString(*command.sound)});
        return methodCall(controlInterface, "Select", {command.windowID});
    case Control::Action::stop:
        return methodCall(controlInterface, "Stop", {});
    case Control::Action::replayOn:
        return methodCall(controlInterface, "ReplayOn", {command.seconds});
    case Control::Action::replayOff:
        return methodCall(controlInterface, "ReplayOff", {});
    case Control::Action::replaySave:
        return methodCall(controlInterface, "ReplaySave", {command.seconds});
    case Control::Action::status:
        return methodCall(controlInterface, "Status", {});
    case Control::Action::preview:
        return methodCall(controlInterface, "Preview", {bus_requests::text(command.file)});
    case Control::Action::quit:
        break;
    }
    return methodCall(controlInterface, "Quit", {});
}

/// The same for whoever reads our standard error, where the program would tell the user of a failure too.
std::optional<QDBusMessage> methodCallOfATeller(const Control& command)
{
    auto told = options(command);
    told.insert(QLatin1String{bus_requests::callerTellsOption}, true);
    switch (command.action) {
    case Control::Action::toggle:
        return methodCall(controlInterface, "ToggleWithOptions", {told});
    case Control::Action::select:
        if (isDescribed(command))
            return methodCall(controlInterface, "SelectMatching", {told});
        return methodCall(controlInterface, "SelectWithOptions", {command.windowID, told});
    case Control::Action::stop:
        return methodCall(controlInterface, "StopWithOptions", {told});
    case Control::Action::replaySave:
        return methodCall(controlInterface, "ReplaySaveWithOptions", {command.seconds, told});
    default:
        return std::nullopt;
    }
}

tl::expected<QVariantList, Refusal> send(const QDBusConnection& connection, const Control& command)
{
    // Nobody reads what a command says when a key is bound to it.
    if (const auto call = isatty(STDERR_FILENO) ? methodCallOfATeller(command) : std::nullopt) {
        auto answer = send(connection, *call);
        // A program that was started before an update may not know options yet.
        if (answer || !answer.error().isUnknownMethod)
            return answer;
    }
    return send(connection, methodCall(command));
}

void printLine(const QString& line)
{
    std::printf("%s\n", qUtf8Printable(line));
}

std::optional<std::filesystem::path> savedClip(const Control& command, const QString& answer)
{
    const bool answersWithAClip = command.action == Control::Action::toggle || command.action == Control::Action::stop
        || command.action == Control::Action::replaySave;
    return answersWithAClip ? bus_requests::file(answer) : std::nullopt;
}

void printStatus(const QString& answer, bool json)
{
    if (json)
        return printLine(answer);
    const auto status = QJsonDocument::fromJson(answer.toUtf8()).object();
    printLine(status.value(QLatin1String("description")).toString());
    if (status.value(QLatin1String("isPaused")).toBool())
        printLine(QStringLiteral("The recording is paused."));
    const auto loss = status.value(QLatin1String("lostPictures")).toObject();
    for (const auto& warning : {status.value(QLatin1String("notice")), loss.value(QLatin1String("text")),
             status.value(QLatin1String("shortcutError")), status.value(QLatin1String("permissionExplanation"))}) {
        if (!warning.toString().isEmpty())
            printLine(warning.toString());
    }
}

}  // namespace

int runControlCommand(const Control& command, const QDBusConnection& connection)
{
    auto answer = send(connection, command);
    while (!answer && answer.error().isNoSuchWindow && command.wait) {
        if (TerminationSignals::await(waitInterval))
            return fail(QStringLiteral("Cancelled."));
        answer = send(connection, command);
    }
    if (!answer)
        return fail(answer.error().message);
    const QString first = answer->isEmpty() ? QString{} : answer->constFirst().toString();
    if (command.action == Control::Action::status)
        printStatus(first, command.json);
    else if (const auto clip = savedClip(command, first))
        std::printf("%s\n", clip->c_str());
    else if (!first.isEmpty())
        printLine(first);
    return command_line::succeeded;
}

tl::expected<void, QString> copyByRunningInstance(const std::filesystem::path& file, const QDBusConnection& connection)
{
    // The file is there; nobody waits for a program that hangs.
    constexpr int patience = 5000;
    const auto answer = send(connection, methodCall(controlInterface, "Copy", {bus_requests::text(file)}), patience);
    if (!answer)
        return tl::unexpected(answer.error().message);
    return {};
}

tl::expected<QJsonObject, QString> runningInstanceStatus(const QDBusConnection& connection)
{
    const auto answer = send(connection, methodCall(controlInterface, "Status", {}));
    if (!answer)
        return tl::unexpected(answer.error().message);
    return QJsonDocument::fromJson(answer->value(0).toString().toUtf8()).object();
}

std::int32_t runningInstanceProcess(const QDBusConnection& connection)
{
    const auto own = static_cast<std::int32_t>(QCoreApplication::applicationPid());
    if (!connection.isConnected())
        return own;
    const QDBusReply<uint> process = connection.interface()->servicePid(QLatin1String{serviceName});
    return process.isValid() ? static_cast<std::int32_t>(process.value()) : own;
}

int activateRunningInstance(const QDBusConnection& connection)
{
    const auto answer = send(connection, methodCall(applicationInterface, "Activate", {QVariantMap{}}));
    return answer ? command_line::succeeded : fail(answer.error().message);
}

}  // namespace velmora
