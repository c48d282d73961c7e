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

# Compiles a picture's bitmaps, smallest first, into a target as what embeddedPictures() tells.
#   quorvel_embed_picture(target NAME name PNGS files...)
function(quorvel_embed_picture target)
    cmake_parse_arguments(arg "" "NAME" "PNGS" ${ARGN})
    set(source "${CMAKE_CURRENT_BINARY_DIR}/EmbeddedPictures.cpp")
    set(script "${PROJECT_SOURCE_DIR}/packaging/cmake/EmbedPicture.cmake")
    add_custom_command(
        OUTPUT "${source}"
        COMMAND "${CMAKE_COMMAND}" "-DOUTPUT=${source}" "-DNAME=${arg_NAME}" "-DPNGS=${arg_PNGS}" -P "${script}"
        DEPENDS "${script}" ${arg_PNGS}
        VERBATIM)
    target_sources(${target} PRIVATE "${source}")
endfunction()
