# Checks of the tree itself, run beside the tests: formatting, lint, and generated code.
find_program(CLANG_FORMAT clang-format-14 REQUIRED)
find_program(CLANG_TIDY clang-tidy-14 REQUIRED)

dcapkit_add_test(check format ${PROJECT_SOURCE_DIR}/scripts/check-format ${CLANG_FORMAT})
if(EXISTS ${PROJECT_SOURCE_DIR}/calls/generate.py)
  dcapkit_add_test(check generated ${Python3_EXECUTABLE} calls/generate.py --check)
endif()

# One test for each source, so that they share the processors with the other tests.
execute_process(COMMAND ${PROJECT_SOURCE_DIR}/scripts/handwritten OUTPUT_VARIABLE HANDWRITTEN
                COMMAND_ERROR_IS_FATAL ANY OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REPLACE "\n" ";" HANDWRITTEN "${HANDWRITTEN}")
list(FILTER HANDWRITTEN INCLUDE REGEX "^(src|tools|tests)/.*\\.cpp$")
foreach(FILE IN LISTS HANDWRITTEN)
  dcapkit_add_test(tidy ${FILE} ${PROJECT_SOURCE_DIR}/scripts/tidy ${PROJECT_BINARY_DIR} ${FILE})
endforeach()
