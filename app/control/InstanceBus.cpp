#include "app/control/InstanceBus.h"

#include "app/control/BusRequests.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QJsonDocument>
#include <QPointer>
#include <QVariantMap>

#include <utility>

namespace velmora {

namespace {

using namespace instance_bus;

constexpr double usualReplay = 15;  // seconds

/// A call whose answer comes later. Answered exactly once; a call that is dropped unanswered answers with an error.
class PendingCall {
public:
    PendingCall(QDBusConnection connection, const QDBusMessage& call) : connection_(std::move(connection)), call_(call)
    {
        call_.setDelayedReply(true);
    }
    PendingCall(PendingCall&& other) noexcept : connection_(std::move(other.connection_)), call_(std::exchange(other.call_, {})) { }
    PendingCall& operator=(PendingCall&&) = delete;
    ~PendingCall()
    {
        if (call_.type() == QDBusMessage::MethodCallMessage)
            fail(QStringLiteral("Velmora is ending."));
    }

    void succeed(const QVariantList& values = {}) { connection_.send(std::exchange(call_, {}).createReply(values)); }
    void fail(const QString& message, const char* name = failedError)
    {
        connection_.send(std::exchange(call_, {}).createErrorReply(QLatin1String{name}, message));
    }
    void fail(const Error& error)
    {
        fail(QString::fromStdString(error.localizedDescription), InstanceControl::isNoSuchWindow(error) ? noSuchWindowError : failedError);
    }

    void finish(const Result<InstanceControl::SavedClip>& result)
    {
        if (result)
            succeed({*result ? bus_requests::text(**result) : QString{}});
        else
            fail(result.error());
    }

private:
    QDBusConnection connection_;
    QDBusMessage call_;
};

/// Whether whoever made a call tells the user of its failure: as long as the caller is on the bus, if it has said that it does.
InstanceControl::CallerTells callerTells(const QDBusConnection& connection, const QDBusMessage& call, bool hasSaidSo)
{
    if (!hasSaidSo)
        return {};
    const auto isThere = std::make_shared<bool>(true);
    const auto watcher = std::make_shared<QDBusServiceWatcher>(call.service(), connection, QDBusServiceWatcher::WatchForUnregistration);
    QObject::connect(watcher.get(), &QDBusServiceWatcher::serviceUnregistered, [isThere] { *isThere = false; });
    // It may have gone before it was watched. The bus answers in order.
    auto question = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameHasOwner"));
    question.setArguments({call.service()});
    const auto* answer = new QDBusPendingCallWatcher{connection.asyncCall(question), watcher.get()};
    QObject::connect(answer, &QDBusPendingCallWatcher::finished,
        [isThere](const QDBusPendingCallWatcher* answered) { *isThere = *isThere && QDBusPendingReply<bool>{*answered}.value(); });
    return [isThere, watcher] { return *isThere; };
}

class ApplicationAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    ApplicationAdaptor(QObject* parent, InstanceControl& control) : QDBusAbstractAdaptor(parent), control_(control) { }

public slots:
    void Activate(const QVariantMap&) { control_.activate(); }

    void Open(const QStringList& uris, const QVariantMap&)
    {
        for (const auto& file : bus_requests::files(uris))
            static_cast<void>(control_.presentClipPreview(file));
    }

    void ActivateAction(const QString& name, const QVariantList&, const QVariantMap&)
    {
        // The program itself shows what goes wrong.
        if (name == QLatin1String{toggleAction})
            control_.toggleRecording([](const auto&) {}, {});
        else if (name == QLatin1String{pauseAction})
            static_cast<void>(control_.setPaused(std::nullopt));
        else if (name == QLatin1String{chooseWindowAction})
            control_.chooseWindow();
        else if (name == QLatin1String{showClipsAction})
            control_.presentClips();
    }

private:
    InstanceControl& control_;
};

class ControlAdaptor final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.velmora.Velmora.Control")

public:
    ControlAdaptor(QObject* parent, QDBusConnection connection, InstanceControl& control)
        : QDBusAbstractAdaptor(parent)
        , connection_(std::move(connection))
        , control_(control)
    {
        control_.setEventObserver([adaptor = QPointer{this}](const InstanceEvent& event) {
            if (adaptor)
                adaptor->announce(event);
        });
    }

signals:
    void StateChanged(const QString& state);
    void RecordingStarted();
    void RecordingPaused();
    void RecordingResumed();
    void ClipSaved(const QString& path);
    void CaptureFailed(const QString& message);

public slots:
    // Each call that can fail in front of the user exists without options too, as it did before there were any.

    /// The path of the clip that was saved, or its file: URI where the path is not text; empty when a recording was started.
    QString Toggle(const QDBusMessage& call)
    {
        toggle({}, call);
        return {};
    }

    QString ToggleWithOptions(const QVariantMap& options, const QDBusMessage& call)
    {
        toggle(bus_requests::options(options), call);
        return {};
    }

    // What there is to say of it.
    QString Pause(const QDBusMessage& call) { return setPaused(true, call); }
    QString Resume(const QDBusMessage& call) { return setPaused(false, call); }
    QString TogglePause(const QDBusMessage& call) { return setPaused(std::nullopt, call); }

    /// What the user has to know of it; empty when that is nothing.
    QString Select(uint windowID, const QDBusMessage& call)
    {
        select(windowID, {}, call);
        return {};
    }

    QString SelectWithSound(uint windowID, const QString& sound, const QDBusMessage& call)
    {
        select(windowID, {.sound = sound.toStdString()}, call);
        return {};
    }

    QString SelectWithOptions(uint windowID, const QVariantMap& options, const QDBusMessage& call)
    {
        select(windowID, bus_requests::options(options), call);
        return {};
    }

    /// The window that the options describe.
    QString SelectMatching(const QVariantMap& options, const QDBusMessage& call)
    {
        auto understood = bus_requests::options(options);
        PendingCall pending{connection_, call};
        if (understood.application.empty() && understood.title.empty()) {
            pending.fail(QStringLiteral("Neither an application nor a title is given."));
            return {};
        }
        control_.selectMatchingWindow({std::move(understood.application), std::move(understood.title)}, std::move(understood.sound),
            answered(std::move(pending)), callerTells(connection_, call, understood.callerTells));
        return {};
    }

    /// Zero seconds: as long as is usual.
    void ReplayOn(double seconds, const QDBusMessage& call) { setReplayDuration(seconds == 0 ? usualReplay : seconds, call); }

    void ReplayOff(const QDBusMessage& call) { setReplayDuration(std::nullopt, call); }

    /// The path of the clip that was saved. Zero seconds: all that is kept.
    QString ReplaySave(double seconds, const QDBusMessage& call)
    {
        saveReplay(seconds, {}, call);
        return {};
    }

    QString ReplaySaveWithOptions(double seconds, const QVariantMap& options, const QDBusMessage& call)
    {
        saveReplay(seconds, bus_requests::options(options), call);
        return {};
    }

    /// The path of the clip that was saved, if any.
    QString Stop(const QDBusMessage& call)
    {
        stop({}, call);
        return {};
    }

    QString StopWithOptions(const QVariantMap& options, const QDBusMessage& call)
    {
        stop(bus_requests::options(options), call);
        return {};
    }

    /// A JSON object.
    QString Status() { return QString::fromUtf8(QJsonDocument{control_.status()}.toJson(QJsonDocument::Compact)); }

    void Preview(const QString& path, const QDBusMessage& call) { withFile(path, call, &InstanceControl::presentClipPreview); }

    /// Puts the file onto the clipboard.
    void Copy(const QString& path, const QDBusMessage& call) { withFile(path, call, &InstanceControl::copyFile); }

    void Quit(const QDBusMessage& call)
    {
        // Answered first: after quitting there is nobody to answer.
        PendingCall{connection_, call}.succeed();
        control_.quit();
    }

private:
    void withFile(const QString& path, const QDBusMessage& call, Result<void> (InstanceControl::*use)(const std::filesystem::path&))
    {
        PendingCall pending{connection_, call};
        const auto file = bus_requests::file(path);
        if (!file)
            return pending.fail(path + QStringLiteral(" is not an absolute path."));
        if (const auto used = (control_.*use)(*file))
            pending.succeed();
        else
            pending.fail(used.error());
    }

    void toggle(const bus_requests::Options& options, const QDBusMessage& call)
    {
        control_.toggleRecording([pending = PendingCall{connection_, call}](const auto& result) mutable { pending.finish(result); },
            callerTells(connection_, call, options.callerTells));
    }

    void select(uint windowID, bus_requests::Options options, const QDBusMessage& call)
    {
        control_.selectWindow(windowID, std::move(options.sound), answered(PendingCall{connection_, call}),
            callerTells(connection_, call, options.callerTells));
    }

    static UniqueFunction<void(Result<std::string>)> answered(PendingCall pending)
    {
        return [pending = std::move(pending)](const Result<std::string>& result) mutable {
            if (result)
                pending.succeed({QString::fromStdString(*result)});
            else
                pending.fail(result.error());
        };
    }

    QString setPaused(std::optional<bool> isPaused, const QDBusMessage& call)
    {
        answered(PendingCall{connection_, call})(control_.setPaused(isPaused));
        return {};
    }

    void setReplayDuration(std::optional<double> seconds, const QDBusMessage& call)
    {
        PendingCall pending{connection_, call};
        if (const auto done = control_.setReplayDuration(seconds))
            pending.succeed();
        else
            pending.fail(done.error());
    }

    void saveReplay(double seconds, const bus_requests::Options& options, const QDBusMessage& call)
    {
        control_.saveReplay(
            seconds == 0 ? std::nullopt : std::optional{seconds},
            [pending = PendingCall{connection_, call}](const auto& result) mutable { pending.finish(result); },
            callerTells(connection_, call, options.callerTells));
    }

    void announce(const InstanceEvent& event)
    {
        switch (event.kind) {
        case InstanceEvent::Kind::stateChanged:
            emit StateChanged(QString::fromStdString(event.text));
            break;
        case InstanceEvent::Kind::recordingStarted:
            emit RecordingStarted();
            break;
        case InstanceEvent::Kind::recordingPaused:
            emit RecordingPaused();
            break;
        case InstanceEvent::Kind::recordingResumed:
            emit RecordingResumed();
            break;
        case InstanceEvent::Kind::clipSaved:
            emit ClipSaved(bus_requests::text(event.clip));
            break;
        case InstanceEvent::Kind::captureFailed:
            emit CaptureFailed(QString::fromStdString(event.text));
            break;
        }
    }

    void stop(const bus_requests::Options& options, const QDBusMessage& call)
    {
        control_.stopCapture([pending = PendingCall{connection_, call}](const auto& result) mutable { pending.finish(result); },
            callerTells(connection_, call, options.callerTells));
    }

    QDBusConnection connection_;
    InstanceControl& control_;
};

}  // namespace

InstanceBus::InstanceBus(QDBusConnection connection) : connection_(std::move(connection)) { }

InstanceBus::~InstanceBus()
{
    if (ownsName_) {
        connection_.unregisterObject(QLatin1String{objectPath});
        connection_.unregisterService(QLatin1String{serviceName});
    }
}

InstanceBus::Role InstanceBus::claim()
{
    if (!connection_.isConnected())
        return Role::alone;
    const auto reply = connection_.interface()->registerService(
        QLatin1String{serviceName}, QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::DontAllowReplacement);
    ownsName_ = reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered;
    return ownsName_ ? Role::first : Role::second;
}

void InstanceBus::serve(InstanceControl& control)
{
    if (!ownsName_)
        return;
    new ApplicationAdaptor{this, control};
    new ControlAdaptor{this, connection_, control};
    connection_.registerObject(QLatin1String{objectPath}, this, QDBusConnection::ExportAdaptors);
}

}  // namespace velmora

#include "InstanceBus.moc"
