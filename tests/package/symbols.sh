#!/usr/bin/env bash
# What the library shows is what packaging/symbols.txt says: symbols.sh LIBRARY
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"

"$source/scripts/symbols" "$1" | diff "$source/packaging/symbols.txt" - ||
  Fail "the library shows other symbols than packaging/symbols.txt; if meant, run make abi"
