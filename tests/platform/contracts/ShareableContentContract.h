// What every ShareableContentProvider has to do, whichever desktop it lists. A back end's test makes a Desktop and instantiates the suite.
#pragma once

#include "platform/ShareableContent.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace velmora::test {

/// A desktop that a test lays out.
class ListedDesktop {
public:
    virtual ~ListedDesktop() = default;

    virtual std::shared_ptr<platform::ShareableContentProvider> makeProvider() = 0;

    /// What is there from now on; its windows are topmost first.
    virtual void layOut(const platform::ShareableContent& content) = 0;

    /// Every list from now on fails with an error of this code.
    virtual void refuse(int code) = 0;
};

struct NamedListedDesktop {
    std::string name;
    std::function<std::unique_ptr<ListedDesktop>()> make;
};

class ShareableContentContract : public testing::TestWithParam<NamedListedDesktop> {
protected:
    /// The answer to one question; fails unless there is exactly one.
    Result<platform::ShareableContent> list(bool excludingDesktopWindows = false, bool onScreenWindowsOnly = false);

    const std::unique_ptr<ListedDesktop> desktop_ = GetParam().make();
    const std::shared_ptr<platform::ShareableContentProvider> provider_ = desktop_->makeProvider();
};

}  // namespace velmora::test
