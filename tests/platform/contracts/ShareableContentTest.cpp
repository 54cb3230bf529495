// The contract of ShareableContentProvider for the fake of the tests. The adapter of a Mac needs Objective-C: scripts/check-mac runs it.
#include "platform/fake/FakeShareableContent.h"
#include "tests/platform/contracts/ShareableContentContract.h"

namespace velmora::test {
namespace {

class FakeList final : public ListedDesktop {
public:
    std::shared_ptr<platform::ShareableContentProvider> makeProvider() override { return content_; }
    void layOut(const platform::ShareableContent& content) override { content_->content = content; }
    void refuse(int code) override { content_->error = Error{"Fake", code, "No list.", nullptr}; }

private:
    const std::shared_ptr<fake::FakeShareableContent> content_ = std::make_shared<fake::FakeShareableContent>();
};

INSTANTIATE_TEST_SUITE_P(BackEnds, ShareableContentContract,
    testing::Values(NamedListedDesktop{"Fake", [] { return std::make_unique<FakeList>(); }}),
    [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace velmora::test
