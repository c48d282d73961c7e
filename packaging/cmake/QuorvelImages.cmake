# Pictures: bitmaps drawn from the SVGs of resources/ while building, and bitmaps put into a program, which then needs
# no file at run time to show them.

find_program(RSVG_CONVERT rsvg-convert REQUIRED)

#   quorvel_draw_png(OUTPUT file DRAWING svg SIZE pixels [STYLESHEET css])
function(quorvel_draw_png)
    cmake_parse_arguments(arg "" "OUTPUT;DRAWING;SIZE;STYLESHEET" "" ${ARGN})
    set(style)
    if(arg_STYLESHEET)
        set(style --stylesheet "${arg_STYLESHEET}")
    endif()
    get_filename_component(folder "${arg_OUTPUT}" DIRECTORY)
    file(MAKE_DIRECTORY "${folder}")
    add_custom_command(
        OUTPUT "${arg_OUTPUT}"
        COMMAND "${RSVG_CONVERT}" --width ${arg_SIZE} --height ${arg_SIZE} ${style} --output "${arg_OUTPUT}"
                "${arg_DRAWING}"
        DEPENDS "${arg_DRAWING}" ${arg_STYLESHEET}
        VERBATIM)
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
