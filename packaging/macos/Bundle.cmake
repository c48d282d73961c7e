# Quorvel.app: what `cmake --install` makes on macOS. Elsewhere a test assembles the same tree, around the programs of that
# system, as the component "bundle", which nothing else installs.
find_program(PNG2ICNS png2icns REQUIRED)
configure_file(macos/Info.plist.in Info.plist @ONLY)

set(contents Quorvel.app/Contents)
set(pictures "${CMAKE_CURRENT_BINARY_DIR}/bundle")
set(app_icons)
foreach(size 16 32 48 128 256 512 1024)
    quorvel_draw_png(OUTPUT "${pictures}/${size}.png" SIZE ${size} DRAWING "${PROJECT_SOURCE_DIR}/resources/com.ob.quorvel.svg")
    list(APPEND app_icons "${pictures}/${size}.png")
endforeach()
add_custom_command(OUTPUT "${pictures}/Quorvel.icns" COMMAND "${PNG2ICNS}" "${pictures}/Quorvel.icns" ${app_icons}
                   DEPENDS ${app_icons} VERBATIM)

# The template is the pixels' alpha; their colour is that of the coloured style. Both sizes are multiples of one drawing.
set(status_icon "${pictures}/status-item.svg")
quorvel_paint_drawing(OUTPUT "${status_icon}" COLOUR "${QUORVEL_STATUS_ITEM_COLOUR}"
                      DRAWING "${PROJECT_SOURCE_DIR}/resources/status-item-24.svg")
quorvel_draw_png(OUTPUT "${pictures}/StatusBarIconTemplate.png" SIZE 24 DRAWING "${status_icon}")
quorvel_draw_png(OUTPUT "${pictures}/StatusBarIconTemplate@2x.png" SIZE 48 DRAWING "${status_icon}")

set(resources "${pictures}/Quorvel.icns" "${pictures}/StatusBarIconTemplate.png" "${pictures}/StatusBarIconTemplate@2x.png")
add_custom_target(quorvel_bundle_pictures ALL DEPENDS ${resources})

#   quorvel_install_bundle([EXCLUDE_FROM_ALL])
function(quorvel_install_bundle)
    set(part ${ARGN} COMPONENT bundle)
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/Info.plist" DESTINATION ${contents} ${part})
    install(PROGRAMS "$<TARGET_FILE:quorvel>" DESTINATION ${contents}/MacOS RENAME Quorvel ${part})
    install(PROGRAMS "$<TARGET_FILE:quorvel-check>" DESTINATION ${contents}/MacOS ${part})
    install(FILES ${resources} DESTINATION ${contents}/Resources ${part})
    install(FILES man/quorvel-check.1 DESTINATION ${contents}/Resources/man/man1 ${part})
endfunction()
