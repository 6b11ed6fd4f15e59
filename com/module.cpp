// The in-process server: its classes, their factories and their registration.

#include <windows.h>

#include <olectl.h>

#include <string>

#include "com_support.h"
#include "objects.h"

namespace kx::com {

namespace {

struct ClassEntry {
  const CLSID& clsid;
  const wchar_t* prog_id;
  HRESULT (*create)(REFIID, void**);
};

const ClassEntry kClasses[] = {
    {CLSID_ExpressionBuilder, L"KXExpressionBuilder75.ExpressionBuilder", CreateExpressionBuilder},
    {CLSID_ExpressionList, L"KXExpressionBuilder75.ExpressionList", CreateExpressionList},
    {CLSID_ExpressionInfo, L"KXExpressionBuilder75.ExpressionInfo", CreateExpressionInfo},
    {CLSID_ExprTemplates, L"KXExpressionBuilder75.ExprTemplates", CreateExprTemplates},
    {CLSID_ExprTemplate, L"KXExpressionBuilder75.ExprTemplate", CreateExprTemplate},
    {CLSID_ExprParameter, L"KXExpressionBuilder75.ExprParameter", CreateExprParameter},
    {CLSID_usertreeentry, L"KXExpressionBuilder75.usertreeentry", CreateUserTreeEntry},
    {CLSID_usertreeentries, L"KXExpressionBuilder75.usertreeentries", CreateUserTreeEntries},
    {CLSID_ConversionDocument, L"kxexpr.ConversionDocument", CreateConversionDocument},
};

class ClassFactory : public IClassFactory {
 public:
  explicit ClassFactory(HRESULT (*create)(REFIID, void**)) : create_(create) { AddModuleRef(); }
  ClassFactory(const ClassFactory&) = delete;
  ClassFactory& operator=(const ClassFactory&) = delete;
  virtual ~ClassFactory() { ReleaseModuleRef(); }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    if (iid == IID_IUnknown || iid == IID_IClassFactory) {
      *out = static_cast<IClassFactory*>(this);
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return InterlockedIncrement(&refs_); }
  ULONG STDMETHODCALLTYPE Release() override {
    LONG left = InterlockedDecrement(&refs_);
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    try {
      return create_(iid, out);
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    } catch (...) {
      return E_UNEXPECTED;
    }
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    if (lock)
      AddModuleRef();
    else
      ReleaseModuleRef();
    return S_OK;
  }

 private:
  HRESULT (*create_)(REFIID, void**);
  LONG refs_ = 1;
};

std::wstring GuidText(const GUID& guid) {
  wchar_t text[40];
  StringFromGUID2(guid, text, 40);
  return text;
}

std::wstring ModulePath() {
  wchar_t path[MAX_PATH];
  DWORD n = GetModuleFileNameW(g_module, path, MAX_PATH);
  return n == 0 || n >= MAX_PATH ? std::wstring() : std::wstring(path, n);
}

bool SetText(const std::wstring& key, const wchar_t* name, const std::wstring& value) {
  HKEY handle = nullptr;
  if (RegCreateKeyExW(HKEY_CLASSES_ROOT, key.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr,
                      &handle, nullptr) != ERROR_SUCCESS)
    return false;
  const auto bytes = static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t));
  LONG result =
      RegSetValueExW(handle, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()), bytes);
  RegCloseKey(handle);
  return result == ERROR_SUCCESS;
}

constexpr SYSKIND kSysKind = sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32;

}  // namespace

}  // namespace kx::com

using namespace kx::com;

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    g_module = instance;
    DisableThreadLibraryCalls(instance);
  }
  return TRUE;
}

extern "C" HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  for (const ClassEntry& entry : kClasses) {
    if (entry.clsid != clsid) continue;
    auto* factory = new (std::nothrow) ClassFactory(entry.create);
    if (!factory) return E_OUTOFMEMORY;
    HRESULT hr = factory->QueryInterface(iid, out);
    factory->Release();
    return hr;
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

extern "C" HRESULT STDAPICALLTYPE DllCanUnloadNow() {
  return ModuleInUse() ? S_FALSE : S_OK;
}

extern "C" HRESULT STDAPICALLTYPE DllRegisterServer() {
  const std::wstring path = ModulePath();
  if (path.empty()) return SELFREG_E_CLASS;
  const std::wstring library = GuidText(LIBID_KXExpressionBuilder75);
  for (const ClassEntry& entry : kClasses) {
    const std::wstring key = L"CLSID\\" + GuidText(entry.clsid);
    const bool ok =
        SetText(key, nullptr, entry.prog_id) && SetText(key + L"\\InprocServer32", nullptr, path) &&
        SetText(key + L"\\InprocServer32", L"ThreadingModel", L"Apartment") &&
        SetText(key + L"\\ProgID", nullptr, entry.prog_id) &&
        SetText(key + L"\\TypeLib", nullptr, library) &&
        SetText(key + L"\\Version", nullptr, L"7.5") &&
        SetText(entry.prog_id, nullptr, entry.prog_id) &&
        SetText(std::wstring(entry.prog_id) + L"\\CLSID", nullptr, GuidText(entry.clsid));
    if (!ok) return SELFREG_E_CLASS;
  }
  ITypeLib* lib = nullptr;
  if (FAILED(LoadTypeLibEx(path.c_str(), REGKIND_REGISTER, &lib))) return SELFREG_E_TYPELIB;
  lib->Release();
  return S_OK;
}

extern "C" HRESULT STDAPICALLTYPE DllUnregisterServer() {
  for (const ClassEntry& entry : kClasses) {
    RegDeleteTreeW(HKEY_CLASSES_ROOT, (L"CLSID\\" + GuidText(entry.clsid)).c_str());
    RegDeleteKeyW(HKEY_CLASSES_ROOT, (L"CLSID\\" + GuidText(entry.clsid)).c_str());
    RegDeleteTreeW(HKEY_CLASSES_ROOT, entry.prog_id);
    RegDeleteKeyW(HKEY_CLASSES_ROOT, entry.prog_id);
  }
  HRESULT hr = UnRegisterTypeLib(LIBID_KXExpressionBuilder75, 7, 5, LOCALE_NEUTRAL, kSysKind);
  return SUCCEEDED(hr) || hr == TYPE_E_REGISTRYACCESS ? S_OK : SELFREG_E_TYPELIB;
}
