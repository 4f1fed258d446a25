# What is installed where, and the Debian package of it (./dev package).
#
# The stand-in of the management library lies in a folder of dmu-host's own, which no other program searches, so it never
# takes the place of a real one; --library gives dmu-host the real one.
set(home lib/dmu-veltrane-plugin)
set(documents share/doc/dmu-veltrane-plugin)

install(TARGETS dmu-veltrane-plugin dmu-check-host dmu-host
  RUNTIME DESTINATION ${home}
  LIBRARY DESTINATION ${home})
install(TARGETS vmkmgmt vmkload_mod
  RUNTIME DESTINATION ${home}/simulated-host
  LIBRARY DESTINATION ${home}/simulated-host)
file(CREATE_LINK ../${home}/dmu-host ${CMAKE_BINARY_DIR}/link-to-dmu-host SYMBOLIC)
install(FILES ${CMAKE_BINARY_DIR}/link-to-dmu-host DESTINATION bin RENAME dmu-host)

install(FILES host/command_line/completion.bash DESTINATION share/bash-completion/completions RENAME dmu-host)

install(DIRECTORY include/dmu DESTINATION include)
install(FILES README.md DESTINATION ${documents})
install(FILES simulator/built_in_topology.json DESTINATION ${documents}/simulator)
install(DIRECTORY examples DESTINATION ${documents})
install(DIRECTORY docs DESTINATION ${documents}
  PATTERN man EXCLUDE
  REGEX "/(changing-it|rooms|tests)\\.md$" EXCLUDE)  # of use beside the sources only

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_CONTACT "The owner of this project <owner@dmu-veltrane-plugin.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "plugin for the disks behind a RAID driver, with a simulated host")
set(CPACK_PACKAGE_DESCRIPTION "The plugin is a 32-bit library for the storage-utility daemon of a hypervisor
host. dmu-host loads it as the daemon does: it lists the disks, tells where
their drives sit and how warm they are, and switches locator LEDs and write
caches. A simulated host comes with them, so that both run on any machine.")
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
# It runs with the libraries that it was built with, or later ones.
file(STRINGS /usr/include/features.h glibc REGEX "define[ \t]+__GLIBC_MINOR__")
string(REGEX MATCH "[0-9]+" glibc "${glibc}")
string(REGEX MATCH "^[0-9]+" libstdcxx ${CMAKE_CXX_COMPILER_VERSION})
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6-i386 (>= 2.${glibc}), lib32gcc-s1, lib32stdc++6 (>= ${libstdcxx})")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

# What Debian's rules want in a package. What others print is installed by these two.
#
# install_output(FOLDER NAME COMMAND...)
function(install_output folder name)
  list(JOIN ARGN "\" \"" command)
  install(CODE "execute_process(COMMAND \"${command}\" OUTPUT_FILE \"${CMAKE_BINARY_DIR}/output\" COMMAND_ERROR_IS_FATAL ANY)")
  install(FILES ${CMAKE_BINARY_DIR}/output DESTINATION ${folder} RENAME ${name})
endfunction()

# install_compressed(FOLDER NAME FILE)
function(install_compressed folder name file)
  install_output(${folder} ${name}.gz gzip -9nc ${file})
endfunction()

# day(FORMAT VARIABLE): the version's, as date prints it.
function(day format variable)
  execute_process(COMMAND date --utc --date=${DMU_VERSION_DATE} ${format}
    OUTPUT_VARIABLE printed OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(${variable} ${printed} PARENT_SCOPE)
endfunction()

day(--rfc-email changelog_day)
configure_file(package/changelog.Debian.in changelog.Debian @ONLY)
install_compressed(${documents} changelog.Debian ${CMAKE_BINARY_DIR}/changelog.Debian)
install_compressed(${documents} changelog ${CMAKE_SOURCE_DIR}/CHANGELOG.md)
install_compressed(share/man/man1 dmu-host.1 ${CMAKE_SOURCE_DIR}/docs/man/dmu-host.1)
install_compressed(share/man/man5 dmu-topology.5 ${CMAKE_SOURCE_DIR}/docs/man/dmu-topology.5)
install_output(${documents} copyright
  sed --separate $G  # an empty line after each
  ${CMAKE_SOURCE_DIR}/package/copyright /usr/share/doc/libcli11-dev/copyright /usr/share/doc/nlohmann-json3-dev/copyright)
install(FILES package/lintian-overrides DESTINATION share/lintian/overrides RENAME dmu-veltrane-plugin)

# Each file in the package is of the version's day, so that the same sources make the same package.
day(+%s epoch)
file(CONFIGURE OUTPUT package-day.cmake CONTENT "set(ENV{SOURCE_DATE_EPOCH} @epoch@)\n" @ONLY)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_BINARY_DIR}/package-day.cmake)
include(CPack)
