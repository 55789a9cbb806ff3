# Several phones in one request over pseudo-terminals, one of them lost after its maker answer,
# run again and again: every tested port reports once, one end mark comes last with nothing
# after it, and the lost phone's port ends within its timeout (plus a second) after the loss.
# The demo's request keeps the same promises.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
ports=(2 4 9 10)
for p in "${ports[@]}"; do start_phone "p$p"; done
start_phone plain
irda_key() { printf '[HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Enum\\IRENUM\\SIE0001\\%s\\Device Parameters]\n"PortName"="COM%s"\n\n' "$1" "$1"; }
reg=$(registry promises.reg <<REG
REGEDIT4

[HKEY_LOCAL_MACHINE\Hardware\DeviceMap\SerialComm]
"\\\\Device\\\\Serial0"="COM1"

$(for p in "${ports[@]}" 11; do irda_key "$p"; done)
REG
)
maps=(--map "COM1=$PTY_plain")
for p in "${ports[@]}"; do v="PTY_p$p"; maps+=(--map "COM$p=${!v}"); done

# outcome_of OUT PORT: the error of every DeviceDetected of PORT but the end mark, one a line.
outcome_of() {
  printf '%s\n' "$1" | grep "\"event\":\"DeviceDetected\",\"PortNr\":$2," | grep -v dde_NoMoreDevices |
    sed 's/.*"error":"\([a-zA-Z_]*\)".*/\1/'
}

runs=${PROMISE_RUNS:-3}
for run in $(seq "$runs"); do
  # The lost phone's line stays closed once it has answered AT+CGMI: each run gets its own.
  start_phone "lost$run" --close-after AT+CGMI
  v="PTY_lost$run"
  expect_exit 0 "$TOVPORT" --registry "$reg" --os xp-sp3 "${maps[@]}" --map "COM11=${!v}" --json detect --list "1;2;4;9;10;11"
  [ "$(count_lines "$out" dde_NoMoreDevices)" -eq 1 ] || fail "run $run: expected one end mark: $out"
  printf '%s\n' "$out" | tail -n 1 | grep -q dde_NoMoreDevices || fail "run $run: events after the end mark: $out"
  for p in 1 "${ports[@]}" 11; do
    [ "$(outcome_of "$out" "$p" | wc -l)" -eq 1 ] || fail "run $run: COM$p did not report once: $out"
  done
  [ "$(outcome_of "$out" 1)" = dde_CouldNotsendOutput ] || fail "run $run: COM1 has no CTS: $out"
  lost=$(outcome_of "$out" 11)
  [ "$lost" != dde_NoError ] || fail "run $run: the lost phone was reported found: $out"
  found=$(for p in "${ports[@]}"; do outcome_of "$out" "$p"; done | grep -c dde_NoError || true)
  echo "run $run: $found of ${#ports[@]} phones found, the lost one ended with $lost"
  [ -n "${PROMISE_SHOW:-}" ] && printf '%s\n' "$out" | grep -v CouldNotOpenPort
done

# Alone, the lost phone's port ends within its two seconds (and the whole second the deadline
# rounds to) after the loss, which comes after the 2-s pause and the one-second read of its
# maker answer.
start_phone alone --close-after AT+CGMI
expect_exit 0 "$TOVPORT" --registry "$reg" --os xp-sp3 --map "COM11=$PTY_alone" --json detect --port 11
end=$(printf '%s\n' "$out" | grep dde_NoMoreDevices | sed 's/.*"elapsed":\([0-9.]*\).*/\1/')
awk -v t="$end" 'BEGIN { exit !(t <= 2 + 1 + 2 + 1) }' || fail "the lost phone's port ended after $end s: $out"

# The demo's request ends the same way: its end mark last, no stray error event.
expect_exit 0 "$TOVPORT" --json demo
printf '%s\n' "$out" | tail -n 1 | grep -q dde_NoMoreDevices || fail "demo: events after the end mark: $out"
[ "$(count_lines "$out" MsgReceived)" -eq 0 ] || fail "demo: stray MsgReceived: $out"
echo "several phones and a lost one: ok"
