#!/usr/bin/env bash
# Installs a build and uses it as a stranger would: install.sh BUILD-DIRECTORY shared|static
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
build=$1
kind=$2

prefix=$work/prefix
Quietly cmake --install "$build" --prefix "$prefix"
# An installed tree may be moved.
mv "$prefix" "$work/moved"
prefix=$work/moved
lib=$(dirname "$(find "$prefix" -name 'libdcapkit.*' | head -1)")

# The tool's own count of the same calls is what the user's programs must find.
sample=$source/examples/sample.dcap
draws=$("$DCAP_TOOL" dump "$sample" | grep -c 'glDrawArrays(')

# By CMake.
Quietly cmake -S "$source/tests/package/consumer" -B "$work/consumer" -G Ninja \
  -DCMAKE_PREFIX_PATH="$prefix"
Quietly cmake --build "$work/consumer"
ExpectEqual "draws by find_package" "$draws" "$("$work/consumer/consumer" "$sample")"

# By pkg-config.
export PKG_CONFIG_PATH=$lib/pkgconfig
static=()
[[ $kind == shared ]] || static=(--static)
read -ra flags <<<"$(pkg-config "${static[@]}" --cflags --libs dcapkit)"
g++ -std=c++20 "$source/tests/package/consumer/main.cpp" "${flags[@]}" -o "$work/by-pkg-config"
ExpectEqual "draws by pkg-config" "$draws" \
  "$(LD_LIBRARY_PATH=$lib "$work/by-pkg-config" "$sample")"

if [[ $kind == static ]]; then
  needed=$(objdump -p "$work/by-pkg-config" | grep NEEDED)
  [[ $needed != *dcapkit* ]] || Fail "the static program still needs libdcapkit.so"
  exit 0
fi

# The examples, by themselves.
cp -r "$prefix/share/doc/dcapkit/examples" "$work/examples"
Quietly cmake -S "$work/examples" -B "$work/examples/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_FLAGS='-Wall -Wextra -Wpedantic -Werror'
Quietly cmake --build "$work/examples/build"
ExpectEqual "draws by the example" "$draws" \
  "$("$work/examples/build/draws_per_frame" "$work/examples/sample.dcap" | awk '{n += $1} END {print n}')"

# Manual pages and completions are where their readers look below any prefix.
man -M "$prefix/share/man" --where dcap-dump >/dev/null || Fail "man finds no page"
for path in bash-completion/completions/dcap zsh/site-functions/_dcap; do
  [[ -f $prefix/share/$path ]] || Fail "$path is not there"
done

# The old include lines of headers that moved, from outside and inside of a build.
for user in installed embedded; do
  Quietly cmake -S "$source/tests/package/moved" -B "$work/$user" -G Ninja -D"$user"="$source" \
    -DCMAKE_PREFIX_PATH="$prefix"
done
Quietly cmake --build "$work/installed"
ExpectEqual "the description of a call" glDrawArrays "$("$work/installed/moved")"
Quietly cmake --build "$work/embedded" --target moved_objects

# The installed tool finds the library beside it, and each header stands alone.
ExpectEqual "draws by the tool" "$draws" \
  "$("$prefix/bin/dcap" dump "$sample" | grep -c 'glDrawArrays(')"
Quietly "$source/tests/package/headers.py" "$prefix/include/dcapkit" "$lib/libdcapkit.so"
