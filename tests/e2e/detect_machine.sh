# `detect` with no --registry and no --map on a made-up Linux machine: a phone on a Qualcomm
# modem's interface 00 (a passive USB port) and one on an IrCOMM port, their device nodes links to
# simulated phones. Discovery finds both kinds in the view written for the machine.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
start_phone modem --model S65 --echo off
start_phone irda --model SL75
sys="$work/sys"
dev="$work/dev"
modem=pci0000:00/0000:00:14.0/usb1/1-1
sysfs_tty "$sys" ttyUSB0 "$modem/1-1:1.0/ttyUSB0/tty/ttyUSB0" "$modem/1-1:1.0/ttyUSB0"
sysfs_tty "$sys" ttyUSB1 "$modem/1-1:1.1/ttyUSB1/tty/ttyUSB1" "$modem/1-1:1.1/ttyUSB1"
printf '05c6\n' >"$sys/devices/$modem/idVendor"
printf '9091\n' >"$sys/devices/$modem/idProduct"
printf '00\n' >"$sys/devices/$modem/1-1:1.0/bInterfaceNumber"
printf '01\n' >"$sys/devices/$modem/1-1:1.1/bInterfaceNumber"
sysfs_tty "$sys" ircomm0 virtual/tty/ircomm0
sysfs_tty "$sys" ptmx virtual/tty/ptmx
mkdir -p "$dev"
ln -s "$PTY_modem" "$dev/ttyUSB0"
ln -s "$PTY_irda" "$dev/ircomm0"

expect_exit 0 "$TOVPORT" --sysfs "$sys" --dev "$dev" --json ports
expect_contains "$out" "{\"PortNr\":1,\"type\":\"cptUSBPassive\",\"name\":\"USB Passive\",\"path\":\"$dev/ttyUSB0\","
expect_contains "$out" "{\"PortNr\":2,\"type\":\"cptUnknown\",\"name\":\"unbekannter Typ\",\"path\":\"$dev/ttyUSB1\","
expect_contains "$out" "{\"PortNr\":3,\"type\":\"cptIrDa\",\"name\":\"Infrarot\",\"path\":\"$dev/ircomm0\","
expect_exit 0 "$TOVPORT" --sysfs "$sys" --dev "$dev" --json detect
expect_contains "$out" '{"event":"DeviceDetected","PortNr":1,"devicename":"BenQ-Siemens S65","DoSiemensAPN":true,"device":"dtSiemens_S65","error":"dde_NoError"'
expect_contains "$out" '{"event":"DeviceDetected","PortNr":3,"devicename":"BenQ-Siemens SL75","DoSiemensAPN":true,"device":"dtSiemens_SL75","error":"dde_NoError"'
[ "$(count_lines "$out" '"error":"dde_CouldNotOpenPort"')" -eq 30 ] || fail "expected 30 untested ports: $out"
[ "$(count_lines "$out" dde_NoMoreDevices)" -eq 1 ] || fail "expected one end mark: $out"
echo "detect on a made-up machine: ok"
