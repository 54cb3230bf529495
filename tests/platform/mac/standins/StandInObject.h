// What the stand-ins' objects of Core Foundation's kind are made of. Any thread.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <atomic>
#include <memory>
#include <string>
#include <utility>

namespace velmora::standin {

/// As CFGetTypeID() tells them apart.
enum class Kind : CFTypeID {
    string = 1,
    boolean,
    number,
    array,
    dictionary,
    pixelBuffer,
    blockBuffer,
    formatDescription,
    sampleBuffer,
    compressionSession,
    decompressionSession,
    data,
    image,
};

/// The address of the base is what a program holds.
struct Object {
    explicit Object(Kind kindOfObject, bool constant = false) : kind(kindOfObject), isConstant(constant) { }
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;

    /// The last reference has gone: gives back what it holds. The object stays, so that a use of it is known for what it is.
    virtual void end() { }

    const Kind kind;
    const bool isConstant;
    std::atomic<int> references{1};
};

/// Says what was done wrong and ends the test program.
[[noreturn]] void refuse(const char* what);

void keep(std::unique_ptr<Object> object);

/// A new object with one reference, which is its maker's.
template <typename T, typename... Arguments>
T& make(Arguments&&... arguments)
{
    auto object = std::make_unique<T>(std::forward<Arguments>(arguments)...);
    T& made = *object;
    keep(std::move(object));
    return made;
}

/// The object behind a reference; ends the test program for NULL, a released one, and one of another kind.
Object& objectOf(const void* reference, Kind kind);
Object& objectOf(const void* reference);

template <typename T>
T& as(const void* reference)
{
    return static_cast<T&>(objectOf(reference, T::ownKind));
}

/// The reference that a program gets for an object.
template <typename Ref>
Ref referenceTo(const Object& object)
{
    return reinterpret_cast<Ref>(const_cast<Object*>(&object));
}

struct String : Object {
    static constexpr Kind ownKind = Kind::string;
    explicit String(std::string ofText, bool constant = false) : Object(ownKind, constant), text(std::move(ofText)) { }
    const std::string text;
};

}  // namespace velmora::standin

/// Defines a text that a framework exports under this name. The reference is there before any constructor runs, as an export of a framework
/// is: the order in which sources are linked says nothing.
#define CONSTANT_STRING(name)                                                                                                              \
    static velmora::standin::String name##Text{#name, true};                                                                               \
    extern "C" const CFStringRef name = (CFStringRef)(&static_cast<velmora::standin::Object&>(name##Text))
