// A window of our controls on no screen: drawn in software, driven with events.
#pragma once

#include "brand/BrandModule.h"

#include <QAccessible>
#ifdef QT_WIDGETS_LIB
#include <QApplication>
#endif
#include <QCoreApplication>
#include <QEvent>
#include <QGuiApplication>
#include <QImage>
#include <QMouseEvent>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QVariantMap>
#include <gtest/gtest.h>

#include <memory>
#include <string>

QT_BEGIN_NAMESPACE
// As QtTest declares it.
Q_GUI_EXPORT void qt_handleKeyEvent(QWindow* window, QEvent::Type kind, int key, Qt::KeyboardModifiers modifiers,
    const QString& text = QString(), bool isAutoRepeat = false, ushort count = 1);
Q_GUI_EXPORT void qt_handleMouseEvent(QWindow* window, const QPointF& local, const QPointF& global, Qt::MouseButtons buttons,
    Qt::MouseButton button, QEvent::Type kind, Qt::KeyboardModifiers modifiers, int timestamp);
QT_END_NAMESPACE

namespace velmora::test {

/// The one application of the process.
inline QGuiApplication& application()
{
    static QGuiApplication& one = []() -> QGuiApplication& {
        static int count = 1;
        static std::string name = "brand_tests";
        static char* arguments[] = {name.data(), nullptr};
        qputenv("QT_QPA_PLATFORM", "offscreen");
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
#ifdef QT_WIDGETS_LIB
        return *new QApplication(count, arguments);
#else
        return *new QGuiApplication(count, arguments);
#endif
    }();
    return one;
}

/// Deletes what was to be deleted later: there is no event loop, and Qt itself does it too late, at the process's end.
class DeferredDeletion {
public:
    DeferredDeletion() = default;
    ~DeferredDeletion() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }
    DeferredDeletion(const DeferredDeletion&) = delete;
    DeferredDeletion& operator=(const DeferredDeletion&) = delete;
};

/// `qml` is what is inside an Item of the window's size, given `properties`. QML warnings fail the test.
class QuickTestWindow {
public:
    explicit QuickTestWindow(const QString& qml, const QSize& size = {400, 200}, const QVariantMap& properties = {})
    {
        installBrandModule(engine_);
        QQmlComponent component(&engine_);
        component.setData(QStringLiteral("import QtQuick\nimport Velmora.Brand\nItem { %1 }").arg(qml).toUtf8(), {});
        show(component, size, properties);
    }

    /// A view of the program's, bound to `model`, which outlives the window. What is laid out for larger text from the beginning is not laid
    /// out in the same order as what becomes larger later.
    QuickTestWindow(const QUrl& view, QObject& model, const QSize& size, double textScale = 1)
    {
        installBrandModule(engine_);
        setTextScale(engine_, textScale);
        QQmlComponent component(&engine_, view);
        show(component, size, {{QStringLiteral("model"), QVariant::fromValue(&model)}});
    }

    [[nodiscard]] QQmlEngine& engine() { return engine_; }
    [[nodiscard]] QQuickItem* root() const { return root_; }
    [[nodiscard]] QQuickItem* item(const char* objectName) const
    {
        auto* found = root_->findChild<QQuickItem*>(QLatin1String(objectName));
        EXPECT_TRUE(found) << objectName;
        return found;
    }

    [[nodiscard]] QImage grab() const
    {
        application_.processEvents();
        return view_->grabWindow();
    }

    /// Beyond the control's rectangle on every side by `margin`.
    [[nodiscard]] QImage grab(const QQuickItem& item, int margin = 0) const
    {
        const auto inWindow = item.mapRectToScene({0, 0, item.width(), item.height()}).toAlignedRect();
        return grab().copy(inWindow.adjusted(-margin, -margin, margin, margin));
    }

    void movePointer(const QPointF& to) { mouse(QEvent::MouseMove, to, Qt::NoButton, Qt::NoButton); }
    void movePointer(const QQuickItem& to) { movePointer(middle(to)); }
    void press(const QQuickItem& item) { mouse(QEvent::MouseButtonPress, middle(item), Qt::LeftButton, Qt::LeftButton); }
    void release(const QQuickItem& item) { mouse(QEvent::MouseButtonRelease, middle(item), Qt::LeftButton, Qt::NoButton); }
    void click(const QQuickItem& item)
    {
        movePointer(item);
        press(item);
        release(item);
    }

    /// At a moment of the window system's, in milliseconds, as it delivers it: what is a double click depends on these.
    void pressAt(const QPointF& at, int moment) { deliver(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton, moment); }
    void moveAt(const QPointF& at, int moment) { deliver(QEvent::MouseMove, at, Qt::NoButton, Qt::LeftButton, moment); }
    void releaseAt(const QPointF& at, int moment) { deliver(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton, moment); }

    /// Presses at `from`, moves a point at a time, and releases.
    void drag(const QPointF& from, const QPointF& to)
    {
        const QLineF way{from, to};
        movePointer(from);
        mouse(QEvent::MouseButtonPress, from, Qt::LeftButton, Qt::LeftButton);
        for (double moved = 1; moved <= way.length(); ++moved)
            mouse(QEvent::MouseMove, way.pointAt(moved / way.length()), Qt::NoButton, Qt::LeftButton);
        mouse(QEvent::MouseButtonRelease, to, Qt::LeftButton, Qt::NoButton);
    }

    /// As the window system delivers it: what a shortcut takes reaches no control.
    void type(Qt::Key key, const QString& text = {}, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        for (const auto kind : {QEvent::KeyPress, QEvent::KeyRelease})
            qt_handleKeyEvent(view_.get(), kind, key, modifiers, text);
        application_.processEvents();
    }

    [[nodiscard]] const QQuickWindow& window() const { return *view_; }

private:
    void show(QQmlComponent& component, const QSize& size, const QVariantMap& properties)
    {
        QObject::connect(&engine_, &QQmlEngine::warnings, &engine_, [](const QList<QQmlError>& warnings) {
            for (const auto& warning : warnings)
                ADD_FAILURE() << warning.toString().toStdString();
        });
        view_ = std::make_unique<QQuickView>(&engine_, nullptr);
        view_->setColor(QColor{15, 23, 42});
        view_->resize(size);
        root_ = qobject_cast<QQuickItem*>(component.createWithInitialProperties(properties));
        for (const auto& error : component.errors())
            ADD_FAILURE() << error.toString().toStdString();
        if (!root_)
            return;
        root_->setSize(size);
        view_->setContent({}, &component, root_);
        view_->show();
        view_->requestActivate();
        application_.processEvents();
    }

    static QPointF middle(const QQuickItem& item) { return item.mapToScene({item.width() / 2, item.height() / 2}); }

    void deliver(QEvent::Type kind, const QPointF& at, Qt::MouseButton button, Qt::MouseButtons buttons, int moment)
    {
        qt_handleMouseEvent(view_.get(), at, view_->mapToGlobal(at), buttons, button, kind, Qt::NoModifier, moment);
        application_.processEvents();
    }

    void mouse(QEvent::Type kind, const QPointF& at, Qt::MouseButton button, Qt::MouseButtons buttons)
    {
        QMouseEvent event(kind, at, view_->mapToGlobal(at), button, buttons, Qt::NoModifier);
        application_.sendEvent(view_.get(), &event);
        application_.processEvents();
    }

    QGuiApplication& application_ = application();
    // Goes after the engine, which leaves the most to be deleted.
    DeferredDeletion deferredDeletion_;
    QQmlEngine engine_;
    std::unique_ptr<QQuickView> view_;
    QQuickItem* root_ = nullptr;
};

}  // namespace velmora::test
