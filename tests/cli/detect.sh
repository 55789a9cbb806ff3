# tovport detect and tovport test: usage, refusals, requests without testable ports, list errors
# and --timeout. (Requests that reach phones and devices run in tests/e2e.)
set -euo pipefail
. "$(dirname "$0")/lib.sh"

# Wrong usage.
expect_exit 2 "$TOVPORT" detect --port
expect_exit 2 "$TOVPORT" detect --port three
expect_contains "$err" "whole number"
expect_exit 2 "$TOVPORT" detect --port 1 --list 3
expect_exit 2 "$TOVPORT" detect 3
expect_exit 2 "$TOVPORT" test --list 3
expect_exit 2 "$TOVPORT" test --port 99999

# Refused requests print their event, say so on stderr and exit 1.
expect_exit 1 "$TOVPORT" test --port 0
[ "$(echo "$out" | wc -l)" -eq 1 ] || fail "test --port 0 printed '$out'"
expect_contains "$out" "PortAvailable PortNr=0 available=pa_VBPending ("
expect_contains "$err" "tovport: the component refused the request"
expect_exit 1 "$TOVPORT" --json detect --port 33
expect_contains "$out" '{"event":"DeviceDetected","PortNr":33,"devicename":"","DoSiemensAPN":false,"device":"dtNotTested","error":"dde_Pending"'

# An unmapped port does not open; without any listed port nothing is tested: 32 untested ports and
# the end mark, at once.
expect_exit 0 "$TOVPORT" "${EMPTY_MACHINE[@]}" test --port 5
expect_contains "$(echo "$out" | sed -n 1p)" "PortAvailable PortNr=5 available=pa_NotAvailable"
expect_contains "$(echo "$out" | sed -n 2p)" "PortAvailable PortNr=5 available=pa_NoMorePorts"
expect_exit 0 "$TOVPORT" "${EMPTY_MACHINE[@]}" detect
[ "$(echo "$out" | grep -c 'error=dde_CouldNotOpenPort')" -eq 32 ] || fail "detect printed: $out"
expect_contains "$(echo "$out" | grep DeviceDetected | tail -n 1)" "DeviceDetected PortNr=1 devicename=\"\" DoSiemensAPN=False device=dtNone error=dde_NoMoreDevices"

# COM1 is plain serial, COM3 listed by a modem driver's name only: a list entry that is no number
# fails the request as the component does once it reaches COM1, and a silent device outlives --timeout.
reg=$(registry ports.reg <<'REG'
REGEDIT4

[HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\Serial0"="COM1"
"\\Device\\Modem3"="COM3"
REG
)
expect_exit 1 "$TOVPORT" --registry "$reg" detect --list "1;;3"
expect_contains "$err" "error 13"
start_phone silent --silent
expect_exit 3 "$TOVPORT" --registry "$reg" --map COM3="$PTY_silent" --timeout 1 detect --port 3
expect_contains "$err" "did not finish within 1 s"
echo "detect: ok"
