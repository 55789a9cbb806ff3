# tovport ports: the kinds of COM ports 1 to 32 that discovery finds in a registry.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
F=$TOVPORT_FIXTURES

# JSON: exactly 32 objects in port order.
expect_exit 0 "$TOVPORT" --registry "$F/xp_sp2_microsoft.reg" --os xp-sp2 --json ports
[ "$(printf '%s\n' "$out" | wc -l)" -eq 32 ] || fail "not 32 lines: $out"
[ "$(printf '%s\n' "$out" | sed -n 1p)" = '{"PortNr":1,"type":"cptSerial","name":"seriell"}' ] || fail "port 1: $out"
[ "$(printf '%s\n' "$out" | sed -n 2p)" = '{"PortNr":2,"type":"cptNone","name":"kein COM-Port"}' ] || fail "port 2: $out"
expect_contains "$out" '{"PortNr":5,"type":"cptBTSerialIn","name":"Bluetooth SerialIn"}'
expect_contains "$out" '{"PortNr":6,"type":"cptBTDialUp","name":"Bluetooth DialUp"}'
expect_contains "$out" '{"PortNr":12,"type":"cptUnknown","name":"unbekannter Typ"}'
[ "$(printf '%s\n' "$out" | sed -n 32p)" = '{"PortNr":32,"type":"cptNone","name":"kein COM-Port"}' ] || fail "port 32: $out"

# Before Service Pack 2 the same ports are told apart only by friendly name; --json after the command.
expect_exit 0 "$TOVPORT" --registry "$F/xp_sp2_microsoft.reg" --os xp ports --json
expect_contains "$out" '{"PortNr":9,"type":"cptBluetooth","name":"Bluetooth"}'

# Plain lines: only the ports that exist.
expect_exit 0 "$TOVPORT" --registry "$F/nt_mixed.reg" --os xp-sp2 ports
[ "$(printf '%s\n' "$out" | wc -l)" -eq 12 ] || fail "nt_mixed lines: $out"
expect_contains "$out" "COM4  cptUSB  USB Active"
expect_contains "$out" "COM9  cptUSBPassive  USB Passive"
case "$out" in *"COM8 "*) fail "COM8 listed: $out" ;; esac
expect_exit 0 "$TOVPORT" --registry "$F/win9x.reg" --os 9x ports
expect_contains "$out" "COM16  cptSerial  seriell"
expect_contains "$out" "COM4  cptIrDa  Infrarot"

# A port name that does not convert is an automation error of the component.
expect_exit 1 "$TOVPORT" --registry "$F/comx.reg" --os xp-sp2 ports
expect_contains "$err" "error 13"
[ -z "$out" ] || fail "printed before the error: $out"

# A malformed .reg file is a bad input, named with its line.
bad=$(mktemp --suffix=.reg)
trap 'rm -f "$bad"' EXIT
printf 'REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\Hardware]\n"PortName"=COM3\n' >"$bad"
expect_exit 2 "$TOVPORT" --registry "$bad" ports
expect_contains "$err" "$bad:4:"

expect_exit 2 "$TOVPORT" ports extra
echo "ports: ok"
