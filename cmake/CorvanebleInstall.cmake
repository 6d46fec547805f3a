# Install rules, the CMake package (corvaneble::corvaneble) and the pkg-config file (corvaneble).
include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/corvaneble")

install(
  TARGETS corvaneble
  EXPORT corvanebleTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/corvaneble"
        DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
install(FILES "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/CHANGELOG.md"
              "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DOCDIR}")

install(EXPORT corvanebleTargets NAMESPACE corvaneble:: DESTINATION "${package_dir}")
configure_package_config_file(
  "${PROJECT_SOURCE_DIR}/cmake/corvanebleConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/corvanebleConfig.cmake" INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/corvanebleConfigVersion.cmake"
                                 COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/corvanebleConfig.cmake"
              "${PROJECT_BINARY_DIR}/corvanebleConfigVersion.cmake" DESTINATION "${package_dir}")

# Relative, so that an installed tree can be moved.
file(RELATIVE_PATH PC_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" PC_PREFIX "${PC_PREFIX}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/corvaneble.pc.in"
               "${PROJECT_BINARY_DIR}/corvaneble.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/corvaneble.pc"
        DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# `scripts/build PRESET package` creates a relocatable archive of the installed files.
if(WIN32)
  install(FILES "${PROJECT_SOURCE_DIR}/docs/windows.md" "${PROJECT_SOURCE_DIR}/docs/host-guide.md"
          DESTINATION "${CMAKE_INSTALL_DOCDIR}")
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/examples/c" "${PROJECT_SOURCE_DIR}/examples/cpp"
                    "${PROJECT_SOURCE_DIR}/examples/scenes"
          DESTINATION "${CMAKE_INSTALL_DATADIR}/corvaneble/examples")
endif()
if(PROJECT_IS_TOP_LEVEL)
  string(TOLOWER "${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}" system)
  set(CPACK_PACKAGE_FILE_NAME "corvaneble-${PROJECT_VERSION}-${system}")
  set(CPACK_GENERATOR TGZ)
  if(WIN32)
    set(CPACK_GENERATOR ZIP)
  endif()
  include(CPack)
endif()
