# tovport detect and tovport test: requests run to their end mark, printed event by event.
set -euo pipefail
. "$(dirname "$0")/lib.sh"

dir=$(mktemp -d)
# The helper opens two pseudo-terminals, publishes their slaves' paths and keeps them open: on
# the first a phone answers AT+CGMI and AT+CGMM like an S65, the second stays silent.
python3 -c '
import os, pty, select, sys, time
phone, phone_slave = pty.openpty()
silent, silent_slave = pty.openpty()
with open(sys.argv[1] + ".tmp", "w") as f:
    f.write(os.ttyname(phone_slave) + "\n" + os.ttyname(silent_slave) + "\n")
os.rename(sys.argv[1] + ".tmp", sys.argv[1])
answers = {b"AT+CGMI": b"\r\nSIEMENS\r\n\r\nOK\r\n", b"AT+CGMM": b"\r\nS65\r\n\r\nOK\r\n"}
heard = b""
end = time.time() + 120
while time.time() < end:
    ready, _, _ = select.select([phone, silent], [], [], 0.1)
    for fd in ready:
        data = os.read(fd, 256)
        if fd != phone:
            continue
        heard += data
        while b"\r" in heard:
            line, heard = heard.split(b"\r", 1)
            for command, answer in answers.items():
                if line.endswith(command):
                    os.write(phone, answer)
' "$dir/pts" &
helper=$!
cleanup() {
  kill "$helper" 2>/dev/null || true
  wait "$helper" 2>/dev/null || true
  rm -rf "$dir"
}
trap cleanup EXIT

for _ in $(seq 100); do
  [ -s "$dir/pts" ] && break
  sleep 0.05
done
[ -s "$dir/pts" ] || fail "the helper published no pseudo-terminal"
phone=$(sed -n 1p "$dir/pts")
silent=$(sed -n 2p "$dir/pts")

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

# Refused requests print their event and exit 1.
expect_exit 1 "$TOVPORT" test --port 0
[ "$(echo "$out" | wc -l)" -eq 1 ] || fail "test --port 0 printed '$out'"
expect_contains "$out" "PortAvailable PortNr=0 available=pa_VBPending ("
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
