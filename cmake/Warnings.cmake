# The warnings that all code of the project is free of.
add_library(dcapkit_warnings INTERFACE)
target_compile_options(dcapkit_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(DCAPKIT_DEVELOPER)
  target_compile_options(dcapkit_warnings INTERFACE -Werror)
endif()
