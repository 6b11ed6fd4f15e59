#pragma once
// Expression templates: named expression bodies with "<<name>>" parameters, the set of
// templates of one template file, and that file's reader and writer.

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "runtime/collection.h"

namespace kx {

class ExprParameter;
class ExprTemplate;
class ExprTemplates;
using ExprParameterRef = std::shared_ptr<ExprParameter>;
using ExprTemplateRef = std::shared_ptr<ExprTemplate>;

// Parameter values that are markers rather than literal text.
inline constexpr std::string_view kMarkerCurrentContents = "^c";
inline constexpr std::string_view kMarkerFirstField = "^f";
inline constexpr std::string_view kMarkerHighlighted = "^h";
inline constexpr std::string_view kMarkerPrompt = "^?";
inline constexpr std::string_view kMarkerPromptN = "^n";
inline constexpr std::string_view kMarkerPromptS = "^s";
// The manager's extra value choice; copies the default into the value, never stored.
inline constexpr std::string_view kUseDefaultValue = "Use Default Value";

// How the template editor dialog shows a value: a marker's label, else the value itself.
std::string EditorValueLabel(std::string_view value);
// How the template manager dialog shows a value: a marker's label, else the value itself.
std::string ManagerValueLabel(std::string_view value);

// False for a body on which ExtractandAddParams would never finish: its last "<<" has no
// ">>" after it. Everything that hands a body over checks this first.
bool ParameterScanEnds(std::string_view body);

namespace detail {

// Renaming an object that sits in a keyed set bumps this counter, so that the sets'
// exact-name indexes know they must be rebuilt before the next lookup.
uint64_t NameEpoch();
void BumpNameEpoch();

// How many sets hold an object; copies of the object start unheld.
struct HolderCount {
  int count = 0;
  HolderCount() = default;
  HolderCount(const HolderCount&) {}
  HolderCount& operator=(const HolderCount&) { return *this; }
};

// Finds the first item (in collection order) whose Name() equals a name exactly, in O(1) on
// average: the answer of a linear walk, kept in step with appends, removals and renames.
// While every item's key is its name, the collection's own key index answers (keys are
// unique ignoring case, so at most one item can match exactly); after a rename it keeps a
// map of its own.
template <typename T>
class ExactNameIndex {
 public:
  using Items = Collection<std::shared_ptr<T>>;

  std::shared_ptr<T> Find(const Items& items, const std::string& name) {
    if (stale_ || epoch_ != NameEpoch()) Refresh(items);
    if (keys_are_names_) {
      const std::shared_ptr<T>* found = items.Find(name);
      return found && (*found)->Name() == name ? *found : nullptr;
    }
    auto it = first_.find(name);
    return it == first_.end() ? nullptr : items.Item(it->second);
  }
  // Call after appending an item at the end of `items`.
  void Appended(const Items& items) {
    if (stale_ || epoch_ != NameEpoch()) return Refresh(items);
    const int32_t last = items.Count();
    const std::string& name = items.Item(last)->Name();
    if (keys_are_names_ && items.KeyAt(last) == name) return;
    if (keys_are_names_) return Refresh(items);
    first_.try_emplace(name, last);
  }
  // Call after removing items.
  void Invalidate() { stale_ = true; }

 private:
  void Refresh(const Items& items) {
    first_.clear();
    keys_are_names_ = true;
    for (int32_t i = 1; i <= items.Count() && keys_are_names_; ++i)
      keys_are_names_ = items.KeyAt(i) == items.Item(i)->Name();
    if (!keys_are_names_)
      for (int32_t i = 1; i <= items.Count(); ++i) first_.try_emplace(items.Item(i)->Name(), i);
    stale_ = false;
    epoch_ = NameEpoch();
  }

  std::unordered_map<std::string, int32_t> first_;
  uint64_t epoch_ = 0;
  bool stale_ = true;
  bool keys_are_names_ = true;
};

}  // namespace detail

class ExprParameter {
 public:
  const std::string& DefaultValue() const { return default_value_; }
  void DefaultValue(std::string v) { default_value_ = std::move(v); }
  const std::string& Description() const { return description_; }
  void Description(std::string v) { description_ = std::move(v); }
  const std::string& Name() const { return name_; }
  void Name(std::string v);
  bool PromptEveryRow() const { return prompt_every_row_; }
  void PromptEveryRow(bool v) { prompt_every_row_ = v; }
  const std::string& PromptValue() const { return prompt_value_; }
  void PromptValue(std::string v) { prompt_value_ = std::move(v); }
  const std::string& Value() const { return value_; }
  void Value(std::string v) { value_ = std::move(v); }

 private:
  friend class ExprTemplate;
  std::string default_value_;
  std::string description_;
  std::string name_;
  bool prompt_every_row_ = false;
  std::string prompt_value_;
  std::string value_;
  detail::HolderCount holders_;
};

class ExprTemplate {
 public:
  ExprTemplate() = default;
  ExprTemplate(const ExprTemplate&) = delete;
  ExprTemplate& operator=(const ExprTemplate&) = delete;
  ~ExprTemplate();

  // Appends a parameter for every name between "<<" and ">>" in Body that is not there yet.
  // Never returns for a body that fails ParameterScanEnds. A name that differs from an
  // existing one only in case raises 457.
  void ExtractandAddParams();
  bool ParameterExists(const std::string& name);

  const std::string& Body() const { return body_; }
  void Body(std::string v) { body_ = std::move(v); }
  // Makes this template a copy of `source` with fresh parameters (prompting off).
  void CopyContents(const ExprTemplate& source);
  const std::string& Description() const { return description_; }
  void Description(std::string v) { description_ = std::move(v); }
  const std::string& Name() const { return name_; }
  void Name(std::string v);

  // Null past the end; a position below 1 raises 9.
  ExprParameterRef ParameterbyIndex(int16_t position) const;
  int16_t ParameterCount() const;
  // The live collection; parameters are shared, so their values can be changed through it.
  const Collection<ExprParameterRef>& Parameters() const { return parameters_; }
  // Raises 9 for a position outside the collection.
  void ParameterValuebyIndex(int16_t position, std::string value);
  ExprParameterRef ParameterbyName(const std::string& name);
  // Sets the value of the parameter of that exact name, appending one when there is none.
  void ParameterValuebyName(const std::string& name, std::string value);
  void FreeParameterValuePairs();

 private:
  friend class ExprTemplates;
  void AppendParameter(ExprParameterRef parameter);

  std::string name_;
  std::string description_;
  std::string body_;
  Collection<ExprParameterRef> parameters_{KeyCompare::Text};
  detail::ExactNameIndex<ExprParameter> by_name_;
  detail::HolderCount holders_;
};

// A template file opened for reading, one character at a time.
class TemplateFileInput {
 public:
  // The whole text in memory.
  explicit TemplateFileInput(std::string bytes) : buf_(std::move(bytes)) {}
  // Reads `file` (open for reading; closed here) a window of `chunk` bytes at a time: a large
  // file is never held whole, and the window stays in the cache while lines are cut from it.
  explicit TemplateFileInput(std::FILE* file, size_t chunk = size_t{1} << 16);
  TemplateFileInput(const TemplateFileInput&) = delete;
  TemplateFileInput& operator=(const TemplateFileInput&) = delete;
  ~TemplateFileInput();

  bool AtEnd() const { return pos_ >= buf_.size() && !file_; }
  // Reads one line as it stands (untrimmed), keeping one character of lookahead: the
  // character read last before the end of the file is never part of a line. Reading at the
  // end of the file raises 62; a file that cannot be read further raises 57.
  std::string ReadLine(char& lookahead);
  // The same line as a view: into the window, where the line always lies whole when the
  // lookahead came from the file, else into `scratch`. Valid until the next read.
  std::string_view ReadLineView(char& lookahead, std::string& scratch);

 private:
  // Drops what lies more than one character before `keep` (the character before a line
  // tells whether the lookahead belongs to it), moves `keep` to match, and appends the next
  // chunk of the file; closes the file at its end.
  void Refill(size_t& keep);

  std::string buf_;  // the window
  size_t pos_ = 0;
  std::FILE* file_ = nullptr;  // null once read to the end
  size_t chunk_ = 0;
};

// The sorter of CopyandSortName: keeps its entries in ascending order, ignoring case.
class SortedTextList {
 public:
  void Clear() { items_.clear(); }
  void AddItem(std::string text);
  int32_t ListCount() const { return static_cast<int32_t>(items_.size()); }
  // 0-based; raises 9 outside the list.
  const std::string& List(int32_t index) const;

 private:
  mutable std::vector<std::string> items_;
  mutable bool sorted_ = true;
};

class ExprTemplates {
 public:
  ExprTemplates() = default;
  ExprTemplates(const ExprTemplates&) = delete;
  ExprTemplates& operator=(const ExprTemplates&) = delete;
  ~ExprTemplates();

  const std::string& filename() const { return filename_; }
  // Stores the path and loads it, unless it is empty or the set already holds templates
  // from exactly this path.
  void filename(std::string path);
  // Stores the path and loads it whatever the set holds; returns what the load returns.
  bool LoadFrom(std::string path);

  // Appends `template_` unless one of exactly its name is there; returns the one held.
  // Empty parameter values take their defaults. Raises 457 for a name that differs from a
  // held one only in case.
  ExprTemplateRef Add(ExprTemplateRef template_);
  int16_t Count() const;
  // Removes the template at a 1-based position (9 when there is none).
  void Delete(int16_t position);
  // Removes the first template of exactly this name, if any.
  void Delete(std::string_view name);
  void FreeTemplates();
  // The template at a position, or under a name ignoring case; null when there is none.
  ExprTemplateRef Item(int16_t position) const;
  ExprTemplateRef Item(std::string_view name) const;

  // Loads filename; false (after a message) when the file is malformed. A missing file
  // loads as an empty set.
  bool OpenandParseTemplateFile();
  // Reads the lines of a description or body block up to `end_marker`, trimmed and joined
  // by CR LF.
  std::string ReturnEntireString(char& lookahead, TemplateFileInput& file, int32_t& line_counter,
                                 std::string_view end_marker);

  const std::string& ProductName() const { return product_name_; }
  void ProductName(std::string v) { product_name_ = std::move(v); }
  bool TemplateFileModified() const { return modified_; }
  void TemplateFileModified(bool v) { modified_ = v; }

  // Writes every template to filename in the file's canonical form (atomically).
  void WriteToFile() const;
  // The bytes WriteToFile writes.
  std::string FileText() const;

  // Loads this set's file into `target`, then adds this set's templates to it in name order.
  bool CopyandSortName(ExprTemplates& target, SortedTextList& sorter);

  // The templates in collection order.
  std::vector<ExprTemplateRef> NewEnum() const;
  class const_iterator {
   public:
    const_iterator(const Collection<ExprTemplateRef>* items, int32_t position)
        : items_(items), position_(position) {}
    const ExprTemplateRef& operator*() const { return items_->Item(position_); }
    const_iterator& operator++() {
      ++position_;
      return *this;
    }
    bool operator==(const const_iterator& other) const { return position_ == other.position_; }

   private:
    const Collection<ExprTemplateRef>* items_;
    int32_t position_;
  };
  const_iterator begin() const { return {&templates_, 1}; }
  const_iterator end() const { return {&templates_, templates_.Count() + 1}; }

 private:
  ExprTemplateRef FindExact(const std::string& name);

  Collection<ExprTemplateRef> templates_{KeyCompare::Text};
  detail::ExactNameIndex<ExprTemplate> by_name_;
  std::string filename_;
  bool modified_ = false;
  std::string product_name_;
};

}  // namespace kx
