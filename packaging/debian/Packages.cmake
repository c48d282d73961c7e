# The two Debian packages, by `cpack -G DEB` in a release build.

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL check desktop)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_CONTACT "The Quorvel authors <${QUORVEL_SUPPORT_MAILBOX}>")
set(CPACK_PACKAGE_HOMEPAGE_URL "${QUORVEL_SITE_URL}")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
# Read from the programs by dpkg-shlibdeps.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# What only Debian wants lies in no other installation.
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/DebianFiles.cmake")

set(CPACK_DEBIAN_CHECK_PACKAGE_NAME quorvel-check)
set(CPACK_DEBIAN_CHECK_PACKAGE_DEPENDS ca-certificates)
set(CPACK_DEBIAN_CHECK_PACKAGE_SUGGESTS "prometheus-node-exporter, quorvel")
# An earlier quorvel held the program too.
set(CPACK_DEBIAN_CHECK_PACKAGE_BREAKS "quorvel (<< 1.1.0)")
set(CPACK_DEBIAN_CHECK_PACKAGE_REPLACES "quorvel (<< 1.1.0)")
set(CPACK_DEBIAN_CHECK_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_LIST_DIR}/conffiles")
set(CPACK_COMPONENT_CHECK_DESCRIPTION "tell which macOS applications have newer versions
quorvel-check asks the Orbisto catalog which of the macOS applications that
are installed have newer versions that their system can run.

It reads a mounted Mac volume, or the inventories of many Macs that osquery,
Fleet or munki collected, and answers as a table, as JSON, or as metrics for
Prometheus. It installs nothing and changes no application.")

set(CPACK_DEBIAN_DESKTOP_PACKAGE_NAME quorvel)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_DEPENDS ca-certificates)
# Found at run time where they are there: windows under Wayland and in the look of GTK desktops, and what opens links
# where no portal does.
set(CPACK_DEBIAN_DESKTOP_PACKAGE_RECOMMENDS "qt6-wayland, qt6-gtk-platformtheme, xdg-utils")
set(CPACK_DEBIAN_DESKTOP_PACKAGE_SUGGESTS quorvel-check)
set(CPACK_COMPONENT_DESKTOP_DESCRIPTION "status item that tells which macOS applications have updates
Quorvel sits in the panel of a desktop, looks every six hours which macOS
applications are installed, and asks the Orbisto catalog whether newer
versions exist that the system can run.

Its menu lists them, with a link to each one's page. A version that nobody
wants to hear of can be ignored. It installs nothing and changes no
application.")
# Each package has a summary of its own.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
include(CPack)
