# Helpers for the command-line and end-to-end tests: run the real executables, check exit codes
# and output, and run simulated phones on pseudo-terminals.
fail() { echo "FAIL: $*" >&2; exit 1; }
# expect_exit CODE CMD...: runs CMD, keeps stdout in $out and stderr in $err. With --json among
# the arguments, every line of stdout must be one JSON object.
expect_exit() {
  local want=$1; shift
  local errfile; errfile=$(mktemp)
  set +e; out=$("$@" 2>"$errfile"); local got=$?; set -e
  err=$(cat "$errfile"); rm -f "$errfile"
  [ "$got" -eq "$want" ] || fail "$* exited $got, expected $want; stdout: $out; stderr: $err"
  case " $* " in *" --json "*) expect_json_lines "$out" ;; esac
}
expect_json_lines() {
  printf '%s' "$1" | python3 -c '
import json, sys
for line in sys.stdin.buffer.read().decode("utf-8").splitlines():
    assert isinstance(json.loads(line), dict), line
' || fail "not one JSON object a line: $1"
}
expect_contains() { case "$1" in *"$2"*) ;; *) fail "expected '$2' in: $1" ;; esac; }
# count_lines TEXT PATTERN: how many lines of TEXT contain PATTERN.
count_lines() { printf '%s\n' "$1" | grep -c -- "$2" || true; }

PHONE="${TOVPORT_BIN_DIR:-}/tovport-phone"
work=$(mktemp -d)
pids=()
cleanup() {
  for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null || true; done
  for pid in "${pids[@]}"; do wait "$pid" 2>/dev/null || true; done
  rm -rf "$work"
}
trap cleanup EXIT

# start_phone NAME [OPTION...]: runs tovport-phone in the background until the script ends and
# sets PTY_<NAME> to the device a host should open.
start_phone() {
  local name=$1; shift
  "$PHONE" "$@" >"$work/$name.out" 2>"$work/$name.err" &
  pids+=($!)
  local tries=0
  while [ ! -s "$work/$name.out" ]; do
    tries=$((tries + 1)); [ $tries -gt 100 ] && fail "tovport-phone did not start: $(cat "$work/$name.err")"
    sleep 0.05
  done
  printf -v "PTY_$name" '%s' "$(head -n 1 "$work/$name.out")"
}

# registry FILE: writes the .reg text given on stdin to $work/FILE and prints its path.
registry() { cat >"$work/$1"; echo "$work/$1"; }

# Without --registry the host describes the machine it runs on; tests that must not depend on the
# build machine's serial ports describe an empty one.
EMPTY_MACHINE=(--sysfs "$work" --dev "$work")
# sysfs_tty ROOT NAME DIR [DEVICE]: a tty NAME of a made-up sysfs tree at ROOT, in the folder
# devices/DIR, with the device folder devices/DEVICE behind it.
sysfs_tty() {
  local root=$1 name=$2 dir=$3 device=${4:-}
  mkdir -p "$root/class/tty" "$root/devices/$dir"
  ln -s "$root/devices/$dir" "$root/class/tty/$name"
  if [ -n "$device" ]; then
    mkdir -p "$root/devices/$device"
    ln -s "$root/devices/$device" "$root/devices/$dir/device"
  fi
}

# require_packages PKG...: installs the Debian packages a test drives when they are missing
# (scripts/install-deps installs them for the whole run; this serves a test run on its own).
require_packages() {
  local missing=() p
  for p in "$@"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  local sudo=(); [ "$(id -u)" -ne 0 ] && sudo=(sudo)
  local wait=(-o DPkg::Lock::Timeout=300)  # other tests may be installing at the same time
  "${sudo[@]}" apt-get "${wait[@]}" update -qq >/dev/null &&
    DEBIAN_FRONTEND=noninteractive "${sudo[@]}" apt-get "${wait[@]}" install -y -qq "${missing[@]}" >/dev/null ||
    fail "could not install ${missing[*]}"
}
