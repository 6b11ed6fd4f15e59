#include "editor/exprbld_assist.h"

#include "functions/function_info.h"
#include "functions/tlb_browse.h"
#include "runtime/narrow.h"
#include "runtime/text.h"

namespace kx {

namespace {

template <typename Side>
void AddRecordNames(Side* side, std::vector<std::string>& names) {
  if (!side || side->SpokeTypeName().empty()) return;
  const int32_t count = side->RecordLayoutCount();
  for (int32_t i = 0; i < count; ++i) names.push_back(side->RecordLayoutList(CheckedInt16(i)));
}

// The fields of the layout named `record`; false when the side has no such layout.
template <typename Side>
bool AddFieldNames(Side* side, const std::string& record, std::vector<std::string>& names) {
  if (!side || side->SpokeTypeName().empty()) return false;
  const int32_t count = side->RecordLayoutCount();
  for (int32_t i = 0; i < count; ++i) {
    if (!EqualsIgnoreCase(side->RecordLayoutList(CheckedInt16(i)), record)) continue;
    side->SetRecordLayoutPos(CheckedInt16(i));
    const int32_t fields = side->FieldCount();
    for (int32_t f = 0; f < fields; ++f) {
      side->SetFieldPos(CheckedInt16(f));
      names.push_back(side->fieldname());
    }
    return true;
  }
  return false;
}

}  // namespace

const std::vector<std::string>& PaletteAssist::Functions() {
  const std::string path = builder_.KXTypeLibPath();
  if (path != functions_path_) {
    functions_path_ = path;
    described_.clear();
    functions_.clear();
    // Completion must never report: a library that cannot be read offers nothing.
    if (!path.empty()) try {
        functions_ = BuildFunctionTokens(path, "All", context_.library_base);
      } catch (...) {
      }
  }
  return functions_;
}

std::vector<std::string> PaletteAssist::Words() {
  std::vector<std::string> words = Functions();
  // "If...Then...Else" offers If, Then and Else.
  for (const std::string& construct : BuildFunctionLists())
    for (const std::string& word : Split(construct, "..."))
      if (!word.empty()) words.push_back(word);
  words.push_back("End If");
  return words;
}

std::vector<std::string> PaletteAssist::RecordNames() {
  std::vector<std::string> names;
  AddRecordNames(builder_.SourceControl().get(), names);
  AddRecordNames(builder_.TargetControl().get(), names);
  return names;
}

std::vector<std::string> PaletteAssist::FieldNames(const std::string& record) {
  std::vector<std::string> names;
  if (!AddFieldNames(builder_.SourceControl().get(), record, names))
    AddFieldNames(builder_.TargetControl().get(), record, names);
  return names;
}

std::optional<ui::FunctionHelp> PaletteAssist::Describe(const std::string& function) {
  const std::vector<std::string>& functions = Functions();
  if (auto known = described_.find(LowerCase(function)); known != described_.end())
    return known->second;
  std::optional<ui::FunctionHelp> help;
  // Only the library's own names are looked up: the lookup reports names it lacks.
  for (const std::string& name : functions) {
    if (!EqualsIgnoreCase(name, function)) continue;
    FunctionInfo info;
    info.Name = name;
    try {
      GetKXFunctionInfoTL(info, functions_path_, context_.library_base);
    } catch (...) {
      break;
    }
    // The host form: the prototype, a blank line, four blanks and the documentation, whose
    // parameter notes follow a ";".
    const std::string& text = info.Description;
    const size_t cr = text.find('\r');
    help = ui::FunctionHelp{text.substr(0, cr), ""};
    if (const size_t lf = text.find('\n'); lf != std::string::npos && lf + 7 <= text.size()) {
      std::string doc = text.substr(lf + 7);
      help->description = doc.substr(0, doc.find(';'));
    }
    break;
  }
  described_[LowerCase(function)] = help;
  return help;
}

}  // namespace kx
