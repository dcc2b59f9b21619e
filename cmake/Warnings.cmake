# The warnings that all code of the project is free of. CMAKE_COMPILE_WARNING_AS_ERROR makes them errors.
add_library(dcapkit_warnings INTERFACE)
target_compile_options(dcapkit_warnings INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # It sees overlaps in every `"text" + std::string()` (PR105651).
  target_compile_options(dcapkit_warnings INTERFACE -Wno-restrict)
endif()
