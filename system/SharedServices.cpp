#include "system/SharedServices.h"

#include <cassert>
#include <optional>
#include <utility>

namespace velmora {

namespace {

std::optional<SharedServices>& installed()
{
    // Never destroyed: neither are the shared instances that use it.
    static auto& services = *new std::optional<SharedServices>;
    return services;
}

}  // namespace

void SharedServices::install(SharedServices services)
{
    assert(!installed());
    installed() = std::move(services);
}

const SharedServices& SharedServices::current()
{
    assert(installed());
    return *installed();
}

}  // namespace velmora
