// A typed host of the COM server: vtable calls, IDispatch calls, error information, arrays of
// strings, a host object of its own (a combo that collects AddItem calls) and the server's
// unload rule. Prints DONE when every check held. Argument: a folder with the sample data.

#include "check.h"

#include <cstdio>
#include <string>
#include <vector>

#include "kxexpr.h"

namespace {

template <typename T>
T* Create(const wchar_t* prog_id, REFIID iid) {
  CLSID clsid;
  if (FAILED(CLSIDFromProgID(prog_id, &clsid))) {
    std::printf("FAIL: %ls is not registered\n", prog_id);
    ++g_failures;
    return nullptr;
  }
  T* object = nullptr;
  if (FAILED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, iid,
                              reinterpret_cast<void**>(&object)))) {
    std::printf("FAIL: %ls cannot be created\n", prog_id);
    ++g_failures;
  }
  return object;
}

// A combo box as BuildRecordFieldComboDropDownList sees one: AddItem(text) only.
class Combo : public IDispatch {
 public:
  std::vector<std::wstring> items;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (iid == IID_IUnknown || iid == IID_IDispatch) {
      *out = this;
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* n) override {
    *n = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID,
                                          DISPID* ids) override {
    if (lstrcmpiW(names[0], L"AddItem") != 0) return DISP_E_UNKNOWNNAME;
    ids[0] = 1;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params,
                                   VARIANT*, EXCEPINFO*, UINT*) override {
    if (id != 1 || !(flags & DISPATCH_METHOD)) return DISP_E_MEMBERNOTFOUND;
    if (params->cArgs != 1 || V_VT(&params->rgvarg[0]) != VT_BSTR) return DISP_E_TYPEMISMATCH;
    items.emplace_back(V_BSTR(&params->rgvarg[0]));
    return S_OK;
  }
};

HRESULT CallByName(IDispatch* object, const wchar_t* name, WORD flags, std::vector<VARIANT> args,
                   VARIANT* result, EXCEPINFO* info) {
  DISPID id;
  LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
  HRESULT hr = object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
  if (FAILED(hr)) return hr;
  std::vector<VARIANT> reversed(args.rbegin(), args.rend());
  DISPPARAMS params{reversed.data(), nullptr, static_cast<UINT>(reversed.size()), 0};
  return object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, result, info, nullptr);
}

void TemplatesThroughTheVtable() {
  auto* set = Create<_ExprTemplates>(L"KXExpressionBuilder75.ExprTemplates", IID__ExprTemplates);
  auto* first = Create<_ExprTemplate>(L"KXExpressionBuilder75.ExprTemplate", IID__ExprTemplate);
  auto* second = Create<_ExprTemplate>(L"KXExpressionBuilder75.ExprTemplate", IID__ExprTemplate);
  if (!set || !first || !second) return;
  first->put_Name(SysAllocString(L"T"));
  first->put_Body(SysAllocString(L"<<A>> + <<B>> + <<A>>"));
  CHECK(first->ExtractandAddParams() == S_OK);
  short count = 0;
  first->ParameterCount(&count);
  CHECK(count == 2);

  // Add by reference: the caller's variable ends up holding the template kept by the set.
  VARIANT arg;
  V_VT(&arg) = VT_DISPATCH | VT_BYREF;
  IDispatch* mine = first;  // the variable owns a reference, as by-reference arguments do
  mine->AddRef();
  V_DISPATCHREF(&arg) = &mine;
  _ExprTemplate* held = nullptr;
  CHECK(set->Add(&arg, &held) == S_OK);
  CHECK(held == first && mine == first);
  if (held) held->Release();
  mine->Release();
  second->put_Name(SysAllocString(L"T"));
  mine = second;
  mine->AddRef();
  CHECK(set->Add(&arg, &held) == S_OK);
  CHECK(held == first);
  CHECK(mine == first);
  if (held) held->Release();
  mine->Release();

  // A failure: the HRESULT carries the error number, the error info its description.
  _ExprParameter* parameter = nullptr;
  HRESULT hr = first->ParameterbyIndex(0, &parameter);
  CHECK(hr == MAKE_HRESULT(SEVERITY_ERROR, 0x0A, 9));
  CHECK(ErrorDescription() == L"Subscript out of range");
  ISupportErrorInfo* support = nullptr;
  CHECK(
      SUCCEEDED(first->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support))));
  if (support) {
    CHECK(support->InterfaceSupportsErrorInfo(IID__ExprTemplate) == S_OK);
    support->Release();
  }
  CHECK(first->ParameterbyIndex(2, &parameter) == S_OK && parameter);
  if (parameter) {
    BSTR name = nullptr;
    parameter->get_Name(&name);
    CHECK(Text(name) == L"B");
    parameter->Release();
  }
  second->Release();
  first->Release();
  set->Release();
}

void ListsOfStringsFromATypedHost() {
  auto* entry = Create<_usertreeentry>(L"KXExpressionBuilder75.usertreeentry", IID__usertreeentry);
  if (!entry) return;
  SAFEARRAY* in = SafeArrayCreateVector(VT_BSTR, 0, 3);
  const wchar_t* words[] = {L"a", L"", L"c"};
  for (LONG i = 0; i < 3; ++i) SafeArrayPutElement(in, &i, SysAllocString(words[i]));
  VARIANT arg;
  V_VT(&arg) = VT_ARRAY | VT_BSTR | VT_BYREF;
  V_ARRAYREF(&arg) = &in;
  LONG status = -1;
  CHECK(entry->SetList(&arg, &status) == S_OK && status == 0);
  short count = 0;
  entry->get_ListCount(&count);
  CHECK(count == 3);
  BSTR piped = nullptr;
  entry->get_GetListAsPipedString(&piped);
  CHECK(Text(piped) == L"a||c");

  // Back into an array of strings: the typed host's array is replaced, still of strings.
  SAFEARRAY* out = SafeArrayCreateVector(VT_BSTR, 0, 1);
  V_ARRAYREF(&arg) = &out;
  CHECK(entry->GetList(&arg, &status) == S_OK);
  LONG upper = -1;
  SafeArrayGetUBound(out, 1, &upper);
  CHECK(upper == 2);
  VARTYPE type = VT_EMPTY;
  SafeArrayGetVartype(out, &type);
  CHECK(type == VT_BSTR);
  LONG last = 2;
  BSTR item = nullptr;
  SafeArrayGetElement(out, &last, &item);
  CHECK(Text(item) == L"c");
  SafeArrayDestroy(out);
  SafeArrayDestroy(in);
  entry->Release();
}

void InventoryThroughIDispatchAndTheVtable(const std::wstring& folder) {
  auto* document =
      Create<_ConversionDocument>(L"kxexpr.ConversionDocument", IID__ConversionDocument);
  auto* list =
      Create<_ExpressionList>(L"KXExpressionBuilder75.ExpressionList", IID__ExpressionList);
  if (!document || !list) return;
  CHECK(document->Load(SysAllocString((folder + L"\\sample-conversion.json").c_str())) == S_OK);
  IDispatch *source = nullptr, *target = nullptr;
  document->get_Source(&source);
  document->get_Target(&target);
  CHECK(source && target);
  list->putref_SourceControl(source);
  list->putref_TargetControl(target);
  IDispatch* again = nullptr;
  list->get_SourceControl(&again);
  CHECK(again == source);
  if (again) again->Release();

  // Late bound: the composite walker by name. The sample has filters on both sides, whose
  // keys collide: the walk stops there with 457 and keeps what it listed before.
  EXCEPINFO info{};
  CHECK(CallByName(list, L"BuildCompleteConversionExpressionList", DISPATCH_METHOD, {}, nullptr,
                   &info) == DISP_E_EXCEPTION);
  CHECK(info.scode == MAKE_HRESULT(SEVERITY_ERROR, 0x0A, 457));
  SysFreeString(info.bstrDescription);
  SysFreeString(info.bstrSource);
  VARIANT result;
  VariantInit(&result);
  CHECK(CallByName(list, L"count", DISPATCH_METHOD | DISPATCH_PROPERTYGET, {}, &result, &info) ==
        S_OK);
  CHECK(V_VT(&result) == VT_I4 && V_I4(&result) > 10);
  LONG count = 0;
  list->Count(&count);
  CHECK(V_I4(&result) == count);
  CHECK(CallByName(list, L"NoSuchMember", DISPATCH_METHOD, {}, nullptr, &info) ==
        DISP_E_UNKNOWNNAME);

  // An error through IDispatch: the exception information carries number and description.
  VARIANT position;
  V_VT(&position) = VT_I4;
  V_I4(&position) = count + 1;
  info = EXCEPINFO{};
  CHECK(CallByName(list, L"ReplaceExpressionInVBX", DISPATCH_METHOD, {position}, nullptr, &info) ==
        DISP_E_EXCEPTION);
  CHECK(info.scode == MAKE_HRESULT(SEVERITY_ERROR, 0x0A, 9));
  CHECK(info.bstrDescription && std::wstring(info.bstrDescription) == L"Subscript out of range");
  SysFreeString(info.bstrDescription);
  SysFreeString(info.bstrSource);

  // Our own object as a host object: one item per field of every source record layout.
  Combo combo;
  CHECK(list->BuildRecordFieldComboDropDownList(&combo) == S_OK);
  CHECK(combo.items.size() == 15);
  CHECK(!combo.items.empty() && combo.items[0] == L"Records(\"Header\").Fields(\"RecordType\")");

  source->Release();
  target->Release();
  list->Release();
  document->Release();
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc < 2) {
    std::printf("usage: kxcom_client DATA-FOLDER\n");
    return 2;
  }
  CoInitialize(nullptr);
  TemplatesThroughTheVtable();
  ListsOfStringsFromATypedHost();
  InventoryThroughIDispatchAndTheVtable(argv[1]);

  // The builder makes its window with it: with no desktop there is no builder, and the
  // caller learns why (429).
  IUnknown* builder = nullptr;
  CHECK(CoCreateInstance(CLSID_ExpressionBuilder, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                         reinterpret_cast<void**>(&builder)) ==
        MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, 429));
  CHECK(builder == nullptr);

  // Every object released: the server may be unloaded.
  HMODULE server = GetModuleHandleW(L"kxexprcom.dll");
  CHECK(server != nullptr);
  if (server) {
    auto can_unload = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(
        reinterpret_cast<void*>(GetProcAddress(server, "DllCanUnloadNow")));
    CHECK(can_unload && can_unload() == S_OK);
  }
  CoUninitialize();
  return Finish();
}
