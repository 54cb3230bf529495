#include "base/SelfReference.h"

#include <gtest/gtest.h>
#include <optional>

namespace velmora {
namespace {

struct Model {
    int value = 0;
    SelfReference<Model> self{*this};
};

TEST(SelfReference, ALateCallbackFindsTheObjectForAsLongAsItIsThere)
{
    std::optional<Model> model{std::in_place};
    const auto callback = [weak = model->self.weak()] {
        const auto self = weak.lock();
        return self && ++self->value > 0;
    };
    EXPECT_TRUE(callback());
    EXPECT_EQ(model->value, 1);
    model.reset();
    EXPECT_FALSE(callback());
}

}  // namespace
}  // namespace velmora
