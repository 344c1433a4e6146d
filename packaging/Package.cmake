# The Debian package of the suite, made from a build tree by
# `cpack -G DEB` (scripts/package.sh): the installation below
# FLOATDECK_PREFIX (bin/, env/, icons/, share/man/man1/, as `cmake --install`
# lays it out), and the files of the system around it: the services' systemd
# units, the site's environment file /etc/default/floatdeck (a conffile), the
# login shells' profile, copyright and changelog. The system's files belong to
# the component "system", which `cmake --install` leaves out.
set(FLOATDECK_PREFIX /opt/floatdeck CACHE PATH "Where the package installs the suite")
set(FLOATDECK_MAINTAINER "Floatdeck developers <floatdeck@example.org>" CACHE STRING "The package's maintainer")
set(packaging ${CMAKE_SOURCE_DIR}/packaging)
set(made ${CMAKE_BINARY_DIR}/packaging)

# One unit a service, in the order they need one another: the resource
# manager; the queue's worker before its server, since a server that finds no
# worker of this host starts one itself; the watch demon last, as it hands
# its files to the queue. Each waits until its service listens before the
# next starts. The worker's jobs outlive it, and the next worker takes them
# over, so only the worker itself is stopped.
function(floatdeck_unit unit program role options after ready_port)
  set(SERVICE_PROGRAM ${program})
  set(SERVICE_ROLE ${role})
  set(SERVICE_OPTIONS ${options})
  set(SERVICE_AFTER "${after}")
  set(SERVICE_READY "")
  if(ready_port)
    string(CONCAT SERVICE_READY "ExecStartPost=${FLOATDECK_PREFIX}/libexec/await-listening $MAINPID "
                  "${ready_port}")
  endif()
  set(SERVICE_KILL "")
  if(program STREQUAL "CCworker")
    set(SERVICE_KILL "KillMode=process")
  endif()
  configure_file(${packaging}/floatdeck-service.in ${made}/${unit}.service @ONLY)
  install(FILES ${made}/${unit}.service DESTINATION /lib/systemd/system COMPONENT system EXCLUDE_FROM_ALL)
endfunction()
floatdeck_unit(floatdeck-rmserver RMserver "resource manager" RMSERVER_OPTIONS "" "5624 \${TV_RMSERVER_PORT}")
floatdeck_unit(floatdeck-ccworker CCworker "job queue worker" CCWORKER_OPTIONS "floatdeck-rmserver.service"
               "5611 \${TV_CCWORKER_PORT}")
floatdeck_unit(floatdeck-ccserver CCserver "job queue server" CCSERVER_OPTIONS
               "floatdeck-rmserver.service floatdeck-ccworker.service" "5610 \${TV_CCSERVER_PORT}")
floatdeck_unit(floatdeck-tvwatchd TVWatchD "watch demon" TVWATCHD_OPTIONS
               "floatdeck-rmserver.service floatdeck-ccserver.service" "")
install(FILES ${packaging}/floatdeck.target DESTINATION /lib/systemd/system COMPONENT system EXCLUDE_FROM_ALL)
install(PROGRAMS ${packaging}/await-listening DESTINATION libexec COMPONENT system EXCLUDE_FROM_ALL)

configure_file(${packaging}/profile.sh.in ${made}/floatdeck.sh @ONLY)
install(FILES ${made}/floatdeck.sh DESTINATION /etc/profile.d COMPONENT system EXCLUDE_FROM_ALL)
install(FILES ${packaging}/floatdeck.default DESTINATION /etc/default RENAME floatdeck COMPONENT system
        EXCLUDE_FROM_ALL)
execute_process(COMMAND gzip -9nc ${packaging}/changelog OUTPUT_FILE ${made}/changelog.Debian.gz
                COMMAND_ERROR_IS_FATAL ANY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${packaging}/changelog)
install(FILES ${packaging}/copyright ${made}/changelog.Debian.gz DESTINATION /usr/share/doc/floatdeck
        COMPONENT system EXCLUDE_FROM_ALL)
install(FILES ${packaging}/lintian-overrides DESTINATION /usr/share/lintian/overrides RENAME floatdeck
        COMPONENT system EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME floatdeck)
set(CPACK_PACKAGE_VERSION 0.1.0)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX ${FLOATDECK_PREFIX})
set(CPACK_PACKAGE_CONTACT ${FLOATDECK_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${FLOATDECK_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "workflow manager of a prepress production suite")
# The first line of the description is the summary above.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Floatdeck runs the workflows of gravure and flexo prepress: graphs of hot
folders whose files pass through rename, sort, image and job steps. The
package holds the X11 workflow manager, its batch tools and the suite's
services (resource manager, job queue server and worker, watch demon)
with systemd units that read the site from /etc/default/floatdeck.")
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# The libraries the programs link come from dpkg-shlibdeps; the toolkit loads
# the font libraries at run time, the postinst needs addgroup.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "adduser, libxft2, libfontconfig1")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "openssh-client, fonts-dejavu-core")
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${packaging}/conffiles ${packaging}/postinst ${packaging}/prerm
                                       ${packaging}/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)
set(CPACK_STRIP_FILES TRUE)
# One package of the installation and the system's files.
set(CPACK_COMPONENTS_ALL Unspecified system)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_OUTPUT_FILE_PREFIX ${CMAKE_BINARY_DIR}/package)
include(CPack)
