// Where work runs: executors, and the serial queue that each stage of the pipeline has.
#pragma once

#include "base/UniqueFunction.h"

#include <memory>
#include <string>

namespace velmora {

/// Something that runs work later, one piece at a time, in the order given. The main thread is one, a SerialQueue another, the
/// hand-stepped queue of the tests a third.
class Executor {
public:
    virtual ~Executor() = default;

    /// Queues `work` and returns at once. May be called on any thread, also from work that runs on this executor.
    virtual void async(UniqueFunction<void()> work) = 0;
};

/// A serial queue with a thread of its own, which starts with the first work.
///
/// Destroying the queue runs what is still queued and then ends the thread; if the last owner is released by work running on
/// the queue itself, the thread ends on its own after the rest has run. Keeping the queue's order is the whole contract: a piece of
/// work sees everything that earlier pieces did.
class SerialQueue final : public Executor {
public:
    /// `background` gets what the others leave of the processors, and next to nothing where they leave nothing, as do the threads that its
    /// work starts.
    enum class QualityOfService { userInteractive, userInitiated, utility, background };

    /// `label` names the queue in diagnostics; the thread is named after its last component.
    explicit SerialQueue(std::string label, QualityOfService qualityOfService = QualityOfService::userInitiated);
    ~SerialQueue() override;
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    void async(UniqueFunction<void()> work) override;

    /// Runs `work` on the queue and returns when it, and so everything queued before it, has run. Never called from the queue itself.
    void sync(UniqueFunction<void()> work);

    /// Returns when everything queued so far has run. Never called from the queue itself.
    void drain() const;

    /// True on the queue's own thread.
    [[nodiscard]] bool isCurrent() const;

    [[nodiscard]] const std::string& label() const;
    [[nodiscard]] QualityOfService qualityOfService() const;

private:
    struct State;
    static void submit(const std::shared_ptr<State>& state, UniqueFunction<void()> work);

    std::shared_ptr<State> state_;
};

}  // namespace velmora
