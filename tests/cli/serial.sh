# tovport --map: the component opens a mapped device (the pseudo-terminal of a simulated phone).
set -euo pipefail
. "$(dirname "$0")/lib.sh"

start_phone holder --silent
pts=$PTY_holder
dir=$work

settings="baud=57600 parity=N data=8 stop=1"
expect_exit 0 "$TOVPORT" --map COM3="$pts" call VBCommOpen 3 COM3 "$settings"
[ "$out" = "0" ] || fail "VBCommOpen of $pts printed '$out'"
expect_exit 0 "$TOVPORT" --map COM3="$dir/missing" call VBCommOpen 3 COM3 "$settings"
[ "$out" = "2" ] || fail "VBCommOpen of a missing device printed '$out'"
expect_exit 0 "$TOVPORT" "${EMPTY_MACHINE[@]}" call VBCommOpen 3 COM3 "$settings"
[ "$out" = "2" ] || fail "VBCommOpen of an unmapped port printed '$out'"
echo "serial: ok"
