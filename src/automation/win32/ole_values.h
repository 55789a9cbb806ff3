// The one adapter between real OLE Automation values and the automation runtime's own: VARIANT,
// BSTR and SAFEARRAY to and from Variant, and the arguments of a call in both directions with
// their by-reference variables. Which value converts to which is decided by the runtime's
// conversion rules (automation/convert.h); here values only change representation.
//
// Include this header after every header of the component: the Windows headers define macros
// (S_OK, TRUE, SendMessage, ...) that would rename what those headers declare.
#pragma once

#include <vector>

#include <tovport/automation/dispatch.h>
#include <tovport/automation/variant.h>

#include <oaidl.h>
#include <oleauto.h>

namespace tov::automation::ole {

// The runtime's GUID and the system's have the same layout.
::GUID toOle(const GUID& g);

// A value the runtime has no type for (an object of another kind, a record, an array of more
// than one dimension) raises RuntimeError(kErrTypeMismatch).
Variant fromOle(const VARIANT& value);
// Writes value into out, which must be empty (VariantInit or VariantClear).
void toOle(const Variant& value, VARIANT* out);
// Writes value, converted to type by the runtime's rules, to target, which holds nothing yet (an
// [out] parameter of that type).
void toOle(const Variant& value, VARTYPE type, void* target);

// An argument of a call through a function table as a VARIANT: a by-reference one (type with
// VT_BYREF) refers to the caller's variable at value, a by-value one copies the value at value. A
// BSTR stays the caller's: the VARIANT must not be cleared.
VARIANT tableArgument(VarType type, void* value);

// The arguments of a call that came in through OLE. A by-reference argument becomes a reference
// to a variable of this object that holds the caller's value in the caller's type (a VBScript
// variable, VT_BYREF|VT_VARIANT, becomes a Variant); writeBack() stores what the callee left in
// those variables back into the caller's. A value the runtime has no type for enters as a
// Variant::Foreign placeholder: a parameter of a declared type refuses it as any conversion does
// (type mismatch), one that takes any value receives it.
class IncomingArguments {
 public:
  explicit IncomingArguments(const DISPPARAMS& params);
  DispParams& params() { return params_; }
  void writeBack();

 private:
  struct Shadow {
    VARIANT* target;  // the caller's variable
    VARTYPE type;     // its type, without VT_BYREF
    Variant value;    // the value, in the caller's type
  };
  DispParams params_;
  std::vector<Shadow> shadows_;  // reserved up front: params_ points into it
};

// The arguments of a call going out through OLE (to a host's IDispatch). A by-reference argument
// goes as VT_BYREF to a VARIANT of this object holding the value; writeBack() assigns what the
// callee left there to the runtime's variable, converted to its type.
class OutgoingArguments {
 public:
  explicit OutgoingArguments(const DispParams& params);
  ~OutgoingArguments();
  OutgoingArguments(const OutgoingArguments&) = delete;
  OutgoingArguments& operator=(const OutgoingArguments&) = delete;
  DISPPARAMS* params() { return &params_; }
  void writeBack(DispParams& params);

 private:
  std::vector<VARIANT> values_;  // what by-reference arguments point at
  std::vector<VARIANT> args_;
  DISPPARAMS params_{};
};

// EXCEPINFO of a failed call: the error's number travels as scode 0x800A0000 + number.
void toOle(const ExcepInfo& excep, EXCEPINFO* out);
ExcepInfo fromOle(const EXCEPINFO& excep);
// A failed call through interface iid's function table: sets the thread's error object (source and
// description) and returns the HRESULT (0x800A0000 + number for a run-time error).
HRESULT raiseErrorInfo(const ExcepInfo& excep, const GUID& iid);

}  // namespace tov::automation::ole
