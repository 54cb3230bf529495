// The contract of login items for the fake of the tests.
#include "platform/fake/FakeDesktop.h"
#include "tests/platform/contracts/LoginItemContract.h"

namespace velmora::test {
namespace {

class FakeLoginDesktop final : public LoginDesktop {
public:
    std::shared_ptr<platform::LoginItem> makeLoginItem() override { return item_; }
    void refuseChanges() override { item_->error = Error{"Fake", 1, "Not now.", nullptr}; }
    void switchOffElsewhere() override { item_->current.isOn = false; }

private:
    const std::shared_ptr<fake::FakeLoginItem> item_ = std::make_shared<fake::FakeLoginItem>();
};

INSTANTIATE_TEST_SUITE_P(BackEnds, LoginItemContract,
    testing::Values(NamedLoginDesktop{"Fake", [] { return std::make_unique<FakeLoginDesktop>(); }}),
    [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace velmora::test
