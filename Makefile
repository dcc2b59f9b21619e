# Everything one does with this tree; `make help` lists it. Each target first installs the Debian
# packages it lacks (scripts/install-packages), which costs nothing once they are there.

SHELL := /bin/bash
.DEFAULT_GOAL := all

JOBS ?= $(shell nproc)
PREFIX ?= /usr/local

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
	$(packages) build test
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
bench:  ## run the benchmarks
	$(packages) build bench
	cmake --preset bench
	cmake --build build-bench
	build-bench/bin/dcap_bench

.PHONY: install
install: all  ## install under PREFIX (/usr/local), below DESTDIR if that is set
	cmake --install build --prefix $(PREFIX)

.PHONY: format
format:  ## format all hand-written C++ in place
	$(packages) test
	scripts/handwritten | xargs clang-format-14 -i

.PHONY: generate
generate:  ## write the code that follows from the call tables
	$(packages) test
	python3 calls/generate.py

.PHONY: clean
clean:  ## remove everything that was built
	rm -rf build build-*
