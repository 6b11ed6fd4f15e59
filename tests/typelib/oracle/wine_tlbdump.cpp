// Runs under Wine: loads each library named on the command line with LoadTypeLibEx and
// prints it through the same dump as kxexpr, having filled the dump's model from Wine's
// ITypeLib/ITypeInfo answers alone. Output per library: "#file PATH", then the dump, or
// "#error PATH 0xHRESULT". With -bench N PATH it times N full loads and walks instead.
// Built by scripts/build-oracle.sh with mingw-w64.

// clang-format off
#include <windows.h>
#include <oleauto.h>
// clang-format on
#include <fcntl.h>
#include <io.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "typelib/format.h"
#include "typelib/typelib.h"

using namespace kx::typelib;

namespace {

std::string Narrow(const wchar_t* w, int length = -1) {
  if (!w) return {};
  if (length < 0) length = static_cast<int>(wcslen(w));
  if (length == 0) return {};
  int n = WideCharToMultiByte(CP_ACP, 0, w, length, nullptr, 0, nullptr, nullptr);
  std::string s(static_cast<size_t>(n), '\0');
  WideCharToMultiByte(CP_ACP, 0, w, length, s.data(), n, nullptr, nullptr);
  return s;
}

std::string FromBstr(BSTR b) {
  std::string s = b ? Narrow(b, static_cast<int>(SysStringLen(b))) : std::string();
  SysFreeString(b);
  return s;
}

Guid ToGuid(const GUID& g) {
  Guid r;
  memcpy(r.bytes.data(), &g, 16);
  return r;
}

TypePtr Convert(ITypeInfo* owner, const TYPEDESC& td) {
  auto t = std::make_shared<Type>();
  t->vt = td.vt & 0x0FFF;
  switch (t->vt) {
    case VT_PTR:
    case VT_SAFEARRAY:
      if (td.lptdesc) t->element = Convert(owner, *td.lptdesc);
      break;
    case VT_CARRAY:
      if (td.lpadesc) {
        t->element = Convert(owner, td.lpadesc->tdescElem);
        for (USHORT i = 0; i < td.lpadesc->cDims; ++i)
          t->bounds.push_back({td.lpadesc->rgbounds[i].cElements, td.lpadesc->rgbounds[i].lLbound});
      }
      break;
    case VT_USERDEFINED: {
      ITypeInfo* ref = nullptr;
      if (SUCCEEDED(owner->GetRefTypeInfo(td.hreftype, &ref)) && ref) {
        BSTR name = nullptr;
        ref->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr);
        t->user_name = FromBstr(name);
        ref->Release();
      } else {
        t->user_name = "?";
      }
      break;
    }
    default:
      break;
  }
  return t;
}

Value ConvertValue(const VARIANT& v) {
  Value r;
  r.vt = V_VT(&v);
  switch (r.vt) {
    case VT_I1:
      r.integer = V_I1(&v);
      break;
    case VT_UI1:
      r.unsigned_integer = V_UI1(&v);
      break;
    case VT_I2:
      r.integer = V_I2(&v);
      break;
    case VT_BOOL:
      r.integer = V_BOOL(&v);
      break;
    case VT_UI2:
      r.unsigned_integer = V_UI2(&v);
      break;
    case VT_I4:
    case VT_INT:
    case VT_ERROR:
    case VT_HRESULT:
      r.integer = V_I4(&v);
      break;
    case VT_UI4:
    case VT_UINT:
      r.unsigned_integer = V_UI4(&v);
      break;
    case VT_R4:
      r.real = V_R4(&v);
      break;
    case VT_R8:
    case VT_DATE:
      r.real = V_R8(&v);
      break;
    case VT_CY:
    case VT_I8:
      r.integer = V_I8(&v);
      break;
    case VT_UI8:
    case VT_FILETIME:
      r.unsigned_integer = V_UI8(&v);
      break;
    case VT_DECIMAL:
      r.unsigned_integer = v.decVal.Lo64;
      break;
    case VT_BSTR:
      if (V_BSTR(&v))
        r.text = Narrow(V_BSTR(&v), static_cast<int>(SysStringLen(V_BSTR(&v))));
      else
        r.null_text = true;
      break;
    case VT_EMPTY:
    case VT_NULL:
    case VT_VOID:
      break;
    default:
      r.supported = false;
      break;
  }
  return r;
}

HRESULT Load(const wchar_t* where, Library& lib) {
  ITypeLib* tl = nullptr;
  HRESULT hr = LoadTypeLibEx(where, REGKIND_NONE, &tl);
  if (FAILED(hr)) return hr;
  TLIBATTR* la = nullptr;
  tl->GetLibAttr(&la);
  lib.guid = ToGuid(la->guid);
  lib.lcid = la->lcid;
  lib.syskind = static_cast<uint8_t>(la->syskind);
  lib.major = la->wMajorVerNum;
  lib.minor = la->wMinorVerNum;
  tl->ReleaseTLibAttr(la);
  BSTR name = nullptr, doc = nullptr, help = nullptr;
  DWORD context = 0;
  tl->GetDocumentation(-1, &name, &doc, &context, &help);
  lib.name = FromBstr(name);
  lib.doc = FromBstr(doc);
  lib.help_file = FromBstr(help);
  lib.help_context = static_cast<int32_t>(context);
  UINT count = tl->GetTypeInfoCount();
  lib.types.resize(count);
  for (UINT i = 0; i < count; ++i) {
    TypeInfo& t = lib.types[i];
    ITypeInfo* ti = nullptr;
    if (FAILED(tl->GetTypeInfo(i, &ti))) continue;
    TYPEATTR* ta = nullptr;
    ti->GetTypeAttr(&ta);
    t.kind = static_cast<TypeKind>(ta->typekind);
    t.guid = ToGuid(ta->guid);
    t.flags = ta->wTypeFlags;
    t.major = ta->wMajorVerNum;
    t.minor = ta->wMinorVerNum;
    ti->GetDocumentation(MEMBERID_NIL, &name, &doc, &context, nullptr);
    t.name = FromBstr(name);
    t.doc = FromBstr(doc);
    t.help_context = static_cast<int32_t>(context);
    if (ta->typekind == TKIND_ALIAS) t.alias_of = Convert(ti, ta->tdescAlias);
    if (ta->typekind == TKIND_COCLASS || ta->typekind == TKIND_INTERFACE) {
      for (UINT k = 0; k < ta->cImplTypes; ++k) {
        HREFTYPE href = 0;
        INT flags = 0;
        ti->GetRefTypeOfImplType(k, &href);
        if (ta->typekind == TKIND_COCLASS) ti->GetImplTypeFlags(k, &flags);
        TYPEDESC td{};
        td.vt = VT_USERDEFINED;
        td.hreftype = href;
        t.implements.push_back({Convert(ti, td), flags});
      }
    }
    // A dual interface's dispatch view lists IUnknown's and IDispatch's methods first and
    // rewrites the others in dispatch form; the file stores the interface form, which the
    // interface view returns as stored.
    ITypeInfo* members = ti;
    TYPEATTR* ma = ta;
    if (ta->typekind == TKIND_DISPATCH && (ta->wTypeFlags & TYPEFLAG_FDUAL)) {
      HREFTYPE href = 0;
      ITypeInfo* iface = nullptr;
      if (SUCCEEDED(ti->GetRefTypeOfImplType(-1, &href)) &&
          SUCCEEDED(ti->GetRefTypeInfo(href, &iface)) && iface) {
        members = iface;
        members->GetTypeAttr(&ma);
        t.flags = ma->wTypeFlags;  // the dispatch view drops the OLE-automation flag
      }
    }
    for (UINT k = 0; k < ma->cFuncs; ++k) {
      FUNCDESC* fd = nullptr;
      ITypeInfo* ti = members;
      if (FAILED(ti->GetFuncDesc(k, &fd))) {
        Function failed;
        failed.name = "(GetFuncDesc failed)";
        failed.return_type = std::make_shared<Type>();
        t.functions.push_back(std::move(failed));
        continue;
      }
      Function f;
      f.member_id = fd->memid;
      f.invoke = static_cast<InvokeKind>(fd->invkind);
      f.return_type = Convert(ti, fd->elemdescFunc.tdesc);
      f.param_array = fd->cParamsOpt == -1;
      BSTR names[70] = {};
      UINT got = 0;
      ti->GetNames(fd->memid, names, 70, &got);
      f.name = FromBstr(names[0]);
      for (UINT n = 1; n < got; ++n) {
        if (n - 1 < static_cast<UINT>(fd->cParams)) {
          f.params.emplace_back();
          f.params.back().name = FromBstr(names[n]);
        } else {
          SysFreeString(names[n]);
        }
      }
      f.params.resize(static_cast<size_t>(fd->cParams));
      for (SHORT p = 0; p < fd->cParams; ++p) {
        const ELEMDESC& e = fd->lprgelemdescParam[p];
        Parameter& param = f.params[static_cast<size_t>(p)];
        param.type = Convert(ti, e.tdesc);
        param.flags = e.paramdesc.wParamFlags;
        if ((e.paramdesc.wParamFlags & PARAMFLAG_FHASDEFAULT) && e.paramdesc.pparamdescex) {
          param.has_default = true;
          param.default_value = ConvertValue(e.paramdesc.pparamdescex->varDefaultValue);
        }
      }
      ti->GetDocumentation(fd->memid, nullptr, &doc, &context, nullptr);
      f.doc = FromBstr(doc);
      f.help_context = static_cast<int32_t>(context);
      ti->ReleaseFuncDesc(fd);
      t.functions.push_back(std::move(f));
    }
    for (UINT k = 0; k < ta->cVars; ++k) {
      VARDESC* vd = nullptr;
      if (FAILED(ti->GetVarDesc(k, &vd))) continue;
      Variable v;
      v.member_id = vd->memid;
      v.kind = static_cast<VarKind>(vd->varkind);
      v.type = Convert(ti, vd->elemdescVar.tdesc);
      if (vd->varkind == VAR_CONST && vd->lpvarValue) v.value = ConvertValue(*vd->lpvarValue);
      ti->GetDocumentation(vd->memid, &name, &doc, &context, nullptr);
      v.name = FromBstr(name);
      v.doc = FromBstr(doc);
      v.help_context = static_cast<int32_t>(context);
      ti->ReleaseVarDesc(vd);
      t.variables.push_back(std::move(v));
    }
    if (members != ti) {
      members->ReleaseTypeAttr(ma);
      members->Release();
    }
    if (ta->typekind == TKIND_MODULE && ta->cFuncs > 0 && !t.functions.empty()) {
      BSTR dll = nullptr;
      if (SUCCEEDED(ti->GetDllEntry(t.functions[0].member_id, INVOKE_FUNC, &dll, nullptr, nullptr)))
        t.dll_name = FromBstr(dll);
    }
    ti->ReleaseTypeAttr(ta);
    ti->Release();
  }
  tl->Release();
  return S_OK;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  _setmode(_fileno(stdout), _O_BINARY);
  static char buffer[1 << 20];
  setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
  CoInitialize(nullptr);
  if (argc == 4 && std::wstring(argv[1]) == L"-bench") {
    int runs = _wtoi(argv[2]);
    size_t lines = 0;
    auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < runs; ++i) {
      Library lib;
      if (FAILED(Load(argv[3], lib))) return 1;
      for (const auto& t : lib.types) lines += t.functions.size() + t.variables.size();
    }
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("%.6f %zu\n", seconds / runs, lines / static_cast<size_t>(runs));
    return 0;
  }
  for (int i = 1; i < argc; ++i) {
    std::string where = Narrow(argv[i]);
    Library lib;
    HRESULT hr = Load(argv[i], lib);
    if (FAILED(hr)) {
      std::printf("#error %s 0x%08lX\n", where.c_str(), static_cast<unsigned long>(hr));
      continue;
    }
    std::printf("#file %s\n", where.c_str());
    std::string text = DumpText(lib);
    fwrite(text.data(), 1, text.size(), stdout);
  }
  fflush(stdout);
  return 0;
}
