# Applies ZAL_SANITIZE to everything built after this point, libraries, plug-ins and tests alike,
# so that no uninstrumented code of ours sits between instrumented frames.
if(ZAL_SANITIZE STREQUAL "address")
  add_compile_options(-fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
elseif(ZAL_SANITIZE STREQUAL "thread")
  add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
  add_link_options(-fsanitize=thread)
elseif(NOT ZAL_SANITIZE STREQUAL "")
  message(FATAL_ERROR "ZAL_SANITIZE must be empty, 'address' or 'thread', not '${ZAL_SANITIZE}'")
endif()

# Coverage feedback must reach into the library, not only the fuzz targets, or libFuzzer would mutate blind;
# only the targets themselves link libFuzzer's main (fuzz/CMakeLists.txt).
if(ZAL_BUILD_FUZZERS)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "ZAL_BUILD_FUZZERS needs clang (for example -DCMAKE_CXX_COMPILER=clang++-14)")
  endif()
  if(NOT ZAL_SANITIZE STREQUAL "")
    message(FATAL_ERROR "ZAL_BUILD_FUZZERS brings its own sanitizers; leave ZAL_SANITIZE empty")
  endif()
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-omit-frame-pointer
                      -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=address,undefined)
endif()
