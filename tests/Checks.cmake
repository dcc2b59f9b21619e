# Checks of the tree itself, run beside the tests: formatting, lint, comments, and generated code.
find_program(CLANG_FORMAT clang-format-14 REQUIRED)
find_program(CLANG_TIDY clang-tidy-14 REQUIRED)

dcapkit_add_test(check format ${PROJECT_SOURCE_DIR}/scripts/check-format ${CLANG_FORMAT})
if(EXISTS ${PROJECT_SOURCE_DIR}/calls/generate.py)
  dcapkit_add_test(check generated ${Python3_EXECUTABLE} calls/generate.py --check)
endif()

dcapkit_add_test(check reference ${PROJECT_SOURCE_DIR}/scripts/reference
                 ${PROJECT_BINARY_DIR}/reference)

# One test for each source, so that they share the processors with the other tests.
execute_process(COMMAND ${PROJECT_SOURCE_DIR}/scripts/handwritten OUTPUT_VARIABLE HANDWRITTEN
                COMMAND_ERROR_IS_FATAL ANY OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REPLACE "\n" ";" HANDWRITTEN "${HANDWRITTEN}")
list(FILTER HANDWRITTEN INCLUDE REGEX "^(src|tools|tests|examples)/.*\\.cpp$")
list(FILTER HANDWRITTEN EXCLUDE REGEX "^tests/package/")  # no part of this build
foreach(FILE IN LISTS HANDWRITTEN)
  dcapkit_add_test(tidy ${FILE} ${PROJECT_SOURCE_DIR}/scripts/tidy ${PROJECT_BINARY_DIR} ${FILE})
endforeach()

# The installed library and the package, used as a stranger would. The static library is built for
# the occasion, without optimisation to save time.
set(STATIC_BUILD ${PROJECT_BINARY_DIR}/static)
dcapkit_add_test(package build-static ${CMAKE_CTEST_COMMAND}
                 --build-and-test ${PROJECT_SOURCE_DIR} ${STATIC_BUILD} --build-generator Ninja
                 --build-options -DBUILD_SHARED_LIBS=OFF -DDCAPKIT_TOOL=OFF -DCMAKE_BUILD_TYPE=Debug
                                 -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER})
set_tests_properties(package.build-static PROPERTIES FIXTURES_SETUP static PROCESSORS 2)
set(PACKAGE_TESTS ${CMAKE_CURRENT_SOURCE_DIR}/package)
dcapkit_add_test(package static ${PACKAGE_TESTS}/install.sh ${STATIC_BUILD} static)
set_tests_properties(package.static PROPERTIES FIXTURES_REQUIRED static)
dcapkit_add_test(package shared ${PACKAGE_TESTS}/install.sh ${PROJECT_BINARY_DIR} shared)
dcapkit_add_test(package deb ${PACKAGE_TESTS}/deb.sh ${PROJECT_BINARY_DIR})
dcapkit_add_test(package symbols ${PACKAGE_TESTS}/symbols.sh $<TARGET_FILE:dcapkit>)
