#include "tests/brand/ViewTestWindow.h"
#include "tests/library/views/ClipsFixture.h"
#include "tests/library/views/PreviewView.h"

#include <gmock/gmock.h>

namespace velmora {
namespace {

}  // namespace
}  // namespace velmora
