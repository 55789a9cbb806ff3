#!/bin/sh
# Runs a Windows program of the cross-build under 64-bit Wine in a throw-away prefix (the emulator
# of the programs the build runs); the prefix and its Wine server end with it.
set -eu
WINEPREFIX=$(mktemp -d)
export WINEPREFIX WINEDEBUG=-all
trap 'timeout 20 "${WINESERVER:-/usr/lib/wine/wineserver}" -k >/dev/null 2>&1 || true; rm -rf "$WINEPREFIX"' EXIT
wine=${WINE:-/usr/lib/wine/wine64}
"$wine" wineboot -i >/dev/null 2>&1
"$wine" "$@"
