# The warnings that all code of the project is free of. CMAKE_COMPILE_WARNING_AS_ERROR makes them errors.
add_library(dcapkit_warnings INTERFACE)
target_compile_options(dcapkit_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
