# cpack, in a build folder: a .deb and a .tar.gz of what cmake --install lays out.
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME ozr-panorama)
set(CPACK_PACKAGE_CONTACT "The libozr_panorama developers <ozr-panorama@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "turns a camera sweep into one panorama")
set(CPACK_PACKAGE_DESCRIPTION "The shared and the static library with headers, and the program ozr-pano.")
set(CPACK_STRIP_FILES ON)

set(CPACK_SYSTEM_NAME "${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(CMAKE_SIZEOF_VOID_P EQUAL 4 AND CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  # Built with -m32. The packages are for i386, where the libraries' packages have other names than on this machine.
  set(CPACK_SYSTEM_NAME "${CMAKE_SYSTEM_NAME}-i386")
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6, libgcc-s1, libstdc++6")
endif()

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
include(CPack)
