# tovport call: late-bound calls from the command line.
set -euo pipefail
. "$(dirname "$0")/lib.sh"

expect_exit 0 "$TOVPORT" call IsPending
[ "$out" = "False" ] || fail "IsPending printed '$out'"
expect_exit 0 "$TOVPORT" call isPENDING
[ "$out" = "False" ] || fail "isPENDING printed '$out'"
expect_exit 0 "$TOVPORT" call debugprint anything
[ "$out" = "" ] || fail "debugprint printed '$out'"
expect_exit 1 "$TOVPORT" call NoSuchMethod
expect_contains "$err" "Unknown name"
expect_contains "$err" "NoSuchMethod"
expect_exit 1 "$TOVPORT" call IsPending 1
expect_contains "$err" "Invalid number of parameters"
expect_exit 2 "$TOVPORT" bogus
expect_contains "$err" "usage: tovport"
expect_exit 2 "$TOVPORT" --nonsense call IsPending
expect_exit 2 "$TOVPORT" call
expect_exit 0 "$TOVPORT" --help
expect_contains "$out" "call METHOD"
expect_exit 0 "$TOVPORT" --json call IsPending
[ "$out" = '{"method":"IsPending","result":false}' ] || fail "json: $out"
echo "call: ok"
