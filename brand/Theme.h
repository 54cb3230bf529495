// The look that all windows share, for QML.
#pragma once

#include "brand/BrandColors.h"

#include <QColor>
#include <QFont>
#include <QObject>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

namespace velmora {

/// Colours by what they are for, lengths in points, fonts by what is set in them.
class Theme final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

    Q_PROPERTY(QColor coral MEMBER coral CONSTANT)
    Q_PROPERTY(QColor obsidian MEMBER obsidian CONSTANT)
    Q_PROPERTY(QColor snowSlate MEMBER snowSlate CONSTANT)
    Q_PROPERTY(QColor studioWhite MEMBER studioWhite CONSTANT)
    Q_PROPERTY(QColor cardSlate MEMBER cardSlate CONSTANT)
    Q_PROPERTY(QColor borderSlate MEMBER borderSlate CONSTANT)
    Q_PROPERTY(QColor text MEMBER text CONSTANT)
    Q_PROPERTY(QColor secondaryText MEMBER secondaryText CONSTANT)
    Q_PROPERTY(QColor tertiaryText MEMBER tertiaryText CONSTANT)
    Q_PROPERTY(QColor granted MEMBER granted CONSTANT)
    Q_PROPERTY(QColor tip MEMBER tip CONSTANT)
    Q_PROPERTY(QColor selection MEMBER selection CONSTANT)
    Q_PROPERTY(QColor selectionBorder MEMBER selectionBorder CONSTANT)
    Q_PROPERTY(QColor focusRing MEMBER focusRing CONSTANT)

    Q_PROPERTY(int windowMargin MEMBER windowMargin CONSTANT)
    Q_PROPERTY(int smallGap MEMBER smallGap CONSTANT)
    Q_PROPERTY(int gap MEMBER gap CONSTANT)
    Q_PROPERTY(int largeGap MEMBER largeGap CONSTANT)
    Q_PROPERTY(int cardRadius MEMBER cardRadius CONSTANT)
    Q_PROPERTY(int controlRadius MEMBER controlRadius CONSTANT)
    Q_PROPERTY(int controlHeight MEMBER controlHeight CONSTANT)
    Q_PROPERTY(int compactRadius MEMBER compactRadius CONSTANT)
    Q_PROPERTY(int compactHeight MEMBER compactHeight CONSTANT)
    Q_PROPERTY(double disabledOpacity MEMBER disabledOpacity CONSTANT)
    Q_PROPERTY(bool reducesMotion READ reducesMotion NOTIFY motionChanged)
    Q_PROPERTY(int motionDuration READ motionDuration NOTIFY motionChanged)

    Q_PROPERTY(QFont titleFont MEMBER titleFont CONSTANT)
    Q_PROPERTY(QFont headlineFont MEMBER headlineFont CONSTANT)
    Q_PROPERTY(QFont panelTitleFont MEMBER panelTitleFont CONSTANT)
    Q_PROPERTY(QFont bodyFont MEMBER bodyFont CONSTANT)
    Q_PROPERTY(QFont emphasisFont MEMBER emphasisFont CONSTANT)
    Q_PROPERTY(QFont captionFont MEMBER captionFont CONSTANT)
    Q_PROPERTY(QFont captionEmphasisFont MEMBER captionEmphasisFont CONSTANT)

public:
    Theme();

    /// A surface while the pointer is above it, and while it is held down: 6 % lighter and darker.
    Q_INVOKABLE static QColor hovered(const QColor& surface);
    Q_INVOKABLE static QColor pressed(const QColor& surface);

    Q_INVOKABLE static QColor withOpacity(const QColor& color, double opacity);

    /// What an Image shows the symbol from; empty for an empty name.
    Q_INVOKABLE static QUrl symbolSource(const QString& name, const QColor& color);

    /// What the name beside the mark is set in, for a mark of `height` points.
    Q_INVOKABLE static QFont lockupFont(double height, bool isStrong);

    [[nodiscard]] bool reducesMotion() const { return reducesMotion_; }

    /// Milliseconds; 0 when the desktop asks for less motion.
    [[nodiscard]] int motionDuration() const { return reducesMotion_ ? 0 : 200; }

    /// As the desktop asks for.
    void setReducesMotion(bool reducesMotion);

signals:
    void motionChanged();

private:
    const QColor coral = BrandColors::coral;
    const QColor obsidian = BrandColors::obsidian;
    const QColor snowSlate = BrandColors::snowSlate;
    const QColor studioWhite = BrandColors::studioWhite;
    const QColor cardSlate = BrandColors::cardSlate;
    const QColor borderSlate = BrandColors::borderSlate;
    const QColor text = BrandColors::snowSlate;
    const QColor secondaryText{0x94, 0xA3, 0xB8};
    const QColor tertiaryText{0x64, 0x74, 0x8B};
    const QColor granted{0x30, 0xD1, 0x58};
    const QColor tip{0xFB, 0xBF, 0x24};
    const QColor selection = withOpacity(BrandColors::coral, 0.14);
    const QColor selectionBorder = withOpacity(BrandColors::coral, 0.55);
    const QColor focusRing = withOpacity(BrandColors::coral, 0.70);

    const int windowMargin = 24;
    const int smallGap = 4;
    const int gap = 8;
    const int largeGap = 16;
    const int cardRadius = 12;
    const int controlRadius = 9;
    const int controlHeight = 36;
    const int compactRadius = 7;
    const int compactHeight = 28;
    const double disabledOpacity = 0.45;

    const QFont titleFont;
    const QFont headlineFont;
    const QFont panelTitleFont;
    const QFont bodyFont;
    const QFont emphasisFont;
    const QFont captionFont;
    const QFont captionEmphasisFont;

    bool reducesMotion_ = false;
};

}  // namespace velmora
