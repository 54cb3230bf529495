// The look that all windows share, for QML.
#pragma once

#include "brand/Palette.h"

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

    Q_PROPERTY(QColor coral READ coral NOTIFY lookChanged)
    Q_PROPERTY(QColor obsidian READ obsidian NOTIFY lookChanged)
    Q_PROPERTY(QColor snowSlate MEMBER snowSlate_ CONSTANT)
    Q_PROPERTY(QColor studioWhite MEMBER studioWhite_ CONSTANT)
    Q_PROPERTY(QColor cardSlate READ cardSlate NOTIFY lookChanged)
    Q_PROPERTY(QColor borderSlate READ borderSlate NOTIFY lookChanged)
    Q_PROPERTY(QColor text READ text NOTIFY lookChanged)
    Q_PROPERTY(QColor secondaryText READ secondaryText NOTIFY lookChanged)
    Q_PROPERTY(QColor tertiaryText READ tertiaryText NOTIFY lookChanged)
    Q_PROPERTY(QColor controlBorder READ controlBorder NOTIFY lookChanged)
    Q_PROPERTY(QColor granted READ granted NOTIFY lookChanged)
    Q_PROPERTY(QColor tip READ tip NOTIFY lookChanged)
    Q_PROPERTY(QColor selection READ selection NOTIFY lookChanged)
    Q_PROPERTY(QColor selectionBorder READ selectionBorder NOTIFY lookChanged)
    Q_PROPERTY(QColor onCoral READ onCoral NOTIFY lookChanged)
    Q_PROPERTY(QColor passed READ passed NOTIFY lookChanged)
    Q_PROPERTY(QColor groove READ groove NOTIFY lookChanged)
    Q_PROPERTY(QColor toolTip READ toolTip NOTIFY lookChanged)
    Q_PROPERTY(QColor selectedText READ selectedText NOTIFY lookChanged)
    Q_PROPERTY(QColor focusRing READ focusRing NOTIFY lookChanged)

    Q_PROPERTY(int windowMargin MEMBER windowMargin_ CONSTANT)
    Q_PROPERTY(int smallGap MEMBER smallGap_ CONSTANT)
    Q_PROPERTY(int gap MEMBER gap_ CONSTANT)
    Q_PROPERTY(int largeGap MEMBER largeGap_ CONSTANT)
    Q_PROPERTY(int cardRadius MEMBER cardRadius_ CONSTANT)
    Q_PROPERTY(int controlRadius MEMBER controlRadius_ CONSTANT)
    Q_PROPERTY(int controlHeight READ controlHeight NOTIFY textScaleChanged)
    Q_PROPERTY(int compactRadius MEMBER compactRadius_ CONSTANT)
    Q_PROPERTY(int compactHeight READ compactHeight NOTIFY textScaleChanged)
    Q_PROPERTY(double disabledOpacity READ disabledOpacity NOTIFY lookChanged)
    Q_PROPERTY(double textScale READ textScale NOTIFY textScaleChanged)
    Q_PROPERTY(bool reducesMotion READ reducesMotion NOTIFY motionChanged)
    Q_PROPERTY(int motionDuration READ motionDuration NOTIFY motionChanged)

    Q_PROPERTY(QFont titleFont READ titleFont NOTIFY textScaleChanged)
    Q_PROPERTY(QFont headlineFont READ headlineFont NOTIFY textScaleChanged)
    Q_PROPERTY(QFont panelTitleFont READ panelTitleFont NOTIFY textScaleChanged)
    Q_PROPERTY(QFont bodyFont READ bodyFont NOTIFY textScaleChanged)
    Q_PROPERTY(QFont emphasisFont READ emphasisFont NOTIFY textScaleChanged)
    Q_PROPERTY(QFont captionFont READ captionFont NOTIFY textScaleChanged)
    Q_PROPERTY(QFont captionEmphasisFont READ captionEmphasisFont NOTIFY textScaleChanged)
    Q_PROPERTY(QFont emojiFont READ emojiFont NOTIFY textScaleChanged)

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

    /// How wide a line of text is, in points.
    Q_INVOKABLE static double lineWidth(const QFont& font, const QString& text);

    /// The font, as much smaller as `part` of it is, or as a line of text in it needs to be no wider than that.
    Q_INVOKABLE static QFont smaller(const QFont& font, double part);
    Q_INVOKABLE static QFont fitted(const QFont& font, const QString& text, double width);

    /// What assistive technology says of a control that is or is not enabled. Qt Quick does not tell it that state.
    Q_INVOKABLE static QString availability(bool isEnabled);

    /// Text from outside, as brand/ShownText.h has it.
    Q_INVOKABLE static QString oneLine(const QString& text);
    Q_INVOKABLE static QString paragraphs(const QString& text);

    /// What the name beside a mark of `height` points is set in.
    Q_INVOKABLE static QFont lockupFont(double height, bool isStrong);

    [[nodiscard]] QColor coral() const { return palette_->coral; }
    [[nodiscard]] QColor obsidian() const { return palette_->window; }
    [[nodiscard]] QColor cardSlate() const { return palette_->card; }
    [[nodiscard]] QColor borderSlate() const { return palette_->border; }
    [[nodiscard]] QColor text() const { return palette_->text; }
    [[nodiscard]] QColor secondaryText() const { return palette_->secondaryText; }
    [[nodiscard]] QColor tertiaryText() const { return palette_->tertiaryText; }
    [[nodiscard]] QColor controlBorder() const { return palette_->controlBorder; }
    [[nodiscard]] QColor granted() const { return palette_->granted; }
    [[nodiscard]] QColor tip() const { return palette_->tip; }
    [[nodiscard]] QColor onCoral() const { return palette_->onCoral; }
    [[nodiscard]] QColor groove() const { return palette_->groove; }
    [[nodiscard]] QColor toolTip() const { return palette_->toolTip; }
    [[nodiscard]] QColor selection() const { return withOpacity(palette_->coral, 0.14); }
    [[nodiscard]] QColor selectionBorder() const { return withOpacity(palette_->coral, 0.85); }
    /// Of several steps, those that were before the one in coral.
    [[nodiscard]] QColor passed() const { return withOpacity(palette_->coral, palette_->passedTint); }
    /// Behind what is selected in a text, in which it is onCoral.
    [[nodiscard]] QColor selectedText() const { return withOpacity(palette_->coral, palette_->selectedTextTint); }
    [[nodiscard]] QColor focusRing() const { return palette_->coral; }
    [[nodiscard]] double disabledOpacity() const { return palette_->disabledOpacity; }

    /// Of text, and of what is as high as its text needs.
    [[nodiscard]] double textScale() const { return textScale_; }
    [[nodiscard]] int controlHeight() const { return qRound(36 * textScale_); }
    [[nodiscard]] int compactHeight() const { return qRound(28 * textScale_); }
    [[nodiscard]] QFont titleFont() const { return font(22, QFont::DemiBold); }
    [[nodiscard]] QFont headlineFont() const { return font(15, QFont::DemiBold); }
    [[nodiscard]] QFont panelTitleFont() const { return font(14, QFont::DemiBold); }
    [[nodiscard]] QFont bodyFont() const { return font(13, QFont::Normal); }
    [[nodiscard]] QFont emphasisFont() const { return font(13, QFont::DemiBold); }
    [[nodiscard]] QFont captionFont() const { return font(11, QFont::Normal); }
    [[nodiscard]] QFont captionEmphasisFont() const { return font(11, QFont::DemiBold); }
    [[nodiscard]] QFont emojiFont() const;

    [[nodiscard]] bool reducesMotion() const { return reducesMotion_; }

    /// Milliseconds; 0 when the desktop asks for less motion.
    [[nodiscard]] int motionDuration() const { return reducesMotion_ ? 0 : 200; }

    /// As the desktop asks.
    void setReducesMotion(bool reducesMotion);
    void setIncreasesContrast(bool increasesContrast);

    /// From 1 to largestText: windows of a given size have room for no more, even where their contents scroll.
    void setTextScale(double scale);
    static constexpr double largestText = 1.5;

signals:
    void motionChanged();
    void lookChanged();
    void textScaleChanged();

private:
    [[nodiscard]] QFont font(int points, QFont::Weight weight) const;

    const QColor snowSlate_ = BrandColors::snowSlate;
    const QColor studioWhite_ = BrandColors::studioWhite;

    const int windowMargin_ = 24;
    const int smallGap_ = 4;
    const int gap_ = 8;
    const int largeGap_ = 16;
    const int cardRadius_ = 12;
    const int controlRadius_ = 9;
    const int compactRadius_ = 7;

    const Palette* palette_ = &Palette::of(false);
    double textScale_ = 1;
    bool reducesMotion_ = false;
};

}  // namespace velmora
