# tovport call: late-bound calls from the command line.
set -euo pipefail
. "$(dirname "$0")/lib.sh"

expect_exit 0 "$TOVPORT" call isPENDING
[ "$out" = "False" ] || fail "isPENDING printed '$out'"
expect_exit 0 "$TOVPORT" call debugprint anything
[ "$out" = "" ] || fail "debugprint printed '$out'"
expect_exit 1 "$TOVPORT" call NoSuchMethod
expect_contains "$err" "Unknown name"
expect_contains "$err" "NoSuchMethod"
# Names and texts are UTF-8: an invalid sequence reads as U+FFFD and takes nothing after it along.
expect_exit 1 "$TOVPORT" call $'No\xC3Such'
expect_contains "$err" $'No\xEF\xBF\xBDSuch'
expect_exit 1 "$TOVPORT" call IsPending 1
expect_contains "$err" "Invalid number of parameters"
expect_exit 0 "$TOVPORT" --json call IsPending
[ "$out" = '{"method":"IsPending","result":false}' ] || fail "json: $out"
echo "call: ok"
