// The AT command set of a simulated phone: one table of the commands it knows, each with what it
// answers, and the interpreter of a command line that runs them one after another.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <tovport/platform/phone_simulator.h>

namespace tov::platform {

// What the phone's commands set; ATZ and AT&F bring back the profile's.
struct PhoneState {
  bool echo = true;
  bool verbose = true;     // ATV1: result codes as words; ATV0: as numbers
  bool quiet = false;      // ATQ1: no result codes at all
  int errorMode = 0;       // AT+CMEE: 0 plain ERROR, 1 "+CME ERROR: <number>", 2 "+CME ERROR: <text>"
  std::string charset = "GSM";
  int functionality = 1;   // AT+CFUN
};

PhoneState initialState(const PhoneProfile& profile);

// Why a command failed, as a mobile-equipment error (number and text) for AT+CMEE.
struct CommandError {
  int number;
  const char* text;
};

// Runs the commands of one line ("AT+CMEE=1;+CGMI", any letter case) in order, adding each
// information line to `info`. Stops at the first command that fails and returns its error;
// nothing when every command ran.
std::optional<CommandError> runCommandLine(std::string_view line, const PhoneProfile& profile, PhoneState& state,
                                           std::vector<std::string>& info);

// The phone's serial number (IMEI: 15 digits, the last the Luhn check digit) and its SIM's
// subscriber identity (IMSI), the same for every phone of one maker and model.
std::string imeiOf(const PhoneProfile& profile);
std::string imsiOf(const PhoneProfile& profile);

}  // namespace tov::platform
