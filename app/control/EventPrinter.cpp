#include "app/control/EventPrinter.h"

#include "app/TerminalText.h"
#include "app/control/InstanceBus.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <utility>

namespace velmora {

void EventPrinter::listen(QDBusConnection& connection)
{
    const auto connectSignal = [&](const char* signal, const char* slot) {
        connection.connect(QLatin1String{instance_bus::serviceName}, QLatin1String{instance_bus::objectPath},
            QLatin1String{instance_bus::controlInterface}, QLatin1String{signal}, this, slot);
    };
    connectSignal("StateChanged", SLOT(stateChanged(QString)));
    connectSignal("RecordingStarted", SLOT(recordingStarted()));
    connectSignal("RecordingPaused", SLOT(recordingPaused()));
    connectSignal("RecordingResumed", SLOT(recordingResumed()));
    connectSignal("ClipSaved", SLOT(clipSaved(QString)));
    connectSignal("CaptureFailed", SLOT(captureFailed(QString)));
}

void EventPrinter::stateChanged(const QString& state)
{
    // What was heard while the first state was asked for may say the same.
    if (std::exchange(state_, state) != state)
        print("state", "state", state);
}

void EventPrinter::recordingStarted()
{
    print("recordingStarted", nullptr, {});
}

void EventPrinter::recordingPaused()
{
    print("recordingPaused", nullptr, {});
}

void EventPrinter::recordingResumed()
{
    print("recordingResumed", nullptr, {});
}

void EventPrinter::clipSaved(const QString& path)
{
    print("clipSaved", "path", path);
}

void EventPrinter::captureFailed(const QString& message)
{
    print("captureFailed", "message", message);
}

void EventPrinter::print(const char* event, const char* key, const QString& value)
{
    QJsonObject object{{QStringLiteral("event"), QLatin1String{event}}};
    if (key)
        object.insert(QLatin1String{key}, value);
    QString line = QString::fromUtf8(QJsonDocument{object}.toJson(QJsonDocument::Compact));
    if (!json_)
        line = QLatin1String{event} + (key ? QLatin1Char(' ') + withoutControlCharacters(value) : QString{});
    couldPrint_ = couldPrint_ && std::printf("%s\n", qUtf8Printable(line)) > 0 && std::fflush(stdout) == 0;
    if (!couldPrint_)
        emit failed();
}

}  // namespace velmora
