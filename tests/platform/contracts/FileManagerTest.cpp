// The contract of file managers for the fake of the tests and for that of Linux.
#include "platform/fake/FakeFileManager.h"
#include "platform/linux/LinuxFileManager.h"
#include "tests/platform/contracts/FileManagerContract.h"

namespace velmora::test {
namespace {

INSTANTIATE_TEST_SUITE_P(BackEnds, FileManagerContract,
    testing::Values(NamedFileManager{"Fake", [] { return std::make_shared<fake::FakeFileManager>(); }},
        NamedFileManager{"Linux", [] { return linux_backend::makeFileManager(); }}),
    [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace velmora::test
