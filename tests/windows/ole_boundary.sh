#!/usr/bin/env bash
# The in-process server under Wine as a Windows user meets it, one step per call (the Windows
# stage runs them in order in one throw-away $WINEPREFIX):
#   ole_boundary.sh register   DIR        regsvr32 DIR/tovport.dll; the ProgID is registered
#   ole_boundary.sh vbscript   DIR        automation.vbs run by Wine's cscript passes
#   ole_boundary.sh detect     DIR PHONE  DIR/tovport.exe detects the phone that PHONE (tovport-phone
#                                         of the Linux build) simulates on a pseudo-terminal linked
#                                         as COM7; the Linux-only options are refused
#   ole_boundary.sh unregister DIR        regsvr32 /u; the ProgID and the class are gone
# DIR holds the 64-bit tovport.dll and tovport.exe. Any failed check exits 1.
set -euo pipefail
step=$1
dir=$(realpath "$2")
here=$(cd "$(dirname "$0")" && pwd)
wine=${WINE:-/usr/lib/wine/wine64}
export WINEDEBUG=-all
: "${WINEPREFIX:?needs the Wine prefix}"
readonly port=7

fail() { echo "FAIL: $*" >&2; exit 1; }
winpath() { echo "Z:${1//\//\\}"; }
registered() { "$wine" reg query "HKCR\\$1" >/dev/null 2>&1; }

register() {
  "$wine" regsvr32 /s "$(winpath "$dir/tovport.dll")" || fail "regsvr32 returned $?"
  registered 'tovport.tovComPrtv3\CLSID' || fail "the ProgID tovport.tovComPrtv3 is not registered"
  echo "ok: regsvr32 tovport.dll"
}

vbscript() {
  local out
  out=$("$wine" cscript //nologo "$(winpath "$here/automation.vbs")" | tr -d '\r') || fail "VBScript: $out"
  [[ $out == "automation checks passed" ]] || fail "VBScript: $out"
  echo "ok: VBScript through cscript"
}

# The phone's pseudo-terminal becomes COM7, a port the system's serial device map lists but no
# driver classifies: such a port is tested after its pause, without the CTS line a pseudo-terminal
# cannot show.
detect() {
  local phone pty reg out status
  phone=$(realpath "$3")
  coproc PHONE { exec "$phone" --model S65; }
  read -r pty <&"${PHONE[0]}"
  [[ $pty == /dev/pts/* ]] || fail "tovport-phone gave no pseudo-terminal ('$pty')"
  ln -sfn "$pty" "$WINEPREFIX/dosdevices/com$port"
  # HKLM\Hardware is volatile: it lasts as long as the Wine server, which must outlive regedit.
  # A server still running from an earlier step is waited out, so the one started here persists.
  local server=${WINESERVER:-/usr/lib/wine/wineserver}
  "$server" -w
  "$server" -p30 >/dev/null 2>&1
  reg=$(mktemp --suffix=.reg)
  printf 'REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\HARDWARE\\DEVICEMAP\\SERIALCOMM]\r\n"\\\\Device\\\\VCP0"="COM%d"\r\n' "$port" >"$reg"
  "$wine" regedit /S "$(winpath "$reg")"
  rm -f "$reg"
  status=0
  out=$(timeout 60 "$wine" "$(winpath "$dir/tovport.exe")" --json --timeout 20 detect --port $port | tr -d '\r') ||
    status=$?
  kill "$PHONE_PID" 2>/dev/null || true
  rm -f "$WINEPREFIX/dosdevices/com$port"
  echo "$out"
  [[ $status == 0 ]] || fail "tovport.exe detect exited $status"
  grep -q "\"PortNr\":$port,\"devicename\":\"BenQ-Siemens S65\",\"DoSiemensAPN\":true,\"device\":\"dtSiemens_S65\",\"error\":\"dde_NoError\"" <<<"$out" ||
    fail "no S65 detected on COM$port"
  [[ $(tail -n 1 <<<"$out") == *"\"PortNr\":$port,"*'"error":"dde_NoMoreDevices"'* ]] ||
    fail "the detection did not end with its end mark"
  [[ $(grep -c dde_NoMoreDevices <<<"$out") == 1 ]] || fail "more than one end mark"
  status=0
  "$wine" "$(winpath "$dir/tovport.exe")" --registry x.reg ports >/dev/null 2>&1 || status=$?
  [[ $status == 2 ]] || fail "--registry on Windows exited $status, not 2"
  echo "ok: tovport.exe detected the phone on COM$port through COM"
}

unregister() {
  "$wine" regsvr32 /s /u "$(winpath "$dir/tovport.dll")" || fail "regsvr32 /u returned $?"
  ! registered 'tovport.tovComPrtv3' || fail "the ProgID is still registered"
  ! registered 'CLSID\{B2891C65-5E02-4B6C-A8E0-0467B13BEAFC}' || fail "the class is still registered"
  ! registered 'TypeLib\{FD4BD311-9D8A-44AF-BEA2-53397148155F}' || fail "the type library is still registered"
  echo "ok: regsvr32 /u tovport.dll left nothing behind"
}

case $step in
  register | vbscript | detect | unregister) "$step" "$@" ;;
  *) fail "unknown step '$step'" ;;
esac
