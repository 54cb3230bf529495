// One shared reference that several threads may read and replace.
#pragma once

#include "base/Mutex.h"

#include <memory>
#include <utility>

namespace velmora {

/// A shared pointer whose load, store and exchange are atomic. Its lock covers the pointer swap only: neither the pointee nor its
/// destructor ever runs under it. (std::atomic<std::shared_ptr> is reported as a race by the thread sanitizer of the compilers
/// in use.)
template <typename T>
class SharedCell {
public:
    SharedCell() = default;
    explicit SharedCell(std::shared_ptr<T> value) : value_(std::move(value)) { }

    [[nodiscard]] std::shared_ptr<T> load() const
    {
        MutexLock lock(mutex_);
        return value_;
    }

    void store(std::shared_ptr<T> value) { exchange(std::move(value)); }

    std::shared_ptr<T> exchange(std::shared_ptr<T> value)
    {
        MutexLock lock(mutex_);
        value_.swap(value);
        return value;
    }

private:
    mutable Mutex mutex_;
    std::shared_ptr<T> value_ GUARDED_BY(mutex_);
};

}  // namespace velmora
