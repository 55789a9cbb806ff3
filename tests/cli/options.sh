# tovport's global options and their faults: usage, --version, --os, and --registry files that
# cannot be read or are not registry files.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
src=$(cd "$(dirname "$0")/../.." && pwd)

for wrong in "bogus" "--nonsense call IsPending" "call" "--os '' call IsPending" "--timeout 0 call IsPending"; do
  eval "expect_exit 2 \"\$TOVPORT\" $wrong"
  expect_contains "$err" "usage: tovport"
done
expect_exit 0 "$TOVPORT" --help
expect_contains "$out" "call METHOD"
version=$(sed -n 's/^project(tovport VERSION \([0-9.]*\).*/\1/p' "$src/CMakeLists.txt")
expect_exit 0 "$TOVPORT" --version
[ "$out" = "tovport $version" ] || fail "--version printed '$out', expected 'tovport $version'"
expect_exit 2 "$TOVPORT" --os xp-sp9 call IsPending
expect_contains "$err" "unknown --os 'xp-sp9'"

# A file that cannot be read: its name and the system's reason.
expect_exit 2 "$TOVPORT" --registry "$work" ports
[ "$err" = "tovport: $work: Is a directory" ] || fail "directory: $err"
expect_exit 2 "$TOVPORT" --registry "$work/missing.reg" ports
[ "$err" = "tovport: $work/missing.reg: No such file or directory" ] || fail "missing: $err"
locked=$(registry locked.reg <<<'REGEDIT4')
chmod 000 "$locked"
if [ "$(id -u)" -eq 0 ]; then  # root reads any file: ask as nobody
  expect_exit 2 setpriv --reuid=65534 --regid=65534 --clear-groups "$TOVPORT" --registry "$locked" ports
else
  expect_exit 2 "$TOVPORT" --registry "$locked" ports
fi
[ "$err" = "tovport: $locked: Permission denied" ] || fail "no permission: $err"

# A UTF-8 byte-order mark is named as such.
bom=$(printf '\xEF\xBB\xBFREGEDIT4\n' | registry bom.reg)
expect_exit 2 "$TOVPORT" --registry "$bom" ports
expect_contains "$err" "$bom:1: the file starts with a UTF-8 byte-order mark"
echo "options: ok"
