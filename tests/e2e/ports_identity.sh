# `ports --json` says what each USB port is as pyserial (serial.tools.list_ports) and libserialport
# (sp_list_ports and its USB getters) say it, field by field: on a made-up sysfs tree, which they
# read at the fixed path /sys (so they run in a private mount namespace with the tree over /sys and
# its device folder over /dev), and on this machine's own /sys. The table cuts long strings; JSON
# never does.
set -euo pipefail
. "$(dirname "$0")/lib.sh"
require_packages python3-serial libserialport-dev
PY=/usr/bin/python3  # Debian's, which has pyserial

cat >"$work/sp_list.c" <<'C'
#include <libserialport.h>
#include <stdio.h>
#include <string.h>
/* Every USB port: name, vendor and product id, manufacturer, product and serial number. */
int main(void) {
  struct sp_port **ports;
  if (sp_list_ports(&ports) != SP_OK) return 1;
  for (int i = 0; ports[i] != NULL; i++) {
    struct sp_port *p = ports[i];
    if (sp_get_port_transport(p) != SP_TRANSPORT_USB) continue;
    int vid = 0, pid = 0;
    sp_get_port_usb_vid_pid(p, &vid, &pid);
    const char *maker = sp_get_port_usb_manufacturer(p), *product = sp_get_port_usb_product(p),
               *serial = sp_get_port_usb_serial(p);
    printf("%s\t%04x\t%04x\t%s\t%s\t%s\n", strrchr(sp_get_port_name(p), '/') + 1, vid, pid, maker ? maker : "",
           product ? product : "", serial ? serial : "");
  }
  sp_free_port_list(ports);
  return 0;
}
C
"${CC:-cc}" -o "$work/sp_list" "$work/sp_list.c" $(pkg-config --cflags --libs libserialport) ||
  fail "cannot build the libserialport lister"
# The same rows from pyserial, and the interface number its location names on a device of several
# interfaces ("1-3:1.10" is interface 10).
cat >"$work/pyserial_list.py" <<'PY'
import sys
from serial.tools import list_ports
for p in list_ports.comports():
    if p.vid is None:
        continue
    if sys.argv[1:] == ["interfaces"]:
        if ":" in (p.location or ""):
            print("%s\t%d" % (p.name, int(p.location.rsplit(".", 1)[1])))
    else:
        print("\t".join([p.name, "%04x" % p.vid, "%04x" % p.pid, p.manufacturer or "", p.product or "",
                         p.serial_number or ""]))
PY
# The same rows from tovport's JSON.
tovport_rows() {
  local json=$1; shift
  printf '%s\n' "$json" | "$PY" -c '
import json, os, sys
for line in sys.stdin:
    port = json.loads(line)
    usb = port["usb"]
    if usb is None:
        continue
    name = os.path.basename(port["path"])
    if sys.argv[1:] == ["interfaces"]:
        print("%s\t%d" % (name, usb["interface"]))
    else:
        print("\t".join([name, usb["vid"], usb["pid"], usb["manufacturer"] or "", usb["product"] or "",
                         usb["serialNumber"] or ""]))' "$@" | sort
}
# same WHAT A B: the two listings agree.
same() { [ "$2" = "$3" ] || fail "$1 differ: tovport:
$2
other:
$3"; }

# A made-up machine as the kernel links it: a Prolific cable (one interface, no serial number), a
# phone's ACM function on interface 10 of twelve, and a built-in port that is no USB port.
sys="$work/sys"
dev="$work/dev"
mkdir -p "$sys/class/tty" "$sys/bus/usb/drivers" "$sys/bus/usb-serial/drivers" "$dev/serial/by-id"
attr() { mkdir -p "$sys/devices/$1" && printf '%s\n' "$3" >"$sys/devices/$1/$2"; }
rel() { ln -sr "$sys/$2" "$sys/$1"; }
usb_device() {  # DIR VENDOR PRODUCT INTERFACES MANUFACTURER PRODUCT [SERIAL]
  attr "$1" idVendor "$2"; attr "$1" idProduct "$3"; attr "$1" bNumInterfaces "$4"
  attr "$1" manufacturer "$5"; attr "$1" product "$6"; [ -z "${7:-}" ] || attr "$1" serial "$7"
  attr "$1" busnum 1; attr "$1" devnum 7
  mkdir -p "$sys/bus/usb"; rel "devices/$1/subsystem" bus/usb
}
tty() {  # NAME TTYDIR DEVICEDIR
  mkdir -p "$sys/devices/$2"
  rel "class/tty/$1" "devices/$2"
  rel "devices/$2/device" "devices/$3"
  : >"$dev/$1"
}
hub=pci0000:00/0000:00:14.0/usb1
usb_device "$hub/1-2" 067b 2303 1 "Prolific Technology Inc." "USB-Serial Controller"
attr "$hub/1-2/1-2:1.0" bInterfaceNumber 00
rel "devices/$hub/1-2/1-2:1.0/subsystem" bus/usb
mkdir -p "$sys/devices/$hub/1-2/1-2:1.0/ttyUSB0" "$sys/bus/usb-serial"
rel "devices/$hub/1-2/1-2:1.0/ttyUSB0/subsystem" bus/usb-serial
tty ttyUSB0 "$hub/1-2/1-2:1.0/ttyUSB0/tty/ttyUSB0" "$hub/1-2/1-2:1.0/ttyUSB0"
long="Mobile phone with a product name longer than any table column"
usb_device "$hub/1-3" 11f5 0003 12 "BenQ-Siemens" "$long" "3510000000AB"
attr "$hub/1-3/1-3:1.10" bInterfaceNumber 0a
rel "devices/$hub/1-3/1-3:1.10/subsystem" bus/usb
tty ttyACM0 "$hub/1-3/1-3:1.10/tty/ttyACM0" "$hub/1-3/1-3:1.10"
ln -s ../../ttyACM0 "$dev/serial/by-id/usb-BenQ-Siemens_${long// /_}_3510000000AB-if0a"
attr pnp0/00:01 id PNP0501
tty ttyS0 pnp0/00:01/tty/ttyS0 pnp0/00:01
attr pnp0/00:01/tty/ttyS0 type 4

expect_exit 0 "$TOVPORT" --sysfs "$sys" --dev "$dev" --json ports
ours=$(tovport_rows "$out")
our_interfaces=$(tovport_rows "$out" interfaces)
expect_contains "$out" "\"byId\":\"$dev/serial/by-id/usb-BenQ-Siemens_${long// /_}_3510000000AB-if0a\""
expect_contains "$out" "\"product\":\"$long\""
[ "$(printf '%s\n' "$ours" | wc -l)" -eq 2 ] || fail "expected two USB ports: $ours"
expect_exit 0 "$TOVPORT" --sysfs "$sys" --dev "$dev" ports
expect_contains "$out" "  Mobile phone with a pro…  3510000000AB  0a  "

# In a namespace of its own, with the tree over /sys and its devices over /dev.
in_tree() {
  unshare -m --propagation private sh -c 'mount --bind "$1" /sys && mount --bind "$2" /dev && shift 2 && exec "$@"' \
    _ "$sys" "$dev" "$@"
}
if ! unshare -m --propagation private true 2>"$work/unshare.err"; then
  echo "SKIPPED the made-up tree: no private mount namespace can be made here ($(cat "$work/unshare.err"))"
else
  in_tree "$work/sp_list" >"$work/libserialport.tsv" || fail "libserialport failed on the made-up tree"
  in_tree "$PY" "$work/pyserial_list.py" >"$work/pyserial.tsv" || fail "pyserial failed on the made-up tree"
  in_tree "$PY" "$work/pyserial_list.py" interfaces >"$work/pyserial-interfaces.tsv"
  same "libserialport's ports" "$ours" "$(sort "$work/libserialport.tsv")"
  same "pyserial's ports" "$ours" "$(sort "$work/pyserial.tsv")"
  same "pyserial's interfaces" "$(printf '%s\n' "$our_interfaces" | grep ttyACM0)" "$(sort "$work/pyserial-interfaces.tsv")"
fi

# This machine, whatever USB ports it has.
expect_exit 0 "$TOVPORT" --json ports
same "libserialport's ports on this machine" "$(tovport_rows "$out")" "$("$work/sp_list" | sort)"
same "pyserial's ports on this machine" "$(tovport_rows "$out")" "$("$PY" "$work/pyserial_list.py" | sort)"
echo "ports identity: ok"
