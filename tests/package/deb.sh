#!/usr/bin/env bash
# The Debian packages as a user installs, uses and removes them:
#   tests/package/deb.sh DIR VERSION
# installs DIR/tovport_VERSION_amd64.deb and tovport-dev_VERSION_amd64.deb with apt-get, runs the
# commands, reads the man pages, builds the example host against the installed files (CMake and
# pkg-config), then purges both packages and checks that nothing they brought is left. Needs root
# (sudo when not root); without either it says so and skips. Any failed check exits 1.
set -euo pipefail
dir=$(realpath "$1")
version=$2
src=$(cd "$(dirname "$0")/../.." && pwd)
fail() { echo "FAIL: $*" >&2; exit 1; }

SUDO=()
if [ "$(id -u)" -ne 0 ]; then
  if ! sudo -n true 2>/dev/null; then
    echo "skip: installing a Debian package needs root, and sudo is not available without a password"
    exit 0
  fi
  SUDO=(sudo -n)
fi
apt_get() {
  local log
  log=$(DEBIAN_FRONTEND=noninteractive "${SUDO[@]}" apt-get -y -q -o DPkg::Lock::Timeout=300 "$@" 2>&1) ||
    fail "apt-get $*: $log"
}
debs=("$dir/tovport_${version}_amd64.deb" "$dir/tovport-dev_${version}_amd64.deb")
for deb in "${debs[@]}"; do [ -f "$deb" ] || fail "no $(basename "$deb") in $dir"; done

tmp=$(mktemp -d)
cleanup() {
  "${SUDO[@]}" dpkg --purge tovport-dev tovport >/dev/null 2>&1 || true
  rm -rf "$tmp"
}
# Other clones on this machine, of any user, install the same packages: one at a time.
lock=/tmp/tovport-deb-test.lock
[ -e "$lock" ] || (umask 0 && : >"$lock")
exec 9<"$lock"
flock -w 900 9 || fail "another package test holds $lock"
trap cleanup EXIT
"${SUDO[@]}" dpkg --purge tovport-dev tovport >/dev/null 2>&1 || true

# Whatever the packages bring that is not here yet must be gone again after the purge.
new_paths=()
while read -r path; do
  [ -e "$path" ] || [ -L "$path" ] || new_paths+=("$path")
done < <(for deb in "${debs[@]}"; do dpkg-deb -c "$deb"; done | awk '{ print $6 }' | sed 's|^\./|/|; s|/$||' | sort -u)
[ ${#new_paths[@]} -gt 0 ] || fail "the packages bring nothing new"

apt_get install "${debs[@]}"
depends=$(dpkg-query -W -f='${Depends}' tovport)
[[ $depends == *libstdc++6* && $depends == *libc6* ]] || fail "tovport depends on '$depends'"
[[ $(dpkg-query -W -f='${Depends}' tovport-dev) == "tovport (= $version)" ]] || fail "tovport-dev does not depend on this tovport"

[[ $(tovport --version) == "tovport $version" ]] || fail "tovport --version: $(tovport --version)"
out=$(tovport --registry "$src/examples/ports.reg" ports) || fail "tovport ports exited $?"
[[ $out == *"COM4  cptIrDa"* ]] || fail "tovport ports did not list the infrared COM4: $out"
tovport-phone --help >/dev/null || fail "tovport-phone --help exited $?"
for page in tovport tovport-phone; do
  [[ $(man -w "$page") == /usr/share/man/man1/$page.1.gz ]] || fail "man -w $page: $(man -w "$page" 2>&1)"
done
man tovport 2>/dev/null | grep -q "EXIT STATUS" || fail "man tovport does not render"

# The library by its soname, and the server module finding it.
libdir=$(pkg-config --variable=libdir tovport)
[[ $(objdump -p "$libdir/libtovport.so.${version%%.*}" | awk '/SONAME/ { print $2 }') == "libtovport.so.${version%%.*}" ]] ||
  fail "libtovport.so.${version%%.*} has no soname of that name"
[[ $(ldd "$libdir/libtovport_server.so") == *"libtovport.so.${version%%.*} => $libdir/"* ]] ||
  fail "the server module does not find the installed libtovport"

want="late bound IsPending: False"
cmake -S "$src/examples" -B "$tmp/cmake-host" >/dev/null
cmake --build "$tmp/cmake-host" >/dev/null
[[ $("$tmp/cmake-host/hello_tovport") == *"$want"* ]] || fail "the CMake host did not run"
[[ $(pkg-config --modversion tovport) == "$version" ]] || fail "pkg-config --modversion: $(pkg-config --modversion tovport)"
# shellcheck disable=SC2046  # the flags split at blanks
${CXX:-c++} $(pkg-config --cflags tovport) "$src/examples/hello_tovport.cpp" $(pkg-config --libs tovport) -o "$tmp/hello"
[[ $("$tmp/hello") == *"$want"* ]] || fail "the pkg-config host did not run"
echo "ok: tovport $version installed: commands, man pages, soname, CMake and pkg-config hosts"

apt_get purge tovport-dev tovport
status=$(dpkg-query -W -f='${Status}' tovport tovport-dev 2>/dev/null || true)
[[ $status != *" installed"* ]] || fail "still installed after the purge: $status"
left=()
for path in "${new_paths[@]}"; do
  if [ -e "$path" ] || [ -L "$path" ]; then left+=("$path"); fi
done
[ ${#left[@]} -eq 0 ] || fail "left behind after the purge: ${left[*]}"
echo "ok: the purge left none of the ${#new_paths[@]} paths the packages brought"
