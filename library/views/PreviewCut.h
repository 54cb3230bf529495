// The middle part that a preview leaves out of what it saves.
#pragma once

#include <QObject>
#include <QString>
#include <QtQmlIntegration>

#include <vector>

namespace velmora {

struct MediaTime;
struct TimeRange;

/// Times are seconds from the clip's beginning. Where the cut reaches beyond the selection, only what lies inside counts. Main thread only.
class PreviewCut final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the preview")
    Q_PROPERTY(bool isThere READ isThere NOTIFY changed)
    Q_PROPERTY(QString action READ action NOTIFY changed)
    // The bounds of a slider are announced before its value, which it holds within them.
    Q_PROPERTY(double startMaximum READ end NOTIFY boundsChanged)
    Q_PROPERTY(double endMinimum READ start NOTIFY boundsChanged)
    Q_PROPERTY(double start READ start NOTIFY changed)
    Q_PROPERTY(double end READ end NOTIFY changed)
    Q_PROPERTY(QString startText READ startText NOTIFY changed)
    Q_PROPERTY(QString endText READ endText NOTIFY changed)
    Q_PROPERTY(QString keptText READ keptText NOTIFY changed)
    Q_PROPERTY(QString startTenths READ startTenths NOTIFY changed)
    Q_PROPERTY(QString endTenths READ endTenths NOTIFY changed)
    Q_PROPERTY(QString keptTenths READ keptTenths NOTIFY changed)

public:
    explicit PreviewCut(QObject* parent) : QObject(parent) { }

    [[nodiscard]] bool isThere() const { return isThere_; }
    /// What a press of its button would do.
    [[nodiscard]] QString action() const;
    [[nodiscard]] double start() const { return start_; }
    [[nodiscard]] double end() const { return end_; }
    [[nodiscard]] QString startText() const;
    [[nodiscard]] QString endText() const;
    [[nodiscard]] QString keptText() const;
    [[nodiscard]] QString startTenths() const;
    [[nodiscard]] QString endTenths() const;
    [[nodiscard]] QString keptTenths() const;

    /// What it leaves of the selection.
    [[nodiscard]] double keptSeconds() const;
    /// Whether the picture at that time is left out, on the scale that times are exported on.
    [[nodiscard]] bool holds(MediaTime time) const;
    /// As an export takes it; empty where nothing is cut.
    [[nodiscard]] std::vector<TimeRange> ranges() const;

    void setSelection(double start, double end);
    void set(double start, double end);
    void remove();

signals:
    void boundsChanged();
    void changed();

private:
    bool isThere_ = false;
    double start_ = 0;
    double end_ = 0;
    double selectionStart_ = 0;
    double selectionEnd_ = 0;
};

}  // namespace velmora
