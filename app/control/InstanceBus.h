// One instance of the program per session, and how it is reached.
#pragma once

#include "app/control/InstanceControl.h"

#include <QDBusConnection>
#include <QObject>

#include <memory>

namespace velmora {

namespace instance_bus {

inline constexpr const char* serviceName = "com.velmora.Velmora";
inline constexpr const char* objectPath = "/com/velmora/Velmora";
inline constexpr const char* applicationInterface = "org.freedesktop.Application";  // freedesktop.org, Desktop Entry, "D-Bus Activation"
// The actions that the desktop entry offers beside the program's name.
inline constexpr const char* toggleAction = "toggle";
inline constexpr const char* pauseAction = "pause";
inline constexpr const char* chooseWindowAction = "choose-window";
inline constexpr const char* showClipsAction = "show-clips";
inline constexpr const char* controlInterface = "com.velmora.Velmora.Control";
inline constexpr const char* failedError = "com.velmora.Velmora.Error.Failed";
inline constexpr const char* noSuchWindowError = "com.velmora.Velmora.Error.NoSuchWindow";

}  // namespace instance_bus

/// Owns the program's name on the session bus and hands what comes in over it to an InstanceControl. Main thread only.
class InstanceBus final : public QObject {
    Q_OBJECT

public:
    enum class Role {
        first,  ///< the name is ours
        second,  ///< another instance has it
        alone,  ///< there is no session bus: nobody can reach us, nor can we reach another
    };

    explicit InstanceBus(QDBusConnection connection = QDBusConnection::sessionBus());
    ~InstanceBus() override;

    /// Takes the name if it is free. What is asked for before `serve` waits for it.
    Role claim();

    /// Answers from now on. `control` outlives this.
    void serve(InstanceControl& control);

private:
    QDBusConnection connection_;
    bool ownsName_ = false;
};

}  // namespace velmora
