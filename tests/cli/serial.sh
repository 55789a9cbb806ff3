# tovport --map: the component opens a mapped device (a pseudo-terminal held open by a helper).
set -euo pipefail
. "$(dirname "$0")/lib.sh"

dir=$(mktemp -d)
# The helper opens a pseudo-terminal, publishes the slave's path and keeps both sides open.
python3 -c '
import os, pty, sys, time
master, slave = pty.openpty()
with open(sys.argv[1] + ".tmp", "w") as f:
    f.write(os.ttyname(slave))
os.rename(sys.argv[1] + ".tmp", sys.argv[1])
time.sleep(300)
' "$dir/pts" &
holder=$!
cleanup() {
  kill "$holder" 2>/dev/null || true
  wait "$holder" 2>/dev/null || true
  rm -rf "$dir"
}
trap cleanup EXIT

for _ in $(seq 100); do
  [ -s "$dir/pts" ] && break
  sleep 0.05
done
[ -s "$dir/pts" ] || fail "the helper published no pseudo-terminal"
pts=$(cat "$dir/pts")

settings="baud=57600 parity=N data=8 stop=1"
expect_exit 0 "$TOVPORT" --map COM3="$pts" call VBCommOpen 3 COM3 "$settings"
[ "$out" = "0" ] || fail "VBCommOpen of $pts printed '$out'"
expect_exit 0 "$TOVPORT" --map COM3="$dir/missing" call VBCommOpen 3 COM3 "$settings"
[ "$out" = "2" ] || fail "VBCommOpen of a missing device printed '$out'"
expect_exit 0 "$TOVPORT" call VBCommOpen 3 COM3 "$settings"
[ "$out" = "2" ] || fail "VBCommOpen of an unmapped port printed '$out'"
echo "serial: ok"
