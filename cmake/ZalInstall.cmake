# Installs libzal, its headers (hand-written and generated), zal-host, zalctl and zal-monitor, and the Zal CMake
# package with zal_add_plugin(). The demo plug-in installs itself (zal_add_plugin ... INSTALL).
include(CMakePackageConfigHelpers)

install(TARGETS zal EXPORT ZalTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The programs find libzal relative to themselves, so a prefix works wherever it is unpacked.
file(RELATIVE_PATH ZAL_LIBRARY_FROM_PROGRAMS ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set_target_properties(zal-host zalctl zal-monitor PROPERTIES INSTALL_RPATH "$ORIGIN/${ZAL_LIBRARY_FROM_PROGRAMS}")
install(TARGETS zal-host zalctl zal-monitor RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY include/zal DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/generated/include/zal DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(ZAL_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Zal)
install(EXPORT ZalTargets NAMESPACE Zal:: DESTINATION ${ZAL_CMAKE_DIR})
configure_package_config_file(cmake/ZalConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/ZalConfig.cmake INSTALL_DESTINATION ${ZAL_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/ZalConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ZalConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/ZalConfigVersion.cmake
  cmake/ZalPlugin.cmake DESTINATION ${ZAL_CMAKE_DIR})
