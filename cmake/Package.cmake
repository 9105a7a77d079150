# The Debian package: `cpack -G DEB` in a build folder gives
# quorvantelix3d_<version>_<arch>.deb with the files of cmake/Install.cmake
# under /usr, dependencies found by dpkg-shlibdeps, and maintainer scripts
# that refresh the desktop's caches.
set(CPACK_PACKAGE_NAME quorvantelix3d)
set(CPACK_PACKAGE_VENDOR "Quorvan Telix 3D")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "explorer of three-dimensional fractals")
set(CPACK_PACKAGE_CONTACT "Quorvan Telix 3D developers <maintainers@quorvantelix3d.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${QTX_HOMEPAGE_URL})
# The software renderer, so that the program and its thumbnails work on a
# machine whose GPU driver offers no OpenGL 4.3; fonts with Cyrillic.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "libgl1-mesa-dri, libegl-mesa0, fonts-dejavu-core | fonts-inter")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "xscreensaver, zenity")
# The long description; CPack puts the summary above it and indents it.
set(CPACK_PACKAGE_DESCRIPTION "Quorvan Telix 3D ray-marches 3D fractals on the GPU (OpenGL 4.3): Mandelbulb
and its variants, Mandelbox, Menger sponge, Sierpinski tetrahedron,
kaleidoscopic IFS, Apollonian network, quaternion Julia sets and hybrids.
Every fractal grows from a text seed; images are exported as PNG files that
carry their parameters. Presets open from the file manager and show
thumbnails, and the program can serve as an xscreensaver hack.")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/dist/debian/postinst ${PROJECT_SOURCE_DIR}/dist/debian/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# Debian wants a copyright file and a compressed change log in the package's
# documentation folder (a package made here from its own sources is a
# "native" one: changelog.gz, not changelog.Debian.gz).
set(qtx_docdir ${CMAKE_INSTALL_DATADIR}/doc/quorvantelix3d)
set(qtx_changelog ${PROJECT_BINARY_DIR}/dist/changelog)
file(WRITE ${qtx_changelog}
"quorvantelix3d (${PROJECT_VERSION}) unstable; urgency=medium

  * First Debian package: menu entry, preset files with thumbnails,
    xscreensaver hack.

 -- ${CPACK_PACKAGE_CONTACT}  Tue, 24 Nov 2026 00:00:00 +0000
")
add_custom_command(OUTPUT ${qtx_changelog}.gz
                   COMMAND gzip -9nkf ${qtx_changelog}
                   DEPENDS ${qtx_changelog})
add_custom_target(qtx_changelog ALL DEPENDS ${qtx_changelog}.gz)
install(FILES ${qtx_changelog}.gz ${PROJECT_SOURCE_DIR}/dist/debian/copyright DESTINATION ${qtx_docdir})

include(CPack)
