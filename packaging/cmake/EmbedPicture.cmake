# Run while building: writes OUTPUT, the source that holds the bytes of PNGS under NAME.
set(arrays)
set(spans)
set(number 0)
foreach(png IN LISTS PNGS)
    file(READ "${png}" bytes HEX)
    string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
    string(APPEND arrays "constexpr std::uint8_t png${number}[] = {${bytes}};\n")
    string(APPEND spans "png${number}, ")
    math(EXPR number "${number} + 1")
endforeach()
file(WRITE "${OUTPUT}" "#include \"platform/linux/EmbeddedPictures.h\"

namespace quorvel {
namespace {
${arrays}
constexpr std::span<const std::uint8_t> pngs[] = {${spans}};
constexpr EmbeddedPicture pictures[] = {{.name = \"${NAME}\", .pngs = pngs}};
}  // namespace

std::span<const EmbeddedPicture> embeddedPictures() {
    return pictures;
}

}  // namespace quorvel
")
