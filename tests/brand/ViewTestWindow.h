// A view of the program's on no screen, seen as a person sees it: by the text in it.
#pragma once

#include "tests/brand/QuickTestWindow.h"

#include <QStringList>
#include <QThread>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace velmora::test {

class ViewTestWindow : public QuickTestWindow {
public:
    using QuickTestWindow::QuickTestWindow;

    /// Whether a text is in the window and visible.
    [[nodiscard]] bool shows(const QString& text) const { return texts().contains(text); }

    /// All texts that are visible, as they are written in the view.
    [[nodiscard]] QStringList texts() const
    {
        QStringList found;
        forEachVisible([&](QQuickItem& item) {
            if (item.inherits("QQuickText"))
                found.append(item.property("text").toString());
        });
        return found;
    }

    /// What an item shows as a picture: a symbol by its name, the mark as "mark" and the application's icon as "icon", with their sizes in
    /// points; empty for any other item.
    [[nodiscard]] static QString pictureName(const QQuickItem& item)
    {
        if (item.inherits("QQuickImage"))
            return item.property("source").toString().section(QLatin1Char('/'), 3, 3);
        if (!item.inherits("velmora::BrandPicture"))
            return {};
        const auto kind = item.inherits("velmora::BrandAppIconView") ? QStringLiteral("icon") : QStringLiteral("mark");
        return kind + QLatin1Char(' ') + QString::number(item.property("size").toDouble());
    }

    /// The pictures that are visible, as they are written in the view.
    [[nodiscard]] QString pictures() const
    {
        QStringList names;
        forEachVisible([&](QQuickItem& item) {
            if (const auto name = pictureName(item); !name.isEmpty())
                names.append(name);
        });
        return names.join(QStringLiteral(", "));
    }

    /// Whether there is such a button, and visible.
    [[nodiscard]] bool hasButton(const QString& text) const { return findButton(text) != nullptr; }

    [[nodiscard]] QQuickItem& button(const QString& text) const
    {
        auto* found = findButton(text);
        if (!found)
            throw std::runtime_error("there is no button " + text.toStdString());
        return *found;
    }

    void press(const QString& text) { click(button(text)); }

    /// Whether there is an alert with this name, which a screen reader reads out when it appears.
    [[nodiscard]] bool hasAlert(const QString& name) const
    {
        bool found = false;
        forEachVisible([&](QQuickItem& item) {
            auto* accessible = QAccessible::queryAccessibleInterface(&item);
            found |= accessible && accessible->role() == QAccessible::AlertMessage && accessible->text(QAccessible::Name) == name;
        });
        return found;
    }

    /// The text of the button that has the focus; empty when none has.
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

    /// Every visible text is inside `area`, which is in the window, and shows all that it says; what elides by intent is
    /// left out.
    void expectNothingIsCutOff(const QRectF& area) const
    {
        forEachVisible([&](QQuickItem& item) {
            if (!item.inherits("QQuickText") || item.property("text").toString().isEmpty())
                return;
            const auto text = item.property("text").toString().toStdString();
            EXPECT_FALSE(item.property("truncated").toBool()) << text;
            EXPECT_LE(item.property("contentWidth").toDouble(), item.width() + 1) << text;
            // What a label adds between its lines counts again after a reflow.
            EXPECT_LE(item.property("contentHeight").toDouble(), item.height() * 1.16) << text;
            const auto place = item.mapRectToScene({0, 0, item.width(), item.height()});
            EXPECT_TRUE(area.contains(place)) << text << " at " << place.x() << ", " << place.y() << ", " << place.width() << " x "
                                              << place.height();
        });
    }

    /// What of the item is not scrolled out of sight, in the window.
    [[nodiscard]] static QRectF seenPart(const QQuickItem& item, const QRectF& part)
    {
        auto seen = item.mapRectToScene(part);
        for (const auto* holder = item.parentItem(); holder; holder = holder->parentItem()) {
            if (holder->clip())
                seen &= holder->mapRectToScene(holder->clipRect());
        }
        return seen;
    }

    /// No two visible texts overlap.
    void expectNoTextsOverlap() const
    {
        std::vector<std::pair<QString, QRectF>> seen;
        forEachVisible([&](QQuickItem& item) {
            const auto text = item.property("text").toString();
            if (!item.inherits("QQuickText") || text.isEmpty())
                return;
            // What a label adds between its lines counts again after a reflow.
            const double height = std::max(item.height(), item.property("contentHeight").toDouble() / 1.16);
            const auto place = seenPart(item, {0, 0, item.width(), height}).adjusted(1, 1, -1, -1);
            if (place.width() <= 0 || place.height() <= 0)
                return;
            for (const auto& [other, otherPlace] : seen)
                EXPECT_FALSE(place.intersects(otherPlace)) << text.toStdString() << " overlaps " << other.toStdString();
            seen.emplace_back(text, place);
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

}  // namespace velmora::test
