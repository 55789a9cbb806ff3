#!/usr/bin/env bash
# The in-process server under Wine, as a Windows user meets it: regsvr32, a VBScript run by
# Wine's cscript, a detection by tovport.exe of a simulated phone on a pseudo-terminal seen as a
# COM port, regsvr32 /u. Any failed step fails the script.
#   ole_boundary.sh WINDOWS_DIR PHONE
# WINDOWS_DIR holds the 64-bit tovport.dll and tovport.exe; PHONE is tovport-phone of the Linux
# build. Uses $WINEPREFIX (a throw-away prefix is made when unset).
set -euo pipefail
windows_dir=$(realpath "$1")
phone=$(realpath "$2")
here=$(cd "$(dirname "$0")" && pwd)
wine=${WINE:-/usr/lib/wine/wine64}
export WINEDEBUG=-all
if [[ -z ${WINEPREFIX:-} ]]; then
  WINEPREFIX=$(mktemp -d /tmp/tovport-wine.XXXXXX)
  trap 'wineserver -k 2>/dev/null || true; rm -rf "$WINEPREFIX"' EXIT
  "$wine" wineboot -i >/dev/null 2>&1
fi
export WINEPREFIX

fail() { echo "FAIL: $*" >&2; exit 1; }
winpath() { echo "Z:$(echo "$1" | tr / '\\')"; }
progid_registered() { "$wine" reg query 'HKCR\tovport.tovComPrtv3\CLSID' >/dev/null 2>&1; }

echo "-- regsvr32 tovport.dll"
"$wine" regsvr32 /s "$(winpath "$windows_dir/tovport.dll")" || fail "regsvr32 returned $?"
progid_registered || fail "the ProgID tovport.tovComPrtv3 is not registered"

echo "-- VBScript through cscript"
"$wine" cscript //nologo "$(winpath "$here/automation.vbs")" | tr -d '\r' || fail "the VBScript checks failed"

echo "-- tovport.exe detects a phone on a pseudo-terminal"
port=7
coproc PHONE { exec "$phone" --model S65; }
read -r pty <&"${PHONE[0]}"
[[ $pty == /dev/pts/* ]] || fail "tovport-phone gave no pseudo-terminal ('$pty')"
ln -sfn "$pty" "$WINEPREFIX/dosdevices/com$port"
reg=$(mktemp --suffix=.reg)
printf 'REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\HARDWARE\\DEVICEMAP\\SERIALCOMM]\r\n"\\\\Device\\\\Serial%d"="COM%d"\r\n' \
  $((port - 1)) "$port" >"$reg"
"$wine" regedit /S "$(winpath "$reg")"
rm -f "$reg"
out=$("$wine" "$(winpath "$windows_dir/tovport.exe")" --json --timeout 20 detect --port $port | tr -d '\r') ||
  fail "tovport.exe detect exited $?: $out"
kill "$PHONE_PID" 2>/dev/null || true
rm -f "$WINEPREFIX/dosdevices/com$port"
echo "$out"
grep -q "\"PortNr\":$port,\"devicename\":\"BenQ-Siemens S65\",\"DoSiemensAPN\":true,\"device\":\"dtSiemens_S65\",\"error\":\"dde_NoError\"" <<<"$out" ||
  fail "no S65 detected on COM$port"
[[ $(tail -n 1 <<<"$out") == *'"error":"dde_NoMoreDevices"'* ]] || fail "the detection did not end with its end mark"
[[ $(grep -c dde_NoMoreDevices <<<"$out") == 1 ]] || fail "more than one end mark"

echo "-- tovport.exe refuses the Linux-only options"
set +e
"$wine" "$(winpath "$windows_dir/tovport.exe")" --registry x.reg ports >/dev/null 2>&1
status=$?
set -e
[[ $status == 2 ]] || fail "--registry on Windows exited $status, not 2"

echo "-- regsvr32 /u tovport.dll"
"$wine" regsvr32 /s /u "$(winpath "$windows_dir/tovport.dll")" || fail "regsvr32 /u returned $?"
! progid_registered || fail "the ProgID is still registered"
"$wine" reg query 'HKCR\CLSID\{B2891C65-5E02-4B6C-A8E0-0467B13BEAFC}' >/dev/null 2>&1 && fail "the class is still registered"
echo "OLE boundary under Wine: passed"
