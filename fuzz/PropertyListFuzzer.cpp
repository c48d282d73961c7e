#include <array>
#include <cstdint>
#include <cstdlib>

#include "platform/PropertyList.h"
#include "platform/Text.h"

/// Any bytes are read or refused; what is read is valid text.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::array<std::string_view, 2> keys{"CFBundleName", "CFBundleVersion"};
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    const auto texts = quorvel::readPropertyList(bytes, keys);
    if (!texts) return 0;
    for (const auto& text : *texts) {
        if (text && !quorvel::text::isValidUtf8(*text)) std::abort();
    }
    return 0;
}
