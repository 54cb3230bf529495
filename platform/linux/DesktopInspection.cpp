// Each question is a process of its own (kernel/BoundedQuestions.h), whose answer comes back as a JSON object: a server that hangs and a
// driver that crashes are findings like any other.

#include "platform/DesktopInspection.h"

#include "base/MonotonicClock.h"
#include "platform/linux/ffmpeg/CodecLoader.h"
#include "platform/linux/kernel/BoundedQuestions.h"
#include "platform/linux/sound/ApplicationAudio.h"
#include "platform/linux/x11/X11Inspection.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSysInfo>
#include <QVariantMap>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <span>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velmora::linux_backend {

namespace {

using platform::DesktopFacts;

// The size of the pictures that encoders are tried with.
constexpr std::int32_t trialWidth = 1280;
constexpr std::int32_t trialHeight = 720;

/// More often a driver's crash is not asked about anew. Each of them marks one encoder, which is passed over then.
constexpr int mostTrials = 4;

std::string variableText(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

QString text(const std::string& utf8)
{
    return QString::fromStdString(utf8);
}

QString said(const QJsonObject& answer, const char* key)
{
    return answer.value(QLatin1String{key}).toString();
}

/// A question and what its answer means.
struct Inquiry {
    std::function<QJsonObject()> ask;  ///< in a process of its own; "failure" says that there is no answer
    std::function<void(const QJsonObject&)> take;
    std::string& failure;
};

QJsonObject failure(const std::string& why)
{
    return {{QStringLiteral("failure"), text(why)}};
}

// --- Asked

QJsonObject askEncoders()
{
    const auto module = codecModule();
    if (!module)
        return failure(module.error().localizedDescription);
    QJsonArray reports;
    for (const auto& report : (*module)->tryVideoEncoders(trialWidth, trialHeight)) {
        reports.append(
            QJsonObject{{QStringLiteral("name"), text(report.name)}, {QStringLiteral("outcome"), static_cast<int>(report.outcome)},
                {QStringLiteral("reason"), text(report.reason)}, {QStringLiteral("isSoftware"), report.isSoftware}});
    }
    return {{QStringLiteral("library"), text((*module)->libraryVersion())}, {QStringLiteral("tried"), reports}};
}

QJsonObject askX11(std::uint32_t keyCode, std::uint32_t modifiers)
{
    const auto found = inspectX11(keyCode, modifiers);
    if (!found)
        return failure(found.error().localizedDescription);
    return {{QStringLiteral("server"), text(found->server)}, {QStringLiteral("shortcut"), static_cast<int>(found->shortcut)},
        {QStringLiteral("hasTray"), found->hasTray}};
}

/// Whether a compositor listens where the environment says.
QJsonObject askWayland()
{
    auto path = variableText("WAYLAND_DISPLAY");
    if (path.empty())
        path = "wayland-0";
    if (path.front() != '/')
        path = variableText("XDG_RUNTIME_DIR") + '/' + path;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        return failure(path + " is too long");
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isThere = descriptor >= 0 && ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    return isThere ? QJsonObject{} : failure(path + ": " + std::system_category().message(errno));
}

/// The session's bus, asked without starting anything.
class Bus {
public:
    static constexpr int patience = 5'000;  // milliseconds, for one answer

    [[nodiscard]] bool isConnected() const { return connection_.isConnected(); }
    [[nodiscard]] bool has(const QString& service) const { return connection_.interface()->isServiceRegistered(service); }

    [[nodiscard]] bool canStart(const QString& service) const
    {
        const QDBusReply<QStringList> names = connection_.interface()->call(QStringLiteral("ListActivatableNames"));
        return names.isValid() && names.value().contains(service);
    }

    [[nodiscard]] QDBusMessage call(const QString& service, const QString& path, const QString& interface, const QString& method,
        const QVariantList& arguments = {}) const
    {
        auto message = QDBusMessage::createMethodCall(service, path, interface, method);
        message.setArguments(arguments);
        message.setAutoStartService(false);
        return connection_.call(message, QDBus::Block, patience);
    }

    [[nodiscard]] QVariantMap properties(const QString& service, const QString& path, const QString& interface) const
    {
        const QDBusReply<QVariantMap> reply =
            call(service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("GetAll"), {interface});
        return reply.isValid() ? reply.value() : QVariantMap{};
    }

private:
    // One of its own: that of the process which asks is none of a forked one's.
    QDBusConnection connection_ = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("velmora-inspection"));
};

QJsonObject noBus()
{
    return failure("there is no session bus");
}

QJsonObject askPortal()
{
    const Bus bus;
    if (!bus.isConnected())
        return noBus();
    const auto service = QStringLiteral("org.freedesktop.portal.Desktop");
    const auto path = QStringLiteral("/org/freedesktop/portal/desktop");
    if (!bus.has(service))
        return {{QStringLiteral("canBeStarted"), bus.canStart(service)}};
    const auto cast = bus.properties(service, path, QStringLiteral("org.freedesktop.portal.ScreenCast"));
    const auto shortcuts = bus.properties(service, path, QStringLiteral("org.freedesktop.portal.GlobalShortcuts"));
    constexpr uint windows = 2;
    const auto version = QStringLiteral("version");
    return {{QStringLiteral("isRunning"), true}, {QStringLiteral("screenCast"), static_cast<qint64>(cast.value(version).toUInt())},
        {QStringLiteral("sharesWindows"), (cast.value(QStringLiteral("AvailableSourceTypes")).toUInt() & windows) != 0},
        {QStringLiteral("shortcuts"), static_cast<qint64>(shortcuts.value(version).toUInt())}};
}

QJsonObject askProgram(const platform::DesktopInspection::Questions& questions)
{
    const Bus bus;
    if (!bus.isConnected())
        return noBus();
    const auto service = text(questions.programService);
    if (!bus.has(service))
        return {};
    const auto reply = bus.call(service, text(questions.programPath), text(questions.programInterface), QStringLiteral("Status"));
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return failure(reply.errorMessage().toStdString());
    return {{QStringLiteral("isRunning"), true}, {QStringLiteral("status"), reply.arguments().constFirst().toString()}};
}

QJsonObject askSound()
{
    const auto server = soundServerName();
    return server ? QJsonObject{{QStringLiteral("server"), text(*server)}}
                  : QJsonObject{{QStringLiteral("reason"), text(server.error().localizedDescription)}};
}

QJsonObject askNotifications()
{
    const Bus bus;
    if (!bus.isConnected())
        return noBus();
    const auto service = QStringLiteral("org.freedesktop.Notifications");
    if (!bus.has(service))
        return {{QStringLiteral("canBeStarted"), bus.canStart(service)}};
    const auto reply = bus.call(service, QStringLiteral("/org/freedesktop/Notifications"), service, QStringLiteral("GetServerInformation"));
    const auto values = reply.arguments();
    if (reply.type() != QDBusMessage::ReplyMessage || values.size() < 3)
        return failure(reply.errorMessage().toStdString());
    return {{QStringLiteral("service"), QString{values[0].toString() + QLatin1Char{' '} + values[2].toString()}}};
}

QJsonObject askTray()
{
    const Bus bus;
    if (!bus.isConnected())
        return {};
    const auto watcher = QStringLiteral("org.kde.StatusNotifierWatcher");
    const auto properties = bus.has(watcher) ? bus.properties(watcher, QStringLiteral("/StatusNotifierWatcher"), watcher) : QVariantMap{};
    return {{QStringLiteral("hasHost"), properties.value(QStringLiteral("IsStatusNotifierHostRegistered")).toBool()}};
}

/// A folder that is not there is made with the first clip: what counts is the nearest one above it.
QJsonObject askDisk(const std::filesystem::path& folder)
{
    std::error_code error;
    auto nearest = folder;
    while (nearest.has_relative_path() && !std::filesystem::exists(nearest, error))
        nearest = nearest.parent_path();
    QJsonObject answer{{QStringLiteral("exists"), nearest == folder}};
    if (::faccessat(AT_FDCWD, (nearest / ".").c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        answer.insert(QStringLiteral("refusal"), text(nearest.string() + ": " + std::system_category().message(errno)));
    const auto space = std::filesystem::space(nearest, error);
    if (!error)
        answer.insert(QStringLiteral("freeBytes"), QString::number(space.available));
    return answer;
}

// --- Understood

DesktopFacts::Encoder::Outcome outcomeOf(int number)
{
    using Outcome = DesktopFacts::Encoder::Outcome;
    switch (static_cast<EncoderTrialReport::Outcome>(number)) {
    case EncoderTrialReport::Outcome::works:
        return Outcome::works;
    case EncoderTrialReport::Outcome::missing:
        return Outcome::missing;
    case EncoderTrialReport::Outcome::endedAProgram:
        return Outcome::endedAProgram;
    case EncoderTrialReport::Outcome::ruledOut:
        return Outcome::ruledOut;
    case EncoderTrialReport::Outcome::fails:
        break;
    }
    return Outcome::fails;
}

DesktopFacts::DisplayKind displayKind()
{
    // As the factory chooses.
    if (!variableText("WAYLAND_DISPLAY").empty() || variableText("XDG_SESSION_TYPE") == "wayland")
        return DesktopFacts::DisplayKind::wayland;
    return variableText("DISPLAY").empty() ? DesktopFacts::DisplayKind::none : DesktopFacts::DisplayKind::x11;
}

std::string whyThereIsNone(const BoundedAnswer& answer, std::chrono::milliseconds patience)
{
    if (answer.end == BoundedAnswer::End::late)
        return "no answer within " + std::to_string(std::chrono::duration_cast<std::chrono::seconds>(patience).count()) + " seconds";
    if (answer.signal != 0)
        return "what asked it was ended by signal " + std::to_string(answer.signal) + " (" + ::strsignal(answer.signal) + ")";
    return "what asked it ended without an answer";
}

/// Asks and takes the answers; true when a process died of a question.
bool carryOut(std::span<const Inquiry> inquiries, std::chrono::milliseconds patience)
{
    std::vector<Question> questions;
    for (const auto& inquiry : inquiries) {
        questions.emplace_back([&inquiry] { return QJsonDocument{inquiry.ask()}.toJson(QJsonDocument::Compact).toStdString(); });
    }
    const auto answers = askWithin(questions, patience);
    bool hasDied = false;
    for (std::size_t i = 0; i < answers.size(); ++i) {
        hasDied = hasDied || answers[i].end == BoundedAnswer::End::died;
        if (answers[i].end != BoundedAnswer::End::answered) {
            inquiries[i].failure = whyThereIsNone(answers[i], patience);
            continue;
        }
        const auto object = QJsonDocument::fromJson(QByteArray::fromStdString(answers[i].text)).object();
        inquiries[i].failure = said(object, "failure").toStdString();
        if (inquiries[i].failure.empty())
            inquiries[i].take(object);
    }
    return hasDied;
}

class LinuxDesktopInspection final : public platform::DesktopInspection {
public:
    DesktopFacts inspect(const Questions& questions, std::chrono::milliseconds patience) override
    {
        const auto deadline = MonotonicClock::now() + patience;
        DesktopFacts facts;
        facts.system = (QSysInfo::prettyProductName() + QStringLiteral(", Linux ") + QSysInfo::kernelVersion() + QLatin1Char{' '}
            + QSysInfo::currentCpuArchitecture())
                           .toStdString();
        facts.encoders.onlyEncoder = variableText("VELMORA_VIDEO_ENCODER");
        facts.display.kind = displayKind();
        facts.display.desktop = variableText("XDG_CURRENT_DESKTOP");
        facts.disk.folder = questions.clipsFolder;

        std::vector<Inquiry> inquiries;
        const Inquiry encoders{
            askEncoders, [&](const QJsonObject& answer) { takeEncoders(answer, facts.encoders); }, facts.encoders.failure};
        inquiries.push_back(encoders);
        if (facts.display.kind == DesktopFacts::DisplayKind::x11) {
            facts.display.name = variableText("DISPLAY");
            inquiries.push_back({[&] { return askX11(questions.keyCode, questions.modifiers); },
                [&](const QJsonObject& answer) {
                    facts.display.server = said(answer, "server").toStdString();
                    facts.shortcut.state = static_cast<DesktopFacts::Shortcut::State>(answer.value(QLatin1String("shortcut")).toInt());
                    facts.tray.hasXEmbedHost = answer.value(QLatin1String("hasTray")).toBool();
                },
                facts.display.failure});
        } else if (facts.display.kind == DesktopFacts::DisplayKind::wayland) {
            facts.display.name = variableText("WAYLAND_DISPLAY");
            inquiries.push_back({askWayland, [](const QJsonObject&) {}, facts.display.failure});
            inquiries.push_back({askPortal,
                [&](const QJsonObject& answer) {
                    const auto number = [&](const char* key) {
                        return static_cast<std::uint32_t>(answer.value(QLatin1String{key}).toInt());
                    };
                    facts.portal.isRunning = answer.value(QLatin1String("isRunning")).toBool();
                    facts.portal.canBeStarted = answer.value(QLatin1String("canBeStarted")).toBool();
                    facts.portal.sharesWindows = answer.value(QLatin1String("sharesWindows")).toBool();
                    facts.portal.screenCast = number("screenCast");
                    facts.portal.shortcuts = number("shortcuts");
                },
                facts.portal.failure});
        }
        inquiries.push_back({[&] { return askProgram(questions); },
            [&](const QJsonObject& answer) {
                facts.program.isRunning = answer.value(QLatin1String("isRunning")).toBool();
                facts.program.status = said(answer, "status").toStdString();
            },
            facts.program.failure});
        inquiries.push_back({askSound,
            [&](const QJsonObject& answer) {
                facts.sound.server = said(answer, "server").toStdString();
                facts.sound.reason = said(answer, "reason").toStdString();
            },
            facts.sound.failure});
        inquiries.push_back({askNotifications,
            [&](const QJsonObject& answer) {
                facts.notifications.service = said(answer, "service").toStdString();
                facts.notifications.canBeStarted = answer.value(QLatin1String("canBeStarted")).toBool();
            },
            facts.notifications.failure});
        inquiries.push_back({askTray,
            [&](const QJsonObject& answer) { facts.tray.hasStatusNotifierHost = answer.value(QLatin1String("hasHost")).toBool(); },
            facts.tray.failure});
        inquiries.push_back({[&] { return askDisk(questions.clipsFolder); },
            [&](const QJsonObject& answer) {
                facts.disk.exists = answer.value(QLatin1String("exists")).toBool();
                facts.disk.refusal = said(answer, "refusal").toStdString();
                if (const auto free = said(answer, "freeBytes"); !free.isEmpty())
                    facts.disk.freeBytes = free.toULongLong();
            },
            facts.disk.failure});
        bool hasDied = carryOut(inquiries, patience);

        // A driver that ends its process in a trial has been marked, so the next process can say of which encoder it was.
        for (int trial = 1; trial < mostTrials && hasDied && facts.encoders.library.empty(); ++trial) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - MonotonicClock::now());
            if (left.count() <= 0)
                break;
            hasDied = carryOut({&encoders, 1}, left);
        }
        return facts;
    }

private:
    static void takeEncoders(const QJsonObject& answer, DesktopFacts::Encoders& encoders)
    {
        encoders.library = said(answer, "library").toStdString();
        for (const auto& value : answer.value(QLatin1String("tried")).toArray()) {
            const auto report = value.toObject();
            encoders.tried.push_back({said(report, "name").toStdString(), outcomeOf(report.value(QLatin1String("outcome")).toInt()),
                said(report, "reason").toStdString(), report.value(QLatin1String("isSoftware")).toBool()});
        }
    }
};

}  // namespace

}  // namespace velmora::linux_backend

namespace velmora::platform {

std::unique_ptr<DesktopInspection> makeDesktopInspection()
{
    return std::make_unique<linux_backend::LinuxDesktopInspection>();
}

}  // namespace velmora::platform
