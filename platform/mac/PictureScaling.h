// Drawing a picture into the program's own memory at another size.
#pragma once

#include "media/PixelBuffer.h"
#include "platform/Player.h"

namespace velmora::mac_backend {

/// As Player::drawPicture() says. Between pixels it takes the mean of their neighbours; what is shrunk to less than half loses lines.
void drawFitted(const PixelBuffer& picture, const platform::PictureTarget& target);

}  // namespace velmora::mac_backend
