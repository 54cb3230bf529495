// Tells a late callback whether the object that it is meant for still exists.
#pragma once

#include <cstddef>
#include <memory>

namespace velmora {

/// The last member of `T`, so the first to go. A callback that may come late holds `weak()` and locks it when it runs: the result is empty
/// once the object is gone. It keeps nothing alive, so it is locked only on the thread on which the object ends. A type whose callbacks run
/// on other threads derives from std::enable_shared_from_this instead, and they hold weak_from_this().
template <typename T>
class SelfReference {
public:
    explicit SelfReference(T& self) : self_(std::make_shared<std::byte>(), &self) { }
    SelfReference(const SelfReference&) = delete;
    SelfReference& operator=(const SelfReference&) = delete;

    [[nodiscard]] std::weak_ptr<T> weak() const { return self_; }

private:
    const std::shared_ptr<T> self_;
};

}  // namespace velmora
