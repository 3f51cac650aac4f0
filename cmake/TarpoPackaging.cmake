# Installation in the usual places, and the Debian package (scripts/package.sh builds it):
# executables in bin, plug-in modules in lib/tarpo-viewer/plugins (the viewer finds them from
# bin/..), the manual and the Debian documentation in share/doc/tarpo-viewer, the desktop entry,
# its icons and AppStream metadata, the manual pages, and the udev rule that lets the logged-in
# user open USB3 Vision cameras.

set(TARPO_APP_ID com.morvex.TarpoViewer)
set(TARPO_DOC_DIR share/doc/tarpo-viewer)

install(TARGETS tarpo-viewer tarpo-cli RUNTIME DESTINATION bin)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs/manual/ DESTINATION ${TARPO_DOC_DIR}/manual)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/copyright DESTINATION ${TARPO_DOC_DIR})
install(FILES ${CMAKE_SOURCE_DIR}/packaging/${TARPO_APP_ID}.desktop DESTINATION share/applications)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/${TARPO_APP_ID}.metainfo.xml DESTINATION share/metainfo)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/70-tarpo-usb3vision.rules DESTINATION lib/udev/rules.d)
install(FILES ${CMAKE_SOURCE_DIR}/packaging/70-tarpo-usb3vision.rules DESTINATION ${TARPO_DOC_DIR})
foreach(size 16 24 32 48 64 128 256)
    install(FILES ${CMAKE_BINARY_DIR}/resources/png/Icon_${size}x${size}.png
            DESTINATION share/icons/hicolor/${size}x${size}/apps RENAME ${TARPO_APP_ID}.png)
endforeach()
install(FILES ${CMAKE_SOURCE_DIR}/resources/icons/tarpoviewer.svg
        DESTINATION share/icons/hicolor/scalable/apps RENAME ${TARPO_APP_ID}.svg)

# Compressed as Debian wants them, reproducibly (no name or time in the gzip header).
find_program(GZIP_PROGRAM gzip REQUIRED)
find_program(HELP2MAN_PROGRAM help2man)
set(compressed)
function(tarpo_gzip source output)
    add_custom_command(OUTPUT ${output}
        COMMAND ${GZIP_PROGRAM} -9nc ${source} > ${output}
        DEPENDS ${source} VERBATIM)
endfunction()
tarpo_gzip(${CMAKE_SOURCE_DIR}/packaging/changelog ${CMAKE_BINARY_DIR}/packaging/changelog.gz)
tarpo_gzip(${CMAKE_SOURCE_DIR}/packaging/tarpo-viewer.1 ${CMAKE_BINARY_DIR}/packaging/tarpo-viewer.1.gz)
list(APPEND compressed ${CMAKE_BINARY_DIR}/packaging/changelog.gz
     ${CMAKE_BINARY_DIR}/packaging/tarpo-viewer.1.gz)
if(HELP2MAN_PROGRAM)
    # tarpo-cli's manual page is made from its own help text.
    add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/packaging/tarpo-cli.1
        COMMAND ${HELP2MAN_PROGRAM} --no-info --no-discard-stderr
                --name "GenICam cameras from the command line"
                --output ${CMAKE_BINARY_DIR}/packaging/tarpo-cli.1 $<TARGET_FILE:tarpo-cli>
        DEPENDS tarpo-cli VERBATIM)
    tarpo_gzip(${CMAKE_BINARY_DIR}/packaging/tarpo-cli.1 ${CMAKE_BINARY_DIR}/packaging/tarpo-cli.1.gz)
    list(APPEND compressed ${CMAKE_BINARY_DIR}/packaging/tarpo-cli.1.gz)
    install(FILES ${CMAKE_BINARY_DIR}/packaging/tarpo-cli.1.gz DESTINATION share/man/man1)
else()
    message(STATUS "help2man not found: no manual page for tarpo-cli")
endif()
add_custom_target(tarpo_packaging_files ALL DEPENDS ${compressed})
install(FILES ${CMAKE_BINARY_DIR}/packaging/changelog.gz DESTINATION ${TARPO_DOC_DIR})
install(FILES ${CMAKE_BINARY_DIR}/packaging/tarpo-viewer.1.gz DESTINATION share/man/man1)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tarpo-viewer)
set(CPACK_PACKAGE_VENDOR Morvex)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Morvex <support@morvex.com>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "viewer for GenICam machine-vision cameras")
set(CPACK_PACKAGE_DESCRIPTION "Tarpo Viewer finds GigE Vision and USB3 Vision cameras, opens several at once,
shows each live, reads and changes every camera feature in a feature tree, and
records streams to AVI video or numbered BMP/TIFF files. Service tools measure
and limit camera bandwidth, copy camera files and add GigE cameras by address.
tarpo-cli does the same from the command line.")
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://github.com/morvex/tarpo-viewer")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)
include(CPack)
