# tovport detect and tovport test: requests run to their end mark, printed event by event.
set -euo pipefail
. "$(dirname "$0")/lib.sh"

# On the first pseudo-terminal a phone answers like an S65; the second stays silent.
start_phone phone --echo off
start_phone silent --silent
phone=$PTY_phone
silent=$PTY_silent
dir=$work

# COM1 is a plain serial port; COM3 the system lists by a modem driver's name only, so a
# detection of it pauses before it sends (a list request skips it).
cat > "$dir/ports.reg" <<'REG'
REGEDIT4

[HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\Serial0"="COM1"
"\\Device\\Modem3"="COM3"
REG

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

# Port tests: a mapped pseudo-terminal opens, an unmapped port does not.
expect_exit 0 "$TOVPORT" --json --map COM3="$phone" test --port 3
[ "$(echo "$out" | wc -l)" -eq 2 ] || fail "test --port 3 printed: $out"
expect_contains "$(echo "$out" | sed -n 1p)" '{"event":"PortAvailable","PortNr":3,"available":"pa_Available","elapsed":'
expect_contains "$(echo "$out" | sed -n 2p)" '{"event":"PortAvailable","PortNr":3,"available":"pa_NoMorePorts","elapsed":'
expect_exit 0 "$TOVPORT" test --port 5
expect_contains "$(echo "$out" | sed -n 1p)" "PortAvailable PortNr=5 available=pa_NotAvailable"
expect_contains "$(echo "$out" | sed -n 2p)" "PortAvailable PortNr=5 available=pa_NoMorePorts"
expect_exit 0 "$TOVPORT" --map COM7="$silent" test
[ "$(echo "$out" | wc -l)" -eq 33 ] || fail "test printed: $out"
[ "$(echo "$out" | grep -c 'available=pa_Available')" -eq 1 ] || fail "test found other ports: $out"
expect_contains "$out" "PortAvailable PortNr=7 available=pa_Available"

# Without any listed port nothing is tested: 32 untested ports and the end mark, at once.
expect_exit 0 "$TOVPORT" detect
[ "$(echo "$out" | grep -c 'error=dde_CouldNotOpenPort')" -eq 32 ] || fail "detect printed: $out"
expect_contains "$(echo "$out" | tail -n 1)" "DeviceDetected PortNr=1 devicename=\"\" DoSiemensAPN=False device=dtNone error=dde_NoMoreDevices"

# A list entry that is no number fails the request as the component does.
expect_exit 1 "$TOVPORT" --registry "$dir/ports.reg" detect --list "1;;3"
expect_contains "$err" "error 13"
# A pseudo-terminal shows no CTS: the serial port fails before the first command.
expect_exit 0 "$TOVPORT" --registry "$dir/ports.reg" --map COM1="$silent" detect --list "3;1"
[ "$(echo "$out" | grep -c 'error=dde_CouldNotOpenPort')" -eq 31 ] || fail "detect --list printed: $out"
expect_contains "$out" "DeviceDetected PortNr=1 devicename=\"\" DoSiemensAPN=False device=dtNone error=dde_CouldNotsendOutput"

# A phone on the listed port, and a request that outlives --timeout.
expect_exit 0 "$TOVPORT" --registry "$dir/ports.reg" --map COM3="$phone" --json detect --port 3
[ "$(echo "$out" | wc -l)" -eq 2 ] || fail "detect --port 3 printed: $out"
expect_contains "$out" '{"event":"DeviceDetected","PortNr":3,"devicename":"BenQ-Siemens S65","DoSiemensAPN":true,"device":"dtSiemens_S65","error":"dde_NoError"'
expect_contains "$(echo "$out" | tail -n 1)" '"error":"dde_NoMoreDevices"'
expect_exit 3 "$TOVPORT" --registry "$dir/ports.reg" --map COM3="$silent" --timeout 1 detect --port 3
expect_contains "$err" "did not finish within 1 s"
echo "detect: ok"
