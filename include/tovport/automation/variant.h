// VARIANT: the automation value, including references to a caller's variable (VT_BYREF) through
// which a callee writes back.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include <tovport/automation/com.h>
#include <tovport/automation/idispatch.h>

namespace tov::automation {

enum VarType : std::uint16_t {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R8 = 5,
  VT_DATE = 7,
  VT_BSTR = 8,
  VT_DISPATCH = 9,
  VT_ERROR = 10,
  VT_BOOL = 11,
  VT_VARIANT = 12,
  VT_UNKNOWN = 13,
  VT_UI1 = 17,
  VT_RECORD = 36,
  VT_ARRAY = 0x2000,
  VT_BYREF = 0x4000,
};

using BStr = std::u16string;

enum class VariantBool : std::int16_t { False = 0, True = -1 };
constexpr VariantBool vb(bool b) { return b ? VariantBool::True : VariantBool::False; }
constexpr bool isTrue(VariantBool b) { return b != VariantBool::False; }

struct Date {
  double value = 0.0;  // days since 1899-12-30, fraction = time of day
  friend bool operator==(const Date&, const Date&) = default;
};

class Variant;

// A one-dimensional SAFEARRAY: elements of one type, indexed from lowerBound.
struct SafeArray {
  VarType elementType = VT_VARIANT;
  std::int32_t lowerBound = 0;
  std::vector<Variant> elements;
  std::int32_t upperBound() const;
};

class Variant {
 public:
  struct Null {};
  struct Missing {};  // VT_ERROR with DISP_E_PARAMNOTFOUND: an omitted optional argument
  // A host's value of a type the runtime holds no values of (an object of another kind, a decimal,
  // an error value, an array of more than one dimension), kept by its type only: no conversion
  // accepts it, so only a parameter that takes any value can receive it.
  struct Foreign {
    VarType type;
  };
  using ByRef = std::variant<std::int16_t*, std::int32_t*, double*, std::uint8_t*, VariantBool*, BStr*, Date*,
                             Ref<IDispatch>*, Variant*>;

  Variant();
  Variant(std::int16_t v);
  Variant(std::int32_t v);
  Variant(double v);
  Variant(std::uint8_t v);
  Variant(VariantBool v);
  Variant(BStr v);
  Variant(const char16_t* v);
  Variant(Date v);
  Variant(Ref<IDispatch> v);
  Variant(SafeArray v);
  Variant(Null);
  Variant(Missing);
  Variant(Foreign);
  Variant(const Variant&);
  Variant(Variant&&) noexcept;
  Variant& operator=(const Variant&);
  Variant& operator=(Variant&&) noexcept;
  ~Variant();

  template <class T>
  static Variant byRef(T* target) {
    Variant v;
    v.value_ = ByRef(target);
    return v;
  }

  VarType type() const;  // VT_BYREF | the referenced type for references
  bool isByRef() const;
  bool isEmpty() const;
  bool isMissing() const;
  bool isForeign() const;
  // The value itself: a copy of what a reference points at, or of this.
  Variant deref() const;
  // Stores v into what a reference points at (converted to its type), or replaces this value.
  void assign(const Variant& v);

  // Exact-type access (no conversion); nullptr when the variant holds another type.
  template <class T>
  const T* get() const {
    return std::get_if<T>(&value_);
  }
  template <class T>
  T* get() {
    return std::get_if<T>(&value_);
  }
  const SafeArray* array() const;

 private:
  using Value = std::variant<std::monostate, Null, Missing, Foreign, std::int16_t, std::int32_t, double, std::uint8_t,
                             VariantBool, BStr, Date, Ref<IDispatch>, std::shared_ptr<SafeArray>, ByRef>;
  Value value_;
};

inline std::int32_t SafeArray::upperBound() const {
  return lowerBound + static_cast<std::int32_t>(elements.size()) - 1;
}

// Arguments of a dispatch call: the last argument first, as the dispatch standard orders them.
struct DispParams {
  std::vector<Variant> args;
};

struct ExcepInfo {
  std::int32_t code = 0;  // run-time error number, when the failure was one
  std::u16string source;
  std::u16string description;
  HRESULT scode = S_OK;
};

}  // namespace tov::automation
