#pragma once

#include "platform/Image.h"
#include "platform/painterprotocol/MenuContent.h"
#include "platform/painterprotocol/WindowCoding.h"

/// Menus and images as JSON, for the source files of the painter's messages. Decoding is strict, as for
/// windows.
namespace quorvel::painter {

Json encodeMenu(const MenuContent& menu);
MenuContent decodeMenu(const Json& list);

/// The pixels alone: the painter looks for no picture by its name.
Json encodeImage(const Image& image);
Image decodeImage(const Json& value);

}  // namespace quorvel::painter
