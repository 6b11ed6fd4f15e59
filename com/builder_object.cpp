// KXExpressionBuilder75.ExpressionBuilder: the builder with its editor window on Win32.

#include <filesystem>

#include "editor/new_builder.h"
#include "host/checker_object.h"
#include "host_dispatch.h"
#include "objects.h"
#include "templates/template_apply.h"
#include "win32_views.h"

namespace kx::com {

namespace {

std::filesystem::path ModuleFolder() {
  wchar_t path[MAX_PATH];
  const DWORD n = GetModuleFileNameW(g_module, path, MAX_PATH);
  if (n == 0 || n >= MAX_PATH) return {};
  return std::filesystem::path(std::wstring(path, n)).parent_path();
}

// The services every builder of the process shares; the views are made per window.
struct Platform {
  win32::Win32FileDialog file_dialog;
  win32::Win32HelpViewer help;
  std::unique_ptr<win32::Win32DialogFactory> dialogs;
};

ExprBldContext NewContext() {
  static Platform platform;
  std::error_code ec;
  const std::filesystem::path current = std::filesystem::current_path(ec);
  // A keyword file named without a folder: beside the caller's files, then beside the server.
  std::vector<std::filesystem::path> keyword_dirs = {current, ModuleFolder()};
  if (!platform.dialogs)
    platform.dialogs = std::make_unique<win32::Win32DialogFactory>(keyword_dirs);
  ExprBldContext context;
  context.services.message_box = &Win32MessageBoxService();
  context.services.file_dialog = &platform.file_dialog;
  context.services.help = &platform.help;
  context.services.dialogs = platform.dialogs.get();
  context.registry = OpenSystemRegistry();
  context.new_checker = [] { return std::make_shared<host::BasicCompiler>(); };
  context.current_dir = current;
  context.keyword_dirs = keyword_dirs;
  context.library_base = context.registry->Folder();
  return context;
}

// A font object as hosts hand them over: whatever answers "Name" and "Size" by name.
std::shared_ptr<FontDesc> FontOf(IDispatch* font) {
  if (!font) Raise(kErrObjectNotSet);
  ComDispatch by_name(font);
  auto desc = std::make_shared<FontDesc>();
  desc->Name = by_name.Get("Name").ToText();
  desc->Size = by_name.Get("Size").ToDouble();
  return desc;
}

// The builder's initial font: a font object of its own that keeps the name it was given
// (the platform's would report the face it substitutes where the name is not installed).
class FontObject : public Dispatch {
 public:
  explicit FontObject(const FontDesc& desc) : desc_(desc) {}
  Variant Get(std::string_view name, const Arguments& args) override {
    ExpectArguments(name, args, 0);
    if (IsMember(name, "Name")) return desc_.Name;
    if (IsMember(name, "Size")) return desc_.Size;
    if (IsMember(name, "Bold") || IsMember(name, "Italic")) return false;
    RaiseNoMember(name);
  }
  void Put(std::string_view name, const Arguments& args, const Variant& value) override {
    ExpectArguments(name, args, 0);
    if (IsMember(name, "Name"))
      desc_.Name = value.ToText();
    else if (IsMember(name, "Size"))
      desc_.Size = value.ToDouble();
    else
      RaiseNoMember(name);
  }

 private:
  FontDesc desc_;
};

// One object answers both the host's interface and the class's own; the class's members
// have the same dispatch identifiers in both, so either view of IDispatch agrees.
class BuilderObject : public DualObject<::KXExpressionBuilder>, public _ExpressionBuilder {
 public:
  BuilderObject() : context_(NewContext()), builder_(NewExpressionBuilder(context_)) {
    if (auto font = builder_->Font())
      font_ = ComPtr<IDispatch>(ToDispatch(std::make_shared<FontObject>(*font)), false);
  }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (out && iid == IID__ExpressionBuilder) {
      *out = static_cast<_ExpressionBuilder*>(this);
      AddRef();
      return S_OK;
    }
    return DualObject::QueryInterface(iid, out);
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return DualObject::AddRef(); }
  ULONG STDMETHODCALLTYPE Release() override { return DualObject::Release(); }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    return DualObject::GetTypeInfoCount(count);
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) override {
    return DualObject::GetTypeInfo(index, lcid, info);
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID lcid,
                                          DISPID* ids) override {
    return DualObject::GetIDsOfNames(iid, names, count, lcid, ids);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID lcid, WORD flags, DISPPARAMS* params,
                                   VARIANT* result, EXCEPINFO* info, UINT* bad_argument) override {
    return DualObject::Invoke(id, iid, lcid, flags, params, result, info, bad_argument);
  }
  HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) override {
    return iid == IID_KXExpressionBuilder || iid == IID__ExpressionBuilder ? S_OK : S_FALSE;
  }

#define KX_BUILDER_BOOL(Name)                                          \
  HRESULT STDMETHODCALLTYPE get_##Name(VARIANT_BOOL* value) override { \
    if (!value) return E_POINTER;                                      \
    *value = ToVariantBool(builder_->Name());                          \
    return S_OK;                                                       \
  }                                                                    \
  HRESULT STDMETHODCALLTYPE put_##Name(VARIANT_BOOL value) override {  \
    return Guarded([&] { builder_->Name(value != VARIANT_FALSE); });   \
  }
#define KX_BUILDER_TEXT(Name)                                   \
  HRESULT STDMETHODCALLTYPE get_##Name(BSTR* value) override {  \
    if (!value) return E_POINTER;                               \
    return Guarded([&] { *value = ToBstr(builder_->Name()); }); \
  }                                                             \
  HRESULT STDMETHODCALLTYPE put_##Name(BSTR value) override {   \
    return Guarded([&] { builder_->Name(FromBstr(value)); });   \
  }

  KX_BUILDER_BOOL(AllowTemplates)
  KX_BUILDER_BOOL(AllowValidation)
  HRESULT STDMETHODCALLTYPE get_KXTypeLibPath(BSTR* value) override {
    if (!value) return E_POINTER;
    return Guarded([&] { *value = ToBstr(builder_->KXTypeLibPath()); });
  }
  KX_BUILDER_TEXT(Expression)
  HRESULT STDMETHODCALLTYPE get_Font(IDispatch** value) override {
    return Out(font_.Copy(), value);
  }
  HRESULT STDMETHODCALLTYPE putref_Font(IDispatch* value) override {
    return Guarded([&] {
      builder_->Font(FontOf(value));
      font_ = ComPtr<IDispatch>(value);
    });
  }
  KX_BUILDER_TEXT(FormTitle)
  KX_BUILDER_TEXT(HelpFile)
  HRESULT STDMETHODCALLTYPE get_HelpID(LONG* value) override {
    if (!value) return E_POINTER;
    *value = builder_->HelpID();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE put_HelpID(LONG value) override {
    return Guarded([&] { builder_->HelpID(value); });
  }
  KX_BUILDER_TEXT(KeywordFile)
  KX_BUILDER_BOOL(ParameterButtonVisible)
  KX_BUILDER_TEXT(ProductName)
  HRESULT STDMETHODCALLTYPE Show(VARIANT modal) override {
    // Any non-zero value is modal; a value that is no number leaves the window modeless.
    bool is_modal = false;
    if (!IsMissing(modal)) {
      try {
        is_modal = FromVariant(modal).ToBool();
      } catch (...) {
      }
    }
    return Guarded([&] { builder_->Show(is_modal ? 1 : 0); });
  }
  HRESULT STDMETHODCALLTYPE get_SourceControl(IDispatch** value) override {
    return Out(source_.Copy(), value);
  }
  HRESULT STDMETHODCALLTYPE putref_SourceControl(IDispatch* value) override {
    return Guarded([&] {
      source_ = ComPtr<IDispatch>(value);
      builder_->SourceControl(AdaptSource(value));
    });
  }
  HRESULT STDMETHODCALLTYPE get_TargetControl(IDispatch** value) override {
    return Out(target_.Copy(), value);
  }
  HRESULT STDMETHODCALLTYPE putref_TargetControl(IDispatch* value) override {
    return Guarded([&] {
      target_ = ComPtr<IDispatch>(value);
      builder_->TargetControl(AdaptTarget(value));
    });
  }
  KX_BUILDER_TEXT(TemplateFile)
  KX_BUILDER_TEXT(TemplateName)
  HRESULT STDMETHODCALLTYPE BuildUserTree() override {
    return Guarded([&] { builder_->BuildUserTree(); });
  }
  HRESULT STDMETHODCALLTYPE KXExpressionBuilder_AddList(BSTR parent_key, BSTR name, BSTR key,
                                                        BSTR thelist) override {
    return Guarded([&] {
      builder_->KXExpressionBuilder_AddList(FromBstr(parent_key), FromBstr(name), FromBstr(key),
                                            FromBstr(thelist));
    });
  }
  HRESULT STDMETHODCALLTYPE KXExpressionBuilder_BuildTree() override {
    return Guarded([&] { builder_->KXExpressionBuilder_BuildTree(); });
  }
#undef KX_BUILDER_BOOL
#undef KX_BUILDER_TEXT

 private:
  ExprBldContext context_;
  std::unique_ptr<ExpressionBuilder> builder_;
  ComPtr<IDispatch> font_;
  ComPtr<IDispatch> source_;
  ComPtr<IDispatch> target_;
};

// The prompt dialog needs a builder for its font; one is made, with its hidden window, only
// when a value is asked for, so that templates without prompts need no desktop.
class LazyDialogPrompter : public ValuePrompter {
 public:
  ValuePromptAnswer Ask(const ValuePromptRequest& request, ExpressionList& list) override {
    if (!prompter_) {
      context_ = NewContext();
      builder_ = NewExpressionBuilder(context_);
      prompter_ = std::make_unique<DialogPrompter>(context_.services, *builder_);
    }
    return prompter_->Ask(request, list);
  }
  void Finished() override {
    if (prompter_) prompter_->Finished();
  }

 private:
  ExprBldContext context_;
  std::unique_ptr<ExpressionBuilder> builder_;
  std::unique_ptr<DialogPrompter> prompter_;
};

}  // namespace

std::unique_ptr<ValuePrompter> NewDialogPrompter() {
  return std::make_unique<LazyDialogPrompter>();
}

HRESULT CreateExpressionBuilder(REFIID iid, void** out) {
  BuilderObject* object = nullptr;
  // The window is made with the object: without a desktop there is no builder.
  HRESULT hr = Guarded([&] { object = new BuilderObject; });
  if (FAILED(hr)) return hr;
  return Hand(object, iid, out);
}

}  // namespace kx::com
