# An independent AT client identifies the simulated phone: gammu's `identify` against tovport-phone
# on a pseudo-terminal, for two models at two line speeds, prints the maker and the model.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
require_packages gammu

for case in "S65 at57600" "S55 at19200"; do
  read -r model connection <<<"$case"
  start_phone "$model" --model "$model" --log "$work/$model.log"
  device=PTY_$model
  printf '[gammu]\ndevice = %s\nconnection = %s\n' "${!device}" "$connection" >"$work/$model.gammurc"
  expect_exit 0 timeout 60 gammu -c "$work/$model.gammurc" identify
  printf '%s\n' "$out" | grep -Eq '^Manufacturer +: Siemens$' || fail "$model: no maker line in: $out"
  printf '%s\n' "$out" | grep -Eq "^Model +: $model \\($model\\)\$" || fail "$model: no model line in: $out"
  # gammu begins as every client does: AT, then echo on, both accepted.
  expect_contains "$(cat "$work/$model.log")" 'sent ATE1\r\r\nOK\r\n'
done
echo "gammu identify: ok"
