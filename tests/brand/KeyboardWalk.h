// What a person with a keyboard alone meets in a window, and what a screen reader says of it.
#pragma once

#include "tests/brand/ViewTestWindow.h"

#include <QAccessible>
#include <QImage>
#include <QRectF>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace velmora::test {

/// Where the Tab key stops.
struct KeyboardStop {
    QQuickItem* item = nullptr;
    std::string name;
    QRectF place;  ///< what of it is in sight, in the window
};

inline KeyboardStop stopAt(const ViewTestWindow& window, QQuickItem* item)
{
    if (!item)
        return {};
    auto* accessible = QAccessible::queryAccessibleInterface(item);
    const QRectF all{QPointF{}, QSizeF{window.window().size()}};
    return {item, accessible ? accessible->text(QAccessible::Name).toStdString() : std::string{},
        ViewTestWindow::seenPart(*item, {0, 0, item->width(), item->height()}) & all};
}

inline KeyboardStop keyboardStop(const ViewTestWindow& window)
{
    return stopAt(window, window.window().activeFocusItem());
}

/// Whether two pictures of a window differ in a part of it, with what is drawn round that.
inline bool differs(const QImage& one, const QImage& other, const QRectF& part)
{
    const double scale = one.devicePixelRatio();
    const QRectF pixels{part.topLeft() * scale, part.size() * scale};
    const auto around = pixels.toAlignedRect().adjusted(-8, -8, 8, 8) & one.rect();
    return one.copy(around) != other.copy(around);
}

/// Goes once through everything with the Tab key and back, from what has the focus: each stop is in sight, has a name and shows that it has
/// the keyboard, and the way leads round. Their names, in this order.
inline std::vector<std::string> walkWithTab(ViewTestWindow& window)
{
    constexpr int mostStops = 60;
    std::vector<KeyboardStop> stops;
    window.type(Qt::Key_Tab);
    auto picture = window.grab();
    for (auto stop = keyboardStop(window); static_cast<int>(stops.size()) < mostStops;) {
        const bool isNew = std::none_of(stops.begin(), stops.end(), [&](const auto& known) { return known.item == stop.item; });
        if (!isNew)
            break;
        EXPECT_TRUE(stop.item && stop.item->isVisible() && stop.item->isEnabled()) << "the keyboard is nowhere after " << stops.size();
        if (!stop.item)
            break;
        EXPECT_NE(stop.name, "") << "a " << stop.item->metaObject()->className() << " without a name";
        EXPECT_FALSE(stop.place.isEmpty()) << stop.name << " is out of sight";
        stops.push_back(stop);
        window.type(Qt::Key_Tab);
        const auto next = keyboardStop(window);
        const auto nextPicture = window.grab();
        // What has been scrolled looks otherwise anyhow.
        const bool canBeCompared = next.item && next.item != stop.item && stopAt(window, stop.item).place == stop.place;
        EXPECT_TRUE(!canBeCompared || differs(picture, nextPicture, stop.place)) << stop.name << " does not show that it has the keyboard";
        picture = nextPicture;
        stop = next;
    }
    EXPECT_LT(static_cast<int>(stops.size()), mostStops);
    std::vector<std::string> names;
    for (const auto& stop : stops)
        names.push_back(stop.name);
    // The keyboard is at the first of them again.
    EXPECT_TRUE(!stops.empty() && keyboardStop(window).item == stops.front().item) << "the way does not lead round";
    for (auto stop = stops.rbegin(); stop != stops.rend(); ++stop) {
        window.type(Qt::Key_Backtab, {}, Qt::ShiftModifier);
        EXPECT_EQ(keyboardStop(window).name, stop->name) << "on the way back";
    }
    return names;
}

inline void visitAccessibles(QAccessibleInterface& accessible, const std::function<void(QAccessibleInterface&)>& work)
{
    for (int i = 0; i < accessible.childCount(); ++i) {
        auto* child = accessible.child(i);
        if (!child || child->state().invisible)
            continue;
        work(*child);
        visitAccessibles(*child, work);
    }
}

/// A screen reader finds no control without a name, no value outside its bounds, and no two controls beside each other that it cannot tell
/// apart.
inline void expectAllIsSaid(const ViewTestWindow& window)
{
    auto* root = QAccessible::queryAccessibleInterface(const_cast<QQuickWindow*>(&window.window()));
    ASSERT_TRUE(root);
    int controls = 0;
    const auto isControl = [](const QAccessibleInterface& each) {
        switch (each.role()) {
        case QAccessible::Button:
        case QAccessible::CheckBox:
        case QAccessible::EditableText:
        case QAccessible::Graphic:
        case QAccessible::List:
        case QAccessible::ListItem:
        case QAccessible::MenuItem:
        case QAccessible::ProgressBar:
        case QAccessible::Slider:
            return true;
        default:
            return false;
        }
    };
    std::vector<std::pair<const QObject*, std::string>> seen;
    visitAccessibles(*root, [&](QAccessibleInterface& each) {
        if (!isControl(each))
            return;
        ++controls;
        const auto name = each.text(QAccessible::Name).toStdString();
        EXPECT_NE(name, "") << "a control of role " << each.role()
                            << " without a name: " << (each.object() ? each.object()->metaObject()->className() : "");
        if (auto* value = each.valueInterface()) {
            EXPECT_GE(value->currentValue().toDouble(), value->minimumValue().toDouble()) << name;
            EXPECT_LE(value->currentValue().toDouble(), value->maximumValue().toDouble()) << name;
        } else {
            EXPECT_NE(each.role(), QAccessible::Slider) << name << " has no value";
            EXPECT_NE(each.role(), QAccessible::ProgressBar) << name << " has no value";
        }
        // Rows may be alike: two windows of one title, say.
        if (each.role() == QAccessible::ListItem)
            return;
        const auto* parent = each.parent() ? each.parent()->object() : nullptr;
        const auto key = std::to_string(each.role()) + name;
        EXPECT_EQ(std::count(seen.begin(), seen.end(), std::pair{parent, key}), 0) << "two of " << name;
        seen.emplace_back(parent, key);
    });
    EXPECT_GT(controls, 0);
}

}  // namespace velmora::test
