# zal_add_plugin(<name> SOURCES ... [METADATA file.json] [LIBRARIES ...] [OUTPUT_DIRECTORY dir] [INSTALL])
# builds a Qt plug-in module "<name>.so" (no "lib" prefix) that zal's plug-in manager loads when a
# processor type "<name>.<Type>" is requested. It is installed by the Zal package, so that plug-ins
# outside this tree are built the same way after find_package(Zal).
#
# METADATA is the file that the root object's Q_PLUGIN_METADATA(IID ZalPlugin_iid FILE "...")
# names. moc looks for that file on its include path, so the file's folder is put there; moc then
# reports the file as a dependency, and a change of it rebuilds the plug-in.
# INSTALL installs the module to ZAL_PLUGIN_INSTALL_DIR, where an installed zal-host of the same
# prefix finds it.
include(GNUInstallDirs)
set(ZAL_PLUGIN_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/zal/plugins)

function(zal_add_plugin name)
  cmake_parse_arguments(P "INSTALL" "OUTPUT_DIRECTORY;METADATA" "SOURCES;LIBRARIES" ${ARGN})
  if(NOT P_SOURCES)
    message(FATAL_ERROR "zal_add_plugin(${name}) needs SOURCES")
  endif()
  add_library(${name} MODULE ${P_SOURCES})
  target_link_libraries(${name} PRIVATE Zal::zal ${P_LIBRARIES})
  if(TARGET zal_warnings)
    target_link_libraries(${name} PRIVATE zal_warnings)
  endif()
  set_target_properties(${name} PROPERTIES PREFIX "" AUTOMOC ON)
  if(P_OUTPUT_DIRECTORY)
    set_target_properties(${name} PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${P_OUTPUT_DIRECTORY})
  endif()
  if(P_METADATA)
    get_filename_component(metadata ${P_METADATA} ABSOLUTE)
    if(NOT EXISTS ${metadata})
      message(FATAL_ERROR "zal_add_plugin(${name}): no metadata file ${metadata}")
    endif()
    get_filename_component(metadataDirectory ${metadata} DIRECTORY)
    target_sources(${name} PRIVATE ${metadata})
    set_property(TARGET ${name} APPEND PROPERTY AUTOMOC_MOC_OPTIONS "-I${metadataDirectory}")
  endif()
  if(P_INSTALL)
    install(TARGETS ${name} LIBRARY DESTINATION ${ZAL_PLUGIN_INSTALL_DIR})
  endif()
endfunction()
