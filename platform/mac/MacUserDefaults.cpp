#include "platform/mac/MacUserDefaults.h"

#include "platform/mac/CfHandle.h"

namespace velmora::mac_backend {

namespace {

class MacUserDefaults final : public platform::UserDefaults {
public:
    [[nodiscard]] bool boolean(std::string_view key) const override
    {
        const auto name = nameOf(key);
        if (!name)
            return false;
        // Not CFPreferencesGetAppBooleanValue(): it takes a number or a text for a yes.
        const CfHandle<CFPropertyListRef> value{CFPreferencesCopyAppValue(name.get(), kCFPreferencesCurrentApplication)};
        return value && CFGetTypeID(value.get()) == CFBooleanGetTypeID() && CFBooleanGetValue(static_cast<CFBooleanRef>(value.get()));
    }

    void setBoolean(std::string_view key, bool value) override
    {
        const auto name = nameOf(key);
        if (!name)
            return;
        CFPreferencesSetAppValue(name.get(), value ? kCFBooleanTrue : kCFBooleanFalse, kCFPreferencesCurrentApplication);
        // What could not be stored holds for this process all the same.
        static_cast<void>(CFPreferencesAppSynchronize(kCFPreferencesCurrentApplication));
    }

private:
    /// None for a key that is not UTF-8: no preference has such a name.
    static CfHandle<CFStringRef> nameOf(std::string_view key)
    {
        return CfHandle<CFStringRef>{CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(key.data()),
            static_cast<CFIndex>(key.size()), kCFStringEncodingUTF8, false)};
    }
};

}  // namespace

std::shared_ptr<platform::UserDefaults> makeUserDefaults()
{
    return std::make_shared<MacUserDefaults>();
}

}  // namespace velmora::mac_backend
