#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "runtime/error.h"
#include "runtime/files.h"
#include "runtime/format.h"
#include "runtime/narrow.h"
#include "runtime/text.h"
#include "templates/templates.h"
#include "ui/message_box.h"
#include "ui/report.h"

namespace kx {

namespace {

constexpr char kCr = '\r';
constexpr char kLf = '\n';

constexpr std::string_view kTemplateError =
    "Template file: %1 is invalid. Problem with template: %2, on line: %3.";
constexpr std::string_view kTemplateErrorNoPeriod =
    "Template file: %1 is invalid. Problem with template: %2, on line: %3";
constexpr std::string_view kFileInvalid = "Template file: %1 is invalid.";
constexpr std::string_view kCannotLocate = "Can't locate expression template file: ";

bool Contains(std::string_view line, std::string_view keyword) {
  return line.find(keyword) != std::string_view::npos;
}

// The trimmed text behind a keyword of `length` characters at the start of the line.
std::string ValueBehind(std::string_view line, size_t length) {
  return std::string(Trim(Mid(line, static_cast<int64_t>(length) + 1)));
}

// What a directory lookup of the path finds: a regular file, or with wildcards in the last
// component, a regular file that matches them.
bool DirectoryLookupFinds(const std::string& path) {
  namespace fs = std::filesystem;
  if (path.empty()) return false;
  fs::path p(path);
  std::string pattern = p.filename().string();
  if (pattern.find_first_of("*?") == std::string::npos) return FileExists(p);
  std::error_code ec;
  fs::path dir = p.parent_path().empty() ? fs::path(".") : p.parent_path();
  for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
    if (MatchesWildcard(pattern, it->path().filename().string()) && it->is_regular_file(ec))
      return true;
  }
  return false;
}

// The whole file in one allocation; anything unusual goes the general way, which also
// raises the platform's error for a file that cannot be opened. The bytes come through a
// small buffer that stays in cache: sizing the string first would write every byte of a
// large file twice (zeros, then the file), each time to memory that is not in cache.
// The lines of a block up to `end_marker`, trimmed and joined by CR LF, appended to `out`.
void AppendBlock(std::string& out, char& lookahead, TemplateFileInput& file, int32_t& line_counter,
                 std::string_view end_marker, std::string& scratch) {
  const size_t start = out.size();
  while (true) {
    std::string_view raw = file.ReadLineView(lookahead, scratch);
    if (file.AtEnd()) return;
    ++line_counter;
    std::string_view line = Trim(raw);
    if (line == end_marker) return;
    if (out.size() > start) out.append(kCrLf);
    out.append(line);
  }
}

// The loader's state machine over one open file.
class Loader {
 public:
  Loader(ExprTemplates& set, const Collection<ExprTemplateRef>& held, TemplateFileInput& file,
         int32_t& line_counter)
      : set_(set), held_(held), file_(file), line_counter_(line_counter) {}

  bool Run() {
    try {
      return RunTemplates();
    } catch (const EndInsideTemplate&) {
      // The unfinished template is dropped; the ones before it stay.
      return true;
    }
  }

 private:
  // Thrown when the file ends where a template still needs a line.
  struct EndInsideTemplate {};

  bool RunTemplates() {
    while (true) {
      if (file_.AtEnd()) return true;
      std::string_view line = ReadLine();
      if (Contains(line, "@BeginTemplate")) {
        // A template that was begun and never ended is dropped here.
        current_ = std::make_shared<ExprTemplate>();
        inside_ = true;
        if (line.size() < 15) return TemplateError(true);
        current_->Name(ValueBehind(line, 14));
        // The add at the end of the template looks the name up; its index entry arrives
        // while the template is read.
        held_.Prefetch(current_->Name());
        continue;
      }
      if (Contains(line, "@BeginDescription")) {
        if (!inside_) return TemplateError(true);
        current_->Description(ReadBlock("@EndDescription"));
        continue;
      }
      if (Contains(line, "@BeginBody")) {
        if (!inside_) return TemplateError(true);
        current_->Body(ReadBlock("@EndBody"));
        // A body cut off by the end of the file belongs to a template that is dropped anyway.
        if (file_.AtEnd()) throw EndInsideTemplate{};
        if (!ParameterScanEnds(current_->Body())) return TemplateError(true);
        if (!ExtractParameters()) return TemplateError(true);
        parameter_blocks_ = 0;
        if (!ReadParameterBlocks(line)) return false;
      }
      if (Contains(line, "@EndTemplate")) {
        if (!inside_) return TemplateError(true);
        if (current_->ParameterCount() != parameter_blocks_) return TemplateError(true);
        current_ = set_.Add(current_);
        inside_ = false;
        continue;
      }
      if (!inside_) {
        ui::CurrentMessageBox().Show(FormatMessageText(kFileInvalid, {set_.filename()}), ui::kMbOk,
                                     "");
        return false;
      }
      return TemplateError(true);
    }
  }

  // The next line of the current template, trimmed; valid until the next read.
  std::string_view ReadLine() {
    if (file_.AtEnd()) throw EndInsideTemplate{};
    std::string_view line = Trim(file_.ReadLineView(lookahead_, scratch_));
    ++line_counter_;
    return line;
  }

  // Built in a buffer that is kept, then copied once: a string grown line by line would
  // be reallocated for each line of a body and keep up to twice its length.
  std::string ReadBlock(std::string_view end_marker) {
    if (file_.AtEnd()) throw EndInsideTemplate{};
    block_.clear();
    AppendBlock(block_, lookahead_, file_, line_counter_, end_marker, scratch_);
    return block_;
  }

  // False when two parameter names of the body differ only in case: the parameters
  // collection cannot hold both.
  bool ExtractParameters() {
    try {
      current_->ExtractandAddParams();
      return true;
    } catch (const Error& e) {
      if (e.Number() != kErrDuplicateKey) throw;
      return false;
    }
  }

  // Reads the parameter blocks after a body; `line` ends as the line that follows them.
  bool ReadParameterBlocks(std::string_view& line) {
    while (true) {
      line = ReadLine();
      if (!Contains(line, "@BeginParameter")) return true;
      if (!inside_ || current_->ParameterCount() == 0) return TemplateError(true);
      parameter_blocks_ = CheckedInt16(parameter_blocks_ + 1);
      line = ReadLine();
      if (!Contains(line, "@Name=") || line.size() < 7) return TemplateError(false);
      ExprParameterRef parameter = current_->ParameterbyIndex(parameter_blocks_);
      if (!parameter) return TemplateError(true);
      if (parameter->Name() != ValueBehind(line, 6)) return TemplateError(false);
      while (true) {
        line = ReadLine();
        if (Contains(line, "@BeginDescription")) {
          parameter->Description(ReadBlock("@EndDescription"));
        } else if (Contains(line, "@DefaultValue=")) {
          if (line.size() >= 15) {
            std::string value = ValueBehind(line, 14);
            parameter->DefaultValue(value);
            parameter->Value(std::move(value));
          }
        } else {
          break;
        }
      }
      if (!Contains(line, "@EndParameter")) return TemplateError(true);
    }
  }

  bool TemplateError(bool with_period) {
    // Before the first template there is no name to show.
    std::string name = current_ ? current_->Name() : std::string();
    std::string text = FormatMessageText(with_period ? kTemplateError : kTemplateErrorNoPeriod,
                                         {set_.filename(), name, std::to_string(line_counter_)});
    ui::CurrentMessageBox().Show(text, ui::kMbOk, set_.ProductName());
    return false;
  }

  ExprTemplates& set_;
  const Collection<ExprTemplateRef>& held_;  // set_'s templates
  TemplateFileInput& file_;
  int32_t& line_counter_;
  char lookahead_ = kCr;
  std::string scratch_;
  std::string block_;
  ExprTemplateRef current_;
  bool inside_ = false;
  // Reset only when a body is read, so a template without a body is checked against the
  // count of the template before it.
  int16_t parameter_blocks_ = 0;
};

}  // namespace

std::string TemplateFileInput::ReadLine(char& lookahead) {
  std::string scratch;
  return std::string(ReadLineView(lookahead, scratch));
}

TemplateFileInput::TemplateFileInput(std::FILE* file, size_t chunk)
    : file_(file), chunk_(std::max<size_t>(chunk, 1)) {
  size_t keep = 0;
  Refill(keep);
}

TemplateFileInput::~TemplateFileInput() {
  if (file_) std::fclose(file_);
}

void TemplateFileInput::Refill(size_t& keep) {
  const size_t drop = keep > 0 ? keep - 1 : 0;
  buf_.erase(0, drop);
  keep -= drop;
  pos_ -= std::min(pos_, drop);
  const size_t old = buf_.size();
  buf_.resize(old + chunk_);
  const size_t got = std::fread(buf_.data() + old, 1, chunk_, file_);
  buf_.resize(old + got);
  if (got > 0) return;
  const bool failed = std::ferror(file_);
  std::fclose(file_);
  file_ = nullptr;
  if (failed) Raise(kErrDeviceIO);
}

std::string_view TemplateFileInput::ReadLineView(char& lookahead, std::string& scratch) {
  if (AtEnd()) Raise(kErrInputPastEnd);
  size_t start = pos_;
  size_t end = start;
  while (true) {
    while (end < buf_.size() && buf_[end] != kCr && buf_[end] != kLf) ++end;
    if (end < buf_.size() || !file_) break;
    const size_t before = start;
    Refill(start);
    end -= before - start;
  }
  size_t stop = end;
  if (end < buf_.size()) {
    pos_ = end + 1;
  } else {
    // The character whose reading reaches the end of the file is not kept.
    stop = buf_.size() - 1;
    pos_ = buf_.size();
  }
  const std::string_view data = buf_;
  std::string_view line;
  if (lookahead == kCr || lookahead == kLf) {
    line = data.substr(start, stop - start);
  } else if (start > 0 && data[start - 1] == lookahead) {
    line = data.substr(start - 1, stop - start + 1);
  } else {
    scratch.assign(1, lookahead);
    scratch.append(data.substr(start, stop - start));
    line = scratch;
  }
  // The window moves for the lookahead, and again to see whether the file ends after it,
  // so that AtEnd stays exact: the line goes to `scratch` first.
  auto move_window = [&] {
    if (pos_ < buf_.size() || !file_) return;
    if (line.data() != scratch.data()) {
      scratch.assign(line);
      line = scratch;
    }
    size_t keep = pos_;
    Refill(keep);
  };
  move_window();
  if (!AtEnd()) lookahead = buf_[pos_++];
  move_window();
  return line;
}

void SortedTextList::AddItem(std::string text) {
  items_.push_back(std::move(text));
  sorted_ = false;
}

const std::string& SortedTextList::List(int32_t index) const {
  if (index < 0 || static_cast<size_t>(index) >= items_.size()) Raise(kErrSubscript);
  if (!sorted_) {
    std::stable_sort(items_.begin(), items_.end(), [](const std::string& a, const std::string& b) {
      return LowerCase(a) < LowerCase(b);
    });
    sorted_ = true;
  }
  return items_[static_cast<size_t>(index)];
}

ExprTemplates::~ExprTemplates() {
  templates_.ForEach([](const ExprTemplateRef& t) { --t->holders_.count; });
}

void ExprTemplates::filename(std::string path) {
  if (!templates_.Empty() && path == filename_) return;
  filename_ = std::move(path);
  if (!filename_.empty()) OpenandParseTemplateFile();
}

bool ExprTemplates::LoadFrom(std::string path) {
  filename_ = std::move(path);
  return OpenandParseTemplateFile();
}

ExprTemplateRef ExprTemplates::FindExact(const std::string& name) {
  return by_name_.Find(templates_, name);
}

ExprTemplateRef ExprTemplates::Add(ExprTemplateRef template_) {
  if (!template_) Raise(kErrObjectNotSet);
  if (ExprTemplateRef existing = FindExact(template_->Name())) return existing;
  template_->parameters_.ForEach([](const ExprParameterRef& p) {
    if (p->Value().empty()) p->Value(p->DefaultValue());
  });
  templates_.Add(template_, template_->Name());
  ++template_->holders_.count;
  by_name_.Appended(templates_);
  return template_;
}

int16_t ExprTemplates::Count() const {
  return CheckedInt16(templates_.Count());
}

void ExprTemplates::Delete(int16_t position) {
  if (templates_.Empty()) return;
  ExprTemplateRef removed = templates_.Item(position);
  templates_.Remove(position);
  --removed->holders_.count;
  by_name_.Invalidate();
}

void ExprTemplates::Delete(std::string_view name) {
  if (templates_.Empty() || name.empty()) return;
  for (int32_t i = 1; i <= templates_.Count(); ++i) {
    if (templates_.Item(i)->Name() == name) {
      Delete(CheckedInt16(i));
      return;
    }
  }
}

void ExprTemplates::FreeTemplates() {
  // Releasing all at once frees them in the same order as one by one from the first.
  templates_.ForEach([](const ExprTemplateRef& t) {
    t->FreeParameterValuePairs();
    --t->holders_.count;
  });
  templates_.Clear();
  by_name_.Invalidate();
}

ExprTemplateRef ExprTemplates::Item(int16_t position) const {
  if (position < 1 || position > templates_.Count()) return nullptr;
  return templates_.Item(position);
}

ExprTemplateRef ExprTemplates::Item(std::string_view name) const {
  if (templates_.Empty() || name.empty()) return nullptr;
  const ExprTemplateRef* found = templates_.Find(name);
  return found ? *found : nullptr;
}

std::string ExprTemplates::ReturnEntireString(char& lookahead, TemplateFileInput& file,
                                              int32_t& line_counter, std::string_view end_marker) {
  std::string result;
  std::string scratch;
  AppendBlock(result, lookahead, file, line_counter, end_marker, scratch);
  return result;
}

bool ExprTemplates::OpenandParseTemplateFile() {
  FreeTemplates();
  int32_t line_counter = 0;
  bool ok = false;
  if (!DirectoryLookupFinds(filename_)) {
    ok = true;
  } else {
    try {
      std::error_code ec;
      std::FILE* f =
          std::filesystem::is_regular_file(filename_, ec) ? OpenFile(filename_, "rb") : nullptr;
      // What cannot be opened as a plain file is read whole, for its error or its bytes.
      TemplateFileInput file =
          f ? TemplateFileInput(f) : TemplateFileInput(ReadWholeFile(filename_));
      ok = Loader(*this, templates_, file, line_counter).Run();
    } catch (...) {
      Error error = CurrentError();
      if (error.Number() == kErrFileNotFound)
        ui::CurrentMessageBox().Show(std::string(kCannotLocate) + filename_, ui::kMbOk,
                                     product_name_);
      else
        ReportError("OpenandParseTemplateFile(ExprTemplates)", error);
      ok = false;
    }
  }
  modified_ = false;
  return ok;
}

std::string ExprTemplates::FileText() const {
  std::string out;
  auto line = [&out](std::string_view a, std::string_view b = {}) {
    out.append(a);
    out.append(b);
    out.append(kCrLf);
  };
  templates_.ForEach([&](const ExprTemplateRef& t) {
    line("@BeginTemplate ", t->Name());
    line("  @BeginDescription");
    line("    ", t->Description());
    line("  @EndDescription");
    line("  @BeginBody");
    line(t->Body());
    line("  @EndBody");
    t->Parameters().ForEach([&](const ExprParameterRef& p) {
      line("  @BeginParameter");
      line("    @Name=", p->Name());
      line("    @BeginDescription");
      line("      ", p->Description());
      line("    @EndDescription");
      line("    @DefaultValue=", p->DefaultValue());
      line("  @EndParameter");
    });
    line("@EndTemplate ", t->Name());
  });
  return out;
}

void ExprTemplates::WriteToFile() const {
  if (filename_.empty()) Raise(kErrBadFileNameOrNumber);
  WriteFileAtomic(filename_, FileText());
}

bool ExprTemplates::CopyandSortName(ExprTemplates& target, SortedTextList& sorter) {
  target.filename(filename_);
  sorter.Clear();
  templates_.ForEach([&sorter](const ExprTemplateRef& t) { sorter.AddItem(t->Name()); });
  for (int32_t i = 0; i < sorter.ListCount(); ++i) {
    if (ExprTemplateRef found = Item(sorter.List(i))) target.Add(found);
  }
  return true;
}

std::vector<ExprTemplateRef> ExprTemplates::NewEnum() const {
  std::vector<ExprTemplateRef> all;
  all.reserve(static_cast<size_t>(templates_.Count()));
  templates_.ForEach([&all](const ExprTemplateRef& t) { all.push_back(t); });
  return all;
}

}  // namespace kx
