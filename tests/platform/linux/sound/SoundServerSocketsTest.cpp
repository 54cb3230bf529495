#include "platform/linux/sound/SoundServerSockets.h"

#include "tests/support/TemporaryDirectory.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>

namespace velmora::linux_backend {
namespace {

class SoundServerSocketsTest : public testing::Test {
protected:
    SoundServerSocketsTest()
    {
        for (const auto* name : {"XDG_RUNTIME_DIR", "PULSE_RUNTIME_PATH", "PIPEWIRE_RUNTIME_DIR", "PULSE_SERVER", "PIPEWIRE_REMOTE"}) {
            const char* value = std::getenv(name);
            before_.emplace(name, value ? std::optional<std::string>{value} : std::nullopt);
            ::unsetenv(name);
        }
        std::filesystem::create_directory(runtime.path() / "pulse");
    }
    ~SoundServerSocketsTest() override
    {
        for (const auto& [name, value] : before_) {
            if (value)
                ::setenv(name.c_str(), value->c_str(), 1);
            else
                ::unsetenv(name.c_str());
        }
    }

    void make(const std::string& name) const { std::ofstream{runtime.path() / name} << "socket"; }
    void let(const char* variable) const { ::setenv(variable, runtime.path().c_str(), 1); }

    test::TemporaryDirectory runtime;

private:
    std::map<std::string, std::optional<std::string>> before_;
};

TEST_F(SoundServerSocketsTest, WithoutARuntimeFolderAndANamedServerNoneCanBeFound)
{
    const SoundServerSockets sockets;
    EXPECT_FALSE(sockets.canBeFound());
    EXPECT_FALSE(sockets.isAnyThere());
    EXPECT_FALSE(sockets.pulse());
}

TEST_F(SoundServerSocketsTest, EitherServerIsThereWhenItsFileIs)
{
    let("XDG_RUNTIME_DIR");
    const SoundServerSockets sockets;
    EXPECT_TRUE(sockets.canBeFound());
    EXPECT_FALSE(sockets.isAnyThere());
    make("pipewire-0");
    EXPECT_TRUE(sockets.isAnyThere());
    EXPECT_FALSE(sockets.pulse());
    std::filesystem::remove(runtime.path() / "pipewire-0");
    make("pulse/native");
    EXPECT_TRUE(sockets.isAnyThere());
    EXPECT_TRUE(sockets.pulse());
}

TEST_F(SoundServerSocketsTest, AFileThatIsMadeAnewIsAnother)
{
    let("XDG_RUNTIME_DIR");
    const SoundServerSockets sockets;
    make("pulse/native");
    const auto first = sockets.pulse();
    EXPECT_EQ(sockets.pulse(), first);
    // The old file is still there when the new one is made, so that they cannot have the same number.
    make("pulse/next");
    std::filesystem::rename(runtime.path() / "pulse" / "next", runtime.path() / "pulse" / "native");
    EXPECT_NE(sockets.pulse(), first);
}

TEST_F(SoundServerSocketsTest, EachServerHasAFolderOfItsOwnWhereTheEnvironmentSaysSo)
{
    make("native");
    let("PULSE_RUNTIME_PATH");
    EXPECT_TRUE(SoundServerSockets{}.pulse());
    std::filesystem::remove(runtime.path() / "native");
    make("pipewire-0");
    EXPECT_FALSE(SoundServerSockets{}.isAnyThere());
    let("PIPEWIRE_RUNTIME_DIR");
    EXPECT_TRUE(SoundServerSockets{}.isAnyThere());
}

TEST_F(SoundServerSocketsTest, AServerThatTheEnvironmentNamesMayBeAnywhere)
{
    for (const auto* variable : {"PULSE_SERVER", "PIPEWIRE_REMOTE"}) {
        ::setenv(variable, "", 1);
        EXPECT_FALSE(SoundServerSockets{}.canBeFound()) << variable;
        ::setenv(variable, "tcp:music", 1);
        EXPECT_TRUE(SoundServerSockets{}.canBeFound()) << variable;
        EXPECT_TRUE(SoundServerSockets{}.isAnyThere()) << variable;
        ::unsetenv(variable);
    }
}

}  // namespace
}  // namespace velmora::linux_backend
