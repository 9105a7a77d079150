# Installs the program as a desktop program: `cmake --install` (prefix
# /usr/local unless told, DESTDIR honoured) and the Debian package
# (cmake/Package.cmake) share these rules.
#   bin/quorvantelix3d
#   share/applications/quorvantelix3d.desktop       menu entry, opens presets
#   share/icons/hicolor/*/apps/quorvantelix3d.*      16–512 px and scalable
#   share/metainfo/quorvantelix3d.metainfo.xml       software centres
#   share/mime/packages/quorvantelix3d.xml           the preset file type
#   share/thumbnailers/quorvantelix3d.thumbnailer    file managers' thumbnails
#   share/man/man1/quorvantelix3d.1.gz               from --help
#   libexec/xscreensaver/quorvantelix3d, share/xscreensaver/config/quorvantelix3d.xml
include(GNUInstallDirs)

set(QTX_HOMEPAGE_URL "https://quorvantelix3d.example" CACHE STRING "Home page named in the AppStream data")
set(QTX_SCREENSHOT_URL "${QTX_HOMEPAGE_URL}/screenshots" CACHE STRING
    "Where dist/screenshots/*.png are published, for the AppStream data")
# xscreensaver looks for its hacks and their settings files in fixed folders
# under /usr (libexec/xscreensaver, share/xscreensaver/config): the package
# puts them there. Under another prefix they are harmless, and the hack is
# found on PATH anyway.
option(QTX_INSTALL_XSCREENSAVER "Install the xscreensaver hack link and its settings file" ON)

set(qtx_dist ${PROJECT_SOURCE_DIR}/dist)
install(TARGETS quorvantelix3d RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${qtx_dist}/quorvantelix3d.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(DIRECTORY ${qtx_dist}/icons/hicolor DESTINATION ${CMAKE_INSTALL_DATADIR}/icons)
install(FILES ${qtx_dist}/quorvantelix3d-mime.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/mime/packages
        RENAME quorvantelix3d.xml)
install(FILES ${qtx_dist}/quorvantelix3d.thumbnailer DESTINATION ${CMAKE_INSTALL_DATADIR}/thumbnailers)

configure_file(${qtx_dist}/quorvantelix3d.metainfo.xml.in ${PROJECT_BINARY_DIR}/dist/quorvantelix3d.metainfo.xml @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/dist/quorvantelix3d.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

# The manual page is made from the built program's --help, then compressed
# the reproducible way (no name or time stamp in the gzip header).
set(qtx_man ${PROJECT_BINARY_DIR}/dist/quorvantelix3d.1)
add_custom_command(
  OUTPUT ${qtx_man}.gz
  COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:quorvantelix3d> -DOUTPUT=${qtx_man}
          -P ${PROJECT_SOURCE_DIR}/cmake/HelpToMan.cmake
  COMMAND gzip -9nf ${qtx_man}
  DEPENDS quorvantelix3d ${PROJECT_SOURCE_DIR}/cmake/HelpToMan.cmake
  COMMENT "Manual page from --help")
add_custom_target(qtx_manpage ALL DEPENDS ${qtx_man}.gz)
install(FILES ${qtx_man}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

if(QTX_INSTALL_XSCREENSAVER)
  # The hack is the program itself under xscreensaver's folder, a relative
  # link so that it survives DESTDIR and packaging.
  file(RELATIVE_PATH qtx_bin_from_hacks /${CMAKE_INSTALL_LIBEXECDIR}/xscreensaver
       /${CMAKE_INSTALL_BINDIR}/quorvantelix3d)
  file(CREATE_LINK ${qtx_bin_from_hacks} ${PROJECT_BINARY_DIR}/dist/quorvantelix3d-hack SYMBOLIC)
  install(FILES ${PROJECT_BINARY_DIR}/dist/quorvantelix3d-hack DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/xscreensaver
          RENAME quorvantelix3d)
  install(FILES ${qtx_dist}/xscreensaver/quorvantelix3d.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/xscreensaver/config)
endif()
