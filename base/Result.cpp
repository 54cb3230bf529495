#include "base/Result.h"

#include <system_error>

namespace velmora {

Error posixError(int errnoValue, std::string_view what)
{
    std::string description{what};
    if (!description.empty())
        description += ": ";
    description += std::generic_category().message(errnoValue);
    return Error{std::string{posixErrorDomain}, errnoValue, std::move(description), nullptr};
}

}  // namespace velmora
