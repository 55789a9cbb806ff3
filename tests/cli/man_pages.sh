# The man pages (docs/man/*.scd) and --help describe the same program: the options the page
# defines (its lines that begin with a term, as "*--json*" or "*detect* [*--port* _N_]") are those
# that --help names, and the page has an entry for every command --help lists.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
man=$(cd "$(dirname "$0")/../../docs/man" && pwd)
options() { grep -o -- '--[a-z][a-z-]*' | sort -u | xargs; }
for program in "$TOVPORT" "$PHONE"; do
  page=$man/$(basename "$program").1.scd
  expect_exit 0 "$program" --help
  help=$(options <<<"$out")
  defined=$(grep '^\*' "$page" | options)
  [ "$help" = "$defined" ] || fail "$(basename "$page") defines options '$defined'; --help names '$help'"
done
expect_exit 0 "$TOVPORT" --help
commands=$(sed -n '/^Commands:/,/^$/s/^  \([a-z][a-z-]*\).*/\1/p' <<<"$out" | sort | xargs)
entries=$(sed -n '/^# COMMANDS/,/^# /s/^\*\([a-z][a-z-]*\)\*.*/\1/p' "$man/tovport.1.scd" | sort | xargs)
[ -n "$commands" ] || fail "--help lists no commands"
[ "$commands" = "$entries" ] || fail "tovport.1.scd describes the commands '$entries'; --help lists '$commands'"
echo "man pages: ok"
