# `watch --json` on a made-up machine whose ports come and go while it runs: a phone plugged in is
# reported and detected, a port unplugged is reported gone, two ports plugged at once are detected
# one after the other, a port unplugged mid-detection still ends its request with its end mark,
# nothing is reported twice, and SIGINT ends the watch with exit 0.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
sys="$work/sys"
dev="$work/dev"
log="$work/watch.log"
mkdir -p "$sys/class/tty" "$dev"
plug() { ln -s "$2" "$dev/$1"; }
unplug() { rm "$dev/$1" "$sys/class/tty/$1"; }
added() { echo "{\"event\":\"PortAdded\",\"PortNr\":$1,\"path\":\"$dev/$2\",\"kind\":\"$3\"}"; }
removed() { echo "{\"event\":\"PortRemoved\",\"PortNr\":$1,\"path\":\"$dev/$2\"}"; }
end_mark() { echo "\"PortNr\":$1,\"devicename\":\"$2\",\"DoSiemensAPN\":$3,\"device\":\"$4\",\"error\":\"dde_NoMoreDevices\""; }
line_of() { grep -nF -- "$1" "$log" | head -n 1 | cut -d: -f1; }

start_watch "$log" --sysfs "$sys" --dev "$dev" --json watch
await_lines "$log" 1 "$(end_mark 1 '' false dtNone)"  # the start's DetectAllDevices: no port
[ "$(count_lines "$(cat "$log")" PortAdded)" -eq 0 ] || fail "ports on an empty machine: $(cat "$log")"

# A phone on an adapter that no driver classifies: tested by DetectDevice after its pause.
start_phone s65 --model S65
usb_port "$sys" ttyUSB0 1-1 1234
plug ttyUSB0 "$PTY_s65"
await_lines "$log" 1 "$(added 1 ttyUSB0 cptUnknown)"
await_lines "$log" 1 "$(end_mark 1 'BenQ-Siemens S65' true dtSiemens_S65)"
expect_contains "$(cat "$log")" '{"event":"DeviceDetected","PortNr":1,"devicename":"BenQ-Siemens S65","DoSiemensAPN":true,"device":"dtSiemens_S65","error":"dde_NoError"'
unplug ttyUSB0
await_lines "$log" 1 "$(removed 1 ttyUSB0)"

# Two at once: a Prolific cable (its pseudo-terminal shows no CTS, so nothing is sent) and a phone.
# COM1 stays kept for the adapter that went: they become COM2 and COM3, detected in that order.
start_phone sl75 --model SL75
start_phone cable --model S65
usb_port "$sys" ttyUSB1 1-2 1234
usb_port "$sys" ttyUSB2 1-3 067b
plug ttyUSB1 "$PTY_sl75"
plug ttyUSB2 "$PTY_cable"
await_lines "$log" 1 "$(added 2 ttyUSB1 cptUnknown)"
await_lines "$log" 1 "$(added 3 ttyUSB2 cptUSB)"
await_lines "$log" 1 "$(end_mark 3 '' false dtNone)"
expect_contains "$(cat "$log")" '"PortNr":2,"devicename":"BenQ-Siemens SL75","DoSiemensAPN":true,"device":"dtSiemens_SL75","error":"dde_NoError"'
cable='"PortNr":3,"devicename":"","DoSiemensAPN":false,"device":"dtNone","error":"dde_CouldNotsendOutput"'
expect_contains "$(cat "$log")" "$cable"
[ "$(line_of "$(end_mark 2 'BenQ-Siemens SL75' true dtSiemens_SL75)")" -lt "$(line_of "$cable")" ] ||
  fail "COM3 was detected before COM2's request ended: $(cat "$log")"

# Unplugged during its pause: the phone goes with its port; the request ends all the same.
start_phone slow --model S65 --delay 3000
slow_phone=${pids[-1]}
usb_port "$sys" ttyUSB3 1-4 1234
plug ttyUSB3 "$PTY_slow"
await_lines "$log" 1 "$(added 4 ttyUSB3 cptUnknown)"
deadline=$((SECONDS + 20))
until ls -l "/proc/$WATCH_PID/fd" | grep -q -- "-> $PTY_slow\$"; do  # its detection has opened it
  [ "$SECONDS" -lt "$deadline" ] || fail "COM4 was never opened: $(cat "$log")"
  sleep 0.05
done
kill "$slow_phone"
unplug ttyUSB3
await_lines "$log" 1 "$(removed 4 ttyUSB3)"
await_lines "$log" 1 '"PortNr":4,"devicename":"","DoSiemensAPN":false,"device":"dtNone","error":"dde_NoMoreDevices"'

stop_watch INT
expect_json_lines "$(cat "$log")"
repeated=$(grep -v '"error":"dde_CouldNotOpenPort"' "$log" | sed 's/,"elapsed":[0-9.]*//' | sort | uniq -d)
[ -z "$repeated" ] || fail "reported twice: $repeated"
[ "$(count_lines "$(cat "$log")" dde_NoMoreDevices)" -eq 5 ] || fail "expected 5 end marks: $(cat "$log")"
echo "watch on a made-up machine: ok"
