// The engine that all our windows are made with.
#pragma once

#include <QColor>
#include <QQmlEngine>
#include <QUrl>

#include <chrono>

namespace velmora {

/// Created when a window is needed, and gone again some time after the last: without a window the program does not need it. The first
/// frame of all brings the icon that all windows show. Main thread.
QQmlEngine& quickEngine();

/// Has a view and what it is built from read and compiled while the main thread goes on, so that a window that shows it soon opens at
/// once. For when a window is likely to come. Main thread.
void prepareView(const QUrl& view);

/// Who keeps a view that it shows now and then. Main thread.
class QuickViewOwner {
public:
    QuickViewOwner();
    virtual ~QuickViewOwner();
    QuickViewOwner(const QuickViewOwner&) = delete;
    QuickViewOwner& operator=(const QuickViewOwner&) = delete;

    /// Deletes the view; whatever else is known of the window stays, and the next showing makes another. Only while it is hidden.
    virtual void releaseView() = 0;
};

/// How long what windows need stays after the last has gone, so that the next one opens at once: 10 s. From the next use on. Main thread.
void setQuickEngineStay(std::chrono::milliseconds stay);

/// Deletes the views of all owners, the engine and what else windows brought, unless one of our windows or menus is on the screen. Happens
/// by itself within twice that time. Main thread.
void releaseQuickEngine();

/// What the desktop asks for, for the windows that exist and for those to come. Creates no engine. Main thread.
void setReducesMotion(bool reducesMotion);
void setIncreasesContrast(bool increasesContrast);
void setTextScale(double scale);
[[nodiscard]] bool reducesMotion();

/// What a window of ours has beneath its view, which may come later. Opaque windows follow a change of contrast.
[[nodiscard]] QColor windowColor();

}  // namespace velmora
