// The registry-file reader must survive any text, and what it reads must walk cleanly.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "component/registry.h"
#include "functions/tlb_browse.h"
#include "runtime/error.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  kx::FileRegistry reg;
  try {
    reg.Parse(text, "fuzz");
  } catch (const kx::Error&) {
  }
  (void)kx::BuildTLBList(reg);
  (void)kx::GetKXTypeLibPath(reg);
  return 0;
}
