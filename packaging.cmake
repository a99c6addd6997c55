# `cpack -G DEB` in the build directory makes ovrin_<version>_<arch>.deb. Shared libraries
# are found by dpkg-shlibdeps; what is loaded at run time (QML modules, speech and OCR data)
# comes from the run list of scripts/install-deps.sh, the one list of packages.
file(READ ${PROJECT_SOURCE_DIR}/scripts/install-deps.sh deps_script)
string(REGEX MATCH "run=\\(([^)]*)\\)" _ "${deps_script}")
string(REGEX REPLACE "[ \t\r\n]+" ";" run_packages "${CMAKE_MATCH_1}")
list(REMOVE_ITEM run_packages "")
list(JOIN run_packages ", " run_depends)

set(CPACK_PACKAGE_NAME ovrin)
set(CPACK_PACKAGE_VENDOR "Ovrin")
set(CPACK_PACKAGE_CONTACT "Ovrin developers <dev@ovrin.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Voice assistant for the Linux desktop")
set(CPACK_PACKAGE_DESCRIPTION
    "Hold a key in any application and speak: Ovrin types what you said, answers\nquestions about the selected text or the screen, and turns meetings into notes.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "${run_depends}")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnome-keyring, at-spi2-core, pulseaudio | pipewire-pulse")
set(CPACK_GENERATOR DEB)
include(CPack)
