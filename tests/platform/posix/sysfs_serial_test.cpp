// Made-up machines in sysfs, in the layouts before and since Linux 6.5: which ttys become COM
// ports, their numbers, devices and identities, and what discovery makes of the registry view
// written for them.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "discovery/port_table.h"
#include "platform/machine_ports.h"
#include <tovport/platform/os_version.h>
#include "platform/posix/device_access.h"
#include "platform/posix/sysfs_serial.h"
#include <tovport/platform/reg_file.h>

namespace tov::platform {
namespace {

namespace fs = std::filesystem;

// A sysfs tree in a temporary folder, built the way the kernel links it: class/tty/NAME leads to
// the tty's folder under devices/, whose "device" link leads to the device behind it.
class SysfsTree {
 public:
  SysfsTree() : root_(fs::temp_directory_path() / ("tovport-sysfs-" + std::to_string(getpid()) + "-" + std::to_string(next_++))) {
    fs::create_directories(root_ / "class" / "tty");
  }
  ~SysfsTree() { fs::remove_all(root_); }
  const fs::path& root() const { return root_; }

  void attr(const std::string& dir, const std::string& name, const std::string& value) {
    fs::create_directories(root_ / dir);
    std::ofstream(root_ / dir / name) << value << "\n";
  }
  void link(const std::string& from, const std::string& to) {
    fs::create_directories(root_ / from.substr(0, from.rfind('/')));
    fs::create_symlink(fs::relative(root_ / to, root_ / from.substr(0, from.rfind('/'))), root_ / from);
  }
  // A tty in folder dir (below devices/), with the device folder behind it (below devices/) if any.
  void tty(const std::string& name, const std::string& dir, const std::string& device = "") {
    fs::create_directories(root_ / "devices" / dir);
    link("class/tty/" + name, "devices/" + dir);
    if (!device.empty()) link("devices/" + dir + "/device", "devices/" + device);
  }
  void usbDevice(const std::string& dir, const std::string& vendor, const std::string& product) {
    attr("devices/" + dir, "idVendor", vendor);
    attr("devices/" + dir, "idProduct", product);
  }
  // The device's own strings, as the kernel reads them from its descriptors.
  void usbStrings(const std::string& dir, const std::string& maker, const std::string& product,
                  const std::string& serial) {
    attr("devices/" + dir, "manufacturer", maker);
    attr("devices/" + dir, "product", product);
    if (!serial.empty()) attr("devices/" + dir, "serial", serial);
  }
  // A device folder's bus and driver links.
  void bound(const std::string& dir, const std::string& bus, const std::string& driver) {
    link("devices/" + dir + "/subsystem", "bus/" + bus);
    link("devices/" + dir + "/driver", "bus/" + bus + "/drivers/" + driver);
  }
  void usbInterface(const std::string& dir, const std::string& number, const std::string& driver) {
    attr("devices/" + dir, "bInterfaceNumber", number);
    link("devices/" + dir + "/driver", "bus/usb/drivers/" + driver);
  }
  // A usb-serial adapter's port: its tty's device is the port folder below the interface.
  void usbSerial(const std::string& name, const std::string& interfaceDir, const std::string& driver) {
    usbInterface(interfaceDir, "00", driver);
    const std::string port = interfaceDir + "/" + name;
    tty(name, port + "/tty/" + name, port);
    link("devices/" + port + "/driver", "bus/usb-serial/drivers/" + driver);
  }
  // A cdc-acm function: its tty's device is the interface itself.
  void acm(const std::string& name, const std::string& interfaceDir, const std::string& number) {
    usbInterface(interfaceDir, number, "cdc_acm");
    tty(name, interfaceDir + "/tty/" + name, interfaceDir);
  }
  // The virtual consoles and terminals, and the ttys the kernel's console writes to.
  void consolesAndTerminals(const std::string& active) {
    for (auto name : {"console", "ptmx", "tty", "tty0", "tty1", "ttyp0"}) tty(name, std::string("virtual/tty/") + name);
    attr("devices/virtual/tty/console", "active", active);
  }

 private:
  static inline int next_ = 0;
  fs::path root_;
};

// A machine with a kernel before 6.5: the 8250 tty's device is the PNP or platform device. The
// console is the first 16550 port.
void olderMachine(SysfsTree& t) {
  t.consolesAndTerminals("tty0 ttyS0");
  t.tty("ttyS0", "pnp0/00:01/tty/ttyS0", "pnp0/00:01");
  t.attr("devices/pnp0/00:01/tty/ttyS0", "type", "4");
  t.bound("pnp0/00:01", "pnp", "serial");
  t.tty("ttyS1", "platform/serial8250/tty/ttyS1", "platform/serial8250");
  t.attr("devices/platform/serial8250/tty/ttyS1", "type", "0");
  const std::string hub = "pci0000:00/0000:00:14.0/usb1/1-1/";
  t.usbDevice(hub + "1-1.2", "067b", "2303");  // the Prolific cable
  t.usbStrings(hub + "1-1.2", "Prolific Technology Inc. ", "USB-Serial Controller", "");
  t.usbSerial("ttyUSB0", hub + "1-1.2/1-1.2:1.0", "pl2303");
  t.usbDevice(hub + "1-1.10", "11f5", "0003");  // the special phone, by USB path after 1-1.2
  t.usbStrings(hub + "1-1.10", "BenQ-Siemens", "EF81", "3510000000");
  t.acm("ttyACM0", hub + "1-1.10/1-1.10:1.0", "00");
  t.usbDevice("pci0000:00/0000:00:14.0/usb1/1-3", "0403", "6001");
  t.usbSerial("ttyUSB3", "pci0000:00/0000:00:14.0/usb1/1-3/1-3:1.0", "ftdi_sio");
  const std::string modem = "pci0000:00/0000:00:1d.0/usb2/2-1";
  t.usbDevice(modem, "05c6", "9091");  // a Qualcomm modem: interface 00 is the passive port
  t.usbSerial("ttyUSB1", modem + "/2-1:1.0", "qcserial");
  t.usbSerial("ttyUSB2", modem + "/2-1:1.2", "qcserial");
  t.attr("devices/" + modem + "/2-1:1.2", "bInterfaceNumber", "02");
  t.tty("rfcomm0", "virtual/tty/rfcomm0");
  t.attr("devices/virtual/tty/rfcomm0", "address", "00:1A:7D:DA:71:13");
  t.attr("devices/virtual/tty/rfcomm0", "channel", "3");
  t.tty("ircomm0", "virtual/tty/ircomm0");
  t.tty("ttyAMA0", "platform/fe201000.serial/tty/ttyAMA0", "platform/fe201000.serial");
}

// Linux 6.5 and later: the 8250 tty's device is a serial-base port device below a serial-base
// controller below the PNP or platform device; the USB devices sit one hub deeper here. The
// console is the second 16550 port.
void machineSince65(SysfsTree& t) {
  t.consolesAndTerminals("ttyS3");
  t.tty("ttyS0", "pnp0/00:01/00:01:0/00:01:0.0/tty/ttyS0", "pnp0/00:01/00:01:0/00:01:0.0");
  t.attr("devices/pnp0/00:01/00:01:0/00:01:0.0/tty/ttyS0", "type", "4");
  t.bound("pnp0/00:01/00:01:0/00:01:0.0", "serial-base", "port");
  t.bound("pnp0/00:01/00:01:0", "serial-base", "ctrl");
  t.bound("pnp0/00:01", "pnp", "serial");
  const std::string base = "platform/serial8250/serial8250:0/serial8250:0.";
  t.tty("ttyS1", base + "1/tty/ttyS1", base + "1");
  t.attr("devices/" + base + "1/tty/ttyS1", "type", "0");
  t.tty("ttyS3", base + "3/tty/ttyS3", base + "3");
  t.attr("devices/" + base + "3/tty/ttyS3", "type", "4");
  t.bound(base + "3", "serial-base", "port");
  t.bound("platform/serial8250/serial8250:0", "serial-base", "ctrl");
  t.bound("platform/serial8250", "platform", "serial8250");
  const std::string hub = "pci0000:00/0000:00:14.0/usb3/3-1/3-1.4/";
  t.usbDevice(hub + "3-1.4.2", "067b", "2303");
  t.usbSerial("ttyUSB0", hub + "3-1.4.2/3-1.4.2:1.0", "pl2303");
  t.usbDevice(hub + "3-1.4.1", "1234", "5678");  // an ACM modem whose data port is interface 02
  t.acm("ttyACM0", hub + "3-1.4.1/3-1.4.1:1.2", "02");
  t.tty("rfcomm1", "pci0000:00/0000:00:14.0/usb3/3-2/3-2:1.0/bluetooth/hci0/hci0:11/rfcomm1",
        "pci0000:00/0000:00:14.0/usb3/3-2/3-2:1.0/bluetooth/hci0/hci0:11");
  t.attr("devices/pci0000:00/0000:00:14.0/usb3/3-2/3-2:1.0/bluetooth/hci0/hci0:11/rfcomm1", "address",
         "00:1a:7d:da:71:14");
  t.attr("devices/pci0000:00/0000:00:14.0/usb3/3-2/3-2:1.0/bluetooth/hci0/hci0:11/rfcomm1", "channel", "1");
  t.usbDevice("pci0000:00/0000:00:14.0/usb3/3-2", "8087", "0a2b");  // the adapter's ids are no port's
}

struct Port {
  const char* tty;
  int com;
  ComPortType kind;
  const char* driver;
};

// What discovery finds in the registry of the process: each COM port's kind and device.
std::vector<std::pair<ComPortType, std::string>> discovered() {
  discovery::PortTable() = PortTableOf<ComPortType>{};
  discovery::DiscoverPorts();
  const auto paths = comPortPaths();
  std::vector<std::pair<ComPortType, std::string>> found;
  for (int p = 1; p <= MaxPorts; ++p) {
    const auto path = paths.find(p);
    found.emplace_back(discovery::PortTable()(p), path == paths.end() ? "" : path->second);
  }
  discovery::PortTable() = PortTableOf<ComPortType>{};  // later tests on this thread start afresh
  discovery::PortTableFilled() = false;
  return found;
}

TEST(SysfsSerialPorts, EachKindGetsItsNumberDeviceAndTheKindDiscoveryFindsInTheView) {
  struct Case {
    const char* name;
    void (*build)(SysfsTree&);
    std::vector<Port> ports;
  };
  const Case cases[] = {
      {"before 6.5", olderMachine,
       {{"ttyS0", 1, cptUnknown, "serial"}, {"ttyUSB0", 2, cptUSB, "pl2303"}, {"ttyACM0", 3, cptUSB, "cdc_acm"},
        {"ttyUSB3", 4, cptUnknown, "ftdi_sio"}, {"ttyUSB1", 5, cptUSBPassive, "qcserial"},
        {"ttyUSB2", 6, cptUnknown, "qcserial"}, {"rfcomm0", 7, cptBluetooth, ""}, {"ircomm0", 8, cptIrDa, ""},
        {"ttyAMA0", 9, cptUnknown, ""}}},
      {"since 6.5", machineSince65,
       {{"ttyS0", 1, cptSerial, "serial"}, {"ttyS3", 4, cptUnknown, "serial8250"}, {"ttyACM0", 5, cptUnknown, "cdc_acm"},
        {"ttyUSB0", 6, cptUSB, "pl2303"}, {"rfcomm1", 7, cptBluetooth, ""}}},
  };
  ScopedOsVersion xpSp2(*parseOsVersion("xp-sp2"));
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    SysfsTree tree;
    c.build(tree);
    const auto ports = findSerialPorts(tree.root(), "/made/up/dev");
    std::vector<std::pair<ComPortType, std::string>> expected(MaxPorts, {cptNone, ""});
    ASSERT_EQ(ports.size(), c.ports.size());
    for (std::size_t i = 0; i < ports.size(); ++i) {
      EXPECT_EQ(ports[i].name, c.ports[i].tty);
      EXPECT_EQ(ports[i].com, c.ports[i].com) << c.ports[i].tty;
      EXPECT_EQ(ports[i].driver, c.ports[i].driver) << c.ports[i].tty;
      // The console keeps its number; only its kind says that no sweep may test it.
      EXPECT_EQ(ports[i].console, c.ports[i].kind == cptUnknown && ports[i].kind == SerialKind::BuiltIn)
          << c.ports[i].tty;
      expected[static_cast<std::size_t>(c.ports[i].com - 1)] = {c.ports[i].kind,
                                                                std::string("/made/up/dev/") + c.ports[i].tty};
    }
    Registry view;
    describeComPorts(view, ports);
    // The view saved as a .reg file loads back as the same tree, devices included.
    Registry reloaded;
    loadRegText(reloaded, view.dump(), "dump");
    EXPECT_EQ(reloaded.dump(), view.dump());
    for (Registry* r : {&view, &reloaded}) {
      ScopedRegistry installed(*r);
      EXPECT_EQ(discovered(), expected);
    }
  }
}

// What `ports` shows of each device comes back from the view: the USB device's ids and strings,
// the interface, the by-id name of the node, the console mark; a --map of the port drops them.
TEST(SysfsSerialPorts, EachPortsIdentityAndDeviceNodeAsTheViewKeepsThem) {
  SysfsTree tree;
  olderMachine(tree);
  const fs::path dev = tree.root() / "dev";
  fs::create_directories(dev / "serial" / "by-id");
  for (auto node : {"ttyS0", "ttyUSB0", "ttyACM0"}) std::ofstream(dev / node).put('\0');
  fs::create_symlink("../../ttyACM0", dev / "serial" / "by-id" / "usb-BenQ-Siemens_EF81_3510000000-if00");
  fs::create_symlink("../../ttyUSB9", dev / "serial" / "by-id" / "usb-gone-if00-port0");  // a stale link
  Registry view;
  describeComPorts(view, findSerialPorts(tree.root(), dev));
  ScopedRegistry installed(view);
  auto devices = comPortDevices();
  struct Expected {
    int com;
    bool usb, console;
    unsigned vendor, product, interfaceNumber;
    const char *maker, *productName, *serial, *byId;
    DeviceNode node;
  };
  const Expected rows[] = {
      {1, false, true, 0, 0, 0, "", "", "", "", DeviceNode::Present},
      {2, true, false, 0x067b, 0x2303, 0, "Prolific Technology Inc.", "USB-Serial Controller", "", "",
       DeviceNode::Present},
      {3, true, false, 0x11f5, 0x0003, 0, "BenQ-Siemens", "EF81", "3510000000",
       "serial/by-id/usb-BenQ-Siemens_EF81_3510000000-if00", DeviceNode::Present},
      {6, true, false, 0x05c6, 0x9091, 2, "", "", "", "", DeviceNode::Missing},
      {7, false, false, 0, 0, 0, "", "", "", "", DeviceNode::Missing},
  };
  for (const Expected& e : rows) {
    SCOPED_TRACE("COM" + std::to_string(e.com));
    const SerialPortDevice& d = devices.at(e.com);
    EXPECT_EQ(d.kind == SerialKind::Usb, e.usb);
    EXPECT_EQ(d.console, e.console);
    EXPECT_EQ(d.vendor, e.vendor);
    EXPECT_EQ(d.product, e.product);
    EXPECT_EQ(d.interfaceNumber, e.interfaceNumber);
    EXPECT_EQ(d.manufacturer, e.maker);
    EXPECT_EQ(d.productName, e.productName);
    EXPECT_EQ(d.serialNumber, e.serial);
    EXPECT_EQ(d.byId, *e.byId ? (dev / e.byId).string() : "");
    EXPECT_EQ(deviceNodeState(d.path), e.node);
  }
  setComPortPath(view, 3, "/dev/null");
  devices = comPortDevices();
  EXPECT_EQ(devices.at(3).kind, SerialKind::Other);
  EXPECT_EQ(devices.at(3).byId, "");
  EXPECT_EQ(devices.at(2).vendor, 0x067bu);
}

TEST(SysfsSerialPorts, AMachineWithoutTtyClassHasNoPorts) {
  SysfsTree tree;
  fs::remove_all(tree.root() / "class");
  EXPECT_TRUE(findSerialPorts(tree.root(), "/dev").empty());
}

}  // namespace
}  // namespace tov::platform
