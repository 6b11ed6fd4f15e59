#pragma once

#include "objects.h"
#include "templates/templates.h"

namespace kx::com {

class ParameterObject : public CachedObject<ParameterObject, _ExprParameter, ExprParameter> {
 public:
  using CachedObject::CachedObject;
  KX_COM_TEXT_ACCESSOR(DefaultValue)
  KX_COM_TEXT_ACCESSOR(Description)
  KX_COM_TEXT_ACCESSOR(Name)
  KX_COM_BOOL_ACCESSOR(PromptEveryRow)
  KX_COM_TEXT_ACCESSOR(PromptValue)
  KX_COM_TEXT_ACCESSOR(Value)
};

class TemplateObject : public CachedObject<TemplateObject, _ExprTemplate, ExprTemplate> {
 public:
  using CachedObject::CachedObject;
  HRESULT STDMETHODCALLTYPE ExtractandAddParams() override;
  HRESULT STDMETHODCALLTYPE ParameterExists(BSTR name, VARIANT_BOOL* exists) override;
  KX_COM_TEXT_ACCESSOR(Body)
  HRESULT STDMETHODCALLTYPE CopyContents(_ExprTemplate* source) override;
  KX_COM_TEXT_ACCESSOR(Description)
  KX_COM_TEXT_ACCESSOR(Name)
  HRESULT STDMETHODCALLTYPE ParameterbyIndex(short position, _ExprParameter** item) override;
  HRESULT STDMETHODCALLTYPE ParameterCount(short* count) override;
  HRESULT STDMETHODCALLTYPE Parameters(_ExprParameters** items) override;
  HRESULT STDMETHODCALLTYPE ParameterValuebyIndex(short position, BSTR value) override;
  HRESULT STDMETHODCALLTYPE ParameterbyName(BSTR name, _ExprParameter** item) override;
  HRESULT STDMETHODCALLTYPE ParameterValuebyName(BSTR name, BSTR value) override;
  HRESULT STDMETHODCALLTYPE FreeParameterValuePairs() override;
};

class TemplatesObject : public CachedObject<TemplatesObject, _ExprTemplates, ExprTemplates> {
 public:
  using CachedObject::CachedObject;
  HRESULT STDMETHODCALLTYPE get_filename(BSTR* value) override {
    if (!value) return E_POINTER;
    return Guarded([&] { *value = ToBstr(core_->filename()); });
  }
  HRESULT STDMETHODCALLTYPE put_filename(BSTR value) override {
    return Guarded([&] { core_->filename(FromBstr(value)); });
  }
  HRESULT STDMETHODCALLTYPE Add(VARIANT* item, _ExprTemplate** held) override;
  HRESULT STDMETHODCALLTYPE Count(short* count) override;
  HRESULT STDMETHODCALLTYPE Delete(VARIANT index) override;
  HRESULT STDMETHODCALLTYPE FreeTemplates() override;
  HRESULT STDMETHODCALLTYPE Item(VARIANT index, _ExprTemplate** item) override;
  HRESULT STDMETHODCALLTYPE OpenandParseTemplateFile(VARIANT_BOOL* loaded) override;
  KX_COM_TEXT_ACCESSOR(ProductName)
  KX_COM_BOOL_ACCESSOR(TemplateFileModified)
  HRESULT STDMETHODCALLTYPE WriteToFile() override;
  HRESULT STDMETHODCALLTYPE CopyandSortName(_ExprTemplates* target, VARIANT sorter,
                                            VARIANT_BOOL* copied) override;
  HRESULT STDMETHODCALLTYPE get__NewEnum(IUnknown** out) override;
};

}  // namespace kx::com
