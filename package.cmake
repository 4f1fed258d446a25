# What is installed where, and the Debian package of it (./dev package).
#
# The stand-in of the management library lies in a folder of dmu-host's own, which no other program searches, so it never
# takes the place of a real one; --library gives dmu-host the real one.
set(home lib/dmu-veltrane-plugin)
set(documents share/doc/dmu-veltrane-plugin)

install(TARGETS dmu-veltrane-plugin dmu-host
  RUNTIME DESTINATION ${home}
  LIBRARY DESTINATION ${home})
install(TARGETS vmkmgmt vmkload_mod
  RUNTIME DESTINATION ${home}/simulated-host
  LIBRARY DESTINATION ${home}/simulated-host)
file(CREATE_LINK ../${home}/dmu-host ${CMAKE_BINARY_DIR}/link-to-dmu-host SYMBOLIC)
install(FILES ${CMAKE_BINARY_DIR}/link-to-dmu-host DESTINATION bin RENAME dmu-host)

install(DIRECTORY include/dmu DESTINATION include)
install(FILES README.md DESTINATION ${documents})
install(DIRECTORY docs examples DESTINATION ${documents} PATTERN man EXCLUDE)
install(FILES docs/man/dmu-host.1 DESTINATION share/man/man1)
install(FILES docs/man/dmu-topology.5 DESTINATION share/man/man5)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_CONTACT "The developers of dmu-veltrane-plugin <root@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Plugin that manages the disks behind a RAID driver, with a simulated host
 A 32-bit library for the storage-utility daemon of a hypervisor host, dmu-host, which loads it as the daemon does, and a
 simulated host on which both run on any machine.")
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
# It runs with the libraries that it was built with, or later ones.
file(STRINGS /usr/include/features.h glibc REGEX "define[ \t]+__GLIBC_MINOR__")
string(REGEX MATCH "[0-9]+" glibc "${glibc}")
string(REGEX MATCH "^[0-9]+" libstdcxx ${CMAKE_CXX_COMPILER_VERSION})
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6-i386 (>= 2.${glibc}), lib32gcc-s1, lib32stdc++6 (>= ${libstdcxx})")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
include(CPack)
