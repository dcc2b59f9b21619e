#!/usr/bin/env bash
# Makes the Debian packages, looks at them and uses them: deb.sh BUILD-DIRECTORY. With
# DCAPKIT_TEST_DPKG=1, as root, they are also installed into the running system and removed again.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
build=$1

Quietly cpack --config "$build/CPackConfig.cmake" -B "$work"
lib=usr/lib/$(gcc -print-multiarch)
declare -A files
for package in libdcapkit0.1 libdcapkit-dev dcap; do
  files[$package]=$(echo "$work/${package}"_0.1.0_*.deb)
  [[ -f ${files[$package]} ]] || Fail "there is no package $package: $(ls "$work")"
  ExpectEqual "the name in $package" "$package" "$(dpkg-deb --field "${files[$package]}" Package)"
  dpkg-deb --fsys-tarfile "${files[$package]}" | tar -t >"$work/$package.contents"
done
ExpectEqual "packages" 3 "$(ls "$work"/*.deb | wc -l)"

Expect() {  # PACKAGE PATH...
  for path in "${@:2}"; do
    grep -qx "./$path" "$work/$1.contents" || Fail "$path is not in $1"
  done
}
Expect libdcapkit0.1 "$lib/libdcapkit.so.0.1" "$lib/libdcapkit.so.0.1.0" usr/share/doc/libdcapkit0.1/copyright
Expect libdcapkit-dev "$lib/libdcapkit.so" "$lib/pkgconfig/dcapkit.pc" \
  "$lib/cmake/dcapkit/dcapkitConfig.cmake" usr/include/dcapkit/Data/GLDecoder.h \
  usr/include/dcapkit/Data/Calls/CallTable.h usr/include/dcapkit/Data/CallTable.h \
  usr/share/doc/dcapkit/README.md usr/share/doc/dcapkit/docs/adapters.md \
  usr/share/doc/dcapkit/examples/draws_per_frame.cpp usr/share/doc/libdcapkit-dev/copyright
Expect dcap usr/bin/dcap usr/share/bash-completion/completions/dcap \
  usr/share/zsh/vendor-completions/_dcap usr/share/doc/dcap/copyright
for page in dcap $("$DCAP_TOOL" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/dcap-\1/p'); do
  grep -qE "^./usr/share/man/man1/$page\.1(\.gz)?$" "$work/dcap.contents" || Fail "$page has no page"
done
# No file is in two packages, and none lies outside of its places: programs of a later version may
# be installed beside the library of this one.
if cat "$work"/*.contents | grep -v '/$' | sort | uniq -d | grep .; then
  Fail "these files are in two packages"
fi
if grep -vE "^\./(usr/((bin|include|share|lib)/.*)?)?$" "$work"/*.contents; then
  Fail "the packages hold files outside of their places"
fi
if grep -vE "/$|^\./($lib/libdcapkit\.so\.0\.1(\.0)?|usr/share/doc/libdcapkit0\.1/.*)$" "$work/libdcapkit0.1.contents"; then
  Fail "libdcapkit0.1 holds what another version would hold, too"
fi

ExpectDepends() {  # PACKAGE ON...
  local depends
  depends=", $(dpkg-deb --field "${files[$1]}" Depends),"
  for on in "${@:2}"; do
    [[ $depends == *", $on"[\ ,]* ]] || Fail "$1 does not depend on $on: $depends"
  done
}
ExpectDepends libdcapkit0.1 libc6 libstdc++6 liblz4-1
ExpectDepends libdcapkit-dev "libdcapkit0.1 (= 0.1.0)"
ExpectDepends dcap "libdcapkit0.1 (= 0.1.0)" libc6 libdeflate0

for package in "${!files[@]}"; do
  dpkg-deb --extract "${files[$package]}" "$work/root"
done
file "$work/root/$lib/libdcapkit.so.0.1.0" | grep -q ', stripped' || Fail "not stripped"
objdump -p "$work/root/$lib/libdcapkit.so.0.1.0" | grep -q 'SONAME *libdcapkit\.so\.0\.1$' || Fail "another soname"
"$work/root/usr/bin/dcap" dump "$source/examples/sample.dcap" >"$work/extracted"
"$DCAP_TOOL" dump "$source/examples/sample.dcap" | cmp - "$work/extracted"

if [[ ${DCAPKIT_TEST_DPKG:-} == 1 ]]; then
  Quietly dpkg --install "${files[@]}"
  dcap dump "$source/examples/sample.dcap" | cmp - "$work/extracted"
  Quietly g++ -std=c++20 "$source/tests/package/consumer/main.cpp" -I/usr/include/dcapkit -ldcapkit -o "$work/consumer"
  Quietly "$work/consumer" "$source/examples/sample.dcap"
  Quietly dpkg --purge dcap libdcapkit-dev libdcapkit0.1
  [[ ! -e /usr/bin/dcap && ! -e /usr/include/dcapkit ]] || Fail "removal left files behind"
fi
