# The end-to-end tests use the command-line tests' helpers.
. "$(dirname "${BASH_SOURCE[0]}")/../cli/lib.sh"

# A watched made-up machine. usb_port ROOT NAME HUBPORT VENDOR: the sysfs entry of a USB serial
# adapter on hub port HUBPORT (1-1, 1-2 ...) whose one port is the tty NAME (its node comes apart).
usb_port() {
  local root=$1 name=$2 device=pci0000:00/0000:00:14.0/usb1/$3 vendor=$4
  sysfs_tty "$root" "$name" "$device/$3:1.0/$name/tty/$name" "$device/$3:1.0/$name"
  printf '%s\n' "$vendor" >"$root/devices/$device/idVendor"
  printf '0001\n' >"$root/devices/$device/idProduct"
  printf '00\n' >"$root/devices/$device/$3:1.0/bInterfaceNumber"
}
# start_watch OUT ARG...: runs tovport ARG... in the background until the script ends, its stdout in
# OUT and its stderr in OUT.err; sets WATCH_PID.
start_watch() {
  local out=$1; shift
  : >"$out"
  "$TOVPORT" "$@" >>"$out" 2>"$out.err" &
  WATCH_PID=$!
  pids+=("$WATCH_PID")
}
# await_lines FILE COUNT TEXT: waits (20 s at most) until COUNT lines of FILE contain TEXT.
await_lines() {
  local file=$1 count=$2 text=$3 deadline=$((SECONDS + 20))
  until [ "$(grep -cF -- "$text" "$file")" -ge "$count" ]; do
    [ "$SECONDS" -lt "$deadline" ] || fail "no $count lines with '$text' came: $(cat "$file" "$file.err")"
    sleep 0.05
  done
}
# stop_watch SIGNAL: the watch must end with exit 0 within 10 s of SIGNAL.
stop_watch() {
  local deadline=$((SECONDS + 10))
  kill -"$1" "$WATCH_PID"
  while kill -0 "$WATCH_PID" 2>/dev/null; do
    [ "$SECONDS" -lt "$deadline" ] || fail "watch did not end within 10 s of SIG$1"
    sleep 0.05
  done
  wait "$WATCH_PID" || fail "watch exited $? on SIG$1"
}
