// The builder from a typed host, on a display: its two interfaces are one object, properties
// through the vtable, the class's own members through the vtable and through IDispatch with
// the dispatch identifiers of either interface, errors as HRESULTs with error information.
// Prints DONE when every check held.

#include "check.h"

#include <cstdio>
#include <string>

#include "kxexpr.h"

namespace {

// Calls a method without arguments by its dispatch identifier.
HRESULT CallById(IDispatch* object, DISPID id) {
  DISPPARAMS none{nullptr, nullptr, 0, 0};
  EXCEPINFO info{};
  return object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &none, nullptr, &info,
                        nullptr);
}

}  // namespace

int wmain() {
  CoInitialize(nullptr);
  KXExpressionBuilder* builder = nullptr;
  HRESULT hr = CoCreateInstance(CLSID_ExpressionBuilder, nullptr, CLSCTX_INPROC_SERVER,
                                IID_KXExpressionBuilder, reinterpret_cast<void**>(&builder));
  CHECK(SUCCEEDED(hr) && builder);
  if (!builder) return 1;

  BSTR text = SysAllocString(L"Left(a, 1)");
  CHECK(builder->put_Expression(text) == S_OK);
  SysFreeString(text);
  BSTR back = nullptr;
  CHECK(builder->get_Expression(&back) == S_OK && Text(back) == L"Left(a, 1)");
  VARIANT_BOOL flag = VARIANT_FALSE;
  CHECK(builder->put_AllowTemplates(VARIANT_TRUE) == S_OK);
  CHECK(builder->get_AllowTemplates(&flag) == S_OK && flag == VARIANT_TRUE);
  LONG help = 0;
  CHECK(builder->put_HelpID(123456) == S_OK && builder->get_HelpID(&help) == S_OK &&
        help == 123456);

  // Font set to nothing: error 91, with its description for the caller.
  hr = builder->putref_Font(nullptr);
  CHECK(hr == MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, 91));
  CHECK(!ErrorDescription().empty());

  // The class's own interface is the same object.
  _ExpressionBuilder* own = nullptr;
  CHECK(builder->QueryInterface(IID__ExpressionBuilder, reinterpret_cast<void**>(&own)) == S_OK);
  IUnknown* a = nullptr;
  IUnknown* b = nullptr;
  builder->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&a));
  if (own) own->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&b));
  CHECK(a && a == b);
  if (a) a->Release();
  if (b) b->Release();
  if (own) {
    BSTR parent = SysAllocString(L"");
    BSTR name = SysAllocString(L"Sizes");
    BSTR key = SysAllocString(L"sizes");
    BSTR list = SysAllocString(L"S|M|L");
    CHECK(own->KXExpressionBuilder_AddList(parent, name, key, list) == S_OK);
    SysFreeString(parent);
    SysFreeString(name);
    SysFreeString(key);
    SysFreeString(list);
    // A host that compiled against either interface calls BuildTree by the same identifier.
    OLECHAR* member = const_cast<OLECHAR*>(L"KXExpressionBuilder_BuildTree");
    DISPID by_name = 0;
    CHECK(own->GetIDsOfNames(IID_NULL, &member, 1, LOCALE_USER_DEFAULT, &by_name) == S_OK &&
          by_name == 19);
    CHECK(CallById(own, by_name) == S_OK);
    own->Release();
  }
  // Identifier 1 is the host's interface's first member, AllowTemplates.
  DISPPARAMS none{nullptr, nullptr, 0, 0};
  VARIANT result;
  VariantInit(&result);
  CHECK(builder->Invoke(1, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, &result,
                        nullptr, nullptr) == S_OK &&
        V_VT(&result) == VT_BOOL && V_BOOL(&result) == VARIANT_TRUE);

  builder->Release();
  CoUninitialize();
  return Finish();
}
