#!/usr/bin/env bash
# The in-process server under Wine as a Windows user meets it, one step per call (the Windows
# stage runs them in order in one throw-away $WINEPREFIX):
#   ole_boundary.sh register   DIR        regsvr32 DIR/tovport.dll; the ProgID is registered
#   ole_boundary.sh vbscript   DIR        automation.vbs run by Wine's cscript passes
#   ole_boundary.sh detect     DIR PHONE  DIR/tovport.exe detects the phone that PHONE (tovport-phone
#                                         of the Linux build) simulates on a pseudo-terminal linked
#                                         as COM7; the Linux-only options are refused
#   ole_boundary.sh early-bound DIR       an early-bound C++ client calls through the function table
#   ole_boundary.sh type-library DIR DIR32
#                                         the registered library and DIR32's (32-bit) read back
#                                         against the interface table; every function called
#   ole_boundary.sh events     DIR        a VB-style host hears the events through its sink
#   ole_boundary.sh apartments DIR        the dual interface called and heard from an MTA thread
#   ole_boundary.sh widths     DIR DIR32  the 32-bit server registered beside the 64-bit one;
#                                         unregistering either leaves the other's registration
#   ole_boundary.sh unregister DIR        regsvr32 /u; nothing of the server is left in either view
# DIR holds the 64-bit tovport.dll, tovport.exe and the host programs, DIR32 the 32-bit
# tovport.dll. Any failed check exits 1.
set -euo pipefail
step=$1
dir=$(realpath "$2")
here=$(cd "$(dirname "$0")" && pwd)
wine=${WINE:-/usr/lib/wine/wine64}
export WINEDEBUG=-all
: "${WINEPREFIX:?needs the Wine prefix}"
readonly port=7

readonly clsid='{B2891C65-5E02-4B6C-A8E0-0467B13BEAFC}' libid='{FD4BD311-9D8A-44AF-BEA2-53397148155F}'
readonly interfaces=('{6D896585-95BA-4F5B-94E2-794D88A98B0E}' '{8CA4AC05-C2CA-4156-84C1-58F3062B04D1}')

fail() { echo "FAIL: $*" >&2; exit 1; }
winpath() { echo "Z:${1//\//\\}"; }
# registered KEY [32|64]: KEY exists below HKCR in that view of the registry (default 64).
registered() { "$wine" reg query "HKCR\\$1" "/reg:${2:-64}" >/dev/null 2>&1; }
# default_value KEY [32|64]: the key's default value.
default_value() { "$wine" reg query "HKCR\\$1" /ve "/reg:${2:-64}" 2>/dev/null | tr -d '\r' | sed -n 's/.*REG_SZ *//p'; }

# run_host NAME ARGS: DIR/tovport-NAME.exe prints its failed checks and ends with "... passed".
run_host() {
  local name=$1 out status=0
  shift
  out=$(timeout 120 "$wine" "$(winpath "$dir/tovport-$name.exe")" "$@" 2>&1 | tr -d '\r') || status=$?
  [[ $status == 0 && $out == *passed ]] || fail "tovport-$name exited $status: $out"
  echo "ok: $(tail -n 1 <<<"$out")"
}

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

early_bound() { run_host early-bound; }
type_library() { run_host type-library-check "$(winpath "$(realpath "$3")/tovport.dll")"; }
events() { run_host event-host; }
apartments() { run_host other-apartment; }

# The 32-bit server's rows are written and removed by its own registration code run for its width
# (64-bit Wine cannot load the 32-bit DLL); the 64-bit server registers for real.
widths() {
  local dll32 key
  dll32=$(winpath "$(realpath "$3")/tovport.dll")
  width32() { "$wine" "$(winpath "$dir/tovport-register-width.exe")" "$@" || fail "tovport-register-width $*"; }
  width32 register "$dll32"
  [[ $(default_value "CLSID\\$clsid\\InprocServer32" 32) == "$dll32" ]] || fail "the 32-bit class is not registered"
  [[ $(default_value "TypeLib\\$libid\\2.7\\0\\win32") == "$dll32" ]] || fail "the 32-bit type library is not registered"
  [[ $(default_value "CLSID\\$clsid\\InprocServer32") == "$(winpath "$dir/tovport.dll")" ]] ||
    fail "registering the 32-bit server changed the 64-bit class"

  width32 unregister
  ! registered "CLSID\\$clsid" 32 || fail "the 32-bit class is still registered"
  ! registered "TypeLib\\$libid\\2.7\\0\\win32" || fail "the 32-bit type library is still registered"
  registered "TypeLib\\$libid\\2.7\\0\\win64" || fail "unregistering the 32-bit server took the 64-bit type library"
  run_host early-bound  # the 64-bit server still creates and binds
  run_host other-apartment  # and marshals through its registered type library

  width32 register "$dll32"
  "$wine" regsvr32 /s /u "$(winpath "$dir/tovport.dll")" || fail "regsvr32 /u returned $?"
  ! registered "CLSID\\$clsid" || fail "the 64-bit class is still registered"
  ! registered "TypeLib\\$libid\\2.7\\0\\win64" || fail "the 64-bit type library is still registered"
  for key in "CLSID\\$clsid\\InprocServer32" "Interface\\${interfaces[0]}\\ProxyStubClsid32" \
    "Interface\\${interfaces[1]}\\TypeLib" 'tovport.tovComPrtv3\CLSID'; do
    registered "$key" 32 || fail "unregistering the 64-bit server took $key of the 32-bit one"
  done
  [[ $(default_value "TypeLib\\$libid\\2.7\\0\\win32") == "$dll32" ]] ||
    fail "unregistering the 64-bit server took the 32-bit type library"
  width32 unregister
  echo "ok: either width unregisters without touching the other's registration"
}

# Nothing of the server is left in either view of the registry.
unregister() {
  "$wine" regsvr32 /s /u "$(winpath "$dir/tovport.dll")" || fail "regsvr32 /u returned $?"
  local view key
  for view in 64 32; do
    for key in 'tovport.tovComPrtv3' "CLSID\\$clsid" "TypeLib\\$libid" "Interface\\${interfaces[0]}" \
      "Interface\\${interfaces[1]}"; do
      ! registered "$key" $view || fail "$key is still registered ($view-bit view)"
    done
  done
  echo "ok: regsvr32 /u tovport.dll left nothing behind"
}

case $step in
  register | vbscript | detect | events | apartments | widths | unregister) "$step" "$@" ;;
  early-bound | type-library) "${step//-/_}" "$@" ;;
  *) fail "unknown step '$step'" ;;
esac
