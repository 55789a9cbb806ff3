#include <gtest/gtest.h>

#include <tovport/automation/dispatch.h>
#include <tovport/automation/dispatch_object.h>

namespace tov::automation {
namespace {

// A small automation class described by a table, as the component is.
class Calculator final : public DispatchObject<Calculator> {
 public:
  std::int32_t Add(std::int16_t a, std::int16_t b) { return a + b; }
  void Append(BStr& text, BStr suffix) { text += suffix; }
  BStr Greet(BStr name, BStr greeting) { return greeting + u", " + name; }
  void Fail(std::int16_t number) { throw RuntimeError(number); }

  static const std::vector<MethodDesc<Calculator>>& methods() {
    static const std::vector<MethodDesc<Calculator>> table = {
        method<&Calculator::Add>("Add", 1, {"a", "b"}),
        method<&Calculator::Append>("Append", 2, {"text", "suffix"}),
        method<&Calculator::Greet>("Greet", 3, {"name", {"greeting", u"Hello"}}),
        method<&Calculator::Fail>("Fail", 4, {"number"}),
    };
    return table;
  }
};

class Dispatch : public ::testing::Test {
 protected:
  Ref<Calculator> calc{new Calculator()};
};

// Names match without regard to case; arguments convert by the automation rules; an omitted
// optional argument takes its default.
TEST_F(Dispatch, CallsByNameConvertArgumentsAndFillDefaults) {
  EXPECT_EQ(toI4(callByName(*calc, u"aDD", {u" 2 ", 2.5})), 4);
  DISPID id = 0;
  EXPECT_EQ(calc->GetIDsOfNames(u"GREET", &id), S_OK);
  EXPECT_EQ(id, 3);
  EXPECT_EQ(toText(callByName(*calc, u"Greet", {u"Ada"})), u"Hello, Ada");
  EXPECT_EQ(toText(callByName(*calc, u"Greet", {u"Ada", Variant(Variant::Missing{})})), u"Hello, Ada");
  EXPECT_EQ(toText(callByName(*calc, u"Greet", {u"Ada", u"Hi"})), u"Hi, Ada");
}

// A reference to a variable of another type gets the result converted to that type.
TEST_F(Dispatch, ByReferenceArgumentsWriteBackIntoTheCallersVariable) {
  BStr text = u"AT";
  callByName(*calc, u"Append", {Variant::byRef(&text), u"+CGMI"});
  EXPECT_EQ(text, u"AT+CGMI");
  Variant holder(std::int16_t{1});
  callByName(*calc, u"Append", {Variant::byRef(&holder), u"2"});
  EXPECT_EQ(toText(holder), u"12");
}

TEST_F(Dispatch, FailuresComeBackAsTheStandardErrorsAndRunTimeErrorsKeepTheirNumber) {
  auto hresultOf = [&](std::u16string_view name, std::vector<Variant> args) -> HRESULT {
    try {
      callByName(*calc, name, std::move(args));
    } catch (const DispatchError& e) {
      return e.hresult();
    } catch (const RuntimeError& e) {
      return e.hresult();
    }
    return S_OK;
  };
  EXPECT_EQ(hresultOf(u"Subtract", {}), DISP_E_UNKNOWNNAME);
  EXPECT_EQ(hresultOf(u"Add", {std::int16_t{1}}), DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(hresultOf(u"Add", {std::int16_t{1}, std::int16_t{2}, std::int16_t{3}}), DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(hresultOf(u"Add", {u"one", std::int16_t{2}}), DISP_E_TYPEMISMATCH);
  EXPECT_EQ(hresultOf(u"Add", {std::int32_t{70000}, std::int16_t{2}}), DISP_E_OVERFLOW);
  EXPECT_EQ(hresultOf(u"fail", {std::int16_t{13}}), static_cast<HRESULT>(0x800A000Du));
  DispParams params;
  EXPECT_EQ(calc->Invoke(99, params, nullptr, nullptr, nullptr), DISP_E_MEMBERNOTFOUND);
  params.args = {Variant(std::int16_t{9})};
  ExcepInfo excep;
  EXPECT_EQ(calc->Invoke(4, params, nullptr, &excep, nullptr), DISP_E_EXCEPTION);
  EXPECT_EQ(excep.code, 9);
  EXPECT_EQ(excep.scode, static_cast<HRESULT>(0x800A0009u));
}

}  // namespace
}  // namespace tov::automation
