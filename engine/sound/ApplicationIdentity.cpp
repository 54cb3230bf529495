#include "engine/sound/ApplicationIdentity.h"

#include <algorithm>

namespace velmora::engine {

bool equalNames(std::string_view a, std::string_view b)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return !a.empty() && a.size() == b.size()
        && std::equal(a.begin(), a.end(), b.begin(), [&](char x, char y) { return lower(x) == lower(y); });
}

bool isSameApplication(const ApplicationIdentity& a, const ApplicationIdentity& b)
{
    if (!a.portalApplicationID.empty() && !b.portalApplicationID.empty())
        return a.portalApplicationID == b.portalApplicationID;
    const auto differ = [](const std::string& x, const std::string& y) { return !x.empty() && !y.empty() && !equalNames(x, y); };
    if (differ(a.name, b.name) || differ(a.binary, b.binary))
        return false;
    return equalNames(a.name, b.name) || equalNames(a.binary, b.binary);
}

}  // namespace velmora::engine
