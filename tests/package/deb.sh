#!/usr/bin/env bash
# Makes the Debian package and looks at it and uses it: deb.sh BUILD-DIRECTORY. With
# DCAPKIT_TEST_DPKG=1, as root, it is also installed into the running system and removed again.
. "$(dirname "${BASH_SOURCE[0]}")/common.sh"
build=$1

Quietly cpack --config "$build/CPackConfig.cmake" -B "$work"
package=$(echo "$work"/*.deb)
lib=usr/lib/$(gcc -print-multiarch)

dpkg-deb --fsys-tarfile "$package" | tar -t >"$work/contents"
for path in usr/bin/dcap "$lib/libdcapkit.so" "$lib/libdcapkit.so.0" "$lib/pkgconfig/dcapkit.pc" \
  "$lib/cmake/dcapkit/dcapkitConfig.cmake" usr/include/dcapkit/Data/GLDecoder.h \
  usr/share/doc/dcapkit/LICENSE usr/share/bash-completion/completions/dcap \
  usr/share/zsh/vendor-completions/_dcap; do
  grep -qx "./$path" "$work/contents" || Fail "$path is not in the package"
done
for page in dcap $("$DCAP_TOOL" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/dcap-\1/p'); do
  grep -qE "^./usr/share/man/man1/$page\.1(\.gz)?$" "$work/contents" || Fail "$page has no page"
done
if grep -vE '^\./(usr/((bin|include|share|lib)/.*)?)?$' "$work/contents"; then
  Fail "the package holds files outside of its places"
fi

depends=$(dpkg-deb --field "$package" Depends)
for library in libc6 libstdc++6 liblz4-1 libdeflate0; do
  [[ $depends == *"$library "* ]] || Fail "the package does not depend on $library: $depends"
done

dpkg-deb --extract "$package" "$work/root"
file "$work/root/$lib/libdcapkit.so.0.1.0" | grep -q ', stripped' || Fail "not stripped"
"$work/root/usr/bin/dcap" dump "$source/examples/sample.dcap" >"$work/extracted"
"$DCAP_TOOL" dump "$source/examples/sample.dcap" | cmp - "$work/extracted"

if [[ ${DCAPKIT_TEST_DPKG:-} == 1 ]]; then
  Quietly dpkg --install "$package"
  dcap dump "$source/examples/sample.dcap" | cmp - "$work/extracted"
  Quietly dpkg --purge dcapkit
  [[ ! -e /usr/bin/dcap && ! -e /usr/include/dcapkit ]] || Fail "removal left files behind"
fi
