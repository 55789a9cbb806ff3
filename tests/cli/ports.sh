# tovport ports: the kinds of COM ports 1 to 32 that discovery finds in a registry view, and the
# devices behind them.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
F=$TOVPORT_FIXTURES
# expect_line REGEX: a line of $out matches the extended regular expression.
expect_line() { printf '%s\n' "$out" | grep -Eq -- "$1" || fail "no line matching '$1' in: $out"; }

# JSON: exactly 32 objects in port order; a hand-written view knows no device behind its ports.
none=',"node":null,"console":false,"driver":null,"usb":null,"byId":null}'
expect_exit 0 "$TOVPORT" --registry "$F/xp_sp2_microsoft.reg" --os xp-sp2 --json ports
[ "$(printf '%s\n' "$out" | wc -l)" -eq 32 ] || fail "not 32 lines: $out"
[ "$(printf '%s\n' "$out" | sed -n 1p)" = '{"PortNr":1,"type":"cptSerial","name":"seriell","path":null'"$none" ] || fail "port 1: $out"
[ "$(printf '%s\n' "$out" | sed -n 2p)" = '{"PortNr":2,"type":"cptNone","name":"kein COM-Port","path":null'"$none" ] || fail "port 2: $out"
expect_contains "$out" '{"PortNr":5,"type":"cptBTSerialIn","name":"Bluetooth SerialIn","path":null'"$none"
expect_contains "$out" '{"PortNr":6,"type":"cptBTDialUp","name":"Bluetooth DialUp","path":null'"$none"
expect_contains "$out" '{"PortNr":12,"type":"cptUnknown","name":"unbekannter Typ","path":null'"$none"
[ "$(printf '%s\n' "$out" | sed -n 32p)" = '{"PortNr":32,"type":"cptNone","name":"kein COM-Port","path":null'"$none" ] || fail "port 32: $out"

# Before Service Pack 2 the same ports are told apart only by friendly name; --json after the command.
expect_exit 0 "$TOVPORT" --registry "$F/xp_sp2_microsoft.reg" --os xp ports --json
expect_contains "$out" '{"PortNr":9,"type":"cptBluetooth","name":"Bluetooth","path":null'"$none"

# Plain lines in aligned columns under a heading: only the ports that exist or have a device.
expect_exit 0 "$TOVPORT" --registry "$F/nt_mixed.reg" --os xp-sp2 --map COM20=/dev/null ports
[ "$(printf '%s\n' "$out" | wc -l)" -eq 14 ] || fail "nt_mixed lines: $out"
expect_line '^port +type +name +path$'
expect_line '^COM4 +cptUSB +USB Active +-$'
expect_line '^COM9 +cptUSBPassive +USB Passive +-$'
expect_line '^COM20 +cptNone +kein COM-Port +/dev/null$'
case "$out" in *"COM8 "*) fail "COM8 listed: $out" ;; esac
[ "$(printf '%s\n' "$out" | awk '{ print index($0, $2) }' | sort -u | wc -l)" -eq 1 ] || fail "columns not aligned: $out"
expect_exit 0 "$TOVPORT" --registry "$F/win9x.reg" --os 9x ports
expect_line '^COM16 +cptSerial +seriell +-$'
expect_line '^COM4 +cptIrDa +Infrarot +-$'

# A port name that does not convert is an automation error of the component.
expect_exit 1 "$TOVPORT" --registry "$F/comx.reg" --os xp-sp2 ports
expect_contains "$err" "error 13"
[ -z "$out" ] || fail "printed before the error: $out"

# A malformed .reg file is a bad input, named with its line.
bad="$work/bad.reg"
printf 'REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\Hardware]\n"PortName"=COM3\n' >"$bad"
expect_exit 2 "$TOVPORT" --registry "$bad" ports
expect_contains "$err" "$bad:4:"
printf 'REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\Software\\tovport\\Ports]\n"LPT1"="/dev/lp0"\n' >"$bad"
expect_exit 2 "$TOVPORT" --registry "$bad" ports
expect_contains "$err" '"LPT1" must be a text value named COMn'

expect_exit 2 "$TOVPORT" ports extra
expect_exit 2 "$TOVPORT" --registry "$F/win9x.reg" --sysfs "$work" ports
expect_contains "$err" "give one or the other"
expect_exit 2 "$TOVPORT" --sysfs "$work/none" ports
expect_contains "$err" "no folder"

# The machine the tests run on, with no options, whatever serial devices it has; its view saved
# with --registry-dump loads back as the same ports and devices.
expect_exit 0 "$TOVPORT" ports
expect_exit 0 "$TOVPORT" --json ports
live=$out
[ "$(printf '%s\n' "$live" | wc -l)" -eq 32 ] || fail "live machine: $live"
"$TOVPORT" ports --registry-dump >"$work/live.reg"
expect_exit 0 "$TOVPORT" --registry "$work/live.reg" --json ports
[ "$out" = "$live" ] || fail "the saved view differs: $out"

# A made-up machine: a 16550 port and an infrared port, the infrared one mapped elsewhere.
sys="$work/sys"
sysfs_tty "$sys" ttyS0 pnp0/00:01/tty/ttyS0 pnp0/00:01
echo 4 >"$sys/devices/pnp0/00:01/tty/ttyS0/type"
sysfs_tty "$sys" ircomm0 virtual/tty/ircomm0
sysfs_tty "$sys" tty1 virtual/tty/tty1
dev="$work/dev"
mkdir -p "$dev"
: >"$dev/ttyS0"  # the infrared port's node is missing
expect_exit 0 "$TOVPORT" --sysfs "$sys" --dev "$dev" ports
width=$((${#dev} + 10))  # the longer path, $dev/ircomm0, and two blanks
[ "$out" = "$(printf '%s%-*s%s\n' 'port  type       name      ' $width path note \
                                  'COM1  cptSerial  seriell   ' 0 "$dev/ttyS0" '' \
                                  'COM2  cptIrDa    Infrarot  ' $width "$dev/ircomm0" 'device node missing')" ] ||
  fail "made-up machine: $out"
expect_exit 0 "$TOVPORT" --sysfs "$sys" --dev "$dev" --map COM2=/dev/null --json ports
expect_contains "$out" '{"PortNr":2,"type":"cptIrDa","name":"Infrarot","path":"/dev/null","node":"present"'
mapped=$out
"$TOVPORT" --sysfs "$sys" --dev "$dev" --map COM2=/dev/null ports --registry-dump >"$work/made-up.reg"
expect_exit 0 "$TOVPORT" --registry "$work/made-up.reg" --json ports
[ "$out" = "$mapped" ] || fail "the saved made-up view differs: $out"

# A device the user may not open is explained: who may open it and how to join them.
if [ "$(id -u)" -eq 0 ]; then
  chmod 755 "$work"
  chgrp dialout "$dev/ttyS0" && chmod 660 "$dev/ttyS0"
  as_user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
else
  chmod 000 "$dev/ttyS0"
  as_user=()
fi
expect_exit 0 "${as_user[@]}" "$TOVPORT" --sysfs "$sys" --dev "$dev" test --port 1
expect_contains "$out" "PortAvailable PortNr=1 available=pa_NotAvailable"
expect_contains "$err" "COM1: this user may not open $dev/ttyS0 (permission denied)"
[ "$(id -u)" -ne 0 ] || expect_contains "$err" "open to the group 'dialout'; add the user to it"
expect_exit 0 "${as_user[@]}" "$TOVPORT" --sysfs "$sys" --dev "$dev" ports
expect_contains "$err" "COM1: this user may not open"
echo "ports: ok"
