# Installing like a system program: the binaries, the libraries with their
# headers as a CMake package (find_package(MlagConfigCheck)), the documents,
# the examples and a systemd unit for the agent; and a Debian package with
# CPack (`cpack -G DEB` in the build directory).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(MLAG_INCLUDE_DIR ${CMAKE_INSTALL_INCLUDEDIR}/mlag-config-check)

# The libraries' headers come from the source tree while building and from
# one include directory once installed.
set_target_properties(framework PROPERTIES INTERFACE_INCLUDE_DIRECTORIES
  "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/framework>;$<INSTALL_INTERFACE:${MLAG_INCLUDE_DIR}>")
set_target_properties(configcheck PROPERTIES INTERFACE_INCLUDE_DIRECTORIES
  "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>;$<INSTALL_INTERFACE:${MLAG_INCLUDE_DIR}>")
# The warning flags travel only as a link-only dependency of the static
# libraries: exported, but never applied to a user's code.
install(TARGETS framework configcheck mlag_warnings EXPORT MlagConfigCheckTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/framework/ DESTINATION ${MLAG_INCLUDE_DIR}
  FILES_MATCHING PATTERN "*.h")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/ConfigCheck DESTINATION ${MLAG_INCLUDE_DIR}
  FILES_MATCHING PATTERN "*.h")
set(MLAG_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/MlagConfigCheck)
install(EXPORT MlagConfigCheckTargets NAMESPACE MlagConfigCheck:: DESTINATION ${MLAG_CMAKE_DIR})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/MlagConfigCheckConfig.cmake.in
  ${PROJECT_BINARY_DIR}/MlagConfigCheckConfig.cmake INSTALL_DESTINATION ${MLAG_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/MlagConfigCheckConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/MlagConfigCheckConfig.cmake
  ${PROJECT_BINARY_DIR}/MlagConfigCheckConfigVersion.cmake DESTINATION ${MLAG_CMAKE_DIR})

foreach(program mlag-config-check mlag-config-checkd)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  endif()
endforeach()
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples
  FILES_MATCHING PATTERN "*.json")
if(TARGET mlag-config-checkd)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/mlag-config-checkd@.service
    ${PROJECT_BINARY_DIR}/mlag-config-checkd@.service @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/mlag-config-checkd@.service
    DESTINATION lib/systemd/system)
endif()

set(CPACK_PACKAGE_NAME mlag-config-check)
set(CPACK_PACKAGE_VENDOR "mlag-config-check developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
  "MLAG configuration-consistency checker: library, tool and per-switch agent")
set(CPACK_PACKAGE_CONTACT "mlag-config-check developers <root@localhost>")
set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
include(CPack)
