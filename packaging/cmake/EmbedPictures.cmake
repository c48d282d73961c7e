# Run while building: writes OUTPUT, the source that holds the bytes of PICTURES, which lists each as PICTURE, its name and
# its PNG files.
set(arrays)
set(pictures)
set(number 0)
set(name)
set(spans)

macro(finish_picture)
    if(name)
        string(APPEND arrays "constexpr std::span<const std::uint8_t> pngsOf${name}[] = {${spans}};\n")
        string(APPEND pictures "    {.name = \"${name}\", .pngs = pngsOf${name}},\n")
    endif()
    set(name)
    set(spans)
endmacro()

foreach(word IN LISTS PICTURES)
    if(word STREQUAL "PICTURE")
        finish_picture()
    elseif(NOT name)
        set(name "${word}")
    else()
        file(READ "${word}" bytes HEX)
        string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
        string(APPEND arrays "constexpr std::uint8_t png${number}[] = {${bytes}};\n")
        string(APPEND spans "png${number}, ")
        math(EXPR number "${number} + 1")
    endif()
endforeach()
finish_picture()

file(WRITE "${OUTPUT}" "#include \"platform/linux/statusitem/ImageResources.h\"

namespace quorvel {
namespace {
${arrays}
constexpr EmbeddedPicture pictures[] = {
${pictures}};
}  // namespace

std::span<const EmbeddedPicture> embeddedPictures() {
    return pictures;
}

}  // namespace quorvel
")
