// The PE resource walk must survive any image: list the TYPELIB resources and fetch each.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "runtime/error.h"
#include "typelib/pe.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  try {
    for (int id : kx::typelib::ListTypeLibResources(bytes, "fuzz")) {
      try {
        (void)kx::typelib::FindTypeLibResource(bytes, id, "fuzz");
      } catch (const kx::Error&) {
      }
    }
    (void)kx::typelib::FindTypeLibResource(bytes, 1, "fuzz");
  } catch (const kx::Error&) {
  }
  return 0;
}
