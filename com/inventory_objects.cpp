// ExpressionInfo and ExpressionList.

#include "host_dispatch.h"
#include "inventory/expression_list.h"
#include "objects.h"
#include "template_objects.h"
#include "templates/template_apply.h"

namespace kx::com {

namespace {

#define KX_COM_LONG_FIELD(Name)                                \
  HRESULT STDMETHODCALLTYPE get_##Name(LONG* value) override { \
    if (!value) return E_POINTER;                              \
    *value = core_->Name;                                      \
    return S_OK;                                               \
  }                                                            \
  HRESULT STDMETHODCALLTYPE put_##Name(LONG value) override {  \
    core_->Name = value;                                       \
    return S_OK;                                               \
  }
#define KX_COM_TEXT_FIELD(Name)                                \
  HRESULT STDMETHODCALLTYPE get_##Name(BSTR* value) override { \
    if (!value) return E_POINTER;                              \
    return Guarded([&] { *value = ToBstr(core_->Name); });     \
  }                                                            \
  HRESULT STDMETHODCALLTYPE put_##Name(BSTR value) override {  \
    return Guarded([&] { core_->Name = FromBstr(value); });    \
  }

class InfoObject : public CachedObject<InfoObject, _ExpressionInfo, ExpressionInfo> {
 public:
  using CachedObject::CachedObject;
  KX_COM_LONG_FIELD(ActionOrdinalPosition)
  KX_COM_TEXT_FIELD(EventKey)
  KX_COM_TEXT_FIELD(EventName)
  KX_COM_LONG_FIELD(EventOrdinalPosition)
  KX_COM_LONG_FIELD(InstrStart)
  KX_COM_LONG_FIELD(InstrLength)
  HRESULT STDMETHODCALLTYPE get_IsSelected(VARIANT_BOOL* value) override {
    if (!value) return E_POINTER;
    *value = ToVariantBool(core_->IsSelected);
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE put_IsSelected(VARIANT_BOOL value) override {
    core_->IsSelected = value != VARIANT_FALSE;
    return S_OK;
  }
  KX_COM_TEXT_FIELD(RLKey)
  KX_COM_TEXT_FIELD(RLName)
  KX_COM_LONG_FIELD(RLOrdinalPosition)
  KX_COM_TEXT_FIELD(SrcTrgKey)
  KX_COM_TEXT_FIELD(SrcTrgName)
  KX_COM_LONG_FIELD(SrcTrgOrdinalPosition)
  KX_COM_TEXT_FIELD(ReplacedExpression)
  KX_COM_TEXT_FIELD(ReplacedSelectedText)
  KX_COM_TEXT_FIELD(ExpressionKey)
  KX_COM_LONG_FIELD(OrdinalPosition)
  KX_COM_LONG_FIELD(SelRowEnd)
  KX_COM_LONG_FIELD(SelRowStart)
  KX_COM_LONG_FIELD(SelColEnd)
  KX_COM_LONG_FIELD(SelColStart)
  KX_COM_TEXT_FIELD(SelectedText)
  HRESULT STDMETHODCALLTYPE get_ExpressionType(short* value) override {
    if (!value) return E_POINTER;
    *value = core_->ExpressionType;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE put_ExpressionType(short value) override {
    core_->ExpressionType = value;
    return S_OK;
  }
  KX_COM_TEXT_FIELD(ExpressionText)
  KX_COM_TEXT_FIELD(Description)
  KX_COM_TEXT_FIELD(ExpressionName)
  HRESULT STDMETHODCALLTYPE SetColRowFromInstr() override {
    return Guarded([&] { core_->SetColRowFromInstr(); });
  }
  HRESULT STDMETHODCALLTYPE SetInstrStartFromColRow() override {
    return Guarded([&] { core_->SetInstrStartFromColRow(); });
  }
};

class ListObject : public DualObject<_ExpressionList> {
 public:
  HRESULT STDMETHODCALLTYPE Add(VARIANT* info, _ExpressionInfo** held) override {
    if (!info || !held) return E_POINTER;
    *held = nullptr;
    return Guarded([&] {
      ExpressionList::Record record = RequireNative<InfoObject>(ObjectInVariant(*info));
      if (!record) Raise(kErrObjectNotSet);
      ComPtr<_ExpressionInfo> result(InfoObject::Wrap(list_.Add(record)), false);
      ReplaceObjectInVariant(info, result.get());
      *held = result.Detach();
    });
  }
  HRESULT STDMETHODCALLTYPE BuildALLActionParametersList() override {
    return Guarded([&] { list_.BuildALLActionParametersList(); });
  }
  HRESULT STDMETHODCALLTYPE BuildALLActionParametersandALLExpressionsList() override {
    return Guarded([&] { list_.BuildALLActionParametersandALLExpressionsList(); });
  }
  HRESULT STDMETHODCALLTYPE BuildCompleteConversionExpressionList() override {
    return Guarded([&] { list_.BuildCompleteConversionExpressionList(); });
  }
  HRESULT STDMETHODCALLTYPE BuildCodeModuleExpressionList() override {
    return Guarded([&] { list_.BuildCodeModuleExpressionList(); });
  }
  HRESULT STDMETHODCALLTYPE BuildConversionEventExpressionList(VARIANT_BOOL only) override {
    return Guarded([&] { list_.BuildConversionEventExpressionList(only != VARIANT_FALSE); });
  }
  HRESULT STDMETHODCALLTYPE BuildDataChangeMonitorExpressionList() override {
    return Guarded([&] { list_.BuildDataChangeMonitorExpressionList(); });
  }
  HRESULT STDMETHODCALLTYPE BuildSourceEventExpressionList(VARIANT_BOOL only) override {
    return Guarded([&] { list_.BuildSourceEventExpressionList(only != VARIANT_FALSE); });
  }
  HRESULT STDMETHODCALLTYPE BuildSortFieldExpressionList() override {
    return Guarded([&] { list_.BuildSortFieldExpressionList(); });
  }
  HRESULT STDMETHODCALLTYPE BuildSourceFilterExpressionList() override {
    return Guarded([&] { list_.BuildSourceFilterExpressionList(); });
  }
  HRESULT STDMETHODCALLTYPE BuildSourceRLEventExpressionList(VARIANT_BOOL only) override {
    return Guarded([&] { list_.BuildSourceRLEventExpressionList(only != VARIANT_FALSE); });
  }
  HRESULT STDMETHODCALLTYPE BuildTargetEventExpressionList(VARIANT_BOOL only) override {
    return Guarded([&] { list_.BuildTargetEventExpressionList(only != VARIANT_FALSE); });
  }
  HRESULT STDMETHODCALLTYPE BuildTargetFieldExpressionList() override {
    return Guarded([&] { list_.BuildTargetFieldExpressionList(); });
  }
  HRESULT STDMETHODCALLTYPE BuildTargetFilterExpressionList() override {
    return Guarded([&] { list_.BuildTargetFilterExpressionList(); });
  }
  HRESULT STDMETHODCALLTYPE BuildTargetRLEventExpressionList(VARIANT_BOOL only) override {
    return Guarded([&] { list_.BuildTargetRLEventExpressionList(only != VARIANT_FALSE); });
  }
  HRESULT STDMETHODCALLTYPE Count(LONG* count) override {
    if (!count) return E_POINTER;
    return Guarded([&] { *count = list_.Count(); });
  }
  HRESULT STDMETHODCALLTYPE Delete(VARIANT index) override {
    return Guarded([&] { list_.Delete(IndexFromVariant(index)); });
  }
  HRESULT STDMETHODCALLTYPE Item(VARIANT index, _ExpressionInfo** item) override {
    if (!item) return E_POINTER;
    *item = nullptr;
    // Never an error: anything that finds no record gives Nothing.
    try {
      *item = InfoObject::Wrap(list_.Item(IndexFromVariant(index)));
    } catch (...) {
    }
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE RemoveAll() override {
    return Guarded([&] { list_.RemoveAll(); });
  }
  HRESULT STDMETHODCALLTYPE ReplaceExpressionInVBX(LONG index) override {
    return Guarded([&] { list_.ReplaceExpressionInVBX(index); });
  }
  HRESULT STDMETHODCALLTYPE get_TargetControl(IDispatch** value) override {
    return Out(target_.Copy(), value);
  }
  HRESULT STDMETHODCALLTYPE putref_TargetControl(IDispatch* value) override {
    return Guarded([&] {
      list_.SetTargetControl(AdaptTarget(value));
      target_ = ComPtr<IDispatch>(value);
    });
  }
  HRESULT STDMETHODCALLTYPE get_SourceControl(IDispatch** value) override {
    return Out(source_.Copy(), value);
  }
  HRESULT STDMETHODCALLTYPE putref_SourceControl(IDispatch* value) override {
    return Guarded([&] {
      list_.SetSourceControl(AdaptSource(value));
      source_ = ComPtr<IDispatch>(value);
    });
  }
  HRESULT STDMETHODCALLTYPE get_TemplateToUse(_ExprTemplate** value) override {
    if (!value) return E_POINTER;
    *value = nullptr;
    return Guarded([&] { *value = TemplateObject::Wrap(list_.TemplateToUse()); });
  }
  HRESULT STDMETHODCALLTYPE putref_TemplateToUse(_ExprTemplate* value) override {
    return Guarded([&] { list_.SetTemplateToUse(RequireNative<TemplateObject>(value)); });
  }
  HRESULT STDMETHODCALLTYPE ApplyTemplatetoStrings() override {
    return Guarded([&] {
      if (const auto& tpl = list_.TemplateToUse()) {
        // It would never end: refused before anything is asked.
        if (auto name = SelfReferencingParameter(*tpl))
          Raise(kErrInvalidCall, SelfReferenceMessage("<<" + *name + ">>"));
        ArmPrompts(*tpl);
      }
      std::unique_ptr<ValuePrompter> prompter = NewDialogPrompter();
      kx::ApplyTemplatetoStrings(list_, *prompter, &Win32MessageBoxService());
    });
  }
  HRESULT STDMETHODCALLTYPE BuildRecordFieldComboDropDownList(IDispatch* combo) override {
    return Guarded(
        [&] { list_.BuildRecordFieldComboDropDownList(FromDispatch(combo).ToObject()); });
  }
  HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown** out) override {
    if (!out) return E_POINTER;
    return Guarded([&] {
      std::vector<VARIANT> items;
      const int32_t count = list_.Count();
      for (int32_t i = 1; i <= count; ++i) {
        VARIANT v;
        VariantInit(&v);
        V_VT(&v) = VT_DISPATCH;
        V_DISPATCH(&v) = InfoObject::Wrap(list_.Item(i));
        items.push_back(v);
      }
      *out = NewVariantEnum(std::move(items));
    });
  }

 private:
  ExpressionList list_;
  ComPtr<IDispatch> source_;
  ComPtr<IDispatch> target_;
};

}  // namespace

HRESULT CreateExpressionList(REFIID iid, void** out) {
  return Hand(new ListObject, iid, out);
}
HRESULT CreateExpressionInfo(REFIID iid, void** out) {
  return Hand(new InfoObject(std::make_shared<ExpressionInfo>()), iid, out);
}

}  // namespace kx::com
