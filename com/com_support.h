#pragma once
// What every object of the server shares: the module's reference count, strings and
// variants as they cross the boundary, errors as callers see them, and IUnknown/IDispatch
// served from the server's own type library.

#include <windows.h>

#include <oleauto.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "inventory/variant.h"
#include "kxexpr.h"
#include "runtime/error.h"

namespace kx::com {

// The server DLL's own module handle, set when it is loaded.
extern HMODULE g_module;

// Live objects and LockServer locks; the server may unload when both are zero.
void AddModuleRef();
void ReleaseModuleRef();
bool ModuleInUse();

// Guards the server's shared tables (wrappers, member names, type information): objects
// live in their callers' apartments, but several apartments may share the process.
class TableLock {
 public:
  TableLock() { AcquireSRWLockExclusive(&lock_); }
  ~TableLock() { ReleaseSRWLockExclusive(&lock_); }
  TableLock(const TableLock&) = delete;
  TableLock& operator=(const TableLock&) = delete;

 private:
  static inline SRWLOCK lock_ = SRWLOCK_INIT;
};

// ---- strings: BSTR (UTF-16) <-> the component's byte strings, through the ANSI code page.
std::string FromBstr(BSTR text);
BSTR ToBstr(std::string_view text);
std::wstring Widen(std::string_view text);

// ---- errors
// The HRESULT a script shows as Err.Number `number`.
HRESULT ErrorHresult(int32_t number);
// Publishes `error` as the thread's error info and returns its HRESULT.
HRESULT ReportComError(const Error& error);
// Runs `body`; an exception becomes the thread's error info and a failure HRESULT.
template <typename Body>
HRESULT Guarded(Body&& body) noexcept {
  try {
    body();
    return S_OK;
  } catch (...) {
    return ReportComError(CurrentError());
  }
}
// The Error a failed call stands for: the error number behind the HRESULT, the exception
// information's description when there is one.
[[noreturn]] void RaiseFromHresult(HRESULT hr, const EXCEPINFO* info = nullptr);
// Fills `info` from the error our method of this thread reported last, when `hr` is its
// HRESULT; returns DISP_E_EXCEPTION then, else `hr`.
HRESULT CompleteInvoke(HRESULT hr, EXCEPINFO* info);
void FillExcepInfo(const Error& error, EXCEPINFO* info);

// ---- values
inline VARIANT_BOOL ToVariantBool(bool b) {
  return b ? VARIANT_TRUE : VARIANT_FALSE;
}
// The variant behind any number of VT_BYREF|VT_VARIANT indirections.
const VARIANT& Deref(const VARIANT& v);
// A caller's variant as the core's. Objects become host objects; arrays raise 13.
Variant FromVariant(const VARIANT& v);
// The core's variant as a caller's; `out` must be empty or cleared.
void ToVariant(const Variant& value, VARIANT* out);
// A variant index: a 16-bit integer stays one; other numbers become 32-bit; the rest text.
Variant IndexFromVariant(const VARIANT& v);
bool IsMissing(const VARIANT& v);
// An object argument passed in a variant (by reference from scripts): the IUnknown inside
// (not AddRef'd), null for Nothing, Empty or a missing argument; other values raise 13.
IUnknown* ObjectInVariant(const VARIANT& v);
// Replaces the object in a by-reference variant argument, so the caller's variable refers to
// `object` afterwards. By-value arguments are left alone.
void ReplaceObjectInVariant(VARIANT* v, IDispatch* object);

// ---- our own objects
// Every object of this server answers IID_INativeObject with a pointer to this base, so that
// an interface pointer a caller hands back can be turned into the object behind it.
class NativeObject {
 public:
  virtual ~NativeObject() = default;
};
extern const IID IID_INativeObject;

// The object behind `unknown` when it is one of ours of type T, else null (not AddRef'd;
// valid while the caller holds `unknown`).
template <typename T>
T* AsNative(IUnknown* unknown) {
  if (!unknown) return nullptr;
  NativeObject* native = nullptr;
  if (FAILED(unknown->QueryInterface(IID_INativeObject, reinterpret_cast<void**>(&native))) ||
      !native)
    return nullptr;
  T* object = dynamic_cast<T*>(native);
  unknown->Release();
  return object;
}

// The server's type information for one of its interfaces.
ITypeInfo* TypeInfoOf(REFIID iid);

// IUnknown, IDispatch (from the type library) and ISupportErrorInfo for an object whose
// interface is the dual `Interface`.
template <typename Interface>
class DualObject : public Interface, public ISupportErrorInfo, public NativeObject {
 public:
  DualObject() { AddModuleRef(); }
  DualObject(const DualObject&) = delete;
  DualObject& operator=(const DualObject&) = delete;
  ~DualObject() override { ReleaseModuleRef(); }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == __uuidof(Interface)) {
      *out = static_cast<Interface*>(this);
    } else if (iid == IID_ISupportErrorInfo) {
      *out = static_cast<ISupportErrorInfo*>(this);
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
    *count = 1;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
    if (!info) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    ITypeInfo* type = TypeInfoOf(__uuidof(Interface));
    if (!type) return TYPE_E_CANTLOADLIBRARY;
    type->AddRef();
    *info = type;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) override {
    ITypeInfo* type = TypeInfoOf(__uuidof(Interface));
    if (!type) return TYPE_E_CANTLOADLIBRARY;
    return DispGetIDsOfNames(type, names, count, ids);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params,
                                   VARIANT* result, EXCEPINFO* info, UINT* bad_argument) override {
    ITypeInfo* type = TypeInfoOf(__uuidof(Interface));
    if (!type) return TYPE_E_CANTLOADLIBRARY;
    HRESULT hr =
        type->Invoke(static_cast<Interface*>(this), id, flags, params, result, info, bad_argument);
    if (hr == DISP_E_MEMBERNOTFOUND && flags == DISPATCH_METHOD) {
      // A call of a property (JScript's Enumerator asks for _NewEnum so): read it.
      hr = type->Invoke(static_cast<Interface*>(this), id, DISPATCH_PROPERTYGET, params, result,
                        info, bad_argument);
    }
    return CompleteInvoke(hr, info);
  }

  HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) override {
    return iid == __uuidof(Interface) ? S_OK : S_FALSE;
  }

 private:
  LONG refs_ = 1;
};

// Holds one reference to a COM object.
template <typename T>
class ComPtr {
 public:
  ComPtr() = default;
  explicit ComPtr(T* p, bool add_ref = true) : p_(p) {
    if (p_ && add_ref) p_->AddRef();
  }
  ComPtr(const ComPtr& other) : ComPtr(other.p_) {}
  ComPtr& operator=(const ComPtr& other) {
    ComPtr copy(other);
    std::swap(p_, copy.p_);
    return *this;
  }
  ~ComPtr() {
    if (p_) p_->Release();
  }
  T* get() const { return p_; }
  T* operator->() const { return p_; }
  explicit operator bool() const { return p_ != nullptr; }
  // Hands out a new reference (for [out] parameters).
  T* Detach() {
    T* p = p_;
    p_ = nullptr;
    return p;
  }
  T* Copy() const {
    if (p_) p_->AddRef();
    return p_;
  }

 private:
  T* p_ = nullptr;
};

// An enumerator over a snapshot of values, for For Each.
IUnknown* NewVariantEnum(std::vector<VARIANT> items);

// Writes `value` (a new reference or null) to an [out] interface parameter.
template <typename T>
HRESULT Out(T* value, T** out) {
  if (!out) {
    if (value) value->Release();
    return E_POINTER;
  }
  *out = value;
  return S_OK;
}

}  // namespace kx::com
