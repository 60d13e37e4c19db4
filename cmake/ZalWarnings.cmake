# One place for the warning flags; every target of the project links zal_warnings privately.
add_library(zal_warnings INTERFACE)
target_compile_options(zal_warnings INTERFACE -Wall -Wextra -Wpedantic -Wno-unused-parameter)
