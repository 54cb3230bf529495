#include "tests/platform/mac/standins/CoreFoundationStandIn.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

namespace {

enum class Kind : CFTypeID { string = 1, boolean, number };

struct Object {
    Kind kind;
    bool isConstant = false;
    std::string text;
    bool flag = false;
    int references = 1;
};

[[noreturn]] void refuse(const char* what)
{
    std::fprintf(stderr, "Core Foundation stand-in: %s\n", what);
    std::abort();
}

Object yes{Kind::boolean, true, {}, true};
Object no{Kind::boolean, true, {}, false};
Object application{Kind::string, true, "this application"};

// Released ones stay, so that a use of them is known for what it is.
std::vector<std::unique_ptr<Object>>& objects()
{
    static std::vector<std::unique_ptr<Object>> all;
    return all;
}
std::map<std::string, Object>& preferences()
{
    static std::map<std::string, Object> all;
    return all;
}
std::map<std::string, Object>& stored()
{
    static std::map<std::string, Object> all;
    return all;
}
bool refusesStoring = false;

Object& objectOf(CFTypeRef reference)
{
    if (!reference)
        refuse("NULL was used");
    auto& object = *static_cast<Object*>(const_cast<void*>(reference));
    if (!object.isConstant && object.references <= 0)
        refuse("an object was used after its release");
    return object;
}

template <typename Ref>
Ref make(Object object)
{
    objects().push_back(std::make_unique<Object>(std::move(object)));
    return reinterpret_cast<Ref>(objects().back().get());
}

const std::string& textOf(CFStringRef reference)
{
    const auto& object = objectOf(reference);
    if (object.kind != Kind::string)
        refuse("something else was taken for a string");
    return object.text;
}

// Enough for the keys of tests: what begins a sequence and what goes on with it.
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

void checkApplication(CFStringRef reference)
{
    if (&objectOf(reference) != &application)
        refuse("preferences of another application");
}

}  // namespace

namespace velmora::standin {

std::size_t ownedObjectCount()
{
    return static_cast<std::size_t>(
        std::count_if(objects().begin(), objects().end(), [](const auto& object) { return object->references > 0; }));
}

void putPreferenceText(const std::string& key, const std::string& text)
{
    preferences().insert_or_assign(key, Object{Kind::string, false, text});
}

void putPreferenceNumber(const std::string& key)
{
    preferences().insert_or_assign(key, Object{Kind::number, false, {}, true});
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

extern "C" {

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFBooleanRef kCFBooleanTrue = reinterpret_cast<CFBooleanRef>(&yes);
const CFBooleanRef kCFBooleanFalse = reinterpret_cast<CFBooleanRef>(&no);
const CFStringRef kCFPreferencesCurrentApplication = reinterpret_cast<CFStringRef>(&application);

void CFRelease(CFTypeRef reference)
{
    auto& object = objectOf(reference);
    if (!object.isConstant)
        --object.references;
}

CFTypeID CFGetTypeID(CFTypeRef reference)
{
    return static_cast<CFTypeID>(objectOf(reference).kind);
}

CFTypeID CFBooleanGetTypeID()
{
    return static_cast<CFTypeID>(Kind::boolean);
}

Boolean CFBooleanGetValue(CFBooleanRef reference)
{
    const auto& object = objectOf(reference);
    if (object.kind != Kind::boolean)
        refuse("something else was taken for a boolean");
    return object.flag;
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex count, CFStringEncoding encoding, Boolean hasMark)
{
    const std::string text(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count));
    if (encoding != kCFStringEncodingUTF8 || hasMark)
        refuse("another encoding than UTF-8");
    return isUtf8(text) ? make<CFStringRef>({Kind::string, false, text}) : nullptr;
}

CFPropertyListRef CFPreferencesCopyAppValue(CFStringRef key, CFStringRef of)
{
    checkApplication(of);
    const auto found = preferences().find(textOf(key));
    return found == preferences().end() ? nullptr : make<CFPropertyListRef>(Object{found->second});
}

void CFPreferencesSetAppValue(CFStringRef key, CFPropertyListRef value, CFStringRef of)
{
    checkApplication(of);
    auto kept = objectOf(value);
    kept.isConstant = false;
    kept.references = 1;
    preferences().insert_or_assign(textOf(key), kept);
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
