# `watch` in text mode on a made-up machine with a phone on an infrared port from the start: the
# port is reported, the start's DetectAllDevices finds the phone and ends with its summary; a
# phone plugged in later is reported, detected and answered in one line; SIGTERM ends the watch
# with exit 0. --no-detect reports ports only; wrong usage exits 2.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
sys="$work/sys"
dev="$work/dev"
log="$work/watch.log"
mkdir -p "$dev"
start_phone sl75 --model SL75
start_phone s65 --model S65
sysfs_tty "$sys" ircomm0 virtual/tty/ircomm0
ln -s "$PTY_sl75" "$dev/ircomm0"
machine=(--sysfs "$sys" --dev "$dev")

for wrong in "watch --now" "--registry $TOVPORT_FIXTURES/nt_mixed.reg watch" "--map COM3=/dev/null watch"; do
  expect_exit 2 "$TOVPORT" "${machine[@]}" $wrong
  expect_contains "$err" "usage: tovport"
done

start_watch "$log" "${machine[@]}" watch --no-detect
await_lines "$log" 1 "PortAdded PortNr=1 path=\"$dev/ircomm0\" kind=cptIrDa"
stop_watch INT
[ "$(count_lines "$(cat "$log")" DeviceDetected)" -eq 0 ] || fail "--no-detect detected: $(cat "$log")"

start_watch "$log" "${machine[@]}" watch
await_lines "$log" 1 "1 phone found: COM1 BenQ-Siemens SL75"
expect_contains "$(cat "$log")" "PortAdded PortNr=1 path=\"$dev/ircomm0\" kind=cptIrDa
DeviceDetected PortNr=2 "
expect_contains "$(cat "$log")" "31 absent ports"
usb_port "$sys" ttyUSB0 1-1 1234
ln -s "$PTY_s65" "$dev/ttyUSB0"
await_lines "$log" 1 "1 phone found: COM2 BenQ-Siemens S65"
expect_contains "$(cat "$log")" "PortAdded PortNr=2 path=\"$dev/ttyUSB0\" kind=cptUnknown
DeviceDetected PortNr=2 devicename=\"BenQ-Siemens S65\" DoSiemensAPN=True device=dtSiemens_S65 error=dde_NoError"
stop_watch TERM
[ "$(count_lines "$(cat "$log")" "phone found")" -eq 2 ] || fail "one answer per request expected: $(cat "$log")"
echo "watch in text mode: ok"
