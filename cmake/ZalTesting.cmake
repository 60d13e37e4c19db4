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
  set_target_properties(${target} PROPERTIES AUTOMOC ON RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
  add_test(NAME ${area}.${component} COMMAND ${target})
  set_tests_properties(${area}.${component} PROPERTIES TIMEOUT ${T_TIMEOUT} LABELS "${area};${T_LABELS}")
endfunction()
