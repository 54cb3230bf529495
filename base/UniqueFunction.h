// A move-only callable, for work that owns what it works on.
#pragma once

#include <cassert>
#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

namespace velmora {

template <typename Signature>
class UniqueFunction;

/// Holds any callable that can be moved. A callable of up to `inlineSize` bytes is stored without allocation, so that posting a
/// sample to a queue costs none. Calling an empty one is a programming error.
template <typename R, typename... Args>
class UniqueFunction<R(Args...)> {
public:
    static constexpr std::size_t inlineSize = 64;

    UniqueFunction() noexcept = default;
    UniqueFunction(std::nullptr_t) noexcept { }

    template <typename F>
    requires(!std::is_same_v<std::decay_t<F>, UniqueFunction> && std::is_invocable_r_v<R, std::decay_t<F>&, Args...>)
        // The constraint keeps it from hiding the move constructor. NOLINTNEXTLINE(bugprone-forwarding-reference-overload)
        UniqueFunction(F&& callable)
    {
        using Callable = std::decay_t<F>;
        if constexpr (storedInline<Callable>) {
            ::new (static_cast<void*>(storage_)) Callable(std::forward<F>(callable));
        } else {
            ::new (static_cast<void*>(storage_)) Callable*(new Callable(std::forward<F>(callable)));
        }
        operations_ = &operationsFor<Callable>;
    }

    UniqueFunction(UniqueFunction&& other) noexcept { takeFrom(other); }

    UniqueFunction& operator=(UniqueFunction&& other) noexcept
    {
        if (this != &other) {
            reset();
            takeFrom(other);
        }
        return *this;
    }

    ~UniqueFunction() { reset(); }

    explicit operator bool() const noexcept { return operations_ != nullptr; }

    R operator()(Args... args)
    {
        assert(operations_);
        return operations_->call(storage_, std::forward<Args>(args)...);
    }

    void reset() noexcept
    {
        if (const auto* operations = std::exchange(operations_, nullptr))
            operations->destroy(storage_);
    }

private:
    struct Operations {
        R (*call)(std::byte*, Args&&...);
        void (*move)(std::byte* from, std::byte* to) noexcept;
        void (*destroy)(std::byte*) noexcept;
    };

    template <typename Callable>
    static constexpr bool storedInline = sizeof(Callable) <= inlineSize && alignof(Callable) <= alignof(std::max_align_t)
        && std::is_nothrow_move_constructible_v<Callable>;

    template <typename Callable>
    static Callable& target(std::byte* storage) noexcept
    {
        if constexpr (storedInline<Callable>)
            return *std::launder(reinterpret_cast<Callable*>(storage));
        else
            return **std::launder(reinterpret_cast<Callable**>(storage));
    }

    template <typename Callable>
    static constexpr Operations operationsFor = {
        [](std::byte* storage, Args&&... args) -> R { return target<Callable>(storage)(std::forward<Args>(args)...); },
        [](std::byte* from, std::byte* to) noexcept {
            if constexpr (storedInline<Callable>) {
                ::new (static_cast<void*>(to)) Callable(std::move(target<Callable>(from)));
                target<Callable>(from).~Callable();
            } else {
                ::new (static_cast<void*>(to)) Callable*(&target<Callable>(from));
            }
        },
        [](std::byte* storage) noexcept {
            if constexpr (storedInline<Callable>)
                target<Callable>(storage).~Callable();
            else
                delete &target<Callable>(storage);
        },
    };

    void takeFrom(UniqueFunction& other) noexcept
    {
        if (const auto* operations = std::exchange(other.operations_, nullptr)) {
            operations->move(other.storage_, storage_);
            operations_ = operations;
        }
    }

    const Operations* operations_ = nullptr;
    alignas(std::max_align_t) std::byte storage_[inlineSize];
};

}  // namespace velmora
