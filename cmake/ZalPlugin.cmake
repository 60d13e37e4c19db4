# zal_add_plugin(<name> SOURCES ... [LIBRARIES ...] [OUTPUT_DIRECTORY dir])
# builds a Qt plug-in library "<name>.so" (no "lib" prefix) that the plug-in manager loads when a
# processor type "<name>.<Type>" is requested. It goes to ${CMAKE_BINARY_DIR}/bin by default, the
# application directory of the project's programs and tests, where the manager looks first.
function(zal_add_plugin name)
  cmake_parse_arguments(P "" "OUTPUT_DIRECTORY" "SOURCES;LIBRARIES" ${ARGN})
  if(NOT P_SOURCES)
    message(FATAL_ERROR "zal_add_plugin(${name}) needs SOURCES")
  endif()
  if(NOT P_OUTPUT_DIRECTORY)
    set(P_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
  endif()
  add_library(${name} MODULE ${P_SOURCES})
  target_link_libraries(${name} PRIVATE zal ${P_LIBRARIES})
  if(TARGET zal_warnings)
    target_link_libraries(${name} PRIVATE zal_warnings)
  endif()
  set_target_properties(${name} PROPERTIES
    PREFIX ""
    AUTOMOC ON
    LIBRARY_OUTPUT_DIRECTORY ${P_OUTPUT_DIRECTORY})
endfunction()
