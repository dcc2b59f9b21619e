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
	cmake --build build --target dcap

.PHONY: demo
demo: all  ## build, then show a sample capture as the tool prints it
	build/bin/dcap dump examples/sample.dcap

.PHONY: test
test:  ## build the unit and end-to-end tests beside the tool, and run them
	$(packages) build test
	cmake --preset dev
	cmake --build build --target tests
	ctest --preset dev --parallel $(JOBS)

.PHONY: gate
gate:  ## everything that must never break (docs/contributing.md)
	$(packages) build test format clang package docs gate bench
	scripts/gate --label-regex gate --parallel $(JOBS)

.PHONY: proof
proof:  ## the proofs that take hours: mutants, fuzzing, signs of characters, 64-bit ARM
	$(packages) build test clang aarch64
	scripts/gate --label-regex proof

.PHONY: coverage
coverage:  ## print which lines and branches of src/, inspect/ and tools/ the tests reach
	$(packages) build test coverage
	cmake --preset coverage
	cmake --build build-coverage
	find build-coverage -name '*.gcda' -delete
	ctest --preset coverage --label-regex '^(unit|e2e|fuzz)$$' --parallel $(JOBS)
	gcovr --root . --filter src/ --filter inspect/ --filter tools/ --exclude-throw-branches --branches \
	  --html-details build-coverage/report.html --print-summary build-coverage
	gcovr --root . --filter src/ --filter inspect/ --filter tools/ build-coverage

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

.PHONY: package
package:  ## make the Debian packages in build-package
	$(packages) build package
	cmake --preset release -B build-package -DCMAKE_INSTALL_PREFIX=/usr
	cmake --build build-package
	cpack --config build-package/CPackConfig.cmake -B build-package

.PHONY: install
install: all  ## install under PREFIX (/usr/local), below DESTDIR if that is set
	cmake --install build --prefix $(PREFIX)

.PHONY: format
format:  ## format all hand-written C++ in place
	$(packages) format
	scripts/handwritten | xargs clang-format-14 -i

.PHONY: generate
generate:  ## write what follows from the call tables and from the options of the tool
	$(packages) build test
	python3 calls/generate.py
	cmake --preset dev
	cmake --build build --target dcap_reference
	build/bin/dcap_reference packaging

.PHONY: abi
abi:  ## write what the library shows and promises to programs built with it (packaging/)
	$(packages) build gate
	cmake --preset release
	cmake --build build --target dcapkit
	scripts/symbols build/lib/libdcapkit.so >packaging/symbols.txt
	tests/gate/step static-build
	scripts/abi build-gate/static | xz -9e >packaging/abi.xml.xz

.PHONY: clean
clean:  ## remove everything that was built
	rm -rf build build-*
