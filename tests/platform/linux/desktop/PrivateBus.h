// A message bus of a test's own.
#pragma once

#include "tests/support/sound/ChildProcess.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QEventLoop>
#include <QString>
#include <QTimer>

#include <functional>
#include <stdexcept>
#include <string>

namespace velmora::test {

/// With a QCoreApplication, which its clients need.
class PrivateBus {
public:
    PrivateBus()
    {
        const auto line = daemon_.readLine();
        if (!line)
            throw std::runtime_error("dbus-daemon did not start");
        address_ = *line;
    }

    [[nodiscard]] const std::string& address() const { return address_; }

    /// One for a service of the test's; each name once.
    [[nodiscard]] QDBusConnection connect(const char* name) const
    {
        return QDBusConnection::connectToBus(QString::fromStdString(address_), QString::fromLatin1(name));
    }

    /// Runs events until the condition holds; false when it never does.
    static bool runUntil(const std::function<bool()>& condition)
    {
        constexpr int patience = 20'000;
        constexpr int step = 2;
        QEventLoop loop;
        QTimer poll;
        QTimer end;
        end.setSingleShot(true);
        QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
            if (condition())
                loop.quit();
        });
        QObject::connect(&end, &QTimer::timeout, &loop, &QEventLoop::quit);
        poll.start(step);
        end.start(patience);
        loop.exec();
        return condition();
    }

private:
    int argc_ = 1;
    char name_[5] = "test";
    char* argv_[2] = {name_, nullptr};
    QCoreApplication application_{argc_, argv_};
    ChildProcess daemon_{{"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address"}};
    std::string address_;
};

}  // namespace velmora::test
