# After its end mark, a text-mode request sums up what it found: one row per tested port, the
# answer in one line, the ports not tested and absent counted in another; --json stays events only.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
start_phone s65 --model S65
start_phone sl75 --model SL75
start_phone other --model S65
# COM1 plain serial without a device, COM4 and COM5 infrared with phones, COM6 unclassified.
reg=$(registry summary.reg <<'REG'
REGEDIT4

[HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\Device\\Serial0"="COM1"
"\\Device\\VCP0"="COM6"

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\IRENUM\SIE0001\a\Device Parameters]
"PortName"="COM4"

[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Enum\IRENUM\SIE0001\b\Device Parameters]
"PortName"="COM5"
REG
)
machine=(--registry "$reg" --map "COM4=$PTY_s65" --map "COM5=$PTY_sl75" --map "COM6=$PTY_other")
summary() { printf '%s\n' "$out" | sed -n '/^$/,$p' | sed 1d; }

expect_exit 0 "$TOVPORT" "${machine[@]}" detect
[ "$(summary)" = "port   kind                 outcome                  model
COM1   seriell              dde_CouldNotOpenPort
COM4   Infrarot             dde_NoError              BenQ-Siemens S65
COM5   Infrarot             dde_NoError              BenQ-Siemens SL75
2 phones found: COM4 BenQ-Siemens S65, COM5 BenQ-Siemens SL75
1 port not tested, 28 absent ports" ] || fail "summary of two phones: $(summary)"

expect_exit 0 "$TOVPORT" "${machine[@]}" detect --port 5
[ "$(summary | tail -n 2)" = "1 phone found: COM5 BenQ-Siemens SL75
3 ports not tested, 28 absent ports" ] || fail "summary of one phone: $(summary)"

expect_exit 0 "$TOVPORT" "${machine[@]}" detect --list "1;6;9"
[ "$(summary | tail -n 3)" = "COM1   seriell              dde_CouldNotOpenPort
no phone found on 1 tested port
3 ports not tested, 28 absent ports" ] || fail "summary without a phone: $(summary)"

expect_exit 0 "$TOVPORT" "${machine[@]}" test
[ "$(summary | tail -n 2)" = "3 of 32 tested ports can be opened: COM4, COM5, COM6
28 absent ports" ] || fail "summary of a port test: $(summary)"

# JSON lines are the events and nothing else: the end mark is the last line.
expect_exit 0 "$TOVPORT" "${machine[@]}" --json detect --port 4
[ "$(printf '%s\n' "$out" | wc -l)" -eq 2 ] || fail "--json printed more than the events: $out"
expect_contains "$(printf '%s\n' "$out" | tail -n 1)" '"error":"dde_NoMoreDevices"'
echo "detection summary: ok"
