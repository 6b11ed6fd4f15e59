// The MSFT reader and everything made from what it reads must survive any bytes.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "functions/tlb_browse.h"
#include "runtime/error.h"
#include "typelib/format.h"
#include "typelib/typelib.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  try {
    kx::typelib::Library lib = kx::typelib::ReadLibrary(bytes, "fuzz");
    (void)kx::typelib::DumpText(lib);
    for (const auto& t : lib.types) {
      for (const auto& f : t.functions)
        (void)kx::InformationText(lib, t, kx::MemberRef{&f, nullptr}, false);
      for (const auto& v : t.variables)
        (void)kx::InformationText(lib, t, kx::MemberRef{nullptr, &v}, true);
    }
  } catch (const kx::Error&) {
  }
  return 0;
}
