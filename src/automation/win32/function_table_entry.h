// The entries of a dual interface's function table, one per row of an interface table: the entry
// of member M takes the C types the type library declares for M's parameters (a by-reference
// parameter as a pointer to the caller's variable, the result as a last [out, retval] pointer) and
// hands them to the served object, which runs the call as a call by name runs it. Included, on
// Windows only, by the unit that writes the interface table; it names no Windows header, so the
// member names of the table stay as they are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <tovport/automation/interface_model.h>

namespace tov::automation::ole {

// One argument of a function-table call: its VARIANT type (VT_BYREF and the referenced type for a
// by-reference argument) and where its value is (for a by-reference argument, the caller's
// variable itself).
struct TableArgument {
  VarType type;
  void* value;
};

// Runs method id of the object whose dual interface is self with args (first argument first) and
// stores its result at result.value, converted to result.type (VT_EMPTY: none). A failure comes back
// as its HRESULT, a run-time error as 0x800A0000 + number with the thread's error object set.
HRESULT callThroughFunctionTable(void* self, DISPID id, const TableArgument* args, std::size_t count,
                                 TableArgument result);

}  // namespace tov::automation::ole

struct tagVARIANT;

namespace tov::automation::detail {

// The C type in which a function table passes a value of type T.
template <class T>
struct CType {
  static_assert(std::is_arithmetic_v<T> || std::is_enum_v<T> || std::is_void_v<T>,
                "type not supported in a function table");
  using type = T;
};
template <>
struct CType<VariantBool> {
  using type = std::int16_t;
};
template <>
struct CType<BStr> {
  using type = wchar_t*;
};
template <>
struct CType<Date> {
  using type = double;
};
template <>
struct CType<Variant> {
  using type = tagVARIANT;  // by reference only
};

template <class A>
struct TableParam {
  using type = typename CType<A>::type;
  static ole::TableArgument argument(type& value) { return {varTypeOf(typeOf<A>()), &value}; }
};
template <class A>
struct TableParam<A&> {
  using type = typename CType<A>::type*;
  static ole::TableArgument argument(type& pointer) {
    return {static_cast<VarType>(VT_BYREF | varTypeOf(typeOf<A>())), pointer};
  }
};

template <class C, class R, class... A, R (C::*M)(A...)>
struct TableEntry<M> {
  static FunctionTableEntry address() {
    if constexpr (std::is_void_v<R>)
      return reinterpret_cast<FunctionTableEntry>(&withoutResult);
    else
      return reinterpret_cast<FunctionTableEntry>(&withResult);
  }

 private:
  // The DISPID of M's row: the row whose invoke is M's.
  static DISPID dispid() {
    static const DISPID id = [] {
      for (const auto& m : C::methods())
        if (m.invoke == &MemberTraits<M>::invoke) return m.dispid;
      return DISPID{-1};  // no row names M: the interface table lists every member it binds
    }();
    return id;
  }

  // given ends with an unused entry, so that a method without parameters has an array too.
  static HRESULT __stdcall withoutResult(void* self, typename TableParam<A>::type... args) {
    const ole::TableArgument given[] = {TableParam<A>::argument(args)..., {}};
    return ole::callThroughFunctionTable(self, dispid(), given, sizeof...(A), {VT_EMPTY, nullptr});
  }

  static HRESULT __stdcall withResult(void* self, typename TableParam<A>::type... args,
                                      typename CType<R>::type* result) {
    const ole::TableArgument given[] = {TableParam<A>::argument(args)..., {}};
    return ole::callThroughFunctionTable(self, dispid(), given, sizeof...(A), {varTypeOf(typeOf<R>()), result});
  }
};

}  // namespace tov::automation::detail
