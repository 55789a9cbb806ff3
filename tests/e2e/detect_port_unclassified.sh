# `detect --port` tests a port that the system lists but no driver key classifies.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
start_phone unknown --model SL75 --echo off
reg=$(registry unknown.reg <<'REG'
REGEDIT4

[HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\VCP0"="COM8"
REG
)
expect_exit 0 "$TOVPORT" --registry "$reg" --map "COM8=$PTY_unknown" --json ports
expect_contains "$out" '"PortNr":8,"type":"cptUnknown"'
expect_exit 0 "$TOVPORT" --registry "$reg" --map "COM8=$PTY_unknown" --json detect --port 8
expect_contains "$out" '"PortNr":8,"devicename":"BenQ-Siemens SL75","DoSiemensAPN":true,"device":"dtSiemens_SL75","error":"dde_NoError"'
expect_contains "$out" '"error":"dde_NoMoreDevices"'
echo "detect --port on an unclassified port: ok"
