#include "app/MainThreadExecutor.h"

#include <QCoreApplication>
#include <QEvent>

#include <utility>

namespace velmora {

namespace {

QEvent::Type workEventType()
{
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

class WorkEvent final : public QEvent {
public:
    explicit WorkEvent(UniqueFunction<void()> work) : QEvent(workEventType()), work_(std::move(work)) { }

    void run() { work_(); }

private:
    UniqueFunction<void()> work_;
};

}  // namespace

MainThreadExecutor::MainThreadExecutor() = default;

void MainThreadExecutor::async(UniqueFunction<void()> work)
{
    QCoreApplication::postEvent(this, new WorkEvent(std::move(work)));
}

bool MainThreadExecutor::event(QEvent* event)
{
    if (event->type() != workEventType())
        return QObject::event(event);
    static_cast<WorkEvent*>(event)->run();
    return true;
}

}  // namespace velmora
