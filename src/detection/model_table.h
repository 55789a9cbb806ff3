// The model table: which DeviceType a model answer ("AT+CGMM") names, and whether the host
// should set up the phone's APN. Rows are tested in order and the first key found decides, so
// a key that another key contains (SL45 in SL45i, M75 in M75C, AX7 in AX75) comes after it.
#pragma once

#include <array>
#include <string_view>

#include <tovport/component/types.h>

namespace tov::detection {

struct ModelRow {
  std::u16string_view key;
  DeviceType device;
  bool doSiemensAPN;
};

inline constexpr std::size_t kModelRowCount = 95;
extern const std::array<ModelRow, kModelRowCount> kModelTable;

// The first row whose key the answer contains (letter case ignored), or nullptr.
const ModelRow* findModel(std::u16string_view answer);

}  // namespace tov::detection
