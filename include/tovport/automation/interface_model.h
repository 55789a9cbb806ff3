// The description of an automation interface: methods with DISPIDs, parameters (by value or by
// reference, optional with defaults) and results; events; enums; records. A class describes its
// interface once, binding each method row to the C++ member it calls; the dispatcher and the IDL
// generator both read that description.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <tovport/automation/com.h>
#include <tovport/automation/convert.h>
#include <tovport/automation/runtime_error.h>
#include <tovport/automation/variant.h>

namespace tov::automation {

enum class TypeKind { Void, I2, I4, UI1, R8, Bool, BStr, Date, Variant, Dispatch, Enum };

struct TypeDesc {
  TypeKind kind = TypeKind::Void;
  std::string_view enumName;  // for TypeKind::Enum
  friend bool operator==(const TypeDesc&, const TypeDesc&) = default;
};

// Enums used on an interface declare their type-library name by specialising EnumName.
template <class E>
struct EnumName;

template <class T>
constexpr TypeDesc typeOf() {
  if constexpr (std::is_void_v<T>) return {TypeKind::Void, {}};
  else if constexpr (std::is_same_v<T, std::int16_t>) return {TypeKind::I2, {}};
  else if constexpr (std::is_same_v<T, std::int32_t>) return {TypeKind::I4, {}};
  else if constexpr (std::is_same_v<T, std::uint8_t>) return {TypeKind::UI1, {}};
  else if constexpr (std::is_same_v<T, double>) return {TypeKind::R8, {}};
  else if constexpr (std::is_same_v<T, VariantBool>) return {TypeKind::Bool, {}};
  else if constexpr (std::is_same_v<T, BStr>) return {TypeKind::BStr, {}};
  else if constexpr (std::is_same_v<T, Date>) return {TypeKind::Date, {}};
  else if constexpr (std::is_same_v<T, Variant>) return {TypeKind::Variant, {}};
  else if constexpr (std::is_same_v<T, Ref<IDispatch>>) return {TypeKind::Dispatch, {}};
  else if constexpr (std::is_enum_v<T>) return {TypeKind::Enum, EnumName<T>::value};
  else static_assert(sizeof(T) == 0, "type not supported on an automation interface");
}

// Converts an argument to the parameter's C++ type with the automation rules.
template <class T>
T fromVariant(const Variant& v) {
  if constexpr (std::is_same_v<T, std::int16_t>) return toI2(v);
  else if constexpr (std::is_same_v<T, std::int32_t>) return toI4(v);
  else if constexpr (std::is_same_v<T, std::uint8_t>) return toUI1(v);
  else if constexpr (std::is_same_v<T, double>) return toR8(v);
  else if constexpr (std::is_same_v<T, VariantBool>) return toBool(v);
  else if constexpr (std::is_same_v<T, BStr>) return toText(v);
  else if constexpr (std::is_same_v<T, Date>) return toDate(v);
  else if constexpr (std::is_same_v<T, Variant>) return v.deref();
  else if constexpr (std::is_same_v<T, Ref<IDispatch>>) return toDispatch(v);
  else if constexpr (std::is_enum_v<T>) return static_cast<T>(toI4(v));
}

template <class T>
Variant toVariant(const T& value) {
  if constexpr (std::is_enum_v<T> && !std::is_same_v<T, VariantBool>) return Variant(static_cast<std::int32_t>(value));
  else return Variant(value);
}

// An argument that failed to convert to its parameter type (index in interface order).
struct ArgumentError {
  std::size_t index;
  RuntimeError error;
};

struct ParamDesc {
  std::string_view name;
  TypeDesc type;
  bool byRef = false;
  std::optional<Variant> defaultValue;  // set for optional parameters
  bool optional() const { return defaultValue.has_value(); }
};

// Table rows name their parameters; optional ones carry their default.
struct ParamSpec {
  ParamSpec(const char* n) : name(n) {}
  ParamSpec(const char* n, Variant def) : name(n), defaultValue(std::move(def)) {}
  std::string_view name;
  std::optional<Variant> defaultValue;
};

// The address of an entry of a dual interface's function table (its real type is the entry's own).
using FunctionTableEntry = void (*)();

template <class C>
struct MethodDesc {
  std::string_view name;
  DISPID dispid;
  std::vector<ParamDesc> params;
  TypeDesc result;
  // args: one per parameter, in interface order; by-reference ones are written back.
  Variant (*invoke)(C& object, std::vector<Variant>& args);
  // The entry serving this method in the dual interface's function table, where the system has one
  // (Windows); null elsewhere.
  FunctionTableEntry tableEntry = nullptr;
};

struct EventDesc {
  std::string_view name;
  DISPID dispid;
  std::vector<ParamDesc> params;  // every event argument is passed by reference
};

struct EnumDesc {
  std::string_view name;
  GUID guid;
  std::vector<std::pair<std::string_view, std::int32_t>> members;
};

struct FieldDesc {
  std::string_view name;
  TypeDesc type;
};

struct RecordDesc {
  std::string_view name;
  GUID guid;
  std::vector<FieldDesc> fields;
};

// The type a VARIANT carries for a value of this type (an enum travels as VT_I4).
constexpr VarType varTypeOf(const TypeDesc& t) {
  switch (t.kind) {
    case TypeKind::Void: return VT_EMPTY;
    case TypeKind::I2: return VT_I2;
    case TypeKind::I4: return VT_I4;
    case TypeKind::UI1: return VT_UI1;
    case TypeKind::R8: return VT_R8;
    case TypeKind::Bool: return VT_BOOL;
    case TypeKind::BStr: return VT_BSTR;
    case TypeKind::Date: return VT_DATE;
    case TypeKind::Variant: return VT_VARIANT;
    case TypeKind::Dispatch: return VT_DISPATCH;
    case TypeKind::Enum: return VT_I4;
  }
  return VT_EMPTY;
}

namespace detail {

template <auto M>
struct MemberTraits;

// The function-table entry of member M on a dual interface. Only the Windows build defines it
// (automation/win32/function_table_entry.h, included where the interface table is written);
// without it rows carry no entry.
template <auto M>
struct TableEntry;

template <auto M>
FunctionTableEntry tableEntryOf() {
  if constexpr (requires { TableEntry<M>::address(); }) return TableEntry<M>::address();
  else return nullptr;
}

template <class C, class R, class... A, R (C::*M)(A...)>
struct MemberTraits<M> {
  using Class = C;
  using Result = R;
  static constexpr std::size_t arity = sizeof...(A);

  static std::vector<ParamDesc> params(std::initializer_list<ParamSpec> specs) {
    if (specs.size() != arity) throw std::logic_error("parameter names do not match the member's arity");
    std::vector<ParamDesc> out;
    const TypeDesc types[] = {typeOf<std::decay_t<A>>()..., TypeDesc{}};
    const bool refs[] = {(std::is_lvalue_reference_v<A> && !std::is_const_v<std::remove_reference_t<A>>)..., false};
    std::size_t i = 0;
    for (const auto& s : specs) {
      out.push_back(ParamDesc{s.name, types[i], refs[i], s.defaultValue});
      ++i;
    }
    return out;
  }

  static Variant invoke(C& object, std::vector<Variant>& args) {
    return invokeImpl(object, args, std::index_sequence_for<A...>{});
  }

 private:
  template <class T>
  static T convert(const std::vector<Variant>& args, std::size_t i) {
    try {
      return fromVariant<T>(args[i]);
    } catch (const RuntimeError& e) {
      throw ArgumentError{i, e};
    }
  }

  template <std::size_t... I>
  static Variant invokeImpl(C& object, std::vector<Variant>& args, std::index_sequence<I...>) {
    std::tuple<std::decay_t<A>...> storage{convert<std::decay_t<A>>(args, I)...};
    auto writeBack = [&] {
      ((std::is_lvalue_reference_v<A> ? args[I].assign(toVariant(std::get<I>(storage))) : void()), ...);
    };
    if constexpr (std::is_void_v<R>) {
      (object.*M)(std::get<I>(storage)...);
      writeBack();
      return Variant();
    } else {
      R result = (object.*M)(std::get<I>(storage)...);
      writeBack();
      return toVariant(result);
    }
  }
};

template <class F>
struct EventSignature;

template <class... A>
struct EventSignature<void(A...)> {
  static std::vector<ParamDesc> params(std::initializer_list<ParamSpec> specs) {
    std::vector<ParamDesc> out;
    const TypeDesc types[] = {typeOf<std::decay_t<A>>()..., TypeDesc{}};
    std::size_t i = 0;
    for (const auto& s : specs) out.push_back(ParamDesc{s.name, types[i++], true, std::nullopt});
    return out;
  }
};

}  // namespace detail

// One method row: the C++ member M is what the row calls.
template <auto M>
MethodDesc<typename detail::MemberTraits<M>::Class> method(std::string_view name, DISPID id,
                                                          std::initializer_list<ParamSpec> params = {}) {
  using T = detail::MemberTraits<M>;
  return {name, id, T::params(params), typeOf<typename T::Result>(), &T::invoke, detail::tableEntryOf<M>()};
}

// One event row; Signature is void(T&...) with the event's argument types.
template <class Signature>
EventDesc event(std::string_view name, DISPID id, std::initializer_list<ParamSpec> params = {}) {
  return {name, id, detail::EventSignature<Signature>::params(params)};
}

}  // namespace tov::automation
