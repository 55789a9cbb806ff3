# tovport send: one free-form exchange with a device behind a pseudo-terminal.
set -euo pipefail
. "$(dirname "$0")/lib.sh"

start_phone phone --echo off
start_phone silent --silent
pts=$PTY_phone

expect_exit 0 "$TOVPORT" --map COM3="$pts" send 3 AT+CGMM
expect_contains "$out" 'MsgReceived msg="\r\nS65\r\n\r\nOK\r\n"'
expect_exit 1 "$TOVPORT" --json --map COM3="$PTY_silent" send 3 AT+CGSN
expect_contains "$out" '{"event":"MsgTimeout"'

expect_exit 1 "$TOVPORT" "${EMPTY_MACHINE[@]}" send 3 AT
expect_contains "$err" "COM3 did not open"
expect_exit 2 "$TOVPORT" send
expect_exit 2 "$TOVPORT" send 33 AT
expect_contains "$err" "from 1 to 32"
expect_exit 2 "$TOVPORT" send COM3 AT
expect_exit 2 "$TOVPORT" send 3 AT extra
echo "send: ok"
