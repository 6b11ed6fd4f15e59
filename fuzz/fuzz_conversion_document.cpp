// The conversion-document loader on arbitrary bytes. A document that loads must walk, take
// written-back texts and save to text that loads back to the same document.

#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "host/conversion_document.h"
#include "inventory/expression_list.h"
#include "runtime/error.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::shared_ptr<kx::host::ConversionDocument> doc;
  try {
    doc = kx::host::ConversionDocument::Parse(text, "fuzz");
  } catch (const kx::Error&) {
    return 0;
  }

  kx::ExpressionList list;
  list.SetSourceControl(doc->Source());
  list.SetTargetControl(doc->Target());
  // Every walker but the code modules, which would read files named by the input.
  auto guarded = [](auto&& walk) {
    try {
      walk();
    } catch (const kx::Error&) {
    }
  };
  guarded([&] { list.BuildALLActionParametersList(); });
  guarded([&] { list.BuildConversionEventExpressionList(true); });
  guarded([&] { list.BuildDataChangeMonitorExpressionList(); });
  guarded([&] { list.BuildSortFieldExpressionList(); });
  guarded([&] { list.BuildSourceFilterExpressionList(); });
  guarded([&] { list.BuildTargetFilterExpressionList(); });
  guarded([&] { list.BuildTargetFieldExpressionList(); });
  for (int32_t i = 1; i <= list.Count(); ++i) {
    auto record = list.Item(kx::Variant(i));
    if (record->ExpressionType == kx::kCodeModuleExpression) continue;
    record->ReplacedExpression = record->ExpressionText + "\r\n'";
    guarded([&] { list.ReplaceExpressionInVBX(i); });
  }

  const std::string saved = doc->ToJson();
  auto again = kx::host::ConversionDocument::Parse(saved, "saved");
  if (again->ToJson() != saved) std::abort();
  return 0;
}
