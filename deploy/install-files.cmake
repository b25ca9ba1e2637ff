# Run by `cmake --install` (deploy/CMakeLists.txt): renders the files that
# name install paths for the prefix of this install, and installs them.
# /usr (the package) puts configuration in /etc, as Debian does; another
# prefix keeps it below itself (/usr/local/etc).

set(prefix "${CMAKE_INSTALL_PREFIX}")
if(prefix STREQUAL "/usr")
  set(sysconf /etc)
else()
  set(sysconf "${prefix}/etc")
endif()
set(SBINDIR "${prefix}/sbin")
set(LIBEXECDIR "${prefix}/libexec")
set(DATADIR "${prefix}/share")

# The endpoint's locations on an installed system; the words are those of
# the demo's template, which the demo and the tests fill in their own way.
set(PREFIX /etc/wsgated)
set(SOCKET /run/wsgated/wsgated.socket)
set(WSDL "${DATADIR}/wsgated/wsgated.wsdl")
set(WAVEFORMS /var/lib/wsgated/waveforms)

# Rendered straight into place (under DESTDIR when one is given: the
# package's staging folder) and recorded in the install manifest, so that
# installing writes nothing into the build folder.
function(install_rendered source destination name)
  set(target "${destination}/${name}")
  message(STATUS "Installing: $ENV{DESTDIR}${target}")
  configure_file("${source}" "$ENV{DESTDIR}${target}" @ONLY)
  file(CHMOD "$ENV{DESTDIR}${target}" FILE_PERMISSIONS OWNER_READ
       OWNER_WRITE GROUP_READ WORLD_READ)
  list(APPEND CMAKE_INSTALL_MANIFEST_FILES "$ENV{DESTDIR}${target}")
  set(CMAKE_INSTALL_MANIFEST_FILES "${CMAKE_INSTALL_MANIFEST_FILES}"
      PARENT_SCOPE)
endfunction()

set(src "${WSGATED_DEPLOY_SOURCE}")
set(units "${prefix}/lib/systemd/system")
install_rendered("${src}/systemd/wsgated.service.in" "${units}"
                 wsgated.service)
install_rendered("${src}/systemd/wsgated-card@.service.in" "${units}"
                 wsgated-card@.service)
install_rendered("${src}/nginx/wsgated-location.conf.template"
                 "${sysconf}/nginx/snippets" wsgated.conf)
# The site names no install path; copied as it is.
install_rendered("${src}/nginx/wsgated.site"
                 "${sysconf}/nginx/sites-available" wsgated)
