#pragma once
// The public classes as COM objects, each wrapping the core's object. One core object has
// at most one wrapper at a time, so handing the same item out twice gives the same
// interface pointer (callers compare objects with Is).

#include <memory>
#include <unordered_map>

#include "com_support.h"

namespace kx {
class ValuePrompter;
namespace ui {
class MessageBoxService;
}
}  // namespace kx

namespace kx::com {

// A wrapper of a shared core object of type Core, found again from its core object.
template <typename Derived, typename Interface, typename Core>
class CachedObject : public DualObject<Interface> {
 public:
  explicit CachedObject(std::shared_ptr<Core> core) : core_(std::move(core)) {
    TableLock lock;
    Map()[core_.get()] = static_cast<Derived*>(this);
  }
  ~CachedObject() override {
    TableLock lock;
    Map().erase(core_.get());
  }

  const std::shared_ptr<Core>& Core_() const { return core_; }

  // The wrapper of `core` (a new reference), made when it has none; null for null.
  static Interface* Wrap(const std::shared_ptr<Core>& core) {
    if (!core) return nullptr;
    {
      TableLock lock;
      auto it = Map().find(core.get());
      if (it != Map().end()) {
        it->second->AddRef();
        return it->second;
      }
    }
    return new Derived(core);
  }
  // The core object behind one of our wrappers; null for null or a foreign object.
  static std::shared_ptr<Core> Unwrap(IUnknown* unknown) {
    if (Derived* object = AsNative<Derived>(unknown)) return object->core_;
    return nullptr;
  }

 protected:
  std::shared_ptr<Core> core_;

 private:
  static std::unordered_map<const Core*, Derived*>& Map() {
    static std::unordered_map<const Core*, Derived*> map;
    return map;
  }
};

// The core object behind an object argument: null for Nothing, 13 for a foreign object.
template <typename Wrapper>
auto RequireNative(IUnknown* unknown) {
  auto core = Wrapper::Unwrap(unknown);
  if (unknown && !core) Raise(kErrTypeMismatch);
  return core;
}

// Properties that read and write an accessor pair of the core object, Name() / Name(v).
#define KX_COM_TEXT_ACCESSOR(Name)                             \
  HRESULT STDMETHODCALLTYPE get_##Name(BSTR* value) override { \
    if (!value) return E_POINTER;                              \
    return Guarded([&] { *value = ToBstr(core_->Name()); });   \
  }                                                            \
  HRESULT STDMETHODCALLTYPE put_##Name(BSTR value) override {  \
    return Guarded([&] { core_->Name(FromBstr(value)); });     \
  }
#define KX_COM_BOOL_ACCESSOR(Name)                                     \
  HRESULT STDMETHODCALLTYPE get_##Name(VARIANT_BOOL* value) override { \
    if (!value) return E_POINTER;                                      \
    *value = ToVariantBool(core_->Name());                             \
    return S_OK;                                                       \
  }                                                                    \
  HRESULT STDMETHODCALLTYPE put_##Name(VARIANT_BOOL value) override {  \
    core_->Name(value != VARIANT_FALSE);                               \
    return S_OK;                                                       \
  }

// The process's real message boxes.
ui::MessageBoxService& Win32MessageBoxService();
// Asks for template values through the prompt dialog.
std::unique_ptr<ValuePrompter> NewDialogPrompter();

// Creatable classes.
HRESULT CreateExpressionBuilder(REFIID iid, void** out);
HRESULT CreateExpressionList(REFIID iid, void** out);
HRESULT CreateExpressionInfo(REFIID iid, void** out);
HRESULT CreateExprTemplates(REFIID iid, void** out);
HRESULT CreateExprTemplate(REFIID iid, void** out);
HRESULT CreateExprParameter(REFIID iid, void** out);
HRESULT CreateUserTreeEntry(REFIID iid, void** out);
HRESULT CreateUserTreeEntries(REFIID iid, void** out);
HRESULT CreateConversionDocument(REFIID iid, void** out);

// Hands out a new object through `iid` and drops the creation reference.
template <typename T>
HRESULT Hand(T* object, REFIID iid, void** out) {
  HRESULT hr = object->QueryInterface(iid, out);
  object->Release();
  return hr;
}

}  // namespace kx::com
