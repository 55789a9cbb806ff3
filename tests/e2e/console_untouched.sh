# The system console is never probed. On a made-up machine whose console is ttyS0 (its node a
# pseudo-terminal with a phone behind it, so a probe would even be answered) `detect` opens and
# writes nothing there, as strace shows, while the phone on an infrared port is found; `ports` marks the
# console; `detect --port 1` still tests it and says what it is; `test` leaves it closed.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
require_packages strace
start_phone console --model S65 --log "$work/console.log"
start_phone other --model SL75
sys="$work/sys"
dev="$work/dev"
sysfs_tty "$sys" ttyS0 pnp0/00:01/00:01:0/00:01:0.0/tty/ttyS0 pnp0/00:01/00:01:0/00:01:0.0  # Linux 6.5 on
echo 4 >"$sys/devices/pnp0/00:01/00:01:0/00:01:0.0/tty/ttyS0/type"
sysfs_tty "$sys" ircomm0 virtual/tty/ircomm0
sysfs_tty "$sys" console virtual/tty/console
echo "tty0 ttyS0" >"$sys/devices/virtual/tty/console/active"
mkdir -p "$dev"
ln -s "$PTY_console" "$dev/ttyS0"
ln -s "$PTY_other" "$dev/ircomm0"
machine=(--sysfs "$sys" --dev "$dev")

# traced FILE CMD...: runs CMD under strace, keeping its opens and writes in FILE. (A sanitizer
# build's leak check cannot run under a tracer.)
traced() {
  local file=$1; shift
  expect_exit 0 env ASAN_OPTIONS="${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0" \
    strace -f -qq -e trace=open,openat,write -o "$file" "$@"
  grep -q "\"$dev/ircomm0\"" "$file" || fail "strace saw no open of the other port: $(cat "$file")"
}
# untouched FILE WHAT: no open of the console's node or of the terminal behind it, so no write to it
# either (its path is only written to stderr, in the note).
untouched() {
  ! grep -E "open(at)?\(.*\"($dev/ttyS0|$PTY_console)\"" "$1" || fail "$2 opened the console"
}

traced "$work/detect.strace" "$TOVPORT" "${machine[@]}" detect
untouched "$work/detect.strace" detect
[ ! -s "$work/console.log" ] || fail "the console heard: $(cat "$work/console.log")"
expect_contains "$out" "1 phone found: COM2 BenQ-Siemens SL75"
expect_contains "$out" "1 port not tested"

expect_exit 0 "$TOVPORT" "${machine[@]}" ports
printf '%s\n' "$out" | grep -Eq "^COM1 +cptUnknown +unbekannter Typ +$dev/ttyS0 +system console\$" ||
  fail "console not marked: $out"
expect_exit 0 "$TOVPORT" "${machine[@]}" --json ports
expect_contains "$out" "{\"PortNr\":1,\"type\":\"cptUnknown\",\"name\":\"unbekannter Typ\",\"path\":\"$dev/ttyS0\",\"node\":\"present\",\"console\":true,"
expect_contains "$out" "{\"PortNr\":2,\"type\":\"cptIrDa\",\"name\":\"Infrarot\",\"path\":\"$dev/ircomm0\",\"node\":\"present\",\"console\":false,"

# Named, it is tested, with a note; a list names it too, but lists test no unclassified port.
expect_exit 0 "$TOVPORT" "${machine[@]}" detect --port 1
expect_contains "$err" "tovport: COM1 ($dev/ttyS0) is the system console"
expect_contains "$out" "1 phone found: COM1 BenQ-Siemens S65"
expect_exit 0 "$TOVPORT" "${machine[@]}" detect --list "1;2"
expect_contains "$err" "COM1 ($dev/ttyS0) is the system console"
expect_contains "$out" "1 phone found: COM2 BenQ-Siemens SL75"

heard=$(cat "$work/console.log")
traced "$work/test.strace" "$TOVPORT" "${machine[@]}" test
untouched "$work/test.strace" test
expect_contains "$err" "COM1 ($dev/ttyS0) is the system console: left closed; 'tovport test --port 1' tests it"
expect_contains "$out" "1 of 32 tested ports can be opened: COM2"
[ "$(cat "$work/console.log")" = "$heard" ] || fail "the port test reached the console"
echo "console untouched: ok"
