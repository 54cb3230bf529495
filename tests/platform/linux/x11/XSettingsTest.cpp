#include "platform/linux/x11/XSettings.h"

#include <gtest/gtest.h>
#include <utility>

namespace velmora::linux_backend {
namespace {

/// The property, written in either byte order.
class SettingsBytes {
public:
    SettingsBytes(bool isBigEndian, std::uint32_t count) : isBigEndian_(isBigEndian)
    {
        bytes_ = {isBigEndian ? '\1' : '\0', 0, 0, 0};
        put(7, 4);
        put(count, 4);
    }
    SettingsBytes& text(const std::string& name, const std::string& value)
    {
        head(1, name);
        put(static_cast<std::uint32_t>(value.size()), 4);
        fill(value);
        return *this;
    }
    SettingsBytes& integer(const std::string& name)
    {
        head(0, name);
        put(96, 4);
        return *this;
    }
    SettingsBytes& colour(const std::string& name)
    {
        head(2, name);
        put(1, 4);
        put(2, 4);
        return *this;
    }
    [[nodiscard]] const std::string& bytes() const { return bytes_; }

private:
    void head(char type, const std::string& name)
    {
        bytes_ += type;
        bytes_ += '\0';
        put(static_cast<std::uint32_t>(name.size()), 2);
        fill(name);
        put(3, 4);
    }
    void put(std::uint32_t value, int size)
    {
        for (int index = 0; index < size; ++index)
            bytes_ += static_cast<char>(value >> 8 * (isBigEndian_ ? size - 1 - index : index));
    }
    void fill(const std::string& text)
    {
        bytes_ += text;
        bytes_.resize((bytes_.size() + 3) / 4 * 4, '\0');
    }

    bool isBigEndian_;
    std::string bytes_;
};

std::string desktop(bool isBigEndian)
{
    return SettingsBytes{isBigEndian, 4}
        .integer("Xft/DPI")
        .colour("Gtk/Colour")
        .text("Net/ThemeName", "Adwaita")
        .text("Net/IconThemeName", "Papirus")
        .bytes();
}

TEST(XSettings, ATextIsFoundBehindOtherSettingsInEitherByteOrder)
{
    for (const bool isBigEndian : {false, true}) {
        EXPECT_EQ(settingIn(desktop(isBigEndian), "Net/IconThemeName"), "Papirus") << isBigEndian;
        EXPECT_EQ(settingIn(desktop(isBigEndian), "Net/ThemeName"), "Adwaita") << isBigEndian;
    }
}

TEST(XSettings, WhatIsNotThereOrIsNoTextIsNone)
{
    EXPECT_EQ(settingIn(desktop(false), "Net/Icon"), std::nullopt);
    EXPECT_EQ(settingIn(desktop(false), "Xft/DPI"), std::nullopt);
    EXPECT_EQ(settingIn("", "Net/ThemeName"), std::nullopt);
}

TEST(XSettings, ATextThatIsNotUtf8IsMadeSo)
{
    EXPECT_EQ(settingIn(SettingsBytes(false, 1).text("Name", "a\xff").bytes(), "Name"), "a\xef\xbf\xbd");
}

TEST(XSettings, NoPartOfThePropertyIsReadAsMoreThanItIs)
{
    const auto whole = desktop(false);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const auto found = settingIn(std::string_view{whole}.substr(0, length), "Net/IconThemeName");
        EXPECT_TRUE(!found || *found == "Papirus") << length;
    }
    auto unknownType = SettingsBytes(false, 2).integer("One").text("Two", "2").bytes();
    unknownType[12] = 9;
    EXPECT_EQ(settingIn(unknownType, "Two"), std::nullopt);
    auto lyingLength = SettingsBytes(false, 1).text("Two", "2").bytes();
    for (std::size_t index = 24; index < 28; ++index)
        lyingLength[index] = '\xff';
    EXPECT_EQ(settingIn(lyingLength, "Two"), std::nullopt);
    auto lyingCount = SettingsBytes(false, 0xffffffff).text("Two", "2").bytes();
    EXPECT_EQ(settingIn(lyingCount, "Three"), std::nullopt);
}

}  // namespace
}  // namespace velmora::linux_backend
