// What the compiler's directives for exceptions do in the runtime of the tests, under ARC as the adapters are.
#include "platform/mac/ObjectiveC.h"
#include "tests/platform/mac/objc/ExceptionStandIn.h"
#include "tests/platform/mac/objc/ObjectCount.h"

#import <Foundation/Foundation.h>
#include <gmock/gmock.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

/// Throws from a method, through the sending of a message.
@interface VelmoraThrower : NSObject
- (void)throwNamed:(const char*)name with:(double)number;
@end
@implementation VelmoraThrower
- (void)throwNamed:(const char*)name with:(double)number
{
    if (number > 1)
        velmora::standin::raise(name, "as asked");
}
@end

namespace velmora::test {
namespace {

using testing::ElementsAre;

struct Noted {
    std::vector<std::string>& steps;
    const char* end;
    ~Noted() { steps.emplace_back(end); }
};

class RuntimeExceptionsTest : public testing::Test {
    const ObjectCount count_{standin::throwFromNothing};

protected:
    std::vector<std::string> steps_;
};

TEST_F(RuntimeExceptionsTest, WhatAMethodThrowsIsCaughtWithItsNameAndReason)
{
    @autoreleasepool {
        VelmoraThrower* const thrower = [[VelmoraThrower alloc] init];
        [thrower throwNamed:"None" with:0.5];
        @try {
            [thrower throwNamed:"One" with:1.5];
            steps_.emplace_back("not reached");
        } @catch (NSException* exception) {
            steps_ = {mac_backend::textOf(exception.name), mac_backend::textOf(exception.reason)};
        }
        EXPECT_THAT(steps_, ElementsAre("One", "as asked"));
    }
}

TEST_F(RuntimeExceptionsTest, ObjectsAndMembersOfEveryFrameAreGivenBackOnTheWay)
{
    @autoreleasepool {
        @try {
            const Noted outer{steps_, "outer"};
            VelmoraThrower* const thrower = [[VelmoraThrower alloc] init];
            NSMutableArray* const array = [[NSMutableArray alloc] init];
            [array addObject:thrower];
            const Noted inner{steps_, "inner"};
            static_cast<void>([array objectAtIndex:1]);
        } @catch (NSException* exception) {
            steps_.emplace_back(mac_backend::textOf(exception.name));
        }
    }
    EXPECT_THAT(steps_, ElementsAre("inner", "outer", standin::outOfRange));
}

TEST_F(RuntimeExceptionsTest, AClassCatchesItsOwnAndNoOther)
{
    @autoreleasepool {
        @try {
            @try {
                @throw [[VelmoraThrower alloc] init];
            } @catch (NSException*) {
                steps_.emplace_back("as an exception");
            } @catch (NSString*) {
                steps_.emplace_back("as a text");
            }
        } @catch (NSObject* object) {
            steps_.emplace_back("as an object");
        } @
        try {
            @throw [[VelmoraThrower alloc] init];
        } @catch (id object) {
            steps_.emplace_back("as anything");
        }
    }
    EXPECT_THAT(steps_, ElementsAre("as an object", "as anything"));
}

TEST_F(RuntimeExceptionsTest, WhatIsCaughtCanBeThrownOnAndFinallyIsDoneEachTime)
{
    @autoreleasepool {
        @try {
            @try {
                standin::raise("One", "");
            } @catch (NSException*) {
                steps_.emplace_back("first");
                @throw;
            } @finally {
                steps_.emplace_back("finally after one");
            }
        } @catch (NSException* exception) {
            steps_.emplace_back(mac_backend::textOf(exception.name));
        } @finally {
            steps_.emplace_back("finally at the end");
        } @
        try {
            steps_.emplace_back("nothing thrown");
        } @finally {
            steps_.emplace_back("finally all the same");
        }
    }
    EXPECT_THAT(steps_, ElementsAre("first", "finally after one", "One", "finally at the end", "nothing thrown", "finally all the same"));
}

TEST_F(RuntimeExceptionsTest, AnotherCanBeThrownWhereOneWasCaught)
{
    @autoreleasepool {
        @try {
            @try {
                standin::raise("One", "");
            } @catch (NSException*) {
                standin::raise("Two", "");
            }
        } @catch (NSException* exception) {
            steps_.emplace_back(mac_backend::textOf(exception.name));
        }
    }
    EXPECT_THAT(steps_, ElementsAre("Two"));
}

TEST_F(RuntimeExceptionsTest, ThoseOfCppPassByAndAreCaughtByTheirOwn)
{
    @autoreleasepool {
        try {
            @try {
                throw std::runtime_error{"of C++"};
            } @catch (NSException*) {
                steps_.emplace_back("as an exception");
            } @catch (id) {
                steps_.emplace_back("as an object");
            } @finally {
                steps_.emplace_back("finally");
            }
        } catch (const std::exception& error) {
            steps_.emplace_back(error.what());
        }
        try {
            standin::raise("One", "");
        } catch (const std::exception&) {
            steps_.emplace_back("as one of C++");
        } catch (NSException* exception) {
            steps_.emplace_back(mac_backend::textOf(exception.name));
        }
        try {
            standin::raise("Two", "");
        } catch (...) {
            steps_.emplace_back("as anything");
        }
    }
    EXPECT_THAT(steps_, ElementsAre("finally", "of C++", "One", "as anything"));
}

TEST_F(RuntimeExceptionsTest, EachThreadHasItsOwn)
{
    constexpr int perThread = 200;
    std::vector<std::thread> threads;
    std::vector<int> caught(4);
    for (int& each : caught) {
        threads.emplace_back([&each] {
            for (int turn = 0; turn < perThread; ++turn) {
                @autoreleasepool {
                    @try {
                        standin::raise("One", "");
                    } @catch (NSException* exception) {
                        each += mac_backend::textOf(exception.name) == "One" ? 1 : 0;
                    }
                }
            }
        });
    }
    for (auto& each : threads)
        each.join();
    EXPECT_THAT(caught, testing::Each(perThread));
    EXPECT_EQ(standin::thrownCount(), 4 * perThread);
}

TEST_F(RuntimeExceptionsTest, OneThatNobodyCatchesEndsTheProgramAndIsNamed)
{
    // Others of its process have threads of their own.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(std::thread([] { standin::raise("One", "as asked"); }).join(), "nobody caught One: as asked");
}

TEST_F(RuntimeExceptionsTest, StandInsThrowWhereTheRealClassesDo)
{
    const auto nameOf = [](void (^work)()) -> std::string {
        @autoreleasepool {
            @try {
                work();
            } @catch (NSException* exception) {
                return mac_backend::textOf(exception.name);
            }
            return "nothing";
        }
    };
    EXPECT_EQ(nameOf(^{ [[[NSMutableArray alloc] init] addObject:static_cast<id>(nil)]; }), standin::invalidArgument);
    EXPECT_EQ(nameOf(^{ static_cast<void>([[[NSMutableArray alloc] init] objectAtIndex:0]); }), standin::outOfRange);
    EXPECT_EQ(nameOf(^{ [[[NSMutableDictionary alloc] init] setObject:static_cast<id>(nil) forKey:mac_backend::textFrom("key")]; }),
        standin::invalidArgument);
    EXPECT_EQ(nameOf(^{
        [[[NSObject alloc] init] removeObserver:[[NSObject alloc] init] forKeyPath:mac_backend::textFrom("status") context:nullptr];
    }),
        standin::outOfRange);
}

}  // namespace
}  // namespace velmora::test
