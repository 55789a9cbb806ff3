#include <tovport/automation/variant.h>

#include <tovport/automation/convert.h>
#include <tovport/automation/runtime_error.h>

namespace tov::automation {

Variant::Variant() = default;
Variant::Variant(std::int16_t v) : value_(v) {}
Variant::Variant(std::int32_t v) : value_(v) {}
Variant::Variant(double v) : value_(v) {}
Variant::Variant(std::uint8_t v) : value_(v) {}
Variant::Variant(VariantBool v) : value_(v) {}
Variant::Variant(BStr v) : value_(std::move(v)) {}
Variant::Variant(const char16_t* v) : value_(BStr(v)) {}
Variant::Variant(Date v) : value_(v) {}
Variant::Variant(Ref<IDispatch> v) : value_(std::move(v)) {}
Variant::Variant(SafeArray v) : value_(std::make_shared<SafeArray>(std::move(v))) {}
Variant::Variant(Null) : value_(Null{}) {}
Variant::Variant(Missing) : value_(Missing{}) {}
Variant::Variant(Foreign v) : value_(v) {}
Variant::Variant(const Variant&) = default;
Variant::Variant(Variant&&) noexcept = default;
Variant& Variant::operator=(const Variant&) = default;
Variant& Variant::operator=(Variant&&) noexcept = default;
Variant::~Variant() = default;

namespace {

template <class... Fs>
struct Overloaded : Fs... {
  using Fs::operator()...;
};
template <class... Fs>
Overloaded(Fs...) -> Overloaded<Fs...>;

VarType refType(const Variant::ByRef& r) {
  return std::visit(Overloaded{[](std::int16_t*) { return VT_I2; }, [](std::int32_t*) { return VT_I4; },
                               [](double*) { return VT_R8; }, [](std::uint8_t*) { return VT_UI1; },
                               [](VariantBool*) { return VT_BOOL; }, [](BStr*) { return VT_BSTR; },
                               [](Date*) { return VT_DATE; }, [](Ref<IDispatch>*) { return VT_DISPATCH; },
                               [](Variant*) { return VT_VARIANT; }},
                    r);
}

}  // namespace

VarType Variant::type() const {
  return std::visit(
      Overloaded{[](const std::monostate&) { return VT_EMPTY; }, [](const Null&) { return VT_NULL; },
                 [](const Missing&) { return VT_ERROR; }, [](const Foreign& f) { return f.type; },
                 [](std::int16_t) { return VT_I2; },
                 [](std::int32_t) { return VT_I4; }, [](double) { return VT_R8; }, [](std::uint8_t) { return VT_UI1; },
                 [](VariantBool) { return VT_BOOL; }, [](const BStr&) { return VT_BSTR; },
                 [](const Date&) { return VT_DATE; }, [](const Ref<IDispatch>&) { return VT_DISPATCH; },
                 [](const std::shared_ptr<SafeArray>& a) {
                   return static_cast<VarType>(VT_ARRAY | (a ? a->elementType : VT_VARIANT));
                 },
                 [](const ByRef& r) { return static_cast<VarType>(VT_BYREF | refType(r)); }},
      value_);
}

bool Variant::isByRef() const { return std::holds_alternative<ByRef>(value_); }
bool Variant::isEmpty() const { return std::holds_alternative<std::monostate>(value_); }
bool Variant::isMissing() const { return std::holds_alternative<Missing>(value_); }
bool Variant::isForeign() const { return std::holds_alternative<Foreign>(value_); }

const SafeArray* Variant::array() const {
  const Variant* self = this;
  if (auto r = std::get_if<ByRef>(&value_)) {
    if (auto pv = std::get_if<Variant*>(r)) self = *pv;
  }
  auto a = std::get_if<std::shared_ptr<SafeArray>>(&self->value_);
  return a ? a->get() : nullptr;
}

Variant Variant::deref() const {
  const auto* r = std::get_if<ByRef>(&value_);
  if (!r) return *this;
  return std::visit(Overloaded{[](Variant* p) { return p->deref(); }, [](auto* p) { return Variant(*p); }}, *r);
}

void Variant::assign(const Variant& v) {
  auto* r = std::get_if<ByRef>(&value_);
  if (!r) {
    *this = v.deref();
    return;
  }
  std::visit(Overloaded{[&](std::int16_t* p) { *p = toI2(v); }, [&](std::int32_t* p) { *p = toI4(v); },
                        [&](double* p) { *p = toR8(v); }, [&](std::uint8_t* p) { *p = toUI1(v); },
                        [&](VariantBool* p) { *p = toBool(v); }, [&](BStr* p) { *p = toText(v); },
                        [&](Date* p) { *p = toDate(v); }, [&](Ref<IDispatch>* p) { *p = toDispatch(v); },
                        [&](Variant* p) { p->assign(v); }},
             *r);
}

}  // namespace tov::automation
