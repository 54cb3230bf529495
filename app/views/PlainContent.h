// The preview of a clip in a first, plain form: what it says, and what can be done from it.
#pragma once

#include "app/views/QuickWindows.h"
#include "system/SharedServices.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QtQmlIntegration>

#include <filesystem>
#include <functional>
#include <utility>
#include <vector>

namespace velmora {

/// A heading, paragraphs and buttons.
class PlainModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the program")
    Q_PROPERTY(QString heading READ heading CONSTANT)
    Q_PROPERTY(QStringList paragraphs READ paragraphs NOTIFY paragraphsChanged)
    Q_PROPERTY(QStringList buttons READ buttons CONSTANT)

public:
    struct Button {
        QString title;
        std::function<void()> action;
    };

    PlainModel(QString heading, std::vector<Button> buttons);

    [[nodiscard]] const QString& heading() const { return heading_; }
    [[nodiscard]] const QStringList& paragraphs() const { return paragraphs_; }
    [[nodiscard]] QStringList buttons() const;
    void setParagraphs(QStringList paragraphs);

    Q_INVOKABLE void press(int button);

signals:
    void paragraphsChanged();

    /// The window is to be closed.
    void dismissed();

private:
    const QString heading_;
    QStringList paragraphs_;
    const std::vector<Button> buttons_;
};

QuickContent makePlainContent(const std::filesystem::path& clip, const SharedServices& services);

}  // namespace velmora
