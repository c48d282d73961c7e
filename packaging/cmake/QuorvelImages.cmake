# Pictures: bitmaps drawn from the SVGs of resources/ while building, and bitmaps put into a program, which then needs
# no file at run time to show them.

find_program(RSVG_CONVERT rsvg-convert REQUIRED)

# The program's own, seen on light bars and panels and on dark ones.
set(QUORVEL_STATUS_ITEM_COLOUR "#3a86e8")

#   quorvel_draw_png(OUTPUT file DRAWING svg SIZE pixels)
function(quorvel_draw_png)
    cmake_parse_arguments(arg "" "OUTPUT;DRAWING;SIZE" "" ${ARGN})
    get_filename_component(folder "${arg_OUTPUT}" DIRECTORY)
    file(MAKE_DIRECTORY "${folder}")
    add_custom_command(
        OUTPUT "${arg_OUTPUT}"
        COMMAND "${RSVG_CONVERT}" --width ${arg_SIZE} --height ${arg_SIZE} --output "${arg_OUTPUT}" "${arg_DRAWING}"
        DEPENDS "${arg_DRAWING}"
        VERBATIM)
endfunction()

# Writes a drawing that panels recolour in a colour that stays.
#   quorvel_paint_drawing(OUTPUT svg DRAWING svg COLOUR colour)
function(quorvel_paint_drawing)
    cmake_parse_arguments(arg "" "OUTPUT;DRAWING;COLOUR" "" ${ARGN})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${arg_DRAWING}")
    file(READ "${arg_DRAWING}" svg)
    string(REGEX REPLACE " *<(!--|style)[^\n]*\n" "" svg "${svg}")
    string(REPLACE "class=\"ColorScheme-Text\" fill=\"currentColor\"" "fill=\"${arg_COLOUR}\"" svg "${svg}")
    file(CONFIGURE OUTPUT "${arg_OUTPUT}" CONTENT "${svg}")
endfunction()

# Compiles bitmaps into a target as what embeddedPictures() tells; those of a picture smallest first.
#   quorvel_embed_pictures(target PICTURE name files... [PICTURE name files...])
function(quorvel_embed_pictures target)
    set(pngs ${ARGN})
    list(FILTER pngs INCLUDE REGEX "\\.png$")
    set(source "${CMAKE_CURRENT_BINARY_DIR}/EmbeddedPictures.cpp")
    set(script "${PROJECT_SOURCE_DIR}/packaging/cmake/EmbedPictures.cmake")
    add_custom_command(
        OUTPUT "${source}"
        COMMAND "${CMAKE_COMMAND}" "-DOUTPUT=${source}" "-DPICTURES=${ARGN}" -P "${script}"
        DEPENDS "${script}" ${pngs}
        VERBATIM)
    target_sources(${target} PRIVATE "${source}")
endfunction()
