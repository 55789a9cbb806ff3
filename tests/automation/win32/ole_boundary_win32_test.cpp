// The OLE boundary: values between VARIANT and the runtime's Variant, by-reference arguments in
// both directions, errors in EXCEPINFO, and a served component called and heard through the
// system's own interfaces.
#include <gtest/gtest.h>

#include <vector>

#include <tovport/automation/dispatch_object.h>
#include <tovport/component/guids.h>
#include <tovport/component/tovcomprtv3.h>
#include "automation/win32/ole_client.h"
#include "automation/win32/ole_server.h"

namespace {

namespace ta = tov::automation;
namespace ole = tov::automation::ole;

VARIANT make(VARTYPE vt, auto set) {
  VARIANT v;
  VariantInit(&v);
  v.vt = vt;
  set(v);
  return v;
}

struct ValueCase {
  const char* name;
  VARIANT ole;
  ta::Variant value;
};

TEST(OleValues, EachTypeCrossesBothWaysUnchanged) {
  std::vector<ValueCase> cases = {
      {"I2", make(VT_I2, [](VARIANT& v) { v.iVal = -5; }), ta::Variant(std::int16_t{-5})},
      {"I4", make(VT_I4, [](VARIANT& v) { v.lVal = 70000; }), ta::Variant(std::int32_t{70000})},
      {"R8", make(VT_R8, [](VARIANT& v) { v.dblVal = 2.5; }), ta::Variant(2.5)},
      {"UI1", make(VT_UI1, [](VARIANT& v) { v.bVal = 200; }), ta::Variant(std::uint8_t{200})},
      {"BOOL", make(VT_BOOL, [](VARIANT& v) { v.boolVal = VARIANT_TRUE; }), ta::Variant(ta::VariantBool::True)},
      {"BSTR", make(VT_BSTR, [](VARIANT& v) { v.bstrVal = SysAllocString(L"kein Ger\u00e4t"); }),
       ta::Variant(u"kein Ger\u00e4t")},
      {"DATE", make(VT_DATE, [](VARIANT& v) { v.date = 1.5; }), ta::Variant(ta::Date{1.5})},
      {"EMPTY", make(VT_EMPTY, [](VARIANT&) {}), ta::Variant()},
  };
  for (auto& c : cases) {
    SCOPED_TRACE(c.name);
    const ta::Variant in = ole::fromOle(c.ole);
    EXPECT_EQ(in.type(), c.value.type());
    EXPECT_EQ(ta::toText(in), ta::toText(c.value));
    VARIANT out;
    ole::toOle(c.value, &out);
    EXPECT_EQ(out.vt, c.ole.vt);
    EXPECT_EQ(VarCmp(&out, &c.ole, LOCALE_USER_DEFAULT, 0), static_cast<HRESULT>(VARCMP_EQ));
    VariantClear(&out);
    VariantClear(&c.ole);
  }
}

TEST(OleValues, OtherNumbersEnterAsTheNearestTypeAndObjectsAreAMismatch) {
  struct Case {
    VARIANT ole;
    ta::VarType type;
    double value;
  };
  const Case cases[] = {
      {make(VT_I1, [](VARIANT& v) { v.cVal = -3; }), ta::VT_I2, -3},
      {make(VT_UI2, [](VARIANT& v) { v.uiVal = 65535; }), ta::VT_I4, 65535},
      {make(VT_UI4, [](VARIANT& v) { v.ulVal = 4000000000u; }), ta::VT_R8, 4e9},
      {make(VT_R4, [](VARIANT& v) { v.fltVal = 1.5f; }), ta::VT_R8, 1.5},
      {make(VT_CY, [](VARIANT& v) { v.cyVal.int64 = 12345; }), ta::VT_R8, 1.2345},
  };
  for (const auto& c : cases) {
    const ta::Variant v = ole::fromOle(c.ole);
    EXPECT_EQ(v.type(), c.type);
    EXPECT_DOUBLE_EQ(ta::toR8(v), c.value);
  }
  EXPECT_TRUE(ole::fromOle(make(VT_ERROR, [](VARIANT& v) { v.scode = DISP_E_PARAMNOTFOUND; })).isMissing());
  EXPECT_THROW(ole::fromOle(make(VT_ERROR, [](VARIANT& v) { v.scode = E_FAIL; })), ta::RuntimeError);
  EXPECT_THROW(ole::fromOle(make(VT_UNKNOWN, [](VARIANT& v) { v.punkVal = nullptr; })), ta::RuntimeError);
}

TEST(OleValues, ASafeArrayKeepsItsBoundsAndElements) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_I4, 1, 3);
  for (LONG i = 1; i <= 3; ++i) {
    LONG value = i * 10;
    SafeArrayPutElement(array, &i, &value);
  }
  VARIANT in = make(VT_ARRAY | VT_I4, [&](VARIANT& v) { v.parray = array; });
  const ta::Variant value = ole::fromOle(in);
  ASSERT_NE(value.array(), nullptr);
  EXPECT_EQ(value.array()->lowerBound, 1);
  ASSERT_EQ(value.array()->elements.size(), 3u);
  EXPECT_EQ(ta::toI4(value.array()->elements[2]), 30);
  VARIANT out;
  ole::toOle(value, &out);
  ASSERT_EQ(out.vt, VT_ARRAY | VT_I4);
  LONG lower = 0, index = 3, element = 0;
  SafeArrayGetLBound(out.parray, 1, &lower);
  SafeArrayGetElement(out.parray, &index, &element);
  EXPECT_EQ(lower, 1);
  EXPECT_EQ(element, 30);
  VariantClear(&out);
  VariantClear(&in);
}

// What the callee writes into a by-reference argument reaches the caller's variable in the
// caller's type, converted by the runtime's rules.
TEST(OleArguments, ByReferenceWritesReachTheCallersVariableInItsType) {
  VARIANT scriptVariable = make(VT_EMPTY, [](VARIANT&) {});
  BSTR text = SysAllocString(L"31");
  SHORT number = 7;
  VARIANT args[3];  // last argument first
  args[2] = make(VT_BYREF | VT_VARIANT, [&](VARIANT& v) { v.pvarVal = &scriptVariable; });
  args[1] = make(VT_BYREF | VT_BSTR, [&](VARIANT& v) { v.pbstrVal = &text; });
  args[0] = make(VT_BYREF | VT_I2, [&](VARIANT& v) { v.piVal = &number; });
  DISPPARAMS params{args, nullptr, 3, 0};
  ole::IncomingArguments in(params);
  auto& given = in.params().args;
  ASSERT_EQ(given.size(), 3u);
  EXPECT_EQ(ta::toText(given[1]), u"31");
  given[2].assign(ta::Variant(u"message"));    // a BSTR* parameter filled from a script variable
  given[1].assign(ta::Variant(std::int16_t{5}));
  given[0].assign(ta::Variant(u"12"));
  EXPECT_THROW(ta::Variant(given[0]).assign(ta::Variant(u"x")), ta::RuntimeError);
  EXPECT_EQ(number, 7);  // nothing reaches the caller before the call has succeeded
  in.writeBack();
  ASSERT_EQ(scriptVariable.vt, VT_BSTR);
  EXPECT_STREQ(scriptVariable.bstrVal, L"message");
  EXPECT_STREQ(text, L"5");
  EXPECT_EQ(number, 12);
  VariantClear(&scriptVariable);
  SysFreeString(text);
}

TEST(OleArguments, ASinksChangesComeBackIntoTheRaisersVariables) {
  std::int16_t port = 5;
  ta::BStr name = u"old";
  ta::DispParams params{{ta::Variant::byRef(&name), ta::Variant::byRef(&port)}};
  ole::OutgoingArguments out(params);
  DISPPARAMS* real = out.params();
  ASSERT_EQ(real->cArgs, 2u);
  ASSERT_EQ(real->rgvarg[1].vt, VT_BYREF | VT_I2);
  ASSERT_EQ(real->rgvarg[0].vt, VT_BYREF | VT_BSTR);
  *real->rgvarg[1].piVal = 6;
  SysFreeString(*real->rgvarg[0].pbstrVal);
  *real->rgvarg[0].pbstrVal = SysAllocString(L"new");
  out.writeBack(params);
  EXPECT_EQ(port, 6);
  EXPECT_EQ(name, u"new");
}

TEST(OleErrors, TheRunTimeErrorNumberTravelsInTheScode) {
  EXCEPINFO excep;
  ole::toOle(ta::ExcepInfo{9, u"tovport", u"Subscript out of range", static_cast<ta::HRESULT>(0x800A0009u)}, &excep);
  EXPECT_EQ(static_cast<unsigned>(excep.scode), 0x800A0009u);
  EXPECT_STREQ(excep.bstrDescription, L"Subscript out of range");
  const ta::ExcepInfo back = ole::fromOle(excep);
  EXPECT_EQ(back.code, 9);
  EXPECT_EQ(back.description, u"Subscript out of range");
  SysFreeString(excep.bstrSource);
  SysFreeString(excep.bstrDescription);
}

// A sink that records PortAvailable and moves the first event's port to the next one.
class MovingSink final : public ta::EventSink {
 public:
  MovingSink() : EventSink(tov::DIID___tovComPrtv3) {}
  std::vector<std::int16_t> ports;

 protected:
  void onEvent(ta::DISPID id, std::vector<ta::Variant>& args) override {
    if (id != 4) return;
    ports.push_back(ta::toI2(args[0]));
    if (ports.size() == 1) args[0].assign(ta::Variant(std::int16_t{6}));
  }
};

class ServedComponent : public ::testing::Test {
 protected:
  void SetUp() override {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    auto component = tov::tovComPrtv3::create();
    object = ole::serve(ta::Ref<ta::IDispatch>(component.get()),
                        {tov::CLSID_tovComPrtv3, tov::IID__tovComPrtv3, tov::DIID___tovComPrtv3, nullptr, {}});
  }
  void TearDown() override {
    object->Release();
    CoUninitialize();
  }
  HRESULT call(const wchar_t* name, std::vector<VARIANT> args, VARIANT* result, EXCEPINFO* excep = nullptr) {
    LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
    DISPID id = 0;
    const HRESULT found = object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
    if (FAILED(found)) return found;
    DISPPARAMS params{args.data(), nullptr, static_cast<UINT>(args.size()), 0};
    EXCEPINFO ignored{};
    UINT argErr = 0;
    return object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, result,
                          excep ? excep : &ignored, &argErr);
  }
  ::IDispatch* object = nullptr;
};

TEST_F(ServedComponent, CallsByNameAnswerInTheDeclaredTypesAndErrorsCarryTheirNumber) {
  VARIANT result;
  VariantInit(&result);
  ASSERT_EQ(call(L"vbgetdevicename", {make(VT_I2, [](VARIANT& v) { v.iVal = 154; })}, &result), S_OK);
  ASSERT_EQ(result.vt, VT_BSTR);
  EXPECT_STREQ(result.bstrVal, L"BenQ-Siemens S65");
  VariantClear(&result);
  EXCEPINFO excep{};
  EXPECT_EQ(call(L"VBGetTimeoutSeconds", {make(VT_I2, [](VARIANT& v) { v.iVal = 99; })}, &result, &excep),
            DISP_E_EXCEPTION);
  EXPECT_EQ(static_cast<unsigned>(excep.scode), 0x800A0009u);
  SysFreeString(excep.bstrSource);
  SysFreeString(excep.bstrDescription);
  EXPECT_EQ(call(L"NoSuchMethod", {}, &result), DISP_E_UNKNOWNNAME);
}

// Values the runtime has no type for: debugprint takes them by value and by reference and leaves
// the caller's variable alone; a parameter of a declared type still refuses them.
TEST_F(ServedComponent, DebugprintTakesAnyValueThatTypedParametersRefuse) {
  SAFEARRAYBOUND bounds[2] = {{2, 0}, {3, 1}};
  DECIMAL decimal{};
  VarDecFromI4(7, &decimal);
  struct Case {
    const char* name;
    VARIANT value;
  };
  Case cases[] = {
      {"object", make(VT_DISPATCH, [&](VARIANT& v) { v.pdispVal = object, object->AddRef(); })},
      {"decimal", make(VT_DECIMAL, [&](VARIANT& v) { v.decVal = decimal, v.vt = VT_DECIMAL; })},
      {"error value", make(VT_ERROR, [](VARIANT& v) { v.scode = static_cast<SCODE>(0x800A0005u); })},
      {"2-D array", make(VT_ARRAY | VT_I4, [&](VARIANT& v) { v.parray = SafeArrayCreate(VT_I4, 2, bounds); })},
  };
  for (auto& c : cases) {
    SCOPED_TRACE(c.name);
    VARIANT variable;
    VariantInit(&variable);
    VariantCopy(&variable, &c.value);
    VARIANT result;
    VariantInit(&result);
    EXPECT_EQ(call(L"debugprint", {c.value}, &result), S_OK);
    EXPECT_EQ(call(L"debugprint", {make(VT_BYREF | VT_VARIANT, [&](VARIANT& v) { v.pvarVal = &variable; })}, &result),
              S_OK);
    EXPECT_EQ(variable.vt, c.value.vt);
    EXPECT_EQ(call(L"VBGetTimeoutSeconds", {c.value}, &result), DISP_E_TYPEMISMATCH);
    VariantClear(&variable);
    VariantClear(&c.value);
  }
}

TEST_F(ServedComponent, ASinkOnTheConnectionPointHearsEventsAndItsChangesReachTheComponent) {
  IConnectionPointContainer* container = nullptr;
  ASSERT_EQ(object->QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(&container)), S_OK);
  IConnectionPoint* point = nullptr;
  ASSERT_EQ(container->FindConnectionPoint(ole::toOle(tov::DIID___tovComPrtv3), &point), S_OK);
  ta::Ref<MovingSink> sink(new MovingSink);
  ::IDispatch* served = ole::serve(sink, {{}, tov::DIID___tovComPrtv3, tov::DIID___tovComPrtv3, nullptr, {}});
  DWORD cookie = 0;
  ASSERT_EQ(point->Advise(served, &cookie), S_OK);
  VARIANT result;
  VariantInit(&result);
  EXCEPINFO excep{};
  call(L"fireEventPortAvailable",
       {make(VT_I4, [](VARIANT& v) { v.lVal = tov::pa_NotAvailable; }), make(VT_I2, [](VARIANT& v) { v.iVal = 5; })},
       &result, &excep);
  // The end mark follows for the port the handler moved the event to.
  EXPECT_EQ(sink->ports, (std::vector<std::int16_t>{5, 6}));
  // A fresh instance has no worker controller: after its events the raiser stops with error 91.
  EXPECT_EQ(static_cast<unsigned>(excep.scode), 0x800A005Bu);
  SysFreeString(excep.bstrSource);
  SysFreeString(excep.bstrDescription);
  EXPECT_EQ(point->Unadvise(cookie), S_OK);
  served->Release();
  point->Release();
  container->Release();
}

}  // namespace
