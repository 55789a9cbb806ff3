#!/usr/bin/env bash
# What `tovport watch` costs while nothing changes, and how soon it reports a port that comes.
#   bench/watch_idle.sh [SECONDS]   (default 60; needs build/tovport and build/tovport-phone)
# 1. Idle CPU: starts `tovport --json watch` on this machine (/sys, /dev), waits for its start's
#    DetectAllDevices to end, and reads the process's user and system CPU time (all its threads:
#    fields 14 and 15 of /proc/PID/stat, in clock ticks) before and after SECONDS idle seconds.
# 2. Latency: on a made-up machine, plugs in five USB ports one after the other (the sysfs entry,
#    then the device node) and times each PortAdded from the moment its node appears.
# Prints both with the load average at the time.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
tovport=build/tovport
work=$(mktemp -d)
watcher=
trap '[ -z "$watcher" ] || kill "$watcher" 2>/dev/null || true; rm -rf "$work"' EXIT

# await_line FILE TEXT: waits (30 s at most) for a line of FILE holding TEXT.
await_line() {
  local deadline=$((SECONDS + 30))
  until grep -qF -- "$2" "$1"; do
    [ "$SECONDS" -lt "$deadline" ] || { echo "no '$2' in $1" >&2; exit 1; }
    sleep 0.01
  done
}
cpu_ticks() { awk '{ print $14 + $15 }' "/proc/$1/stat"; }

: >"$work/machine.log"
"$tovport" --json watch >"$work/machine.log" 2>/dev/null &
watcher=$!
await_line "$work/machine.log" dde_NoMoreDevices
before=$(cpu_ticks "$watcher")
sleep "$seconds"
after=$(cpu_ticks "$watcher")
hz=$(getconf CLK_TCK)
echo "idle CPU over $seconds s on this machine: $(( (after - before) * 1000 / hz )) ms" \
  "(tick $((1000 / hz)) ms; threads: $(ls "/proc/$watcher/task" | wc -l); load average: $(cut -d' ' -f1-3 /proc/loadavg))"
kill -INT "$watcher"
wait "$watcher"

sys=$work/sys dev=$work/dev
mkdir -p "$sys/class/tty" "$dev"
: >"$work/made-up.log"
"$tovport" --sysfs "$sys" --dev "$dev" --json watch --no-detect >"$work/made-up.log" &
watcher=$!
sleep 1  # its notices are armed before its first scan, which finds nothing here
worst=0
for i in 1 2 3 4 5; do
  usb=pci0000:00/0000:00:14.0/usb1/1-$i
  mkdir -p "$sys/devices/$usb/1-$i:1.0/ttyUSB$i/tty/ttyUSB$i"
  echo 067b >"$sys/devices/$usb/idVendor"
  ln -s "$sys/devices/$usb/1-$i:1.0/ttyUSB$i" "$sys/devices/$usb/1-$i:1.0/ttyUSB$i/tty/ttyUSB$i/device"
  ln -s "$sys/devices/$usb/1-$i:1.0/ttyUSB$i/tty/ttyUSB$i" "$sys/class/tty/ttyUSB$i"
  start=$(date +%s%N)
  : >"$dev/ttyUSB$i"
  await_line "$work/made-up.log" "\"path\":\"$dev/ttyUSB$i\""
  ms=$(( ($(date +%s%N) - start) / 1000000 ))
  echo "PortAdded for ttyUSB$i after $ms ms"
  [ "$ms" -le "$worst" ] || worst=$ms
  sleep 1
done
kill -INT "$watcher"
wait "$watcher"
echo "slowest PortAdded: $worst ms (load average: $(cut -d' ' -f1-3 /proc/loadavg))"
