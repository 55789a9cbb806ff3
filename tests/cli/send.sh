# tovport send: one free-form exchange with a device behind a pseudo-terminal.
set -euo pipefail
. "$(dirname "$0")/lib.sh"

dir=$(mktemp -d)
# The responder publishes the slave's path and answers AT+CGMM like a phone; anything else
# gets no answer at all.
python3 -c '
import os, pty, select, sys, time
master, slave = pty.openpty()
with open(sys.argv[1] + ".tmp", "w") as f:
    f.write(os.ttyname(slave))
os.rename(sys.argv[1] + ".tmp", sys.argv[1])
heard = b""
end = time.time() + 120
while time.time() < end:
    ready, _, _ = select.select([master], [], [], 0.1)
    if not ready:
        continue
    heard += os.read(master, 256)
    while b"\r" in heard:
        line, heard = heard.split(b"\r", 1)
        if line.endswith(b"AT+CGMM"):
            os.write(master, b"\r\nS65\r\n\r\nOK\r\n")
' "$dir/pts" &
responder=$!
cleanup() {
  kill "$responder" 2>/dev/null || true
  wait "$responder" 2>/dev/null || true
  rm -rf "$dir"
}
trap cleanup EXIT

for _ in $(seq 100); do
  [ -s "$dir/pts" ] && break
  sleep 0.05
done
[ -s "$dir/pts" ] || fail "the responder published no pseudo-terminal"
pts=$(cat "$dir/pts")

expect_exit 0 "$TOVPORT" --map COM3="$pts" send 3 AT+CGMM
[ "$out" = 'MsgReceived "\r\nS65\r\n\r\nOK\r\n"' ] || fail "send printed '$out'"
expect_exit 0 "$TOVPORT" --json --map COM4="$pts" send 4 AT+CGMM
[ "$out" = '{"event":"MsgReceived","msg":"\r\nS65\r\n\r\nOK\r\n"}' ] || fail "send --json printed '$out'"
expect_exit 1 "$TOVPORT" --json --map COM3="$pts" send 3 AT+CGSN
[ "$out" = '{"event":"MsgTimeout"}' ] || fail "a silent device gave '$out'"

expect_exit 1 "$TOVPORT" send 3 AT
expect_contains "$err" "COM3 did not open"
expect_exit 2 "$TOVPORT" send
expect_exit 2 "$TOVPORT" send 33 AT
expect_contains "$err" "from 1 to 32"
expect_exit 2 "$TOVPORT" send COM3 AT
expect_exit 2 "$TOVPORT" send 3 AT extra
echo "send: ok"
