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

    Q_PROPERTY(QColor coral MEMBER coral_ CONSTANT)
    Q_PROPERTY(QColor obsidian MEMBER obsidian_ CONSTANT)
    Q_PROPERTY(QColor snowSlate MEMBER snowSlate_ CONSTANT)
    Q_PROPERTY(QColor studioWhite MEMBER studioWhite_ CONSTANT)
    Q_PROPERTY(QColor cardSlate MEMBER cardSlate_ CONSTANT)
    Q_PROPERTY(QColor borderSlate MEMBER borderSlate_ CONSTANT)
    Q_PROPERTY(QColor text MEMBER text_ CONSTANT)
    Q_PROPERTY(QColor secondaryText MEMBER secondaryText_ CONSTANT)
    Q_PROPERTY(QColor tertiaryText MEMBER tertiaryText_ CONSTANT)
    Q_PROPERTY(QColor controlBorder MEMBER controlBorder_ CONSTANT)
    Q_PROPERTY(QColor granted MEMBER granted_ CONSTANT)
    Q_PROPERTY(QColor tip MEMBER tip_ CONSTANT)
    Q_PROPERTY(QColor selection MEMBER selection_ CONSTANT)
    Q_PROPERTY(QColor selectionBorder MEMBER selectionBorder_ CONSTANT)
    Q_PROPERTY(QColor focusRing MEMBER focusRing_ CONSTANT)

    Q_PROPERTY(int windowMargin MEMBER windowMargin_ CONSTANT)
    Q_PROPERTY(int smallGap MEMBER smallGap_ CONSTANT)
    Q_PROPERTY(int gap MEMBER gap_ CONSTANT)
    Q_PROPERTY(int largeGap MEMBER largeGap_ CONSTANT)
    Q_PROPERTY(int cardRadius MEMBER cardRadius_ CONSTANT)
    Q_PROPERTY(int controlRadius MEMBER controlRadius_ CONSTANT)
    Q_PROPERTY(int controlHeight MEMBER controlHeight_ CONSTANT)
    Q_PROPERTY(int compactRadius MEMBER compactRadius_ CONSTANT)
    Q_PROPERTY(int compactHeight MEMBER compactHeight_ CONSTANT)
    Q_PROPERTY(double disabledOpacity MEMBER disabledOpacity_ CONSTANT)
    Q_PROPERTY(bool reducesMotion READ reducesMotion NOTIFY motionChanged)
    Q_PROPERTY(int motionDuration READ motionDuration NOTIFY motionChanged)

    Q_PROPERTY(QFont titleFont MEMBER titleFont_ CONSTANT)
    Q_PROPERTY(QFont headlineFont MEMBER headlineFont_ CONSTANT)
    Q_PROPERTY(QFont panelTitleFont MEMBER panelTitleFont_ CONSTANT)
    Q_PROPERTY(QFont bodyFont MEMBER bodyFont_ CONSTANT)
    Q_PROPERTY(QFont emphasisFont MEMBER emphasisFont_ CONSTANT)
    Q_PROPERTY(QFont captionFont MEMBER captionFont_ CONSTANT)
    Q_PROPERTY(QFont captionEmphasisFont MEMBER captionEmphasisFont_ CONSTANT)
    Q_PROPERTY(QFont emojiFont MEMBER emojiFont_ CONSTANT)

public:
    Theme();

    /// A surface while the pointer is above it, and while it is held down: 6 % lighter and darker.
    Q_INVOKABLE static QColor hovered(const QColor& surface);
    Q_INVOKABLE static QColor pressed(const QColor& surface);

    Q_INVOKABLE static QColor withOpacity(const QColor& color, double opacity);

    /// The source from which an Image shows the symbol; empty for an empty name.
    Q_INVOKABLE static QUrl symbolSource(const QString& name, const QColor& color);

    /// From one line of that font to the next, in points.
    Q_INVOKABLE static double lineSpacing(const QFont& font);

    /// Text from outside, as brand/ShownText.h has it.
    Q_INVOKABLE static QString oneLine(const QString& text);
    Q_INVOKABLE static QString paragraphs(const QString& text);

    /// What the name beside a mark of `height` points is set in.
    Q_INVOKABLE static QFont lockupFont(double height, bool isStrong);

    [[nodiscard]] bool reducesMotion() const { return reducesMotion_; }

    /// Milliseconds; 0 when the desktop asks for less motion.
    [[nodiscard]] int motionDuration() const { return reducesMotion_ ? 0 : 200; }

    /// As the desktop asks.
    void setReducesMotion(bool reducesMotion);

signals:
    void motionChanged();

private:
    const QColor coral_ = BrandColors::coral;
    const QColor obsidian_ = BrandColors::obsidian;
    const QColor snowSlate_ = BrandColors::snowSlate;
    const QColor studioWhite_ = BrandColors::studioWhite;
    const QColor cardSlate_ = BrandColors::cardSlate;
    const QColor borderSlate_ = BrandColors::borderSlate;
    const QColor text_ = BrandColors::snowSlate;
    const QColor secondaryText_ = BrandColors::secondarySlate;
    const QColor tertiaryText_ = BrandColors::tertiarySlate;
    const QColor controlBorder_ = BrandColors::controlSlate;
    const QColor granted_ = BrandColors::green;
    const QColor tip_ = BrandColors::amber;
    const QColor selection_ = withOpacity(BrandColors::coral, 0.14);
    const QColor selectionBorder_ = withOpacity(BrandColors::coral, 0.85);
    const QColor focusRing_ = BrandColors::coral;

    const int windowMargin_ = 24;
    const int smallGap_ = 4;
    const int gap_ = 8;
    const int largeGap_ = 16;
    const int cardRadius_ = 12;
    const int controlRadius_ = 9;
    const int controlHeight_ = 36;
    const int compactRadius_ = 7;
    const int compactHeight_ = 28;
    const double disabledOpacity_ = 0.45;

    const QFont titleFont_;
    const QFont headlineFont_;
    const QFont panelTitleFont_;
    const QFont bodyFont_;
    const QFont emphasisFont_;
    const QFont captionFont_;
    const QFont captionEmphasisFont_;
    const QFont emojiFont_;

    bool reducesMotion_ = false;
};

}  // namespace velmora
