# What `cmake --install` puts on the controller beside the binaries, and the Debian package of it
# all (CPack's DEB generator; scripts/package.sh builds it for amd64 and armhf). The version is the
# project's: the package and its changelog take it from there.
include(GNUInstallDirs)

# bookworm keeps units in /lib/systemd/system (the package sets it); relative to the prefix else.
set(EHS_SYSTEMD_UNIT_DIR "lib/systemd/system" CACHE STRING "Directory of the systemd units")
set(packaging ${PROJECT_SOURCE_DIR}/packaging)

configure_file(${PROJECT_SOURCE_DIR}/systemd/ehs.service.in ${CMAKE_BINARY_DIR}/ehs.service @ONLY)
configure_file(${packaging}/ehs-logrotate.service.in ${CMAKE_BINARY_DIR}/ehs-logrotate.service @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/ehs.service ${CMAKE_BINARY_DIR}/ehs-logrotate.service
              ${packaging}/ehs-logrotate.timer DESTINATION ${EHS_SYSTEMD_UNIT_DIR})
install(FILES ${packaging}/ehs.sysusers DESTINATION lib/sysusers.d RENAME ehs.conf)
install(FILES ${packaging}/ehs.tmpfiles DESTINATION lib/tmpfiles.d RENAME ehs.conf)
install(FILES ${packaging}/ehs.logrotate DESTINATION ${CMAKE_INSTALL_FULL_SYSCONFDIR}/logrotate.d RENAME ehs)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${packaging}/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})

# Debian wants the changelog and manual pages compressed, without a time stamp in the gzip header
# (reproducible). All three are built with the target ehs_documents.
configure_file(${packaging}/changelog.in ${CMAKE_BINARY_DIR}/changelog @ONLY)
set(compressed)
foreach(document ${CMAKE_BINARY_DIR}/changelog ${packaging}/ehs.8 ${packaging}/ehs_broadcast_reader.1)
    get_filename_component(name ${document} NAME)
    add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/${name}.gz
                       COMMAND gzip -9 -n -c ${document} > ${CMAKE_BINARY_DIR}/${name}.gz DEPENDS ${document})
    list(APPEND compressed ${CMAKE_BINARY_DIR}/${name}.gz)
endforeach()
add_custom_target(ehs_documents ALL DEPENDS ${compressed})
install(FILES ${CMAKE_BINARY_DIR}/changelog.gz DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${CMAKE_BINARY_DIR}/ehs.8.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man8)
install(FILES ${CMAKE_BINARY_DIR}/ehs_broadcast_reader.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# The Debian architecture of what is built: the cross build for the controller is armhf.
if(CMAKE_CROSSCOMPILING AND CMAKE_LIBRARY_ARCHITECTURE STREQUAL "arm-linux-gnueabihf")
    set(deb_architecture armhf)
else()
    execute_process(COMMAND dpkg --print-architecture OUTPUT_VARIABLE deb_architecture
                    OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ehs)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "event handling service of the access-control and alarm controller")
set(CPACK_PACKAGE_DESCRIPTION
    "ehs subscribes to the events that the controller's services publish on the
local MQTT broker, writes the event log into the controller's shared SQLite
database, publishes one command per reaction the installer configured on
event_reactions/... topics and reports radio devices that fell silent. It
runs under systemd as the system user ehs and announces every committed
change of the database on a System V message queue.")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "ehs developers <ehs-developers@controller-firmware.example.com>")
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${deb_architecture})
# The libraries from dpkg-shlibdeps (for armhf: the sysroot's symbols files, see
# scripts/armhf-sysroot.sh); the tools of the maintainer scripts: systemd-sysusers and
# systemd-tmpfiles (systemd), deb-systemd-helper (init-system-helpers), setpriv (util-linux,
# essential), userdel (passwd, required).
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(CMAKE_CROSSCOMPILING)
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}
                                                    ${CMAKE_SYSROOT}/lib/${CMAKE_LIBRARY_ARCHITECTURE})
endif()
set(CPACK_DEBIAN_PACKAGE_DEPENDS "systemd, init-system-helpers (>= 1.54~), passwd")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "mosquitto, logrotate, sqlite3")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${packaging}/postinst ${packaging}/prerm ${packaging}/postrm
                                       ${packaging}/conffiles)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
include(CPack)
