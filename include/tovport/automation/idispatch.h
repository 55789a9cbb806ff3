// IDispatch: late-bound calls by name and DISPID.
#pragma once

#include <string>
#include <string_view>

#include <tovport/automation/com.h>

namespace tov::automation {

class Variant;
struct DispParams;
struct ExcepInfo;

inline constexpr HRESULT DISP_E_UNKNOWNINTERFACE = static_cast<HRESULT>(0x80020001u);
inline constexpr HRESULT DISP_E_MEMBERNOTFOUND = static_cast<HRESULT>(0x80020003u);
inline constexpr HRESULT DISP_E_PARAMNOTFOUND = static_cast<HRESULT>(0x80020004u);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = static_cast<HRESULT>(0x80020005u);
inline constexpr HRESULT DISP_E_UNKNOWNNAME = static_cast<HRESULT>(0x80020006u);
inline constexpr HRESULT DISP_E_EXCEPTION = static_cast<HRESULT>(0x80020009u);
inline constexpr HRESULT DISP_E_BADPARAMCOUNT = static_cast<HRESULT>(0x8002000Eu);
inline constexpr HRESULT DISP_E_PARAMNOTOPTIONAL = static_cast<HRESULT>(0x8002000Fu);

class IDispatch : public IUnknown {
 public:
  // The DISPID of a member name, matched without regard to case.
  virtual HRESULT GetIDsOfNames(std::u16string_view name, DISPID* id) = 0;
  // Calls member id with params (last argument first). On DISP_E_EXCEPTION, excep holds the
  // error; on DISP_E_TYPEMISMATCH and DISP_E_PARAMNOTFOUND, argErr the index of the argument.
  virtual HRESULT Invoke(DISPID id, DispParams& params, Variant* result, ExcepInfo* excep,
                         unsigned* argErr = nullptr) = 0;

 protected:
  ~IDispatch() = default;
};

}  // namespace tov::automation
