// The public enums of the type library and the records the component keeps per port.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include <tovport/automation/interface_model.h>
#include <tovport/automation/runtime_error.h>
#include <tovport/automation/variant.h>
#include <tovport/platform/win32.h>

namespace tov {

using automation::BStr;
using automation::Date;
using automation::Variant;
using automation::VariantBool;

inline constexpr int MaxPorts = 32;

enum PortAvailability : std::int32_t { pa_Available = 0, pa_NotAvailable = 1, pa_NoMorePorts = 2, pa_VBPending = 3 };

enum DeviceDetectionError : std::int32_t {
  dde_NoError = 0,
  dde_CouldNotOpenPort = 1,
  dde_CouldNotsendOutput = 2,
  dde_Timeout = 3,
  dde_NoMoreDevices = 4,
  dde_Pending = 5,
};

enum ComPortType : std::int32_t {
  cptNone = 0,
  cptUnknown = 1,
  cptSerial = 2,
  cptIrDa = 3,
  cptBluetooth = 4,
  cptUSB = 5,
  cptBTSerialIn = 6,
  cptBTSerialOut = 7,
  cptBTDialUp = 8,
  cptUSBPassive = 9,
  cptPCMCIA = 10,
};

// The phone models, in the order of their values 100, 101, ...
#define TOV_DEVICE_MODELS(X)                                                                                  \
  X(SL45i) X(SL45) X(SL42) X(S45i) X(S45) X(S40) X(S35i) X(ME45) X(MT50) X(M50) X(M35i) X(C55) X(C35i) X(SX45) \
  X(IC35) X(S55) X(CX65) X(C65) X(SXG75) X(S75) X(A75) X(AX75) X(A76) X(AX76) X(C66) X(C6C) X(C6V) X(C70)     \
  X(C72) X(C75) X(C7C) X(C7I) X(C7V) X(CF75) X(CF76) X(CF7C) X(CX66) X(CX6C) X(CX6V) X(CX70) X(CX75) X(CX7A)  \
  X(CX7C) X(CX7D) X(CX7I) X(CX7V) X(CXV7) X(M65) X(M66) X(M6C) X(M6V) X(M75) X(M75C) X(ME75) X(S65) X(S66)    \
  X(S6C) X(S6V) X(S7C) X(S7F) X(S7I) X(SK65) X(SK66) X(SK6C) X(SK6RE) X(SK6RP) X(SK6V) X(SL65) X(SL66)        \
  X(SL6C) X(SL6V) X(SL75) X(SL7C) X(SL7F) X(SP65) X(SP66) X(SP6C) X(SP6V) X(EF81) X(S68) X(S68C) X(S68F)      \
  X(EL71) X(ELC1) X(ELF1) X(C81) X(M81) X(C91) X(E81) X(SF71) X(SL91) X(EF82) X(E61)

namespace detail {
enum ModelOrdinal : std::int32_t {
#define TOV_ORDINAL(m) ordinal_##m,
  TOV_DEVICE_MODELS(TOV_ORDINAL)
#undef TOV_ORDINAL
      modelCount
};
}  // namespace detail

enum DeviceType : std::int32_t {
  dtNone = 0,
  dtNoSiemens = 1,
  dtNotTested = 2,
  dtSiemens_Other = 3,
#define TOV_MEMBER(m) dtSiemens_##m = 100 + detail::ordinal_##m,
  TOV_DEVICE_MODELS(TOV_MEMBER)
#undef TOV_MEMBER
};

inline constexpr int kModelCount = detail::modelCount;
static_assert(dtSiemens_SL45i == 100 && dtSiemens_E61 == 192 && dtSiemens_M75C == 152 && dtSiemens_A76 == 122);

// Model names without their prefix, indexed by value - 100.
inline constexpr std::array<std::string_view, kModelCount> kModelNames = {
#define TOV_NAME(m) #m,
    TOV_DEVICE_MODELS(TOV_NAME)
#undef TOV_NAME
};

// The serial API's view of one port.
struct CommPortInfo {
  std::int32_t hCom = 0;
  VariantBool IsOpen = VariantBool::False;
  platform::DCB PortDCB{};
};

// The last serial failure of an instance.
struct CommErrorInfo {
  std::int32_t ErrorCode = 0;
  BStr ErrorSource;
  BStr ErrorMessage;
};

// A fixed table indexed Lo..Hi; any other index is run-time error 9 and changes nothing.
template <class T, int Lo, int Hi>
class IndexedTable {
 public:
  T& operator()(long i) {
    automation::checkIndex(i, Lo, Hi);
    return items_[static_cast<std::size_t>(i - Lo)];
  }
  const T& operator()(long i) const {
    automation::checkIndex(i, Lo, Hi);
    return items_[static_cast<std::size_t>(i - Lo)];
  }
  auto begin() { return items_.begin(); }
  auto end() { return items_.end(); }
  auto begin() const { return items_.begin(); }
  auto end() const { return items_.end(); }

 private:
  std::array<T, static_cast<std::size_t>(Hi - Lo + 1)> items_{};
};

template <class T>
using PortTableOf = IndexedTable<T, 1, MaxPorts>;

}  // namespace tov

namespace tov::automation {
template <>
struct EnumName<tov::PortAvailability> {
  static constexpr std::string_view value = "PortAvailability";
};
template <>
struct EnumName<tov::DeviceDetectionError> {
  static constexpr std::string_view value = "DeviceDetectionError";
};
template <>
struct EnumName<tov::DeviceType> {
  static constexpr std::string_view value = "DeviceType";
};
template <>
struct EnumName<tov::ComPortType> {
  static constexpr std::string_view value = "ComPortType";
};
}  // namespace tov::automation
