# tovport demo: the simulated PC's phones are found, untested kinds are not tested, one end mark.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
expect_exit 0 "$TOVPORT" --json demo
expect_contains "$out" '"PortNr":3,"devicename":"BenQ-Siemens S65","DoSiemensAPN":true,"device":"dtSiemens_S65","error":"dde_NoError"'
expect_contains "$out" '"PortNr":4,"devicename":"BenQ-Siemens SL75","DoSiemensAPN":true,"device":"dtSiemens_SL75","error":"dde_NoError"'
for port in 6 8; do
  expect_contains "$out" "\"PortNr\":$port,\"devicename\":\"\",\"DoSiemensAPN\":false,\"device\":\"dtNone\",\"error\":\"dde_CouldNotOpenPort\""
  [ "$(printf '%s\n' "$out" | grep "\"PortNr\":$port," | grep -c '"event":"DeviceDetected"')" -eq 1 ] || fail "port $port was tested"
done
[ "$(printf '%s\n' "$out" | grep -c dde_NoMoreDevices)" -eq 1 ] || fail "expected one end mark: $out"
expect_exit 0 "$TOVPORT" demo --list
expect_contains "$out" "Simulated PC: Windows XP Service Pack 2"
expect_contains "$out" "COM3   USB Active           dde_NoError              BenQ-Siemens S65"
expect_contains "$out" "2 phones found: COM3 BenQ-Siemens S65, COM4 BenQ-Siemens SL75
2 ports not tested, 26 absent ports"
expect_exit 0 "$TOVPORT" demo --help
expect_contains "$out" "--list"
expect_exit 2 "$TOVPORT" demo --bogus
expect_contains "$err" "usage: tovport"
expect_exit 2 "$TOVPORT" --map COM3=/dev/null demo
echo "demo: ok"
