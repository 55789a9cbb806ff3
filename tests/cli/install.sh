# cmake --install gives a tree that C++ hosts consume the usual ways, wherever it is moved: one host
# through find_package(tovport), one through pkg-config, both built with the compiler's default
# language standard and run.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
src=$(cd "$(dirname "$0")/../.." && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
cmake --install "$TOVPORT_BIN_DIR" --prefix "$tmp/staged" >/dev/null
mv "$tmp/staged" "$tmp/moved"
p=$tmp/moved
for f in lib/libtovport.a lib/libtovport.so lib/libtovport_server.so bin/tovport share/tovport/tovport.idl \
         lib/cmake/tovport/tovportConfig.cmake lib/pkgconfig/tovport.pc include/tovport/tovport.h; do
  [ -e "$p/$f" ] || fail "not installed: $f"
done
# Only include/tovport/, only public headers, and they reach each other as <tovport/...>.
[ "$(ls "$p/include")" = tovport ] || fail "top-level include names: $(ls "$p/include")"
for internal in platform/clock.h platform/registry_impl.h component/server.h automation/class_factory.h; do
  [ ! -e "$p/include/tovport/$internal" ] || fail "internal header installed: $internal"
done
stray=$(grep -rhE '^\s*#\s*include' "$p/include" | grep -vE '#\s*include <(tovport/[a-z0-9_/]+\.h|[a-z_]+)>' || true)
[ -z "$stray" ] || fail "installed headers include: $stray"
# The project's warning flags stay in its own build.
! grep -rq -- '-W' "$p/lib/cmake/tovport" "$p/lib/pkgconfig" || fail "warning flags exported"

flags=""
grep -q '^TOVPORT_SANITIZE:BOOL=ON' "$TOVPORT_BIN_DIR/CMakeCache.txt" && flags="-fsanitize=address,undefined"
want="late bound IsPending: False"

cmake -S "$src/examples" -B "$tmp/cmake-host" -DCMAKE_PREFIX_PATH="$p" -DCMAKE_CXX_FLAGS="$flags" >/dev/null
cmake --build "$tmp/cmake-host" >/dev/null
expect_exit 0 "$tmp/cmake-host/hello_tovport"
expect_contains "$out" "$want"

# pkg-config: -ltovport links the shared library; asked for statically, the archive.
export PKG_CONFIG_PATH="$p/lib/pkgconfig"
libdir=$(pkg-config --variable=libdir tovport)
[ "$(cd "$libdir" && pwd)" = "$(cd "$p/lib" && pwd)" ] || fail "pkg-config libdir: $libdir"
cxx=${CXX:-c++}
# shellcheck disable=SC2046,SC2086
$cxx $flags $(pkg-config --cflags tovport) -c "$src/examples/hello_tovport.cpp" -o "$tmp/hello.o"
# shellcheck disable=SC2046,SC2086
$cxx $flags "$tmp/hello.o" $(pkg-config --libs tovport) -Wl,-rpath,"$libdir" -o "$tmp/hello_shared"
# shellcheck disable=SC2046,SC2086
$cxx $flags "$tmp/hello.o" -Wl,-Bstatic $(pkg-config --libs --static tovport) -Wl,-Bdynamic -o "$tmp/hello_static"
expect_contains "$(ldd "$tmp/hello_shared")" "libtovport.so"
case "$(ldd "$tmp/hello_static")" in *libtovport*) fail "the static host still needs libtovport.so" ;; esac
for host in hello_shared hello_static; do
  expect_exit 0 "$tmp/$host"
  expect_contains "$out" "$want"
done
echo "install: ok"
