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
