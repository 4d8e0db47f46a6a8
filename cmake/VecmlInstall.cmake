# Installs headers, library, CMake package and pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS vecml EXPORT vecmlTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# The public headers, without the internal detail/ folders ...
install(DIRECTORY ${PROJECT_SOURCE_DIR}/vecml/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vecml
  FILES_MATCHING PATTERN "*.h"
  PATTERN detail EXCLUDE)
# ... but for the internal headers that public ones include.
install(FILES
  ${PROJECT_SOURCE_DIR}/vecml/core/detail/Instantiation.h
  ${PROJECT_SOURCE_DIR}/vecml/core/detail/MessagePositions.h
  ${PROJECT_SOURCE_DIR}/vecml/core/detail/OutOfRange.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vecml/core/detail)
install(FILES
  ${PROJECT_SOURCE_DIR}/vecml/learning/detail/LearnedDirections.h
  ${PROJECT_SOURCE_DIR}/vecml/learning/detail/OnlineSettings.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vecml/learning/detail)
install(FILES ${VECML_GENERATED_INCLUDEDIR}/vecml/version.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vecml)

install(EXPORT vecmlTargets
  NAMESPACE vecml::
  DESTINATION ${VECML_INSTALL_CMAKEDIR})
export(EXPORT vecmlTargets
  NAMESPACE vecml::
  FILE ${PROJECT_BINARY_DIR}/vecmlTargets.cmake)

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/vecmlConfig.cmake.in
  ${PROJECT_BINARY_DIR}/vecmlConfig.cmake
  INSTALL_DESTINATION ${VECML_INSTALL_CMAKEDIR})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/vecmlConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/vecmlConfig.cmake
  ${PROJECT_BINARY_DIR}/vecmlConfigVersion.cmake
  DESTINATION ${VECML_INSTALL_CMAKEDIR})

# Paths in vecml.pc are relative to the file itself, so the installed tree
# can be moved or installed with --prefix.
file(RELATIVE_PATH VECML_PC_TO_PREFIX
  /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/vecml.pc.in
  ${PROJECT_BINARY_DIR}/vecml.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vecml.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
