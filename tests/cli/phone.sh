# tovport-phone runs until it is signalled, in a script and in the background of an interactive
# shell, and the README's example of it works as written.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
src=$(cd "$(dirname "$0")/../.." && pwd)

# Its stdin closed, as in a script: it runs on until SIGTERM or SIGINT, then exits 0.
for signal in TERM INT; do
  "$PHONE" </dev/null >"$work/$signal.out" &
  pid=$!
  sleep 0.3
  kill -0 "$pid" 2>/dev/null || fail "the phone ended without a signal"
  kill -"$signal" "$pid"
  set +e; wait "$pid"; code=$?; set -e
  [ "$code" -eq 0 ] || fail "SIG$signal: exit $code"
  [ -n "$(head -n 1 "$work/$signal.out")" ] || fail "no device path printed"
done
# --until-stdin-closes ends with its stdin.
expect_exit 0 timeout 5 "$PHONE" --until-stdin-closes </dev/null

# The README's example, run from a directory of its own against this build and source tree.
awk '/^## Phone simulator/ { s = 1 } s && /^```sh$/ { c = 1; next } c && /^```$/ { exit } c' "$src/README.md" |
  sed -e "s#build/#$TOVPORT_BIN_DIR/#g" -e "s#examples/#$src/examples/#g" >"$work/example.sh"
grep -q 'tovport-phone' "$work/example.sh" || fail "no example found in the README"
cd "$work"
expect_exit 0 timeout 60 bash "$work/example.sh"
expect_contains "$out" 'devicename="BenQ-Siemens SL75"'
# In an interactive shell with job control, where a background job that read the terminal would stop.
expect_exit 0 timeout 60 script -qec "bash --norc --noprofile -i -c '. $work/example.sh'" /dev/null </dev/null
expect_contains "$out" 'devicename="BenQ-Siemens SL75"'
echo "phone: ok"
