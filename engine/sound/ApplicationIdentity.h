// What an application can be recognised by when it starts again.
#pragma once

#include <string>
#include <string_view>

namespace velmora::engine {

/// As the sound server reports it of the application's streams. Empty: unknown.
struct ApplicationIdentity {
    std::string name;
    std::string binary;
    std::string portalApplicationID;

    [[nodiscard]] bool isKnown() const { return !name.empty() || !binary.empty() || !portalApplicationID.empty(); }

    friend bool operator==(const ApplicationIdentity&, const ApplicationIdentity&) = default;
};

/// Whether they are not empty and differ at most in the case of ASCII letters: programs are not consistent in writing their names.
[[nodiscard]] bool equalNames(std::string_view a, std::string_view b);

/// By the portal's application id where both have one; else by name and binary, both of them where both have them.
[[nodiscard]] bool isSameApplication(const ApplicationIdentity& a, const ApplicationIdentity& b);

}  // namespace velmora::engine
