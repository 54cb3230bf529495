// One question to the desktop's portal, from the call to the answer (org.freedesktop.portal.Request). Private like its connection.
#pragma once

#include "base/Result.h"
#include "base/UniqueFunction.h"
#include "platform/linux/portal_access/PortalConnection.h"

#include <QObject>
#include <QString>
#include <QVariantList>
#include <QVariantMap>

namespace velmora::linux_backend {

/// What org.freedesktop.portal.Request::Response says.
struct PortalResponse {
    static constexpr uint succeeded = 0;
    static constexpr uint cancelled = 1;  ///< any other code is an end of another kind: closed, or unknown

    uint code = succeeded;
    QVariantMap results;
};

/// Deletes itself when it is answered; deleting it before closes the desktop's dialog. Main thread only.
class PortalRequest final : public QObject {
    Q_OBJECT

public:
    enum ErrorCode { refused = 1, portalEnded = 2 };

    /// The response, or an error when the portal refused or vanished. Once, never before send() has returned.
    using Completion = UniqueFunction<void(Result<PortalResponse>)>;

    /// Calls `method` with `arguments` and then `options`, to which the request's own token is added. It belongs to `owner`.
    static void send(PortalConnection& portal, QObject* owner, const char* interface, const char* method, const QVariantList& arguments,
        QVariantMap options, Completion completion);

    ~PortalRequest() override;

private slots:
    void respond(uint response, const QVariantMap& results);

private:
    PortalRequest(PortalConnection& portal, QObject* owner, Completion completion);
    void listen(const QString& handle);
    void finish(Result<PortalResponse> answer);

    QDBusConnection bus_;
    Completion completion_;
    QString handle_;
};

}  // namespace velmora::linux_backend
