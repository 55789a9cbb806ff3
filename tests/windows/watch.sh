#!/usr/bin/env bash
# `tovport.exe --json watch` under Wine, as the Windows stage runs it in its throw-away $WINEPREFIX:
#   watch.sh DIR PHONE
# DIR holds the 64-bit tovport.exe (with tovport.dll registered); PHONE is tovport-phone of the
# Linux build, whose pseudo-terminal is linked as COM8. A value for COM8 added to the system's
# serial device map must be reported (PortAdded) and the phone on it detected; the value deleted,
# the port must be reported gone (PortRemoved); Ctrl-C (SIGINT, which Wine turns into a console
# control event) must end the watch with exit 0. Any failed check exits 1.
set -euo pipefail
dir=$(realpath "$1")
phone=$(realpath "$2")
wine=${WINE:-/usr/lib/wine/wine64}
server=${WINESERVER:-/usr/lib/wine/wineserver}
export WINEDEBUG=-all
: "${WINEPREFIX:?needs the Wine prefix}"
readonly port=8 map='HKLM\HARDWARE\DEVICEMAP\SERIALCOMM' device='\Device\VCP1'

fail() { echo "FAIL: $*" >&2; exit 1; }
winpath() { echo "Z:${1//\//\\}"; }
log=$(mktemp)
watcher=
cleanup() {
  [ -z "$watcher" ] || kill "$watcher" 2>/dev/null || true
  kill "${PHONE_PID:-}" 2>/dev/null || true
  rm -f "$log" "$WINEPREFIX/dosdevices/com$port"
}
trap cleanup EXIT

# await TEXT: waits (60 s at most) for a line of the watch's output holding TEXT.
await() {
  local deadline=$((SECONDS + 60))
  until grep -qF -- "$1" "$log"; do
    [ "$SECONDS" -lt "$deadline" ] || fail "no '$1' came: $(tr -d '\r' <"$log")"
    sleep 0.05
  done
}

coproc PHONE { exec "$phone" --model S65; }
read -r pty <&"${PHONE[0]}"
[[ $pty == /dev/pts/* ]] || fail "tovport-phone gave no pseudo-terminal ('$pty')"
ln -sfn "$pty" "$WINEPREFIX/dosdevices/com$port"
# The map lives as long as the Wine server: an earlier step's server is waited out, so that the
# one the watch starts serves the changes below.
"$server" -w
"$wine" "$(winpath "$dir/tovport.exe")" --json --timeout 20 watch >"$log" 2>&1 &
watcher=$!
await '"error":"dde_NoMoreDevices"'  # the start's DetectAllDevices over Wine's own ports

"$wine" reg add "$map" /v "$device" /d "COM$port" /f >/dev/null
added=$(date +%s%N)
await "{\"event\":\"PortAdded\",\"PortNr\":$port,\"path\":\"\\\\Device\\\\VCP1\",\"kind\":\"cptUnknown\"}"
echo "ok: PortAdded after $(( ($(date +%s%N) - added) / 1000000 )) ms"
await "\"PortNr\":$port,\"devicename\":\"BenQ-Siemens S65\",\"DoSiemensAPN\":true,\"device\":\"dtSiemens_S65\",\"error\":\"dde_NoError\""
await "\"PortNr\":$port,\"devicename\":\"BenQ-Siemens S65\",\"DoSiemensAPN\":true,\"device\":\"dtSiemens_S65\",\"error\":\"dde_NoMoreDevices\""
echo "ok: the phone on COM$port detected"

"$wine" reg delete "$map" /v "$device" /f >/dev/null
await "{\"event\":\"PortRemoved\",\"PortNr\":$port,\"path\":\"\\\\Device\\\\VCP1\"}"
echo "ok: PortRemoved"

kill -INT "$watcher"
deadline=$((SECONDS + 20))
while kill -0 "$watcher" 2>/dev/null; do
  [ "$SECONDS" -lt "$deadline" ] || fail "tovport.exe watch did not end within 20 s of Ctrl-C"
  sleep 0.05
done
status=0
wait "$watcher" || status=$?
watcher=
[ "$status" = 0 ] || fail "tovport.exe watch exited $status on Ctrl-C: $(tr -d '\r' <"$log")"
for event in PortAdded PortRemoved; do
  [ "$(grep -c "\"event\":\"$event\",\"PortNr\":$port," "$log")" = 1 ] || fail "$event reported twice: $(tr -d '\r' <"$log")"
done
echo "ok: tovport.exe watch reported COM$port coming and going and ended on Ctrl-C"
