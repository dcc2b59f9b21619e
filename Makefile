# Everything one does with this tree; `make help` lists it. Each target first installs the Debian
# packages it lacks (scripts/install-packages), which costs nothing once they are there.

SHELL := /bin/bash
.DEFAULT_GOAL := all

JOBS ?= $(shell nproc)
PREFIX ?= /usr/local
FUZZ_SECONDS ?= 60

# Rebuilding after a switch of branches is cheap where ccache is installed.
ifneq ($(shell command -v ccache),)
export CMAKE_CXX_COMPILER_LAUNCHER ?= ccache
endif
export CMAKE_BUILD_PARALLEL_LEVEL ?= $(JOBS)
export CTEST_OUTPUT_ON_FAILURE ?= 1

packages = @scripts/install-packages

.PHONY: help
help:  ## list the targets
	@awk -F ':.*## ' '/^[a-z][a-z0-9-]*:.*## / {printf "  make %-14s %s\n", $$1, $$2}' Makefile

.PHONY: all
all:  ## build the tool (build/bin/dcap) and the library (build/lib/libdcapkit.so)
	$(packages) build
	cmake --preset release
	cmake --build build

.PHONY: demo
demo: all  ## build, then show a sample capture as the tool prints it
	build/bin/dcap dump examples/sample.dcap

.PHONY: test
test:  ## the gate: both compilers, every check and every test
	$(packages) build test docs bench
	cmake --preset test
	cmake --build build-test
	cmake --preset asan
	cmake --build build-asan
	ctest --preset test --parallel $(JOBS)

.PHONY: test-aarch64
test-aarch64:  ## cross-build for 64-bit ARM and run the tests under qemu
	$(packages) build test aarch64
	cmake --preset aarch64
	cmake --build build-aarch64
	ctest --preset aarch64 --parallel $(JOBS)

.PHONY: test-tsan
test-tsan:  ## run the unit tests under the thread sanitizer
	$(packages) build test
	cmake --preset tsan
	cmake --build build-tsan --target unit_tests
	build-tsan/bin/unit_tests --gtest_brief=1 --gtest_filter='-*FailedAllocation*:*NotGranted*'

.PHONY: test-chars
test-chars:  ## run the tests with plain characters signed, and again with them unsigned
	$(packages) build test
	for sign in signed unsigned; do \
	  cmake --preset dev -B build-$$sign-char -DCMAKE_CXX_FLAGS=-f$$sign-char && \
	  cmake --build build-$$sign-char && \
	  ctest --test-dir build-$$sign-char --parallel $(JOBS) || exit 1; \
	done

.PHONY: fuzz
fuzz:  ## run every fuzz target for FUZZ_SECONDS (60); what they find is kept in build-fuzz
	$(packages) build test
	cmake --preset fuzz
	cmake --build build-fuzz
	for target in build-fuzz/bin/fuzz_*; do \
	  name=$${target##*/fuzz_}; \
	  mkdir -p build-fuzz/corpus/$$name; \
	  seeds=fuzz/corpus/$$name; [ -d $$seeds ] || seeds=fuzz/corpus/capture; \
	  $$target -max_total_time=$(FUZZ_SECONDS) -timeout=5 -rss_limit_mb=2048 -print_final_stats=1 \
	    -artifact_prefix=build-fuzz/$$name- build-fuzz/corpus/$$name $$seeds || exit 1; \
	done

.PHONY: coverage
coverage:  ## print which lines and branches of src/ and tools/ the tests reach
	$(packages) build test coverage
	cmake --preset coverage
	cmake --build build-coverage
	find build-coverage -name '*.gcda' -delete
	ctest --preset coverage --parallel $(JOBS)
	gcovr --root . --filter src/ --filter tools/ --exclude-throw-branches --branches \
	  --html-details build-coverage/report.html --print-summary build-coverage
	gcovr --root . --filter src/ --filter tools/ build-coverage

.PHONY: bench
bench:  ## measure the speed, as ratios to bare baselines (bench/README.md)
	$(packages) build bench
	cmake --preset bench
	cmake --build build-bench
	bench/run build-bench
	bench/instructions build-bench

.PHONY: docs
docs:  ## write the reference of the public headers, build-docs/html/index.html
	$(packages) docs
	scripts/reference build-docs

.PHONY: symbols
symbols:  ## write the list of symbols that the shared library shows
	$(packages) build test
	cmake --preset test
	cmake --build build-test --target dcapkit
	scripts/symbols build-test/lib/libdcapkit.so >packaging/symbols.txt

.PHONY: package
package:  ## make the Debian package, build-package/dcapkit_VERSION_ARCHITECTURE.deb
	$(packages) build test
	cmake --preset release -B build-package -DCMAKE_INSTALL_PREFIX=/usr
	cmake --build build-package
	cpack --config build-package/CPackConfig.cmake -B build-package

.PHONY: install
install: all  ## install under PREFIX (/usr/local), below DESTDIR if that is set
	cmake --install build --prefix $(PREFIX)

.PHONY: format
format:  ## format all hand-written C++ in place
	$(packages) test
	scripts/handwritten | xargs clang-format-14 -i

.PHONY: generate
generate:  ## write what follows from the call tables and from the options of the tool
	$(packages) build test
	python3 calls/generate.py
	cmake --preset dev
	cmake --build build --target dcap_reference
	build/bin/dcap_reference packaging

.PHONY: clean
clean:  ## remove everything that was built
	rm -rf build build-*
