# A phone on a port the registry names as infrared is found by `detect`; every other port
# reports that it could not be opened, and one end mark closes the request.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
start_phone irda --model S65
reg=$(registry infrared.reg <<'REG'
REGEDIT4

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\IRENUM\SIE0001\4&1b2c3d4&0\Device Parameters]
"PortName"="COM4"
REG
)
expect_exit 0 "$TOVPORT" --registry "$reg" --os xp-sp2 --map "COM4=$PTY_irda" --json detect
[ "$(count_lines "$out" '"error":"dde_CouldNotOpenPort"')" -eq 31 ] || fail "expected 31 unopened ports: $out"
expect_contains "$out" '{"event":"DeviceDetected","PortNr":4,"devicename":"BenQ-Siemens S65","DoSiemensAPN":true,"device":"dtSiemens_S65","error":"dde_NoError"'
[ "$(count_lines "$out" dde_NoMoreDevices)" -eq 1 ] || fail "expected one end mark: $out"
[ "$(printf '%s\n' "$out" | tail -n 1 | grep -c dde_NoMoreDevices)" -eq 1 ] || fail "the end mark is not last"
echo "detect on an infrared port: ok"
