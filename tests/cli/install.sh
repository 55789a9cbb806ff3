# cmake --install gives a tree that the example host builds against, with CMake and pkg-config.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
src=$(cd "$(dirname "$0")/../.." && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
cmake --install "$TOVPORT_BIN_DIR" --prefix "$tmp/prefix" >/dev/null
for f in lib/libtovport.a lib/libtovport.so bin/tovport share/tovport/tovport.idl \
         lib/cmake/tovport/tovportConfig.cmake lib/pkgconfig/tovport.pc include/tovport/component/tovcomprtv3.h; do
  [ -e "$tmp/prefix/$f" ] || fail "not installed: $f"
done
flags=""
grep -q '^TOVPORT_SANITIZE:BOOL=ON' "$TOVPORT_BIN_DIR/CMakeCache.txt" && flags="-fsanitize=address,undefined"
cmake -S "$src/examples" -B "$tmp/build" -DCMAKE_PREFIX_PATH="$tmp/prefix" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$tmp/build" >/dev/null
expect_exit 0 "$tmp/build/hello_tovport"
expect_contains "$out" "late bound IsPending: False"
# pkg-config gives the same library.
PKG_CONFIG_PATH="$tmp/prefix/lib/pkgconfig" pkg-config --libs tovport | grep -q libtovport.a || fail "pkg-config"
echo "install: ok"
