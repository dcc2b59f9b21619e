# Shared by the package tests: strictness, a work directory of its own, and what they all say.
set -euo pipefail
shopt -s inherit_errexit

# The tests judge the installed files alone.
unset CMAKE_PREFIX_PATH PKG_CONFIG_PATH LD_LIBRARY_PATH
source=$DCAPKIT_SOURCE_DIR
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

Fail() {
  echo "FAILED: $*" >&2
  exit 1
}

Quietly() {  # COMMAND...
  "$@" >"$work/log" 2>&1 || Fail "$*: $(cat "$work/log")"
}

ExpectEqual() {  # WHAT EXPECTED ACTUAL
  [[ $2 == "$3" ]] || Fail "$1: expected $2, got $3"
}
