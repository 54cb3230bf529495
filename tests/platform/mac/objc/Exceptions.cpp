// Exceptions of the Objective-C runtime. clang makes them exceptions of C++ for the macosx runtime: what it calls and which tables it writes is
// in clang/lib/CodeGen/CGObjCMac.cpp and CGException.cpp, how catching goes in https://itanium-cxx-abi.github.io/cxx-abi/abi-eh.html , and what
// the C++ library asks of a type in libstdc++'s <typeinfo>.
#include "tests/platform/mac/objc/Runtime.h"

#include <exception>
#include <new>
#include <typeinfo>

struct Class_;
struct Object_;

extern "C" {

Object_* objc_retain(Object_* object);
void objc_release(Object_* object);
bool velmoraIsKindOf(const Object_* object, const Class_* wanted);

// Of the C++ library.
void* __cxa_allocate_exception(std::size_t size) noexcept;
[[noreturn]] void __cxa_throw(void* exception, std::type_info* type, void (*destroy)(void*));
void* __cxa_begin_catch(void* exception) noexcept;
void __cxa_end_catch();
[[noreturn]] void __cxa_rethrow();

extern void* objc_ehtype_vtable[];

}  // extern "C"

namespace velmora::standin {

/// Beside each class that is caught clang writes one of these, whose table of functions is objc_ehtype_vtable; each exception carries one.
class CaughtType final : public std::type_info {
public:
    explicit CaughtType(const char* name) : type_info(name) { }
    ~CaughtType() override;

    /// Whether what was thrown, of that type, is caught by this one. `exception` is where its object is, and becomes the object.
    bool __do_catch(const std::type_info* thrown, void** exception, unsigned) const override;

private:
    const Class_* class_ = nullptr;  ///< none catches every object
};

CaughtType::~CaughtType() = default;

bool CaughtType::__do_catch(const std::type_info* thrown, void** exception, unsigned) const
{
    // One of C++ is no object.
    if (*reinterpret_cast<void* const* const*>(thrown) != objc_ehtype_vtable + 2)
        return false;
    auto* const object = *static_cast<Object_**>(*exception);
    if (class_ && !velmoraIsKindOf(object, class_))
        return false;
    *exception = object;
    return true;
}

namespace {

struct Thrown {
    Object_* object;
    CaughtType type;
};

/// As clang writes those of classes.
struct WrittenType {
    void** table;
    const char* name;
    const Class_* what;
};

}  // namespace

}  // namespace velmora::standin

__asm__(".globl objc_ehtype_vtable\n.set objc_ehtype_vtable, _ZTVN7velmora7standin10CaughtTypeE\n");

// Tables of frames name it; it does what that of C++ does, because types know by themselves what they catch.
__asm__(
    ".text\n.globl __objc_personality_v0\n.type __objc_personality_v0,@function\n__objc_personality_v0:\njmp __gxx_personality_v0@PLT\n");

extern "C" {

extern velmora::standin::WrittenType everyObject __asm__("OBJC_EHTYPE_id");
velmora::standin::WrittenType everyObject{objc_ehtype_vtable + 2, "id", nullptr};

[[noreturn]] void objc_exception_throw(Object_* object)
{
    using velmora::standin::Thrown;
    auto* const thrown = new (__cxa_allocate_exception(sizeof(Thrown))) Thrown{objc_retain(object), velmora::standin::CaughtType{"id"}};
    __cxa_throw(thrown, &thrown->type, [](void* exception) { objc_release(static_cast<Thrown*>(exception)->object); });
}

Object_* objc_begin_catch(void* exception) noexcept
{
    return static_cast<Object_*>(__cxa_begin_catch(exception));
}

void objc_end_catch()
{
    __cxa_end_catch();
}

[[noreturn]] void objc_exception_rethrow()
{
    __cxa_rethrow();
}

[[noreturn]] void objc_terminate()
{
    std::terminate();
}

}  // extern "C"
