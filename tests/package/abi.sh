#!/usr/bin/env bash
# The binary interface is what packaging/abi.xml.xz says: abi.sh BUILD-DIRECTORY (see scripts/abi)
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

xz --decompress --stdout "$source/packaging/abi.xml.xz" >"$work/before.xml"
"$source/scripts/abi" "$1" >"$work/now.xml"
abidiff --no-show-locs --no-added-syms "$work/before.xml" "$work/now.xml" ||
  Fail "programs built before do not work any more. Give the project a new minor version, and the library by that another" \
    "soname, unless the interface before was never released; make abi then writes packaging/abi.xml.xz"
abidiff --no-show-locs "$work/before.xml" "$work/now.xml" || Fail "the binary interface has grown; if meant, run make abi"
