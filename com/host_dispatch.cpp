#include "host_dispatch.h"

#include <dispex.h>

#include <unordered_map>
#include <vector>

#include "runtime/text.h"

namespace kx::com {

namespace {

// ---- the core's objects as IDispatch

// Member names get dispatch identifiers on first request, the same for every object; the
// default member keeps DISPID_VALUE.
class MemberNames {
 public:
  DISPID IdOf(const std::string& name) {
    if (name.empty()) return DISPID_VALUE;
    TableLock lock;
    std::string key = LowerCase(name);
    auto [it, added] = ids_.try_emplace(key, static_cast<DISPID>(names_.size() + 1));
    if (added) names_.push_back(name);
    return it->second;
  }
  // Empty for the default member; false for an identifier never handed out.
  bool NameOf(DISPID id, std::string& name) const {
    if (id == DISPID_VALUE) {
      name.clear();
      return true;
    }
    TableLock lock;
    if (id < 1 || static_cast<size_t>(id) > names_.size()) return false;
    name = names_[static_cast<size_t>(id) - 1];
    return true;
  }

 private:
  std::unordered_map<std::string, DISPID> ids_;
  std::vector<std::string> names_;
};

MemberNames& Names() {
  static MemberNames names;
  return names;
}

class NativeDispatchObject;
std::unordered_map<const Dispatch*, NativeDispatchObject*>& Wrappers() {
  static std::unordered_map<const Dispatch*, NativeDispatchObject*> wrappers;
  return wrappers;
}

class NativeDispatchObject : public IDispatch, public NativeObject {
 public:
  explicit NativeDispatchObject(std::shared_ptr<Dispatch> object) : object_(std::move(object)) {
    AddModuleRef();
    TableLock lock;
    Wrappers()[object_.get()] = this;
  }
  NativeDispatchObject(const NativeDispatchObject&) = delete;
  NativeDispatchObject& operator=(const NativeDispatchObject&) = delete;
  ~NativeDispatchObject() override {
    {
      TableLock lock;
      Wrappers().erase(object_.get());
    }
    ReleaseModuleRef();
  }

  const std::shared_ptr<Dispatch>& Object() const { return object_; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    if (iid == IID_IUnknown || iid == IID_IDispatch) {
      *out = static_cast<IDispatch*>(this);
    } else if (iid == IID_INativeObject) {
      *out = static_cast<NativeObject*>(this);
    } else {
      *out = nullptr;
      return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return InterlockedIncrement(&refs_); }
  ULONG STDMETHODCALLTYPE Release() override {
    LONG left = InterlockedDecrement(&refs_);
    if (left == 0) delete this;
    return left;
  }

  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    if (!count) return E_POINTER;
    *count = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
    if (info) *info = nullptr;
    return DISP_E_BADINDEX;
  }
  // The core's objects have no member list: every name gets an identifier, and a member the
  // object lacks answers 438 when it is invoked.
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) override {
    if (!names || !ids) return E_POINTER;
    for (UINT i = 0; i < count; ++i) {
      if (i == 0) {
        BSTR name = SysAllocString(names[0]);
        ids[0] = Names().IdOf(FromBstr(name));
        SysFreeString(name);
      } else {
        ids[i] = DISPID_UNKNOWN;  // named arguments are not supported
      }
    }
    return count > 1 ? DISP_E_UNKNOWNNAME : S_OK;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params,
                                   VARIANT* result, EXCEPINFO* info, UINT*) override {
    std::string name;
    if (!Names().NameOf(id, name)) return DISP_E_MEMBERNOTFOUND;
    try {
      Arguments args;
      const UINT count = params ? params->cArgs : 0;
      const bool put = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
      const UINT positional = put && count > 0 ? count - 1 : count;
      // Arguments arrive last first; for a put the value comes first of all.
      for (UINT i = 0; i < positional; ++i)
        args.push_back(FromVariant(params->rgvarg[count - 1 - i]));
      Variant out;
      if (put) {
        if (count == 0) return DISP_E_BADPARAMCOUNT;
        object_->Put(name, args, FromVariant(params->rgvarg[0]));
      } else if ((flags & DISPATCH_PROPERTYGET) || !(flags & DISPATCH_METHOD)) {
        out = object_->Get(name, args);
      } else {
        try {
          out = object_->Call(name, args);
        } catch (const Error& e) {
          // A script's call syntax on a member the object offers as a property.
          if (e.Number() != kErrNotSupported) throw;
          out = object_->Get(name, args);
        }
      }
      if (result) ToVariant(out, result);
      return S_OK;
    } catch (...) {
      FillExcepInfo(CurrentError(), info);
      return DISP_E_EXCEPTION;
    }
  }

 private:
  std::shared_ptr<Dispatch> object_;
  LONG refs_ = 1;
};

// ---- a caller's objects as the typed host sides

class ComHostSource : public HostSource {
 public:
  explicit ComHostSource(IDispatch* object) : by_name_(object) {}

  std::shared_ptr<Dispatch> SourceEvents() override {
    return by_name_.Get("SourceEvents").ToObject();
  }
  std::string DataChangeMonitor(int16_t position) override {
    return by_name_.Get("DataChangeMonitor", {position}).ToText();
  }
  void SetDataChangeMonitor(int16_t position, const std::string& text) override {
    by_name_.Put("DataChangeMonitor", {position}, text);
  }
  std::string SpokeTypeName() override { return by_name_.Get("SpokeTypeName").ToText(); }
  int32_t FieldCount() override { return by_name_.Get("FieldCount").ToInt32(); }
  std::string fieldname() override { return by_name_.Get("fieldname").ToText(); }
  void SetFieldPos(int16_t position) override { by_name_.Put("FieldPos", {}, position); }
  int32_t FilterCount() override { return by_name_.Get("FilterCount").ToInt32(); }
  std::string FilterExpression() override { return by_name_.Get("FilterExpression").ToText(); }
  void SetFilterExpression(const std::string& text) override {
    by_name_.Put("FilterExpression", {}, text);
  }
  void SetFilterPos(int16_t position) override { by_name_.Put("FilterPos", {}, position); }
  int32_t RecordLayoutCount() override { return by_name_.Get("RecordLayoutCount").ToInt32(); }
  std::shared_ptr<Dispatch> RecordLayoutEvents() override {
    return by_name_.Get("RecordLayoutEvents").ToObject();
  }
  std::string RecordLayoutName() override { return by_name_.Get("RecordLayoutName").ToText(); }
  int32_t RecordLayoutIndex() override { return by_name_.Get("RecordLayoutIndex").ToInt32(); }
  void SetRecordLayoutPos(int16_t position) override {
    by_name_.Put("RecordLayoutPos", {}, position);
  }
  int32_t SortFieldCount() override { return by_name_.Get("SortFieldCount").ToInt32(); }
  std::string SortFieldExpression() override {
    return by_name_.Get("SortFieldExpression").ToText();
  }
  void SetSortFieldExpression(const std::string& text) override {
    by_name_.Put("SortFieldExpression", {}, text);
  }
  void SetSortFieldPos(int16_t position) override { by_name_.Put("SortFieldPos", {}, position); }

  std::string RecordLayoutList(int16_t position) override {
    return by_name_.Get("RecordLayoutList", {position}).ToText();
  }
  bool SupportsMultipleRecordLayouts() override {
    return by_name_.Get("SupportsMultipleRecordLayouts").ToBool();
  }
  bool DefinesMultipleRecordLayouts() override {
    return by_name_.Get("DefinesMultipleRecordLayouts").ToBool();
  }
  Variant ControlHandle() override { return by_name_.Get("ControlHandle"); }

  // By name, the caller's object answers for itself.
  Variant Get(std::string_view name, const Arguments& args) override {
    return by_name_.Get(name, args);
  }
  void Put(std::string_view name, const Arguments& args, const Variant& value) override {
    by_name_.Put(name, args, value);
  }
  Variant Call(std::string_view name, const Arguments& args) override {
    return by_name_.Call(name, args);
  }

  IDispatch* Object() const { return by_name_.Object(); }

 private:
  ComDispatch by_name_;
};

// A checker reached through its members "Check", "ErrorText", "ErrorStart", "ErrorLength".
class ComChecker : public ExpressionChecker {
 public:
  explicit ComChecker(std::shared_ptr<Dispatch> object) : object_(std::move(object)) {}
  void Check(const std::string& text) override { object_->Call("Check", {text}); }
  std::string ErrorText() const override { return object_->Get("ErrorText").ToText(); }
  int32_t ErrorStart() const override { return object_->Get("ErrorStart").ToInt32(); }
  int32_t ErrorLength() const override { return object_->Get("ErrorLength").ToInt32(); }

 private:
  std::shared_ptr<Dispatch> object_;
};

class ComHostTarget : public HostTarget {
 public:
  explicit ComHostTarget(IDispatch* object) : by_name_(object) {}

  std::string CodeModuleList() override { return by_name_.Get("CodeModuleList").ToText(); }
  std::string SpokeTypeName() override { return by_name_.Get("SpokeTypeName").ToText(); }
  int32_t FieldCount() override { return by_name_.Get("FieldCount").ToInt32(); }
  std::string FieldExpression() override { return by_name_.Get("FieldExpression").ToText(); }
  void SetFieldExpression(const std::string& text) override {
    by_name_.Put("FieldExpression", {}, text);
  }
  std::string fieldname() override { return by_name_.Get("fieldname").ToText(); }
  void SetFieldPos(int16_t position) override { by_name_.Put("FieldPos", {}, position); }
  int32_t FilterCount() override { return by_name_.Get("FilterCount").ToInt32(); }
  std::string FilterExpression() override { return by_name_.Get("FilterExpression").ToText(); }
  void SetFilterExpression(const std::string& text) override {
    by_name_.Put("FilterExpression", {}, text);
  }
  void SetFilterPos(int16_t position) override { by_name_.Put("FilterPos", {}, position); }
  int32_t RecordLayoutCount() override { return by_name_.Get("RecordLayoutCount").ToInt32(); }
  std::shared_ptr<Dispatch> RecordLayoutEvents() override {
    return by_name_.Get("RecordLayoutEvents").ToObject();
  }
  std::string RecordLayoutName() override { return by_name_.Get("RecordLayoutName").ToText(); }
  void SetRecordLayoutPos(int16_t position) override {
    by_name_.Put("RecordLayoutPos", {}, position);
  }
  std::shared_ptr<Dispatch> ConversionEvents() override {
    return by_name_.Get("ConversionEvents").ToObject();
  }
  std::shared_ptr<Dispatch> TargetEvents() override {
    return by_name_.Get("TargetEvents").ToObject();
  }

  std::string RecordLayoutList(int16_t position) override {
    return by_name_.Get("RecordLayoutList", {position}).ToText();
  }
  void ImportControl(const Variant& control_handle) override {
    by_name_.Call("ImportControl", {control_handle});
  }
  std::shared_ptr<ExpressionChecker> BasicCompiler() override {
    std::shared_ptr<Dispatch> checker = by_name_.Get("BasicCompiler").ToObject();
    if (!checker) return nullptr;
    return std::make_shared<ComChecker>(std::move(checker));
  }

  Variant Get(std::string_view name, const Arguments& args) override {
    return by_name_.Get(name, args);
  }
  void Put(std::string_view name, const Arguments& args, const Variant& value) override {
    by_name_.Put(name, args, value);
  }
  Variant Call(std::string_view name, const Arguments& args) override {
    return by_name_.Call(name, args);
  }

  IDispatch* Object() const { return by_name_.Object(); }

 private:
  ComDispatch by_name_;
};

// The core's object behind `object` when it is one of our wrappers.
std::shared_ptr<Dispatch> Unwrap(IDispatch* object) {
  if (auto* native = AsNative<NativeDispatchObject>(object)) return native->Object();
  return nullptr;
}

}  // namespace

// ---- ComDispatch

Variant ComDispatch::Invoke(std::string_view name, WORD flags, const Arguments& args,
                            const Variant* value) {
  if (!object_) Raise(kErrObjectNotSet);
  // Script engines' objects answer names through IDispatchEx (Wine's VBScript classes only
  // there); other objects through IDispatch.
  IDispatchEx* raw_ex = nullptr;
  object_->QueryInterface(__uuidof(IDispatchEx), reinterpret_cast<void**>(&raw_ex));
  ComPtr<IDispatchEx> ex(raw_ex, false);
  DISPID id = DISPID_VALUE;
  if (!name.empty()) {
    std::wstring wide = Widen(name);
    HRESULT hr;
    if (ex) {
      BSTR text = SysAllocStringLen(wide.data(), static_cast<UINT>(wide.size()));
      hr = ex->GetDispID(text, fdexNameCaseInsensitive, &id);
      SysFreeString(text);
    } else {
      LPOLESTR names[] = {wide.data()};
      hr = object_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
    }
    if (FAILED(hr)) RaiseNoMember(name);
  }
  // Arguments go last first; a put's value goes before them, named DISPID_PROPERTYPUT.
  std::vector<VARIANT> slots(args.size() + (value ? 1 : 0));
  struct Clear {
    std::vector<VARIANT>& v;
    ~Clear() {
      for (VARIANT& x : v) VariantClear(&x);
    }
  } clear{slots};
  for (VARIANT& x : slots) VariantInit(&x);
  size_t next = 0;
  if (value) ToVariant(*value, &slots[next++]);
  for (size_t i = args.size(); i-- > 0;) ToVariant(args[i], &slots[next++]);
  DISPID put_id = DISPID_PROPERTYPUT;
  DISPPARAMS params{slots.data(), value ? &put_id : nullptr, static_cast<UINT>(slots.size()),
                    value ? 1u : 0u};
  if (value && value->IsObject()) flags = DISPATCH_PROPERTYPUTREF;
  VARIANT result;
  VariantInit(&result);
  EXCEPINFO info{};
  UINT bad_argument = 0;
  struct FreeInfo {
    EXCEPINFO& e;
    void Clear() {
      SysFreeString(e.bstrDescription);
      SysFreeString(e.bstrSource);
      SysFreeString(e.bstrHelpFile);
      e = EXCEPINFO{};
    }
    ~FreeInfo() { Clear(); }
  } free_info{info};
  auto invoke = [&](WORD how) {
    HRESULT hr = ex ? ex->InvokeEx(id, LOCALE_USER_DEFAULT, how, &params, value ? nullptr : &result,
                                   &info, nullptr)
                    : object_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, how, &params,
                                      value ? nullptr : &result, &info, &bad_argument);
    if (FAILED(hr) && info.pfnDeferredFillIn) info.pfnDeferredFillIn(&info);
    return hr;
  };
  HRESULT hr = invoke(flags);
  // Wine's JScript refuses a call on a plain value where a read would do ("Function
  // expected", or a bare failure): read it.
  constexpr HRESULT kFunctionExpected = MAKE_HRESULT(SEVERITY_ERROR, 0x0A, 5002);
  if (flags == (DISPATCH_PROPERTYGET | DISPATCH_METHOD) && args.empty() &&
      (hr == E_FAIL || hr == kFunctionExpected || info.scode == kFunctionExpected)) {
    free_info.Clear();
    hr = invoke(DISPATCH_PROPERTYGET);
  }
  if (hr == DISP_E_MEMBERNOTFOUND || hr == DISP_E_UNKNOWNNAME) RaiseNoMember(name);
  if (FAILED(hr)) RaiseFromHresult(hr, &info);
  Variant out;
  try {
    out = FromVariant(result);
  } catch (...) {
    VariantClear(&result);
    throw;
  }
  VariantClear(&result);
  return out;
}

Variant ComDispatch::Get(std::string_view name, const Arguments& args) {
  try {
    return Invoke(name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, args, nullptr);
  } catch (const Error& e) {
    // A member without parameters whose value takes the arguments, as a late-bound call
    // reads `Actions(0)` from a host whose Actions is a plain collection property.
    constexpr int32_t kErrWrongArgumentCount = 450;
    if (args.empty() || name.empty() ||
        (e.Number() != kErrNotSupported && e.Number() != kErrWrongArgumentCount))
      throw;
    std::shared_ptr<Dispatch> value;
    try {
      value = Invoke(name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, {}, nullptr).ToObject();
    } catch (const Error&) {
      throw e;
    }
    if (!value) throw e;
    return value->Get(kDefaultMember, args);
  }
}

void ComDispatch::Put(std::string_view name, const Arguments& args, const Variant& value) {
  Invoke(name, DISPATCH_PROPERTYPUT, args, &value);
}

Variant ComDispatch::Call(std::string_view name, const Arguments& args) {
  return Invoke(name, DISPATCH_METHOD, args, nullptr);
}

// ---- conversions

Variant FromDispatch(IDispatch* object) {
  if (!object) return std::shared_ptr<Dispatch>();
  if (std::shared_ptr<Dispatch> native = Unwrap(object)) return native;
  return std::shared_ptr<Dispatch>(std::make_shared<ComDispatch>(object));
}

IDispatch* ToDispatch(const std::shared_ptr<Dispatch>& object) {
  if (!object) return nullptr;
  IDispatch* original = nullptr;
  if (auto* com = dynamic_cast<ComDispatch*>(object.get())) original = com->Object();
  if (auto* source = dynamic_cast<ComHostSource*>(object.get())) original = source->Object();
  if (auto* target = dynamic_cast<ComHostTarget*>(object.get())) original = target->Object();
  if (original) {
    original->AddRef();
    return original;
  }
  {
    TableLock lock;
    auto found = Wrappers().find(object.get());
    if (found != Wrappers().end()) {
      found->second->AddRef();
      return found->second;
    }
  }
  return new NativeDispatchObject(object);
}

std::shared_ptr<HostSource> AdaptSource(IDispatch* object) {
  if (!object) return nullptr;
  if (auto native = std::dynamic_pointer_cast<HostSource>(Unwrap(object))) return native;
  return std::make_shared<ComHostSource>(object);
}

std::shared_ptr<HostTarget> AdaptTarget(IDispatch* object) {
  if (!object) return nullptr;
  if (auto native = std::dynamic_pointer_cast<HostTarget>(Unwrap(object))) return native;
  return std::make_shared<ComHostTarget>(object);
}

}  // namespace kx::com
