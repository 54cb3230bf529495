// What every login item has to do, whichever back end it is of.
#pragma once

#include "platform/LoginItem.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace velmora::test {

/// A desktop that keeps what starts with it.
class LoginDesktop {
public:
    virtual ~LoginDesktop() = default;

    virtual std::shared_ptr<platform::LoginItem> makeLoginItem() = 0;
    virtual void refuseChanges() = 0;

    /// As another program, or the user in the settings, does it.
    virtual void switchOffElsewhere() = 0;
};

struct NamedLoginDesktop {
    std::string name;
    std::function<std::unique_ptr<LoginDesktop>()> make;
};

class LoginItemContract : public testing::TestWithParam<NamedLoginDesktop> {
protected:
    const std::unique_ptr<LoginDesktop> desktop_ = GetParam().make();
    std::shared_ptr<platform::LoginItem> item_ = desktop_->makeLoginItem();
};

}  // namespace velmora::test
