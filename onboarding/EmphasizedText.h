// A text of our own in which some words are emphasised.
#pragma once

#include <QColor>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QtQml/qqmlregistration.h>

namespace velmora {

/// From a constant with Markdown's strong emphasis (**words**), for a Text with the format StyledText. Never from a string that comes from
/// outside: those are shown as plain text.
class EmphasizedText {
    Q_GADGET
    QML_VALUE_TYPE(emphasizedText)
    Q_PROPERTY(QString plain READ plain CONSTANT)

public:
    EmphasizedText() = default;

    /// An asterisk pair that is not closed is kept as it is.
    template <std::size_t size>
    explicit EmphasizedText(const char (&markdown)[size]) : EmphasizedText(QString::fromUtf8(markdown))
    {
    }

    /// What is emphasised is bold and has that colour.
    [[nodiscard]] Q_INVOKABLE QString styled(const QColor& emphasis) const;

    /// Without any emphasis.
    [[nodiscard]] const QString& plain() const { return plain_; }

    friend bool operator==(const EmphasizedText&, const EmphasizedText&) = default;

private:
    explicit EmphasizedText(const QString& markdown);

    struct Part {
        QString words;
        bool isEmphasized = false;

        friend bool operator==(const Part&, const Part&) = default;
    };

    QList<Part> parts_;
    QString plain_;
};

}  // namespace velmora
