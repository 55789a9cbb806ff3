// The COM numbers of a machine whose ports come and go between scans.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "platform/machine_ports.h"

namespace tov::platform {
namespace {

SerialPortDevice port(const std::string& name, SerialKind kind, const std::string& usbInterface = "") {
  SerialPortDevice p;
  p.name = name;
  p.kind = kind;
  p.usbInterface = usbInterface;
  return p;
}
SerialPortDevice builtIn(const std::string& name) { return port(name, SerialKind::BuiltIn); }
SerialPortDevice usb(const std::string& name, const std::string& usbPath) {
  return port(name, SerialKind::Usb, usbPath + ":1.0");
}
SerialPortDevice other(const std::string& name) { return port(name, SerialKind::Other); }

std::map<std::string, int> numbered(ComPortNumbering& numbering, std::vector<SerialPortDevice> ports) {
  numbering.number(ports);
  std::map<std::string, int> numbers;
  for (const auto& p : ports) numbers[p.name] = p.com;
  return numbers;
}

TEST(ComPortNumbering, PresentPortsKeepTheirNumbersAndPortsThatComeBackGetTheirsAgain) {
  struct Step {
    const char* what;
    std::vector<SerialPortDevice> scan;
    std::map<std::string, int> numbers;
  };
  const Step steps[] = {
      {"the first scan takes the numbers the hardware gives",
       {usb("ttyUSB0", "1-2"), builtIn("ttyS0")},
       {{"ttyS0", 1}, {"ttyUSB0", 2}}},
      {"a port whose number is held gets the lowest free one",
       {builtIn("ttyS0"), usb("ttyUSB0", "1-2"), usb("ttyUSB1", "1-1")},
       {{"ttyS0", 1}, {"ttyUSB0", 2}, {"ttyUSB1", 3}}},
      {"a port that goes leaves the others as they are",
       {builtIn("ttyS0"), usb("ttyUSB1", "1-1")},
       {{"ttyS0", 1}, {"ttyUSB1", 3}}},
      {"the number of a port seen earlier is kept for it: a new port takes the next free one",
       {builtIn("ttyS0"), usb("ttyUSB1", "1-1"), other("ttyAMA0")},
       {{"ttyS0", 1}, {"ttyUSB1", 3}, {"ttyAMA0", 4}}},
      {"the port comes back on its socket under another name: its number again",
       {builtIn("ttyS0"), usb("ttyUSB1", "1-1"), other("ttyAMA0"), usb("ttyUSB2", "1-2")},
       {{"ttyS0", 1}, {"ttyUSB1", 3}, {"ttyAMA0", 4}, {"ttyUSB2", 2}}},
      {"a built-in port whose own number is held gets the lowest free one",
       {builtIn("ttyS0"), builtIn("ttyS2"), usb("ttyUSB1", "1-1"), other("ttyAMA0"), usb("ttyUSB2", "1-2")},
       {{"ttyS0", 1}, {"ttyS2", 5}, {"ttyUSB1", 3}, {"ttyAMA0", 4}, {"ttyUSB2", 2}}},
      {"a new port whose own number is free takes it, in whatever order the scan lists the ports",
       {other("ttyAMA1"), usb("ttyUSB2", "1-2"), builtIn("ttyS2"), other("ttyAMA0"), builtIn("ttyS0"),
        usb("ttyUSB1", "1-1")},
       {{"ttyS0", 1}, {"ttyUSB2", 2}, {"ttyUSB1", 3}, {"ttyAMA0", 4}, {"ttyS2", 5}, {"ttyAMA1", 7}}},
  };
  ComPortNumbering numbering;
  for (const Step& step : steps) {
    SCOPED_TRACE(step.what);
    EXPECT_EQ(numbered(numbering, step.scan), step.numbers);
  }
}

TEST(ComPortNumbering, KeptNumbersAreTakenOnlyWhenNoOtherIsFree) {
  ComPortNumbering numbering;
  std::vector<SerialPortDevice> all;
  for (int i = 0; i < 255; ++i) all.push_back(other("ttyX" + std::to_string(1000 + i)));
  numbered(numbering, all);  // every number from 1 to 255 is now kept for a port
  const auto two = numbered(numbering, {other("ttyX1000"), other("ttyY0")});
  EXPECT_EQ(two.at("ttyX1000"), 1);
  EXPECT_EQ(two.at("ttyY0"), 2) << "the lowest number no present port holds";
  const auto back = numbered(numbering, {other("ttyX1000"), other("ttyY0"), other("ttyX1001")});
  EXPECT_EQ(back.at("ttyY0"), 2);
  EXPECT_EQ(back.at("ttyX1001"), 3) << "its number 2 is held: the lowest number no present port holds";
  all.push_back(other("ttyZ"));
  EXPECT_EQ(numbered(numbering, all).at("ttyZ"), 0) << "a 256th port gets no number";
}

TEST(ComPortNumbering, ComNumberReadsPlainComNames) {
  const std::pair<const char*, int> cases[] = {{"COM1", 1},   {"com255", 255}, {"CoM12", 12}, {"COM256", 0},
                                               {"COM0", 0},   {"COM01", 0},    {"COM", 0},    {"COM+3", 0},
                                               {"LPT1", 0},   {"COMx1", 0},    {"xCOM1", 0}};
  for (const auto& [name, number] : cases) EXPECT_EQ(comNumber(name), number) << name;
}

}  // namespace
}  // namespace tov::platform
