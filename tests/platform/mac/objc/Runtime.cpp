// The functions of https://clang.llvm.org/docs/AutomaticReferenceCounting.html#runtime-support and what clang/lib/CodeGen/CGObjCMac.cpp
// calls besides; the tables are as that file writes them.
#include "tests/platform/mac/objc/Runtime.h"

#include <Block.h>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <unordered_map>
#include <vector>

extern "C" {

extern void* _NSConcreteStackBlock[32];
extern void* _NSConcreteMallocBlock[32];
extern void* _NSConcreteGlobalBlock[32];

struct Method {
    const char* name;
    const char* types;
    void* implementation;
};
struct MethodList {
    std::uint32_t entrySize;
    std::uint32_t count;
    Method first;
};
struct Ivar {
    unsigned long* offset;  ///< in a variable, because it begins where those of the class above end
    const char* name;
    const char* types;
    std::uint32_t alignment;
    std::uint32_t size;
};
struct IvarList {
    std::uint32_t entrySize;
    std::uint32_t count;
    Ivar first;
};
struct ClassData {
    std::uint32_t flags;
    std::uint32_t instanceStart;
    std::uint32_t instanceSize;
    std::uint32_t reserved;
    const std::uint8_t* layout;
    const char* name;
    const MethodList* methods;
    const void* protocols;
    IvarList* ivars;
};
struct Class_ {
    Class_* isa;
    Class_* superclass;
    void* cache;
    void* table;
    std::uintptr_t data;
};
struct Object_ {
    Class_* isa;
};

extern Class_* __start_objc_classlist[] __attribute__((weak));
extern Class_* __stop_objc_classlist[] __attribute__((weak));
extern const char* __start_objc_selrefs[] __attribute__((weak));
extern const char* __stop_objc_selrefs[] __attribute__((weak));
void* _objc_empty_cache = nullptr;

}  // extern "C"

namespace {

/// In front of each object.
struct alignas(std::max_align_t) Header {
    std::atomic<long> references{1};
};

[[noreturn]] void refuse(const char* who, const char* what)
{
    std::fprintf(stderr, "Objective-C stand-in: %s %s\n", who, what);
    std::abort();
}

ClassData& dataOf(const Class_* of)
{
    return *reinterpret_cast<ClassData*>(of->data & ~std::uintptr_t{7});
}

const char* intern(const char* name)
{
    static auto& mutex = *new std::mutex;
    static auto& names = *new std::set<std::string>;
    const std::lock_guard lock(mutex);
    return names.emplace(name).first->c_str();
}

/// Written while the program is loaded, only read from then on.
std::unordered_map<const Class_*, std::unordered_map<const char*, void*>>& methods()
{
    static auto& all = *new std::unordered_map<const Class_*, std::unordered_map<const char*, void*>>;
    return all;
}

void load(const Class_* one)
{
    auto& table = methods()[one];
    const auto* const list = dataOf(one).methods;
    if (!list)
        return;
    const auto* at = reinterpret_cast<const char*>(&list->first);
    for (std::uint32_t index = 0; index < list->count; ++index, at += list->entrySize & 0xFFFCU) {
        const auto& method = *reinterpret_cast<const Method*>(at);
        table[intern(method.name)] = method.implementation;
    }
}

/// The compiler knows the members of a class above only where it sees its implementation.
void makeRoomForThoseAbove(const Class_* one)
{
    if (!one->superclass)
        return;
    makeRoomForThoseAbove(one->superclass);
    auto& data = dataOf(one);
    const auto end = dataOf(one->superclass).instanceSize;
    if (data.instanceStart >= end)
        return;
    constexpr std::uint32_t alignment = alignof(std::max_align_t);
    const auto missing = (end - data.instanceStart + alignment - 1) / alignment * alignment;
    for (std::uint32_t index = 0; data.ivars && index < data.ivars->count; ++index)
        *(&data.ivars->first)[index].offset += missing;
    data.instanceStart += missing;
    data.instanceSize += missing;
}

__attribute__((constructor(101))) void loadAll()
{
    for (auto** each = __start_objc_classlist; each != __stop_objc_classlist; ++each)
        makeRoomForThoseAbove(*each);
    for (auto** each = __start_objc_classlist; each != __stop_objc_classlist; ++each) {
        load(*each);
        load((*each)->isa);
    }
    for (auto** each = __start_objc_selrefs; each != __stop_objc_selrefs; ++each)
        *each = intern(*each);
}

void* ownMethod(const Class_* of, const char* selector)
{
    const auto table = methods().find(of);
    if (table == methods().end())
        return nullptr;
    const auto found = table->second.find(selector);
    return found == table->second.end() ? nullptr : found->second;
}

void* find(const Class_* from, const char* selector)
{
    for (; from; from = from->superclass) {
        if (auto* const found = ownMethod(from, selector))
            return found;
    }
    return nullptr;
}

using Plain = void (*)(Object_*, const char*);

/// What the compiler writes for C++ members of each class.
void forEachClass(Object_* object, const char* selector, bool isFromTheTop)
{
    std::vector<const Class_*> chain;
    for (const auto* each = object->isa; each; each = each->superclass)
        chain.insert(isFromTheTop ? chain.begin() : chain.end(), each);
    for (const auto* each : chain) {
        if (auto* const method = ownMethod(each, intern(selector)))
            reinterpret_cast<Plain>(method)(object, intern(selector));
    }
}

Header& headerOf(Object_* object)
{
    return reinterpret_cast<Header*>(object)[-1];
}

bool isBlock(const Object_* object)
{
    const auto* const isa = reinterpret_cast<void* const*>(object->isa);
    return isa == _NSConcreteStackBlock || isa == _NSConcreteMallocBlock || isa == _NSConcreteGlobalBlock;
}

struct Census {
    std::mutex mutex;
    std::map<std::string, std::size_t> alive;
    std::set<const void*> heldLikeObjects;
};
Census& census()
{
    static auto& all = *new Census;
    return all;
}

bool isForeign(const void* address)
{
    const std::lock_guard lock(census().mutex);
    return census().heldLikeObjects.contains(address);
}

/// Classes are never counted; the lowest flag says that a table is that of a class.
bool isClass(const Object_* object)
{
    return (dataOf(object->isa).flags & 1U) != 0;
}

thread_local std::vector<Object_*> pool;

}  // namespace

extern "C" {

void objc_release(Object_* object);

bool velmoraIsKindOf(const Object_* object, const Class_* wanted)
{
    const auto* each = object->isa;
    while (each && each != wanted)
        each = each->superclass;
    return each != nullptr;
}

void* velmoraMethod(Object_* receiver, const char* selector)
{
    auto* const found = find(receiver->isa, selector);
    if (!found)
        refuse(dataOf(receiver->isa).name, (std::string{"does not respond to "} + selector).c_str());
    return found;
}

struct Super {
    Object_* receiver;
    Class_* current;
};
void* velmoraMethodAbove(Super* super, const char* selector)
{
    auto* const found = find(super->current->superclass, selector);
    if (!found)
        refuse(dataOf(super->current).name, (std::string{"has nothing above for "} + selector).c_str());
    return found;
}

// Each finds the method with all registers kept that may hold arguments, and goes on in it. A message to nil answers nothing.
#define VELMORA_TRAMPOLINE(NAME, RECEIVER, SELECTOR, FIRST, FIND, LAST)                                                                    \
    __asm__(".text\n.globl " NAME "\n.type " NAME ",@function\n" NAME ":\n.cfi_startproc\n" FIRST                                          \
            "push %rbp\n.cfi_def_cfa_offset 16\n.cfi_offset %rbp,-16\nmov %rsp,%rbp\n.cfi_def_cfa_register %rbp\n"                         \
            "sub $0xd0,%rsp\nand $-16,%rsp\n"                                                                                              \
            "mov %rdi,0(%rsp)\nmov %rsi,8(%rsp)\nmov %rdx,16(%rsp)\nmov %rcx,24(%rsp)\nmov %r8,32(%rsp)\nmov %r9,40(%rsp)\n"               \
            "mov %rax,48(%rsp)\nmovaps %xmm0,64(%rsp)\nmovaps %xmm1,80(%rsp)\nmovaps %xmm2,96(%rsp)\nmovaps %xmm3,112(%rsp)\n"             \
            "movaps %xmm4,128(%rsp)\nmovaps %xmm5,144(%rsp)\nmovaps %xmm6,160(%rsp)\nmovaps %xmm7,176(%rsp)\n"                             \
            "mov " RECEIVER ",%r10\nmov " SELECTOR ",%rsi\nmov %r10,%rdi\ncall " FIND "@PLT\nmov %rax,%r11\n"                              \
            "mov 0(%rsp),%rdi\nmov 8(%rsp),%rsi\nmov 16(%rsp),%rdx\nmov 24(%rsp),%rcx\nmov 32(%rsp),%r8\nmov 40(%rsp),%r9\n"               \
            "mov 48(%rsp),%rax\nmovaps 64(%rsp),%xmm0\nmovaps 80(%rsp),%xmm1\nmovaps 96(%rsp),%xmm2\nmovaps 112(%rsp),%xmm3\n"             \
            "movaps 128(%rsp),%xmm4\nmovaps 144(%rsp),%xmm5\nmovaps 160(%rsp),%xmm6\nmovaps 176(%rsp),%xmm7\nleave\n"                      \
            ".cfi_def_cfa %rsp,8\n" LAST ".cfi_endproc\n")
VELMORA_TRAMPOLINE("objc_msgSend", "%rdi", "%rsi", "test %rdi,%rdi\nje 1f\n", "velmoraMethod",
    "jmp *%r11\n1: xor %eax,%eax\nxor %edx,%edx\nxorps %xmm0,%xmm0\nret\n");
VELMORA_TRAMPOLINE("objc_msgSend_stret", "%rsi", "%rdx", "", "velmoraMethod", "jmp *%r11\n");
VELMORA_TRAMPOLINE("objc_msgSendSuper2", "%rdi", "%rsi", "", "velmoraMethodAbove", "mov (%rdi),%rdi\njmp *%r11\n");

Object_* velmoraMake(Class_* of)
{
    auto* const header = new (std::calloc(1, sizeof(Header) + dataOf(of).instanceSize)) Header;
    auto* const object = reinterpret_cast<Object_*>(header + 1);
    object->isa = of;
    {
        const std::lock_guard lock(census().mutex);
        ++census().alive[dataOf(of).name];
    }
    forEachClass(object, ".cxx_construct", true);
    return object;
}

void velmoraEnd(Object_* object)
{
    forEachClass(object, ".cxx_destruct", false);
    {
        const std::lock_guard lock(census().mutex);
        --census().alive[dataOf(object->isa).name];
    }
    std::free(&headerOf(object));
}

Object_* objc_retain(Object_* object)
{
    if (!object || isForeign(object))
        return object;
    if (isBlock(object))
        return static_cast<Object_*>(_Block_copy(object));
    if (!isClass(object))
        ++headerOf(object).references;
    return object;
}

void objc_release(Object_* object)
{
    if (!object || isForeign(object))
        return;
    if (isBlock(object)) {
        _Block_release(object);
        return;
    }
    if (isClass(object))
        return;
    const long left = --headerOf(object).references;
    if (left < 0)
        refuse(dataOf(object->isa).name, "is released too often");
    if (left == 0)
        reinterpret_cast<Plain>(velmoraMethod(object, intern("dealloc")))(object, intern("dealloc"));
}

Object_* objc_autorelease(Object_* object)
{
    if (object)
        pool.push_back(object);
    return object;
}

void* objc_autoreleasePoolPush()
{
    return reinterpret_cast<void*>(pool.size());
}

void objc_autoreleasePoolPop(void* mark)
{
    while (pool.size() > reinterpret_cast<std::uintptr_t>(mark)) {
        auto* const object = pool.back();
        pool.pop_back();
        objc_release(object);
    }
}

Object_* objc_retainAutorelease(Object_* object)
{
    return objc_autorelease(objc_retain(object));
}

Object_* objc_autoreleaseReturnValue(Object_* object)
{
    return objc_autorelease(object);
}

Object_* objc_retainAutoreleaseReturnValue(Object_* object)
{
    return objc_retainAutorelease(object);
}

Object_* objc_retainAutoreleasedReturnValue(Object_* object)
{
    return objc_retain(object);
}

Object_* objc_claimAutoreleasedReturnValue(Object_* object)
{
    return objc_retain(object);
}

Object_* objc_unsafeClaimAutoreleasedReturnValue(Object_* object)
{
    return object;
}

void objc_storeStrong(Object_** place, Object_* object)
{
    auto* const before = *place;
    *place = objc_retain(object);
    objc_release(before);
}

// What is called for properties whose methods the compiler makes itself. Objects that are copied are those that do not change: one more
// reference is a copy. Of structures all are used on one thread.
Object_* objc_getProperty(Object_* object, const char*, std::ptrdiff_t offset, bool)
{
    return objc_retainAutorelease(*reinterpret_cast<Object_**>(reinterpret_cast<char*>(object) + offset));
}

void objc_setProperty_atomic(Object_* object, const char*, Object_* value, std::ptrdiff_t offset)
{
    objc_storeStrong(reinterpret_cast<Object_**>(reinterpret_cast<char*>(object) + offset), value);
}

void objc_setProperty_atomic_copy(Object_* object, const char* selector, Object_* value, std::ptrdiff_t offset)
{
    objc_setProperty_atomic(object, selector, value, offset);
}

void objc_copyStruct(void* to, const void* from, std::ptrdiff_t size, bool, bool)
{
    std::memcpy(to, from, static_cast<std::size_t>(size));
}

Object_* objc_retainBlock(Object_* block)
{
    return block ? static_cast<Object_*>(_Block_copy(block)) : nullptr;
}

Object_* objc_alloc(Class_* of)
{
    return velmoraMake(of);
}

Object_* objc_alloc_init(Class_* of)
{
    auto* const object = velmoraMake(of);
    using Init = Object_* (*)(Object_*, const char*);
    return reinterpret_cast<Init>(velmoraMethod(object, intern("init")))(object, intern("init"));
}

Object_* objc_opt_new(Class_* of)
{
    return objc_alloc_init(of);
}

}  // extern "C"

namespace velmora::standin {

std::size_t liveObjectCount()
{
    const std::lock_guard lock(census().mutex);
    std::size_t count = 0;
    for (const auto& [name, alive] : census().alive)
        count += alive;
    return count;
}

std::string liveObjects()
{
    const std::lock_guard lock(census().mutex);
    std::string all;
    for (const auto& [name, alive] : census().alive) {
        if (alive > 0)
            all += (all.empty() ? "" : ", ") + name + " " + std::to_string(alive);
    }
    return all;
}

void holdLikeAnObject(const void* address)
{
    const std::lock_guard lock(census().mutex);
    census().heldLikeObjects.insert(address);
}

bool isHeldLikeAnObject(const void* address)
{
    return isForeign(address);
}

}  // namespace velmora::standin
