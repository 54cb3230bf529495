// What a status badge says about a state.
#pragma once

#include "capture/CaptureState.h"

#include <QColor>
#include <QMetaType>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace velmora {

/// A property of a view's model, for `StatusBadge.status`.
class CaptureStatus {
    Q_GADGET
    QML_VALUE_TYPE(captureStatus)
    Q_PROPERTY(QString label READ label CONSTANT)
    Q_PROPERTY(QColor color READ color CONSTANT)

public:
    /// As when no window has been chosen.
    CaptureStatus();
    explicit CaptureStatus(const CaptureState& state);

    [[nodiscard]] const QString& label() const { return label_; }
    [[nodiscard]] const QColor& color() const { return color_; }

    friend bool operator==(const CaptureStatus&, const CaptureStatus&) = default;

private:
    QString label_;
    QColor color_;
};

}  // namespace velmora
