# Helpers for the command-line tests: run "$TOVPORT" and check exit codes and output.
fail() { echo "FAIL: $*" >&2; exit 1; }
# expect_exit CODE CMD...: runs CMD, keeps stdout in $out and stderr in $err.
expect_exit() {
  local want=$1; shift
  local errfile; errfile=$(mktemp)
  set +e; out=$("$@" 2>"$errfile"); local got=$?; set -e
  err=$(cat "$errfile"); rm -f "$errfile"
  [ "$got" -eq "$want" ] || fail "$* exited $got, expected $want; stdout: $out; stderr: $err"
}
expect_contains() { case "$1" in *"$2"*) ;; *) fail "expected '$2' in: $1" ;; esac; }
