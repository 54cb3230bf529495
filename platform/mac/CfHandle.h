// Ownership of Core Foundation's objects.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <memory>
#include <type_traits>

namespace velmora::mac_backend {

struct CfRelease {
    void operator()(CFTypeRef object) const { CFRelease(object); }
};

/// Owns what a function with "Create" or "Copy" in its name returned, which may be nothing.
template <typename Ref>
using CfHandle = std::unique_ptr<std::remove_pointer_t<Ref>, CfRelease>;

}  // namespace velmora::mac_backend
