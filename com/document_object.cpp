// kxexpr.ConversionDocument: the bundled host, so that scripts can run the walkers and
// write-back against a conversion kept in a JSON file.

#include "host/conversion_document.h"
#include "host_dispatch.h"
#include "objects.h"

namespace kx::com {

namespace {

class DocumentObject : public DualObject<_ConversionDocument> {
 public:
  HRESULT STDMETHODCALLTYPE Load(BSTR path) override {
    return Guarded([&] {
      auto loaded = host::ConversionDocument::Load(std::filesystem::path(FromBstr(path)));
      document_ = std::move(loaded);
      source_ = {};
      target_ = {};
    });
  }
  HRESULT STDMETHODCALLTYPE Save() override {
    return Guarded([&] { Document().Save(); });
  }
  // One object per side and load, so a side read twice is the same object.
  HRESULT STDMETHODCALLTYPE get_Source(IDispatch** side) override {
    if (!side) return E_POINTER;
    *side = nullptr;
    return Guarded([&] {
      if (!source_) source_ = ComPtr<IDispatch>(ToDispatch(Document().Source()), false);
      *side = source_.Copy();
    });
  }
  HRESULT STDMETHODCALLTYPE get_Target(IDispatch** side) override {
    if (!side) return E_POINTER;
    *side = nullptr;
    return Guarded([&] {
      if (!target_) target_ = ComPtr<IDispatch>(ToDispatch(Document().Target()), false);
      *side = target_.Copy();
    });
  }
  HRESULT STDMETHODCALLTYPE get_Path(BSTR* path) override {
    if (!path) return E_POINTER;
    return Guarded([&] { *path = ToBstr(document_ ? document_->Path().string() : ""); });
  }

 private:
  host::ConversionDocument& Document() {
    if (!document_) Raise(kErrObjectNotSet, "No conversion document is loaded");
    return *document_;
  }

  std::shared_ptr<host::ConversionDocument> document_;
  ComPtr<IDispatch> source_;
  ComPtr<IDispatch> target_;
};

}  // namespace

HRESULT CreateConversionDocument(REFIID iid, void** out) {
  return Hand(new DocumentObject, iid, out);
}

}  // namespace kx::com
