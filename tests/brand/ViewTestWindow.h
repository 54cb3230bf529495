// A view of the program's on no screen, seen as a person sees it: by what is written in it.
#pragma once

#include "tests/brand/QuickTestWindow.h"

#include <QStringList>
#include <gtest/gtest.h>

#include <functional>

namespace velmora::test {

class ViewTestWindow : public QuickTestWindow {
public:
    using QuickTestWindow::QuickTestWindow;

    /// Whether a text stands in the window, to be seen.
    [[nodiscard]] bool shows(const QString& text) const { return texts().contains(text); }

    /// Of all texts that are to be seen, as they are written in the view.
    [[nodiscard]] QStringList texts() const
    {
        QStringList found;
        forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText"))
                found.append(item.property("text").toString());
        });
        return found;
    }

    /// Whether there is such a button, to be seen.
    [[nodiscard]] bool hasButton(const QString& text) const { return findButton(text) != nullptr; }

    [[nodiscard]] QQuickItem& button(const QString& text) const
    {
        auto* found = findButton(text);
        if (!found)
            throw std::runtime_error("there is no button " + text.toStdString());
        return *found;
    }

    void press(const QString& text) { click(button(text)); }

    /// What a button says that has the keyboard; empty when none has.
    [[nodiscard]] QString focusedButton() const
    {
        const auto* item = window().activeFocusItem();
        return item && item->inherits("QQuickAbstractButton") ? item->property("text").toString() : QString{};
    }

    /// Lets animations come to their end.
    void settle(const std::function<bool()>& condition)
    {
        for (int round = 0; round < 2000 && !condition(); ++round) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
            QThread::msleep(2);
        }
        EXPECT_TRUE(condition());
    }

    /// Every text that is to be seen lies inside `area`, which is in the window, and shows all that it says; what elides by intent is
    /// left out.
    void expectNothingIsCutOff(const QRectF& area) const
    {
        forEachVisible([&](QQuickItem& item) {
            if (!item.inherits("QQuickText") || item.property("text").toString().isEmpty())
                return;
            const auto text = item.property("text").toString().toStdString();
            EXPECT_FALSE(item.property("truncated").toBool()) << text;
            EXPECT_LE(item.property("contentWidth").toDouble(), item.width() + 1) << text;
            EXPECT_LE(item.property("contentHeight").toDouble(), item.height() + 1) << text;
            const auto place = item.mapRectToScene({0, 0, item.width(), item.height()});
            EXPECT_TRUE(area.contains(place)) << text << " at " << place.x() << ", " << place.y() << ", " << place.width() << " x "
                                              << place.height();
        });
    }

    void forEachVisible(const std::function<void(QQuickItem&)>& work) const { visit(*root(), work); }

private:
    static void visit(QQuickItem& item, const std::function<void(QQuickItem&)>& work)
    {
        if (!item.isVisible() || item.opacity() < 0.01)
            return;
        work(item);
        for (auto* child : item.childItems())
            visit(*child, work);
    }

    [[nodiscard]] QQuickItem* findButton(const QString& text) const
    {
        QQuickItem* found = nullptr;
        forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickAbstractButton") && item.property("text").toString() == text)
                found = &item;
        });
        return found;
    }
};

/// What assistive technology is told while this exists.
class AccessibilityEvents {
public:
    AccessibilityEvents()
    {
        events().clear();
        QAccessible::setActive(true);
        QAccessible::installUpdateHandler([](QAccessibleEvent* event) {
            if (auto* target = event->accessibleInterface())
                events().push_back({event->type(), target->role(), target->text(QAccessible::Name)});
        });
    }
    ~AccessibilityEvents()
    {
        QAccessible::installUpdateHandler(nullptr);
        QAccessible::setActive(false);
    }
    AccessibilityEvents(const AccessibilityEvents&) = delete;
    AccessibilityEvents& operator=(const AccessibilityEvents&) = delete;

    /// Whether an alert with this name has appeared, which a screen reader reads out.
    [[nodiscard]] static bool announced(const QString& name)
    {
        return std::any_of(events().begin(), events().end(), [&](const Told& told) {
            return told.type == QAccessible::ObjectShow && told.role == QAccessible::AlertMessage && told.name == name;
        });
    }

private:
    struct Told {
        QAccessible::Event type;
        QAccessible::Role role;
        QString name;
    };

    static std::vector<Told>& events()
    {
        static std::vector<Told> all;
        return all;
    }
};

}  // namespace velmora::test
