// The contract of UserDefaults for the fake of the tests and for the adapter of a Mac on its stand-in.
#include "platform/fake/FakeDesktop.h"
#include "platform/mac/MacUserDefaults.h"
#include "tests/platform/mac/standins/CoreFoundationStandIn.h"

#include <functional>
#include <gtest/gtest.h>

namespace velmora::test {
namespace {

struct BackEnd {
    std::string name;
    std::function<std::shared_ptr<platform::UserDefaults>()> makeUserDefaults;
};

class UserDefaultsContract : public testing::TestWithParam<BackEnd> {
protected:
    ~UserDefaultsContract() override { standin::clearPreferences(); }

    const std::shared_ptr<platform::UserDefaults> defaults_ = GetParam().makeUserDefaults();
};

TEST_P(UserDefaultsContract, APreferenceThatWasNeverSetIsFalse)
{
    EXPECT_FALSE(defaults_->boolean("absent"));
}

TEST_P(UserDefaultsContract, APreferenceIsWhatItWasLastSetTo)
{
    defaults_->setBoolean("chosen", true);
    EXPECT_TRUE(defaults_->boolean("chosen"));
    defaults_->setBoolean("chosen", false);
    EXPECT_FALSE(defaults_->boolean("chosen"));
}

TEST_P(UserDefaultsContract, PreferencesAreToldApartByTheWholeOfTheirNames)
{
    const std::string_view name = "hasSeenOnboarding";
    defaults_->setBoolean(name.substr(0, 7), true);
    EXPECT_TRUE(defaults_->boolean("hasSeen"));
    EXPECT_FALSE(defaults_->boolean(name));
}

TEST_P(UserDefaultsContract, ANameMayHaveAnyLetters)
{
    defaults_->setBoolean("größe ✓", true);
    EXPECT_TRUE(defaults_->boolean("größe ✓"));
}

INSTANTIATE_TEST_SUITE_P(BackEnds, UserDefaultsContract,
    testing::Values(BackEnd{"Fake", [] { return std::make_shared<fake::FakeUserDefaults>(); }},
        BackEnd{"MacOnStandIns", [] { return mac_backend::makeUserDefaults(); }}),
    [](const auto& parameter) { return parameter.param.name; });

class MacUserDefaultsTest : public testing::Test {
protected:
    MacUserDefaultsTest() { standin::clearPreferences(); }
    ~MacUserDefaultsTest() override
    {
        EXPECT_EQ(standin::ownedObjectCount(), 0U);
        standin::clearPreferences();
    }

    const std::shared_ptr<platform::UserDefaults> defaults_ = mac_backend::makeUserDefaults();
};

TEST_F(MacUserDefaultsTest, APreferenceOfAnotherTypeIsFalseWhateverItSays)
{
    standin::putPreferenceText("text", "YES");
    standin::putPreferenceNumber("number");
    EXPECT_FALSE(defaults_->boolean("text"));
    EXPECT_FALSE(defaults_->boolean("number"));
}

TEST_F(MacUserDefaultsTest, WhatIsSetIsStoredAsABooleanAtOnce)
{
    defaults_->setBoolean("chosen", true);
    EXPECT_TRUE(standin::isStoredAsTrue("chosen"));
    EXPECT_TRUE(mac_backend::makeUserDefaults()->boolean("chosen"));
}

TEST_F(MacUserDefaultsTest, WhatCannotBeStoredHoldsForThisProcess)
{
    standin::refuseStoring(true);
    defaults_->setBoolean("chosen", true);
    EXPECT_TRUE(defaults_->boolean("chosen"));
    EXPECT_FALSE(standin::isStoredAsTrue("chosen"));
}

TEST_F(MacUserDefaultsTest, ANameThatIsNoTextIsNoPreference)
{
    defaults_->setBoolean("\xFF\xFE", true);
    EXPECT_FALSE(defaults_->boolean("\xFF\xFE"));
}

}  // namespace
}  // namespace velmora::test
