// What must hold for a test's own material to be made.
#pragma once

#include <stdexcept>

namespace velmora::test {

inline void require(bool condition, const char* what)
{
    if (!condition)
        throw std::runtime_error(what);
}

}  // namespace velmora::test
