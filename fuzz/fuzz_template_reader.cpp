// Any bytes as a template file: the reader must end with a result (never crash or hang),
// what it loads must survive a write and a second load unchanged, and reading the file through
// a small window must cut the same lines as reading it from memory.

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "runtime/files.h"
#include "templates/templates.h"
#include "ui/message_box.h"

namespace {

class SilentMessageBox : public kx::ui::MessageBoxService {
 public:
  int Show(const std::string&, int, const std::string&) override { return kx::ui::kAnswerOk; }
};

const std::string& ScratchPath() {
  static const std::string path =
      std::string(::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") + "/kx_fuzz_template_" +
      std::to_string(::getpid()) + ".tpl";
  return path;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static SilentMessageBox box;
  static kx::ui::ScopedMessageBox guard(box);
  const std::string& path = ScratchPath();
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  kx::WriteWholeFile(path, bytes);

  // Lines read through a small window of the file are the lines read from memory.
  {
    kx::TemplateFileInput whole(bytes);
    std::FILE* f = kx::OpenFile(path, "rb");
    if (!f) std::abort();
    kx::TemplateFileInput streamed(f, 1 + size % 7);
    char whole_lookahead = '\r', streamed_lookahead = '\r';
    while (!whole.AtEnd()) {
      if (streamed.AtEnd() ||
          whole.ReadLine(whole_lookahead) != streamed.ReadLine(streamed_lookahead))
        std::abort();
    }
    if (!streamed.AtEnd()) std::abort();
  }

  kx::ExprTemplates first;
  first.ProductName("fuzz");
  if (!first.LoadFrom(path)) return 0;
  // A template name holding "@BeginParameter" turns its own end line into a parameter block
  // when read back: a limit of the file format, which `rewrite` refuses to write.
  for (const kx::ExprTemplateRef& t : first)
    if (t->Name().find("@BeginParameter") != std::string::npos) return 0;
  std::string written = first.FileText();
  kx::WriteWholeFile(path, written);
  kx::ExprTemplates second;
  if (!second.LoadFrom(path) || second.FileText() != written || second.Count() != first.Count())
    std::abort();
  return 0;
}
