#include "com_support.h"

#include <cmath>
#include <cstring>
#include <map>

#include "host_dispatch.h"

namespace kx::com {

HMODULE g_module = nullptr;

// {91D6ED52-95BC-434A-931E-CE4F231055BD}: private, never registered.
const IID IID_INativeObject = {
    0x91d6ed52, 0x95bc, 0x434a, {0x93, 0x1e, 0xce, 0x4f, 0x23, 0x10, 0x55, 0xbd}};

namespace {

LONG g_module_refs = 0;

// The error our method on this thread reported last, until an Invoke consumes it.
struct PendingError {
  HRESULT hr = S_OK;
  int32_t number = 0;
  std::string description;
  std::string source;
};
thread_local PendingError t_pending;

constexpr WORD kFacilityControl = 0x0A;  // where the run-time's own error numbers live

}  // namespace

void AddModuleRef() {
  InterlockedIncrement(&g_module_refs);
}
void ReleaseModuleRef() {
  InterlockedDecrement(&g_module_refs);
}
bool ModuleInUse() {
  return g_module_refs != 0;
}

std::string FromBstr(BSTR text) {
  const int length = static_cast<int>(SysStringLen(text));
  if (length == 0) return {};
  const int size = WideCharToMultiByte(CP_ACP, 0, text, length, nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<size_t>(size), '\0');
  WideCharToMultiByte(CP_ACP, 0, text, length, out.data(), size, nullptr, nullptr);
  return out;
}

std::wstring Widen(std::string_view text) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  const int size = MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0);
  std::wstring out(static_cast<size_t>(size), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text.data(), length, out.data(), size);
  return out;
}

BSTR ToBstr(std::string_view text) {
  const std::wstring wide = Widen(text);
  BSTR out = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
  if (!out) throw std::bad_alloc();
  return out;
}

HRESULT ErrorHresult(int32_t number) {
  if (number < 0) return number;  // an HRESULT passed on as the error number
  if (number == 0 || number > 0xFFFF) return E_FAIL;
  return MAKE_HRESULT(SEVERITY_ERROR, kFacilityControl, number);
}

HRESULT ReportComError(const Error& error) {
  const HRESULT hr = ErrorHresult(error.Number());
  t_pending = {hr, error.Number(), error.Description(), error.Source()};
  ICreateErrorInfo* create = nullptr;
  if (SUCCEEDED(CreateErrorInfo(&create))) {
    create->SetDescription(const_cast<LPOLESTR>(Widen(error.Description()).c_str()));
    const std::string source = error.Source().empty() ? "KXExpressionBuilder75" : error.Source();
    create->SetSource(const_cast<LPOLESTR>(Widen(source).c_str()));
    IErrorInfo* info = nullptr;
    if (SUCCEEDED(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)))) {
      SetErrorInfo(0, info);
      info->Release();
    }
    create->Release();
  }
  return hr;
}

void FillExcepInfo(const Error& error, EXCEPINFO* info) {
  if (!info) return;
  *info = EXCEPINFO{};
  info->scode = ErrorHresult(error.Number());
  info->bstrDescription = SysAllocString(Widen(error.Description()).c_str());
  const std::string source = error.Source().empty() ? "KXExpressionBuilder75" : error.Source();
  info->bstrSource = SysAllocString(Widen(source).c_str());
}

HRESULT CompleteInvoke(HRESULT hr, EXCEPINFO* info) {
  PendingError pending = std::move(t_pending);
  t_pending = {};
  if (SUCCEEDED(hr) || pending.hr == S_OK) return hr;
  if (hr == DISP_E_EXCEPTION) {
    // The type library's Invoke filled it from the error info; make sure of the number.
    if (info && info->scode == 0 && info->wCode == 0) info->scode = pending.hr;
    return hr;
  }
  if (hr != pending.hr) return hr;
  FillExcepInfo(Error(pending.number, pending.description, pending.source), info);
  return DISP_E_EXCEPTION;
}

namespace {

// What a few dispatch failures mean in the run-time's own numbers.
int32_t NumberOfHresult(HRESULT hr) {
  if (HRESULT_FACILITY(hr) == kFacilityControl) return HRESULT_CODE(hr);
  switch (hr) {
    case DISP_E_MEMBERNOTFOUND:
    case DISP_E_UNKNOWNNAME:
      return kErrNotSupported;
    case DISP_E_TYPEMISMATCH:
      return kErrTypeMismatch;
    case DISP_E_OVERFLOW:
      return kErrOverflow;
    case DISP_E_BADINDEX:
      return kErrSubscript;
    case DISP_E_BADPARAMCOUNT:
      return 450;
    case DISP_E_PARAMNOTOPTIONAL:
      return 449;
    case E_OUTOFMEMORY:
      return kErrOutOfMemory;
    case E_INVALIDARG:
      return kErrInvalidCall;
    default:
      return 0;
  }
}

}  // namespace

void RaiseFromHresult(HRESULT hr, const EXCEPINFO* info) {
  if (info && (info->scode != 0 || info->wCode != 0)) {
    HRESULT code = info->scode != 0 ? info->scode : ErrorHresult(info->wCode);
    int32_t number = info->wCode != 0 ? info->wCode : NumberOfHresult(code);
    if (number == 0) number = static_cast<int32_t>(code);
    std::string description = info->bstrDescription ? FromBstr(info->bstrDescription) : "";
    if (description.empty()) description = std::string(StandardErrorText(number));
    throw Error(number, description, info->bstrSource ? FromBstr(info->bstrSource) : "");
  }
  int32_t number = NumberOfHresult(hr);
  if (number != 0) Raise(number);
  char text[64];
  std::snprintf(text, sizeof text, "Automation error %08lX", static_cast<unsigned long>(hr));
  throw Error(static_cast<int32_t>(hr), text);
}

const VARIANT& Deref(const VARIANT& v) {
  const VARIANT* p = &v;
  while (V_VT(p) == (VT_VARIANT | VT_BYREF) && V_VARIANTREF(p)) p = V_VARIANTREF(p);
  return *p;
}

bool IsMissing(const VARIANT& v) {
  const VARIANT& d = Deref(v);
  return V_VT(&d) == VT_ERROR && V_ERROR(&d) == DISP_E_PARAMNOTFOUND;
}

IUnknown* ObjectInVariant(const VARIANT& value) {
  const VARIANT& v = Deref(value);
  switch (V_VT(&v)) {
    case VT_EMPTY:
    case VT_NULL:
      return nullptr;
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return V_UNKNOWN(&v);
    case VT_DISPATCH | VT_BYREF:
    case VT_UNKNOWN | VT_BYREF:
      return V_UNKNOWNREF(&v) ? *V_UNKNOWNREF(&v) : nullptr;
    default:
      if (IsMissing(v)) return nullptr;
      Raise(kErrTypeMismatch);
  }
}

void ReplaceObjectInVariant(VARIANT* value, IDispatch* object) {
  if (!value) return;
  VARIANT* v = value;
  while (V_VT(v) == (VT_VARIANT | VT_BYREF) && V_VARIANTREF(v) &&
         V_VT(V_VARIANTREF(v)) == (VT_VARIANT | VT_BYREF))
    v = V_VARIANTREF(v);
  if (object) object->AddRef();
  if (V_VT(v) == (VT_VARIANT | VT_BYREF) && V_VARIANTREF(v)) {
    VARIANT* target = V_VARIANTREF(v);
    VariantClear(target);
    V_VT(target) = VT_DISPATCH;
    V_DISPATCH(target) = object;
  } else if (V_VT(v) == (VT_DISPATCH | VT_BYREF) && V_DISPATCHREF(v)) {
    if (*V_DISPATCHREF(v)) (*V_DISPATCHREF(v))->Release();
    *V_DISPATCHREF(v) = object;
  } else {
    // By value: [in, out] lets us hand the caller the held object in its own variant.
    VariantClear(v);
    V_VT(v) = VT_DISPATCH;
    V_DISPATCH(v) = object;
  }
}

Variant FromVariant(const VARIANT& value) {
  const VARIANT& v = Deref(value);
  const VARTYPE type = V_VT(&v) & ~VT_BYREF;
  const bool by_ref = (V_VT(&v) & VT_BYREF) != 0;
  if (by_ref && !V_BYREF(&v)) Raise(kErrTypeMismatch);
  switch (type) {
    case VT_EMPTY:
      return {};
    case VT_NULL:
      return Variant::Null();
    case VT_BOOL:
      return (by_ref ? *V_BOOLREF(&v) : V_BOOL(&v)) != VARIANT_FALSE;
    case VT_I2:
      return static_cast<int16_t>(by_ref ? *V_I2REF(&v) : V_I2(&v));
    case VT_UI1:
      return static_cast<int16_t>(by_ref ? *V_UI1REF(&v) : V_UI1(&v));
    case VT_I4:
      return static_cast<int32_t>(by_ref ? *V_I4REF(&v) : V_I4(&v));
    case VT_INT:
      return static_cast<int32_t>(by_ref ? *V_INTREF(&v) : V_INT(&v));
    case VT_R8:
      return by_ref ? *V_R8REF(&v) : V_R8(&v);
    case VT_BSTR:
      return FromBstr(by_ref ? *V_BSTRREF(&v) : V_BSTR(&v));
    case VT_DISPATCH:
      return FromDispatch(by_ref ? *V_DISPATCHREF(&v) : V_DISPATCH(&v));
    case VT_UNKNOWN: {
      IUnknown* unknown = by_ref ? *V_UNKNOWNREF(&v) : V_UNKNOWN(&v);
      if (!unknown) return std::shared_ptr<Dispatch>();
      IDispatch* dispatch = nullptr;
      if (FAILED(unknown->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch))))
        Raise(kErrTypeMismatch);
      Variant out = FromDispatch(dispatch);
      dispatch->Release();
      return out;
    }
    default: {
      if (V_VT(&v) & VT_ARRAY) Raise(kErrTypeMismatch);
      // Other numbers (currency, decimals, 8-byte and unsigned integers, dates) as doubles.
      VARIANT number;
      VariantInit(&number);
      HRESULT hr = VariantChangeType(&number, const_cast<VARIANT*>(&v), 0, VT_R8);
      if (FAILED(hr)) RaiseFromHresult(hr);
      return V_R8(&number);
    }
  }
}

void ToVariant(const Variant& value, VARIANT* out) {
  VariantInit(out);
  switch (value.GetKind()) {
    case Variant::Kind::Empty:
      return;
    case Variant::Kind::Null:
      V_VT(out) = VT_NULL;
      return;
    case Variant::Kind::Bool:
      V_VT(out) = VT_BOOL;
      V_BOOL(out) = ToVariantBool(value.ToBool());
      return;
    case Variant::Kind::Int16:
      V_VT(out) = VT_I2;
      V_I2(out) = value.ToInt16();
      return;
    case Variant::Kind::Int32:
      V_VT(out) = VT_I4;
      V_I4(out) = value.ToInt32();
      return;
    case Variant::Kind::Double:
      V_VT(out) = VT_R8;
      V_R8(out) = value.ToDouble();
      return;
    case Variant::Kind::String:
      V_BSTR(out) = ToBstr(value.ToText());
      V_VT(out) = VT_BSTR;
      return;
    case Variant::Kind::Object:
      V_DISPATCH(out) = ToDispatch(value.ToObject());
      V_VT(out) = VT_DISPATCH;
      return;
  }
}

Variant IndexFromVariant(const VARIANT& value) {
  const VARIANT& v = Deref(value);
  switch (V_VT(&v) & ~VT_BYREF) {
    case VT_I2:
    case VT_EMPTY:
    case VT_NULL:
    case VT_BSTR:
    case VT_I4:
    case VT_BOOL:
      return FromVariant(v);
    default: {
      if (V_VT(&v) & VT_ARRAY) Raise(kErrTypeMismatch);
      if ((V_VT(&v) & ~VT_BYREF) == VT_DISPATCH || (V_VT(&v) & ~VT_BYREF) == VT_UNKNOWN) {
        // An object's default value, as the run-time reads it.
        VARIANT text;
        VariantInit(&text);
        HRESULT hr = VariantChangeType(&text, const_cast<VARIANT*>(&v), 0, VT_BSTR);
        if (FAILED(hr)) RaiseFromHresult(hr);
        Variant out = FromBstr(V_BSTR(&text));
        VariantClear(&text);
        return out;
      }
      // Other numbers are no 16-bit integer: 32-bit when whole, else as they are.
      Variant number = FromVariant(v);
      const double d = number.ToDouble();
      if (d == std::floor(d) && d >= INT32_MIN && d <= INT32_MAX) return static_cast<int32_t>(d);
      return number;
    }
  }
}

// ---- type information

ITypeInfo* TypeInfoOf(REFIID iid) {
  static ITypeLib* library = [] {
    wchar_t path[MAX_PATH];
    ITypeLib* lib = nullptr;
    DWORD n = GetModuleFileNameW(g_module, path, MAX_PATH);
    if (n == 0 || n >= MAX_PATH || FAILED(LoadTypeLibEx(path, REGKIND_NONE, &lib))) return lib;
    return lib;
  }();
  if (!library) return nullptr;
  TableLock lock;
  struct Less {
    bool operator()(const GUID& a, const GUID& b) const {
      return std::memcmp(&a, &b, sizeof(GUID)) < 0;
    }
  };
  static std::map<GUID, ITypeInfo*, Less> cache;
  auto it = cache.find(iid);
  if (it != cache.end()) return it->second;
  ITypeInfo* info = nullptr;
  if (FAILED(library->GetTypeInfoOfGuid(iid, &info))) return nullptr;
  cache.emplace(iid, info);
  return info;
}

// ---- enumerator

namespace {

class VariantEnum : public IEnumVARIANT {
 public:
  explicit VariantEnum(std::vector<VARIANT> items) : items_(std::move(items)) { AddModuleRef(); }
  VariantEnum(const VariantEnum&) = delete;
  VariantEnum& operator=(const VariantEnum&) = delete;
  virtual ~VariantEnum() {
    for (VARIANT& v : items_) VariantClear(&v);
    ReleaseModuleRef();
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    if (iid == IID_IUnknown || iid == IID_IEnumVARIANT) {
      *out = static_cast<IEnumVARIANT*>(this);
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

  HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* out, ULONG* fetched) override {
    if (!out) return E_POINTER;
    ULONG n = 0;
    for (; n < count && position_ < items_.size(); ++n, ++position_) {
      VariantInit(&out[n]);
      VariantCopy(&out[n], &items_[position_]);
    }
    if (fetched) *fetched = n;
    return n == count ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
    position_ = std::min<size_t>(items_.size(), position_ + count);
    return position_ < items_.size() ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Reset() override {
    position_ = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** out) override {
    if (!out) return E_POINTER;
    std::vector<VARIANT> copy(items_.size());
    for (size_t i = 0; i < items_.size(); ++i) {
      VariantInit(&copy[i]);
      VariantCopy(&copy[i], &items_[i]);
    }
    auto* clone = new VariantEnum(std::move(copy));
    clone->position_ = position_;
    *out = clone;
    return S_OK;
  }

 private:
  std::vector<VARIANT> items_;
  size_t position_ = 0;
  LONG refs_ = 1;
};

}  // namespace

IUnknown* NewVariantEnum(std::vector<VARIANT> items) {
  return new VariantEnum(std::move(items));
}

}  // namespace kx::com
