// What the running program tells over the session bus, as lines.
#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

namespace velmora {

/// Prints a line for each event, on standard output and at once.
class EventPrinter final : public QObject {
    Q_OBJECT

public:
    /// JSON objects, or lines for people.
    explicit EventPrinter(bool json) : json_(json) { }

    /// Hears of everything that the instance on that bus tells from now on.
    void listen(QDBusConnection& connection);

    /// False once a line could not be printed.
    [[nodiscard]] bool couldPrint() const { return couldPrint_; }

public slots:
    void stateChanged(const QString& state);
    void recordingStarted();
    void recordingPaused();
    void recordingResumed();
    void clipSaved(const QString& path);
    void captureFailed(const QString& message);

signals:
    /// Nobody reads what is printed.
    void failed();

private:
    void print(const char* event, const char* key, const QString& value);

    const bool json_;
    QString state_;
    bool couldPrint_ = true;
};

}  // namespace velmora
