# zal_add_test(<area> <component> SOURCES ... [LABELS ...] [TIMEOUT s])
# builds tests/<area>/<component>_test.cpp into a GoogleTest binary registered as <area>.<component>,
# so that `ctest -R <area>` runs one subsystem.
find_package(GTest REQUIRED)
find_package(Threads REQUIRED)

function(zal_add_test area component)
  cmake_parse_arguments(T "" "TIMEOUT" "SOURCES;LABELS;LIBRARIES" ${ARGN})
  if(NOT T_SOURCES)
    set(T_SOURCES ${component}_test.cpp)
  endif()
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 60)
  endif()
  set(target test_${area}_${component})
  add_executable(${target} ${T_SOURCES})
  target_link_libraries(${target} PRIVATE zal zal_test_support zal_warnings GTest::gtest GTest::gmock
    Threads::Threads ${T_LIBRARIES})
  # moc costs a build step per binary; only tests that declare QObject classes need it.
  set(automoc OFF)
  foreach(source ${T_SOURCES})
    if(NOT IS_ABSOLUTE ${source})
      set(source ${CMAKE_CURRENT_SOURCE_DIR}/${source})
    endif()
    file(READ ${source} text)
    if(text MATCHES "Q_OBJECT")
      set(automoc ON)
    endif()
  endforeach()
  set_target_properties(${target} PROPERTIES AUTOMOC ${automoc} RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
  add_test(NAME ${area}.${component} COMMAND ${target})
  set_tests_properties(${area}.${component} PROPERTIES TIMEOUT ${T_TIMEOUT} LABELS "${area};${T_LABELS}")
endfunction()

# zal_add_pytest(<area> <component> PATHS ... [LABELS ...] [TIMEOUT s] [SKIP_RETURN_CODE n])
# runs pytest on PATHS as the test <area>.<component>, with the built programs in the environment
# (ZAL_BIN_DIR, ZAL_HOST, ZALCTL, ZAL_SOURCE_DIR) so Python tests drive the real zal-host. A run
# that ends with SKIP_RETURN_CODE is reported as skipped: the machine cannot run it.
function(zal_add_pytest area component)
  cmake_parse_arguments(T "" "TIMEOUT;SKIP_RETURN_CODE" "PATHS;LABELS" ${ARGN})
  if(NOT T_TIMEOUT)
    set(T_TIMEOUT 240)
  endif()
  add_test(NAME ${area}.${component}
    COMMAND ${Python3_EXECUTABLE} -m pytest -q -p no:cacheprovider ${T_PATHS}
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  set_tests_properties(${area}.${component} PROPERTIES TIMEOUT ${T_TIMEOUT} LABELS "${area};${T_LABELS}"
    ENVIRONMENT "ZAL_BIN_DIR=${CMAKE_BINARY_DIR}/bin;ZAL_HOST=${CMAKE_BINARY_DIR}/bin/zal-host;ZALCTL=${CMAKE_BINARY_DIR}/bin/zalctl;ZAL_SOURCE_DIR=${PROJECT_SOURCE_DIR};PYTHONDONTWRITEBYTECODE=1")
  if(T_SKIP_RETURN_CODE)
    set_tests_properties(${area}.${component} PROPERTIES SKIP_RETURN_CODE ${T_SKIP_RETURN_CODE})
  endif()
endfunction()
