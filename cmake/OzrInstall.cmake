# What cmake --install lays out, and the packages that CPack makes of it. Nothing installed names the folder that it
# was installed into, so the whole tree may be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ozr_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ozr_panorama)
set(ozr_generated ${PROJECT_BINARY_DIR}/package)

install(TARGETS ozr_panorama ozr_panorama_static EXPORT ozr_panorama
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/ozr-panorama
  RENAME copyright)

# find_package(ozr_panorama): the targets ozr::panorama and ozr::panorama_static.
install(EXPORT ozr_panorama NAMESPACE ozr:: FILE ozr_panoramaConfig.cmake DESTINATION ${ozr_package_dir})
write_basic_package_version_file(${ozr_generated}/ozr_panoramaConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${ozr_generated}/ozr_panoramaConfigVersion.cmake DESTINATION ${ozr_package_dir})

# pkg-config: its file finds the prefix from where it lies itself.
file(RELATIVE_PATH ozr_prefix_from_pc ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" ozr_prefix_from_pc ${ozr_prefix_from_pc})
file(RELATIVE_PATH ozr_libdir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
file(RELATIVE_PATH ozr_includedir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
get_target_property(ozr_private_libraries ozr_panorama_static INTERFACE_LINK_LIBRARIES)
list(TRANSFORM ozr_private_libraries PREPEND "-l")
list(JOIN ozr_private_libraries " " ozr_private_libraries)
configure_file(${CMAKE_CURRENT_LIST_DIR}/ozr_panorama.pc.in ${ozr_generated}/ozr_panorama.pc @ONLY)
install(FILES ${ozr_generated}/ozr_panorama.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# The program finds the library relative to itself; below /usr the system knows where it is.
if(TARGET ozr-pano)
  file(RELATIVE_PATH ozr_libdir_from_bin ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_property(TARGET ozr-pano APPEND PROPERTY INSTALL_RPATH "$ORIGIN/${ozr_libdir_from_bin}")
  install(TARGETS ozr-pano RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${PROJECT_SOURCE_DIR}/tools/ozr-pano.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
  install(FILES ${PROJECT_SOURCE_DIR}/tools/completion/ozr-pano.bash
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/bash-completion/completions RENAME ozr-pano)
  install(FILES ${PROJECT_SOURCE_DIR}/tools/completion/_ozr-pano
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/zsh/site-functions)
  install(FILES ${PROJECT_SOURCE_DIR}/tools/completion/ozr-pano.fish
    DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/fish/vendor_completions.d)
  install(CODE "
    if(CMAKE_INSTALL_PREFIX MATCHES [[/usr$]])
      file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/ozr-pano\")
    endif()")
endif()

if(PROJECT_IS_TOP_LEVEL)
  include(${CMAKE_CURRENT_LIST_DIR}/OzrPackages.cmake)
endif()
