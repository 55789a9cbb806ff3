# Helpers for the end-to-end tests: the real tovport and tovport-phone over real pseudo-terminals.
. "$(dirname "${BASH_SOURCE[0]}")/../cli/lib.sh"

PHONE="$TOVPORT_BIN_DIR/tovport-phone"
work=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
  rm -rf "$work"
}
trap cleanup EXIT

# start_phone NAME [OPTION...]: runs tovport-phone in the background; sets PTY_<NAME> to its device.
start_phone() {
  local name=$1; shift
  mkfifo "$work/$name.in"
  "$PHONE" "$@" <"$work/$name.in" >"$work/$name.out" 2>"$work/$name.err" &
  pids+=($!)
  exec {keep}>"$work/$name.in"  # the phone runs while its stdin stays open
  local tries=0
  while [ ! -s "$work/$name.out" ]; do
    tries=$((tries + 1)); [ $tries -gt 100 ] && fail "tovport-phone did not start: $(cat "$work/$name.err")"
    sleep 0.05
  done
  printf -v "PTY_$name" '%s' "$(head -n 1 "$work/$name.out")"
}

# registry FILE: writes the .reg text given on stdin to $work/FILE and prints its path.
registry() { cat >"$work/$1"; echo "$work/$1"; }

# count_lines TEXT PATTERN: how many lines of TEXT contain PATTERN.
count_lines() { printf '%s\n' "$1" | grep -c -- "$2" || true; }
