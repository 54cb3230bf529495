#include "tests/platform/mac/standins/CoreFoundationStandIn.h"

#include "base/Mutex.h"
#include "tests/platform/mac/standins/StandInObject.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string_view>
#include <vector>

namespace velmora::standin {
namespace {

struct Boolean_ : Object {
    static constexpr Kind ownKind = Kind::boolean;
    explicit Boolean_(bool is) : Object(ownKind, true), value(is) { }
    const bool value;
};

struct Number : Object {
    static constexpr Kind ownKind = Kind::number;
    explicit Number(std::int64_t is) : Object(ownKind), value(is) { }
    const std::int64_t value;
};

struct Array : Object {
    static constexpr Kind ownKind = Kind::array;
    Array() : Object(ownKind) { }
    void end() override
    {
        for (const auto* each : std::exchange(elements, {}))
            CFRelease(each);
    }
    std::vector<CFTypeRef> elements;
};

struct Dictionary : Object {
    static constexpr Kind ownKind = Kind::dictionary;
    Dictionary() : Object(ownKind) { }
    void end() override
    {
        for (const auto& [key, value] : std::exchange(entries, {})) {
            CFRelease(key);
            CFRelease(value);
        }
    }
    std::vector<std::pair<CFTypeRef, CFTypeRef>> entries;
};

Boolean_ yes{true};
Boolean_ no{false};
String application{"this application", true};

/// All objects that were made, the released ones too.
struct Objects {
    Mutex mutex;
    std::vector<std::unique_ptr<Object>> all GUARDED_BY(mutex);
};
Objects& objects()
{
    static auto& made = *new Objects;
    return made;
}

// What a preference is, whoever wrote it.
struct Preference {
    Kind kind;
    std::string text;
    bool flag = false;
};
std::map<std::string, Preference>& preferences()
{
    static std::map<std::string, Preference> all;
    return all;
}
std::map<std::string, Preference>& stored()
{
    static std::map<std::string, Preference> all;
    return all;
}
bool refusesStoring = false;

void checkApplication(CFStringRef reference)
{
    if (&objectOf(reference) != &application)
        refuse("preferences of another application");
}

struct Data : Object {
    static constexpr Kind ownKind = Kind::data;
    explicit Data(std::vector<UInt8> of) : Object(ownKind), bytes(std::move(of)) { }
    const std::vector<UInt8> bytes;
};

String commonModes{"kCFRunLoopCommonModes", true};
std::vector<CFRunLoopSourceRef>& runLoop()
{
    static std::vector<CFRunLoopSourceRef> sources;
    return sources;
}

}  // namespace

bool isUtf8(std::string_view text)
{
    for (std::size_t at = 0; at < text.size();) {
        const auto first = static_cast<unsigned char>(text[at]);
        const std::size_t length = first < 0x80 ? 1 : first >> 5 == 0x6 ? 2 : first >> 4 == 0xE ? 3 : first >> 3 == 0x1E ? 4 : 0;
        if (length == 0 || at + length > text.size())
            return false;
        const auto rest = text.substr(at + 1, length - 1);
        if (std::any_of(rest.begin(), rest.end(), [](char each) { return (static_cast<unsigned char>(each) >> 6) != 0x2; }))
            return false;
        at += length;
    }
    return true;
}

std::size_t runLoopSourceCount()
{
    return runLoop().size();
}

std::vector<UInt8> bytesOf(CFTypeRef data)
{
    return as<Data>(data).bytes;
}

void refuse(const char* what)
{
    std::fprintf(stderr, "stand-in: %s\n", what);
    std::abort();
}

void keep(std::unique_ptr<Object> object)
{
    auto& made = objects();
    MutexLock lock(made.mutex);
    made.all.push_back(std::move(object));
}

Object& objectOf(const void* reference)
{
    if (!reference)
        refuse("NULL was used");
    auto& object = *static_cast<Object*>(const_cast<void*>(reference));
    if (!object.isConstant && object.references <= 0)
        refuse("an object was used after its release");
    return object;
}

Object& objectOf(const void* reference, Kind kind)
{
    auto& object = objectOf(reference);
    if (object.kind != kind)
        refuse("an object was taken for one of another kind");
    return object;
}

std::size_t ownedObjectCount()
{
    auto& made = objects();
    MutexLock lock(made.mutex);
    std::size_t count = 0;
    for (const auto& object : made.all)
        count += object->references > 0 ? 1U : 0U;
    return count;
}

CFArrayRef makeArray(const std::vector<CFTypeRef>& elements)
{
    auto& array = make<Array>();
    for (const auto* each : elements)
        array.elements.push_back(CFRetain(each));
    return referenceTo<CFArrayRef>(array);
}

std::int64_t numberOf(CFTypeRef number)
{
    return as<Number>(number).value;
}

void putPreferenceText(const std::string& key, const std::string& text)
{
    preferences().insert_or_assign(key, Preference{Kind::string, text});
}

void putPreferenceNumber(const std::string& key)
{
    preferences().insert_or_assign(key, Preference{Kind::number, {}, true});
}

void clearPreferences()
{
    preferences().clear();
    stored().clear();
    refusesStoring = false;
}

bool isStoredAsTrue(const std::string& key)
{
    const auto found = stored().find(key);
    return found != stored().end() && found->second.kind == Kind::boolean && found->second.flag;
}

void refuseStoring(bool refuses)
{
    refusesStoring = refuses;
}

}  // namespace velmora::standin

using namespace velmora::standin;

extern "C" {

struct CFDictionaryKeyCallBacks {
    int unused;
};
struct CFDictionaryValueCallBacks {
    int unused;
};

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFAllocatorRef kCFAllocatorNull = reinterpret_cast<CFAllocatorRef>(&commonModes);
const CFRunLoopMode kCFRunLoopCommonModes = referenceTo<CFRunLoopMode>(commonModes);

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length)
{
    return referenceTo<CFDataRef>(make<Data>(std::vector<UInt8>(bytes, bytes + length)));
}

CFRunLoopRef CFRunLoopGetMain()
{
    return reinterpret_cast<CFRunLoopRef>(&runLoop());
}

void CFRunLoopAddSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode)
{
    if (loop != CFRunLoopGetMain() || mode != kCFRunLoopCommonModes || !source)
        refuse("a source of another loop");
    runLoop().push_back(source);
}

void CFRunLoopRemoveSource(CFRunLoopRef loop, CFRunLoopSourceRef source, CFRunLoopMode mode)
{
    if (loop != CFRunLoopGetMain() || mode != kCFRunLoopCommonModes || std::erase(runLoop(), source) != 1)
        refuse("a source that the loop does not have");
}
const CFBooleanRef kCFBooleanTrue = referenceTo<CFBooleanRef>(yes);
const CFBooleanRef kCFBooleanFalse = referenceTo<CFBooleanRef>(no);
const CFStringRef kCFPreferencesCurrentApplication = referenceTo<CFStringRef>(application);
const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks{0};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks{0};

CFTypeRef CFRetain(CFTypeRef reference)
{
    ++objectOf(reference).references;
    return reference;
}

void CFRelease(CFTypeRef reference)
{
    auto& object = objectOf(reference);
    if (!object.isConstant && --object.references == 0)
        object.end();
}

CFTypeID CFGetTypeID(CFTypeRef reference)
{
    return static_cast<CFTypeID>(objectOf(reference).kind);
}

// Enough for texts of the frameworks, each of which is there once.
Boolean CFEqual(CFTypeRef one, CFTypeRef other)
{
    const auto& first = objectOf(one);
    const auto& second = objectOf(other);
    if (first.kind == Kind::string && second.kind == Kind::string)
        return static_cast<const String&>(first).text == static_cast<const String&>(second).text;
    return &first == &second;
}

CFTypeID CFBooleanGetTypeID()
{
    return static_cast<CFTypeID>(Kind::boolean);
}

Boolean CFBooleanGetValue(CFBooleanRef reference)
{
    return as<Boolean_>(reference).value;
}

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void* value)
{
    if (type != kCFNumberSInt64Type)
        refuse("a number of another type");
    return referenceTo<CFNumberRef>(make<Number>(*static_cast<const std::int64_t*>(value)));
}

CFTypeID CFNumberGetTypeID()
{
    return static_cast<CFTypeID>(Kind::number);
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value)
{
    if (type != kCFNumberSInt64Type)
        refuse("a number was read as one of another type");
    *static_cast<std::int64_t*>(value) = as<Number>(number).value;
    return true;
}

CFTypeID CFArrayGetTypeID()
{
    return static_cast<CFTypeID>(Kind::array);
}

CFIndex CFArrayGetCount(CFArrayRef array)
{
    return static_cast<CFIndex>(as<Array>(array).elements.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index)
{
    const auto& elements = as<Array>(array).elements;
    if (index < 0 || index >= static_cast<CFIndex>(elements.size()))
        refuse("an array was asked for more than it has");
    return elements[static_cast<std::size_t>(index)];
}

CFTypeID CFDictionaryGetTypeID()
{
    return static_cast<CFTypeID>(Kind::dictionary);
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values, CFIndex count,
    const CFDictionaryKeyCallBacks* keyCalls, const CFDictionaryValueCallBacks* valueCalls)
{
    if (keyCalls != &kCFTypeDictionaryKeyCallBacks || valueCalls != &kCFTypeDictionaryValueCallBacks)
        refuse("a dictionary of something else than objects");
    auto& dictionary = make<Dictionary>();
    for (CFIndex index = 0; index < count; ++index)
        dictionary.entries.emplace_back(CFRetain(keys[index]), CFRetain(values[index]));
    return referenceTo<CFDictionaryRef>(dictionary);
}

const void* CFDictionaryGetValue(CFDictionaryRef reference, const void* key)
{
    for (const auto& [name, value] : as<Dictionary>(reference).entries) {
        if (CFEqual(name, key))
            return value;
    }
    return nullptr;
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex count, CFStringEncoding encoding, Boolean hasMark)
{
    const std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count));
    if (encoding != kCFStringEncodingUTF8 || hasMark)
        refuse("another encoding than UTF-8");
    return isUtf8(text) ? referenceTo<CFStringRef>(make<String>(text)) : nullptr;
}

CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef of)
{
    checkApplication(of);
    const auto found = preferences().find(as<String>(key).text);
    if (found == preferences().end())
        return nullptr;
    const auto& preference = found->second;
    if (preference.kind == Kind::boolean)
        return preference.flag ? kCFBooleanTrue : kCFBooleanFalse;
    if (preference.kind == Kind::number)
        return referenceTo<CFPropertyListRef>(make<Number>(1));
    return referenceTo<CFPropertyListRef>(make<String>(preference.text));
}

void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value, CFStringRef of)
{
    checkApplication(of);
    preferences().insert_or_assign(as<String>(key).text, Preference{Kind::boolean, {}, as<Boolean_>(value).value});
}

Boolean CFPreferencesAppSynchronize(CFStringRef of)
{
    checkApplication(of);
    if (refusesStoring)
        return false;
    stored() = preferences();
    return true;
}

}  // extern "C"
