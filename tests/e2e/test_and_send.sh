# `test` over mapped and unmapped ports, and `send` getting the phone's answer.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
start_phone phone --model S65 --echo off
expect_exit 0 "$TOVPORT" "${EMPTY_MACHINE[@]}" --map "COM2=$PTY_phone" --json test
expect_contains "$out" '{"event":"PortAvailable","PortNr":2,"available":"pa_Available"'
[ "$(count_lines "$out" '"available":"pa_NotAvailable"')" -eq 31 ] || fail "expected 31 unavailable ports: $out"
[ "$(count_lines "$out" pa_NoMorePorts)" -eq 1 ] || fail "expected one end mark: $out"
expect_exit 0 "$TOVPORT" --map "COM2=$PTY_phone" --json test --port 2
expect_contains "$out" '"PortNr":2,"available":"pa_Available"'
expect_exit 0 "$TOVPORT" --map "COM3=$PTY_phone" --json send 3 AT+CGMM
expect_contains "$out" '"event":"MsgReceived"'
expect_contains "$out" 'S65'
echo "test and send: ok"
