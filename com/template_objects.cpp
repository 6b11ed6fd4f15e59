// ExprTemplates, ExprTemplate, ExprParameter and a template's parameter collection.

#include "template_objects.h"

#include "host_dispatch.h"
#include "runtime/narrow.h"

namespace kx::com {

namespace {

class ParametersObject : public DualObject<_ExprParameters> {
 public:
  explicit ParametersObject(ExprTemplateRef owner) : owner_(std::move(owner)) {}

  HRESULT STDMETHODCALLTYPE get_Count(LONG* count) override {
    if (!count) return E_POINTER;
    *count = owner_->Parameters().Count();
    return S_OK;
  }
  // A number is a position, anything else a name (ignoring case), as the collection has it.
  HRESULT STDMETHODCALLTYPE Item(VARIANT index, _ExprParameter** item) override {
    if (!item) return E_POINTER;
    *item = nullptr;
    return Guarded([&] {
      const Variant i = IndexFromVariant(index);
      const auto& parameters = owner_->Parameters();
      const ExprParameterRef& found =
          i.IsString() ? parameters.Item(i.ToText()) : parameters.Item(i.ToInt32());
      *item = ParameterObject::Wrap(found);
    });
  }
  HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown** out) override {
    if (!out) return E_POINTER;
    return Guarded([&] {
      std::vector<VARIANT> items;
      const auto& parameters = owner_->Parameters();
      for (int32_t i = 1; i <= parameters.Count(); ++i) {
        VARIANT v;
        VariantInit(&v);
        V_VT(&v) = VT_DISPATCH;
        V_DISPATCH(&v) = ParameterObject::Wrap(parameters.Item(i));
        items.push_back(v);
      }
      *out = NewVariantEnum(std::move(items));
    });
  }

 private:
  ExprTemplateRef owner_;
};

}  // namespace

// ---- ExprTemplate

HRESULT TemplateObject::ExtractandAddParams() {
  return Guarded([&] {
    // The scan never ends on such a body; a caller gets an error instead of a hang.
    if (!ParameterScanEnds(core_->Body()))
      Raise(kErrInvalidCall,
            "Invalid procedure call or argument: the body has a \"<<\" "
            "without \">>\" after it");
    core_->ExtractandAddParams();
  });
}

HRESULT TemplateObject::ParameterExists(BSTR name, VARIANT_BOOL* exists) {
  if (!exists) return E_POINTER;
  return Guarded([&] { *exists = ToVariantBool(core_->ParameterExists(FromBstr(name))); });
}

HRESULT TemplateObject::CopyContents(_ExprTemplate* source) {
  return Guarded([&] {
    ExprTemplateRef from = RequireNative<TemplateObject>(source);
    if (!from) Raise(kErrObjectNotSet);
    if (from != core_) core_->CopyContents(*from);
  });
}

HRESULT TemplateObject::ParameterbyIndex(short position, _ExprParameter** item) {
  if (!item) return E_POINTER;
  *item = nullptr;
  return Guarded([&] { *item = ParameterObject::Wrap(core_->ParameterbyIndex(position)); });
}

HRESULT TemplateObject::ParameterCount(short* count) {
  if (!count) return E_POINTER;
  return Guarded([&] { *count = core_->ParameterCount(); });
}

HRESULT TemplateObject::Parameters(_ExprParameters** items) {
  if (!items) return E_POINTER;
  *items = nullptr;
  return Guarded([&] { *items = new ParametersObject(core_); });
}

HRESULT TemplateObject::ParameterValuebyIndex(short position, BSTR value) {
  return Guarded([&] { core_->ParameterValuebyIndex(position, FromBstr(value)); });
}

HRESULT TemplateObject::ParameterbyName(BSTR name, _ExprParameter** item) {
  if (!item) return E_POINTER;
  *item = nullptr;
  return Guarded([&] { *item = ParameterObject::Wrap(core_->ParameterbyName(FromBstr(name))); });
}

HRESULT TemplateObject::ParameterValuebyName(BSTR name, BSTR value) {
  return Guarded([&] { core_->ParameterValuebyName(FromBstr(name), FromBstr(value)); });
}

HRESULT TemplateObject::FreeParameterValuePairs() {
  return Guarded([&] { core_->FreeParameterValuePairs(); });
}

// ---- ExprTemplates

HRESULT TemplatesObject::Add(VARIANT* item, _ExprTemplate** held) {
  if (!item || !held) return E_POINTER;
  *held = nullptr;
  return Guarded([&] {
    ExprTemplateRef added = RequireNative<TemplateObject>(ObjectInVariant(*item));
    if (!added) Raise(kErrObjectNotSet);
    ComPtr<_ExprTemplate> result(TemplateObject::Wrap(core_->Add(std::move(added))), false);
    ReplaceObjectInVariant(item, result.get());
    *held = result.Detach();
  });
}

HRESULT TemplatesObject::Count(short* count) {
  if (!count) return E_POINTER;
  return Guarded([&] { *count = core_->Count(); });
}

HRESULT TemplatesObject::Delete(VARIANT index) {
  return Guarded([&] {
    if (core_->Count() == 0) return;
    const Variant i = IndexFromVariant(index);
    if (i.IsInt16()) return core_->Delete(i.ToInt16());
    if (i.IsNull()) return;
    const std::string name = i.ToText();
    if (!name.empty()) core_->Delete(std::string_view(name));
  });
}

HRESULT TemplatesObject::FreeTemplates() {
  return Guarded([&] { core_->FreeTemplates(); });
}

HRESULT TemplatesObject::Item(VARIANT index, _ExprTemplate** item) {
  if (!item) return E_POINTER;
  *item = nullptr;
  // Never an error: anything that finds no template gives Nothing.
  try {
    const Variant i = IndexFromVariant(index);
    ExprTemplateRef found;
    if (i.IsString()) {
      const std::string name = i.ToText();
      if (!name.empty()) found = core_->Item(std::string_view(name));
    } else if (i.IsNumeric()) {
      const int32_t position = i.ToInt32();
      if (std::in_range<int16_t>(position)) found = core_->Item(static_cast<int16_t>(position));
    }
    *item = TemplateObject::Wrap(found);
  } catch (...) {
  }
  return S_OK;
}

HRESULT TemplatesObject::OpenandParseTemplateFile(VARIANT_BOOL* loaded) {
  if (!loaded) return E_POINTER;
  return Guarded([&] { *loaded = ToVariantBool(core_->OpenandParseTemplateFile()); });
}

HRESULT TemplatesObject::WriteToFile() {
  return Guarded([&] { core_->WriteToFile(); });
}

HRESULT TemplatesObject::CopyandSortName(_ExprTemplates* target, VARIANT sorter,
                                         VARIANT_BOOL* copied) {
  if (!copied) return E_POINTER;
  return Guarded([&] {
    std::shared_ptr<ExprTemplates> into = RequireNative<TemplatesObject>(target);
    if (!into) Raise(kErrObjectNotSet);
    SortedTextList names;
    *copied = ToVariantBool(core_->CopyandSortName(*into, names));
    if (IUnknown* list = ObjectInVariant(sorter)) {
      ComPtr<IDispatch> dispatch;
      IDispatch* raw = nullptr;
      if (FAILED(list->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&raw))))
        Raise(kErrTypeMismatch);
      dispatch = ComPtr<IDispatch>(raw, false);
      ComDispatch by_name(dispatch.get());
      by_name.Call("Clear");
      for (int32_t i = 0; i < names.ListCount(); ++i) by_name.Call("AddItem", {names.List(i)});
    }
  });
}

HRESULT TemplatesObject::get__NewEnum(IUnknown** out) {
  if (!out) return E_POINTER;
  return Guarded([&] {
    std::vector<VARIANT> items;
    for (const ExprTemplateRef& t : *core_) {
      VARIANT v;
      VariantInit(&v);
      V_VT(&v) = VT_DISPATCH;
      V_DISPATCH(&v) = TemplateObject::Wrap(t);
      items.push_back(v);
    }
    *out = NewVariantEnum(std::move(items));
  });
}

HRESULT CreateExprTemplates(REFIID iid, void** out) {
  return Hand(new TemplatesObject(std::make_shared<ExprTemplates>()), iid, out);
}
HRESULT CreateExprTemplate(REFIID iid, void** out) {
  return Hand(new TemplateObject(std::make_shared<ExprTemplate>()), iid, out);
}
HRESULT CreateExprParameter(REFIID iid, void** out) {
  return Hand(new ParameterObject(std::make_shared<ExprParameter>()), iid, out);
}

}  // namespace kx::com
