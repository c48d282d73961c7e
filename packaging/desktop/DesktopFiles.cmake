# How desktops find quorvel: its entry in the menus, its page in software centres, its icons.
install(FILES desktop/com.ob.quorvel.desktop DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
configure_file(desktop/com.ob.quorvel.metainfo.xml.in com.ob.quorvel.metainfo.xml @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/com.ob.quorvel.metainfo.xml"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/metainfo")

set(drawings "${PROJECT_SOURCE_DIR}/resources")
set(theme "${CMAKE_INSTALL_DATADIR}/icons/hicolor")
install(FILES "${drawings}/com.ob.quorvel.svg" DESTINATION "${theme}/scalable/apps")
# The status item's three looks: a template, which panels recolour by the end of its name, the coloured one, and its inverse.
# A panel that asks for 22 or 24 pixels gets the drawing whose edges lie on whole pixels at that size.
function(quorvel_install_look name folder drawing)
    install(FILES "${drawing}-16.svg" DESTINATION "${theme}/${folder}/apps" RENAME ${name}.svg)
    foreach(size 22 24)
        install(FILES "${drawing}-${size}.svg" DESTINATION "${theme}/${size}x${size}/apps" RENAME ${name}.svg)
    endforeach()
endfunction()
set(painted "${PROJECT_BINARY_DIR}/resources")
quorvel_install_look(com.ob.quorvel-status-symbolic symbolic "${drawings}/status-item")
quorvel_install_look(com.ob.quorvel-status scalable "${painted}/status-item")
quorvel_install_look(com.ob.quorvel-status-inverted scalable "${painted}/status-item-inverted")
# For menus and software centres that draw no SVG.
set(pngs)
foreach(size 48 64 128)
    set(png "${CMAKE_CURRENT_BINARY_DIR}/icons/${size}.png")
    quorvel_draw_png(OUTPUT "${png}" SIZE ${size} DRAWING "${drawings}/com.ob.quorvel.svg")
    install(FILES "${png}" DESTINATION "${theme}/${size}x${size}/apps" RENAME com.ob.quorvel.png)
    list(APPEND pngs "${png}")
endforeach()
add_custom_target(quorvel_icons ALL DEPENDS ${pngs})
# Whoever builds the program alone can install it too.
add_dependencies(quorvel quorvel_icons)
