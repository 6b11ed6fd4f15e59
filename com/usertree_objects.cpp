// usertreeentry and usertreeentries.

#include "component/usertree.h"
#include "host_dispatch.h"
#include "objects.h"
#include "runtime/narrow.h"

namespace kx::com {

namespace {

// The caller's array: strings or variants, by value or by reference.
struct CallerArray {
  SAFEARRAY* array = nullptr;
  VARTYPE element = VT_EMPTY;
};

CallerArray ArrayIn(const VARIANT& value) {
  const VARIANT& v = Deref(value);
  if (!(V_VT(&v) & VT_ARRAY)) return {};
  SAFEARRAY* array =
      (V_VT(&v) & VT_BYREF) ? (V_ARRAYREF(&v) ? *V_ARRAYREF(&v) : nullptr) : V_ARRAY(&v);
  return {array, static_cast<VARTYPE>(V_VT(&v) & VT_TYPEMASK)};
}

// A script's array object (JScript): "length" and the items by their index as names.
std::vector<std::string> ItemsOfArrayObject(IUnknown* object) {
  IDispatch* raw = nullptr;
  if (FAILED(object->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&raw))))
    Raise(kErrTypeMismatch);
  ComPtr<IDispatch> dispatch(raw, false);
  ComDispatch by_name(dispatch.get());
  const int32_t length = by_name.Get("length").ToInt32();
  std::vector<std::string> items;
  for (int32_t i = 0; i < length; ++i) items.push_back(by_name.Get(std::to_string(i)).ToText());
  return items;
}

std::vector<std::string> ItemsIn(const VARIANT& value) {
  CallerArray in = ArrayIn(value);
  if (!in.array) {
    if (IUnknown* object = ObjectInVariant(value)) return ItemsOfArrayObject(object);
    Raise(kErrTypeMismatch);
  }
  if (SafeArrayGetDim(in.array) != 1) Raise(kErrSubscript);
  LONG lower = 0, upper = -1;
  SafeArrayGetLBound(in.array, 1, &lower);
  SafeArrayGetUBound(in.array, 1, &upper);
  // The list takes the array's upper bound, counted from 0.
  std::vector<std::string> items(upper >= 0 ? static_cast<size_t>(upper) + 1 : 0);
  for (LONG i = std::max<LONG>(lower, 0); i <= upper; ++i) {
    if (in.element == VT_BSTR) {
      BSTR item = nullptr;
      if (SUCCEEDED(SafeArrayGetElement(in.array, &i, &item))) {
        items[static_cast<size_t>(i)] = FromBstr(item);
        SysFreeString(item);
      }
    } else if (in.element == VT_VARIANT) {
      VARIANT item;
      VariantInit(&item);
      if (SUCCEEDED(SafeArrayGetElement(in.array, &i, &item))) {
        try {
          items[static_cast<size_t>(i)] = FromVariant(item).ToText();
        } catch (...) {
          VariantClear(&item);
          throw;
        }
        VariantClear(&item);
      }
    } else {
      Raise(kErrTypeMismatch);
    }
  }
  return items;
}

// Puts `items` into the caller's variable: an array of strings when it held one, else an
// array of variants (the kind script hosts can index).
void ItemsOut(const std::vector<std::string>& items, VARIANT* value) {
  VARIANT* target = value;
  while (V_VT(target) == (VT_VARIANT | VT_BYREF) && V_VARIANTREF(target))
    target = V_VARIANTREF(target);
  const bool strings = (V_VT(target) & VT_ARRAY) && (V_VT(target) & VT_TYPEMASK) == VT_BSTR;
  SAFEARRAY* array =
      SafeArrayCreateVector(strings ? VT_BSTR : VT_VARIANT, 0, static_cast<ULONG>(items.size()));
  if (!array) throw std::bad_alloc();
  for (LONG i = 0; i < static_cast<LONG>(items.size()); ++i) {
    BSTR text = ToBstr(items[static_cast<size_t>(i)]);
    HRESULT hr;
    if (strings) {
      hr = SafeArrayPutElement(array, &i, text);
    } else {
      VARIANT item;
      VariantInit(&item);
      V_VT(&item) = VT_BSTR;
      V_BSTR(&item) = text;
      hr = SafeArrayPutElement(array, &i, &item);
    }
    SysFreeString(text);
    if (FAILED(hr)) {
      SafeArrayDestroy(array);
      RaiseFromHresult(hr);
    }
  }
  if (V_VT(target) == (VT_ARRAY | VT_BSTR | VT_BYREF) && V_ARRAYREF(target)) {
    SafeArrayDestroy(*V_ARRAYREF(target));
    *V_ARRAYREF(target) = array;
    return;
  }
  VariantClear(target);
  V_VT(target) = static_cast<VARTYPE>(VT_ARRAY | (strings ? VT_BSTR : VT_VARIANT));
  V_ARRAY(target) = array;
}

class EntryObject : public CachedObject<EntryObject, _usertreeentry, usertreeentry> {
 public:
  using CachedObject::CachedObject;
  HRESULT STDMETHODCALLTYPE get_ListCount(short* count) override {
    if (!count) return E_POINTER;
    return Guarded([&] { *count = core_->ListCount(); });
  }
  HRESULT STDMETHODCALLTYPE get_ListItem(short index, BSTR* item) override {
    if (!item) return E_POINTER;
    return Guarded([&] { *item = ToBstr(core_->ListItem(index)); });
  }
  KX_COM_TEXT_ACCESSOR(ParentKey)
  KX_COM_TEXT_ACCESSOR(NodeName)
  KX_COM_TEXT_ACCESSOR(NodeKey)
  HRESULT STDMETHODCALLTYPE GetList(VARIANT* items, LONG* status) override {
    if (!items || !status) return E_POINTER;
    return Guarded([&] {
      std::vector<std::string> list;
      *status = core_->GetList(list);
      ItemsOut(list, items);
    });
  }
  HRESULT STDMETHODCALLTYPE get_GetListAsPipedString(BSTR* text) override {
    if (!text) return E_POINTER;
    return Guarded([&] { *text = ToBstr(core_->GetListAsPipedString()); });
  }
  HRESULT STDMETHODCALLTYPE SetList(VARIANT* items, LONG* status) override {
    if (!items || !status) return E_POINTER;
    return Guarded([&] { *status = core_->SetList(ItemsIn(*items)); });
  }
};

// A collection index as the collection takes it: numbers are positions, the rest keys.
EntryIndex EntryIndexOf(const VARIANT& index) {
  const Variant i = IndexFromVariant(index);
  if (i.IsString()) return i.ToText();
  if (i.IsNumeric()) return i.ToInt32();
  return i.ToText();
}

class EntriesObject : public CachedObject<EntriesObject, _usertreeentries, usertreeentries> {
 public:
  using CachedObject::CachedObject;
  HRESULT STDMETHODCALLTYPE Add(_usertreeentry* entry, _usertreeentry** held) override {
    if (!held) return E_POINTER;
    *held = nullptr;
    return Guarded([&] {
      UserTreeEntryRef added = RequireNative<EntryObject>(entry);
      if (!added) Raise(kErrObjectNotSet);
      *held = EntryObject::Wrap(core_->Add(std::move(added)));
    });
  }
  HRESULT STDMETHODCALLTYPE Count(short* count) override {
    if (!count) return E_POINTER;
    return Guarded([&] { *count = core_->Count(); });
  }
  HRESULT STDMETHODCALLTYPE Delete(VARIANT index) override {
    return Guarded([&] { core_->Delete(EntryIndexOf(index)); });
  }
  HRESULT STDMETHODCALLTYPE Item(VARIANT index, _usertreeentry** item) override {
    if (!item) return E_POINTER;
    *item = nullptr;
    return Guarded([&] { *item = EntryObject::Wrap(core_->Item(EntryIndexOf(index))); });
  }
  HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown** out) override {
    if (!out) return E_POINTER;
    return Guarded([&] {
      std::vector<VARIANT> items;
      for (int32_t i = 1; i <= core_->Count(); ++i) {
        VARIANT v;
        VariantInit(&v);
        V_VT(&v) = VT_DISPATCH;
        V_DISPATCH(&v) = EntryObject::Wrap(core_->Item(EntryIndex(i)));
        items.push_back(v);
      }
      *out = NewVariantEnum(std::move(items));
    });
  }
};

}  // namespace

HRESULT CreateUserTreeEntry(REFIID iid, void** out) {
  return Hand(new EntryObject(std::make_shared<usertreeentry>()), iid, out);
}
HRESULT CreateUserTreeEntries(REFIID iid, void** out) {
  return Hand(new EntriesObject(std::make_shared<usertreeentries>()), iid, out);
}

}  // namespace kx::com
