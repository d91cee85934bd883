# The Debian package: `cpack -G DEB` in a build tree (after building it) makes
# tavelo_<version>_<arch>.deb of everything the tree installs, under /usr. Its run-time
# dependencies are read from the programs and the media services library by dpkg-shlibdeps.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tavelo)
set(CPACK_PACKAGE_VENDOR Tavelo)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "DVD player made for taking still pictures")
set(CPACK_PACKAGE_DESCRIPTION
    "Tavelo plays DVD volumes, VIDEO_TS folders and disc images in a resizable video window
with a floating controller and the disc's own menus, and grabs the frame on screen as a
thumbnail, onto the clipboard or as numbered JPEG, PNG or TIFF files. tavelo-grab takes
the same stills and contact sheets on the command line, without a display.")
set(CPACK_PACKAGE_CONTACT "Tavelo developers <tavelo@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Debugging information stays in the build tree.
set(CPACK_STRIP_FILES ON)
# Loaded at run time rather than linked, so dpkg-shlibdeps cannot see them: Qt's plugins for
# TIFF pictures and SVG icons; libavfilter (bwdif) and PulseAudio, opened when first needed.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-image-formats-plugins, libqt6svg6, libavfilter8, libpulse0")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libdvd-pkg, pulseaudio | pipewire-pulse")
include(CPack)
