// What a Mac is told of a thread, on stand-ins for the calls that only it has.
#include "base/CurrentThread.h"
#include "tests/platform/mac/additions/qos.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace {

std::string name;
std::optional<qos_class_t> urgency;

}  // namespace

extern "C" int macPthreadSetname(const char* given);

int macPthreadSetname(const char* given)
{
    name = given;
    return 0;
}

int pthread_set_qos_class_self_np(qos_class_t given, int relativePriority)
{
    EXPECT_EQ(relativePriority, 0);
    urgency = given;
    return 0;
}

namespace velmora {
namespace {

using QualityOfService = SerialQueue::QualityOfService;

TEST(MacThread, IsNamedAfterTheLastComponentOfItsLabel)
{
    setUpCurrentThread("com.velmora.capture.encoder", QualityOfService::utility);
    EXPECT_EQ(name, "encoder");
    setUpCurrentThread("plain", QualityOfService::utility);
    EXPECT_EQ(name, "plain");
}

TEST(MacThread, HasAsMuchOfANameAsTheSystemKeeps)
{
    setUpCurrentThread("com." + std::string(80, 'n'), QualityOfService::utility);
    EXPECT_EQ(name, std::string(63, 'n'));
}

TEST(MacThread, AsksForTheQualityOfServiceOfItsQueue)
{
    setUpCurrentThread("a", QualityOfService::userInteractive);
    EXPECT_EQ(urgency, QOS_CLASS_USER_INTERACTIVE);
    setUpCurrentThread("a", QualityOfService::userInitiated);
    EXPECT_EQ(urgency, QOS_CLASS_USER_INITIATED);
    setUpCurrentThread("a", QualityOfService::utility);
    EXPECT_EQ(urgency, QOS_CLASS_UTILITY);
}

}  // namespace
}  // namespace velmora
