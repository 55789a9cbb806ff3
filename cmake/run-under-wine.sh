#!/bin/sh
# Runs a Windows program of the cross-build under 64-bit Wine in a throw-away prefix (the emulator
# of the programs the build runs); the prefix and its Wine server end with it. A program that
# crashes fails (cmake/wine-prefix.sh).
set -eu
WINEPREFIX=$(mktemp -d)
export WINEPREFIX WINEDEBUG=-all
trap 'timeout 20 "${WINESERVER:-/usr/lib/wine/wineserver}" -k >/dev/null 2>&1 || true; rm -rf "$WINEPREFIX"' EXIT
wine=${WINE:-/usr/lib/wine/wine64}
"$(dirname "$0")/wine-prefix.sh" "$(basename "$1")"
"$wine" "$@"
