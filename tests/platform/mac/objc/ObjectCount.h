// What every test of an adapter that is Objective-C has to leave behind: nothing.
#pragma once

#include "tests/platform/mac/objc/Runtime.h"
#include "tests/platform/mac/standins/CoreFoundationStandIn.h"

#include <gtest/gtest.h>
#include <string>

namespace velmora::test {

/// Ends a test in which an object was left: made before everything that uses objects, gone after it.
class ObjectCount {
public:
    explicit ObjectCount(void (*reset)()) : reset_(reset) { }
    ObjectCount(const ObjectCount&) = delete;
    ObjectCount& operator=(const ObjectCount&) = delete;
    ~ObjectCount()
    {
        reset_();
        EXPECT_EQ(standin::liveObjects(), before_);
        EXPECT_EQ(standin::ownedObjectCount(), ownedBefore_);
    }

private:
    void (*const reset_)();
    const std::string before_ = standin::liveObjects();
    const std::size_t ownedBefore_ = standin::ownedObjectCount();
};

}  // namespace velmora::test
