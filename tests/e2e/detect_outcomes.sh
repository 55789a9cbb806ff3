# The outcomes other than a phone: a plain serial port without CTS (a pseudo-terminal has no modem
# lines), and on infrared ports a silent device, a missing device and a device another process holds.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
start_phone serial
start_phone silent --silent
start_phone held
reg=$(registry mixed.reg <<'REG'
REGEDIT4

[HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\Serial0"="COM1"

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\IRENUM\SIE0001\a\Device Parameters]
"PortName"="COM5"

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\IRENUM\SIE0001\b\Device Parameters]
"PortName"="COM6"

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\IRENUM\SIE0001\c\Device Parameters]
"PortName"="COM7"
REG
)
# Another process holds the device with an exclusive lock, as a second opener of a COM port would.
python3 -c 'import fcntl, os, sys, time
fd = os.open(sys.argv[1], os.O_RDWR | os.O_NOCTTY)
fcntl.flock(fd, fcntl.LOCK_EX)
print("locked", flush=True)
time.sleep(60)' "$PTY_held" >"$work/lock.out" 2>&1 &
pids+=($!)
until grep -q locked "$work/lock.out" 2>/dev/null; do sleep 0.05; done
expect_exit 0 "$TOVPORT" --registry "$reg" --map "COM1=$PTY_serial" --map "COM5=$PTY_silent" \
  --map "COM6=$work/no-such-device" --map "COM7=$PTY_held" --json detect --list "1;5;6;7"
expect_contains "$out" '"PortNr":1,"devicename":"","DoSiemensAPN":false,"device":"dtNone","error":"dde_CouldNotsendOutput"'
expect_contains "$out" '"PortNr":5,"devicename":"","DoSiemensAPN":false,"device":"dtNone","error":"dde_Timeout"'
expect_contains "$out" '"PortNr":6,"devicename":"","DoSiemensAPN":false,"device":"dtNone","error":"dde_CouldNotOpenPort"'
expect_contains "$out" '"PortNr":7,"devicename":"","DoSiemensAPN":false,"device":"dtNone","error":"dde_CouldNotOpenPort"'
[ "$(count_lines "$out" dde_NoMoreDevices)" -eq 1 ] || fail "expected one end mark: $out"
echo "detection outcomes: ok"
