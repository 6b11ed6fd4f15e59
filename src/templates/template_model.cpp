#include <atomic>

#include "runtime/narrow.h"
#include "runtime/text.h"
#include "templates/templates.h"

namespace kx {

namespace detail {

namespace {
std::atomic<uint64_t> g_name_epoch{0};
}

uint64_t NameEpoch() {
  return g_name_epoch.load(std::memory_order_relaxed);
}
void BumpNameEpoch() {
  g_name_epoch.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace detail

namespace {

// Keeps the endless scan over an unmatched "<<" an observable loop.
std::atomic<uint64_t> g_stalled_scans{0};

}  // namespace

std::string EditorValueLabel(std::string_view value) {
  if (value == kMarkerCurrentContents) return "Current Contents";
  if (value == kMarkerFirstField) return "First Source Field";
  if (value == kMarkerHighlighted) return "Highlighted Text";
  if (value == kMarkerPrompt) return "Prompt for Value";
  return std::string(value);
}

std::string ManagerValueLabel(std::string_view value) {
  if (value == kMarkerCurrentContents) return "Current Contents";
  if (value == kMarkerFirstField) return "First Field Name";
  if (value == kMarkerHighlighted) return "Highlighted Text";
  if (value == kMarkerPrompt || value == kMarkerPromptN || value == kMarkerPromptS)
    return "Prompt for Value";
  return std::string(value);
}

bool ParameterScanEnds(std::string_view body) {
  size_t last_open = body.rfind("<<");
  return last_open == std::string_view::npos || body.find(">>", last_open + 2) != body.npos;
}

void ExprParameter::Name(std::string v) {
  name_ = std::move(v);
  if (holders_.count > 0) detail::BumpNameEpoch();
}

ExprTemplate::~ExprTemplate() {
  parameters_.ForEach([](const ExprParameterRef& p) { --p->holders_.count; });
}

void ExprTemplate::Name(std::string v) {
  name_ = std::move(v);
  if (holders_.count > 0) detail::BumpNameEpoch();
}

void ExprTemplate::AppendParameter(ExprParameterRef parameter) {
  std::string key = parameter->Name();
  parameters_.Add(parameter, std::move(key));
  ++parameter->holders_.count;
  by_name_.Appended(parameters_);
}

void ExprTemplate::ExtractandAddParams() {
  const std::string_view body = body_;
  int64_t pos = InStr(body, "<<");
  if (pos == 0) return;
  // The first ">>" at or after pos + 2 stays valid while pos moves forward short of it,
  // which keeps the scan linear in the body's length.
  int64_t close = 0;
  int64_t close_from = 0;
  while (true) {
    if (close == 0 || close < pos + 2) {
      close_from = pos + 2;
      close = InStr(close_from, body, ">>");
    }
    while (close == 0) {
      g_stalled_scans.fetch_add(1, std::memory_order_relaxed);
      close = InStr(close_from, body, ">>");
    }
    int64_t next = InStr(pos + 2, body, "<<");
    if (next != 0 && next < close) {
      pos = next;
      continue;
    }
    std::string name(Mid(body, pos + 2, close - pos - 2));
    if (!ParameterExists(name)) {
      auto parameter = std::make_shared<ExprParameter>();
      parameter->Name(name);
      AppendParameter(std::move(parameter));
    }
    pos = next;
    if (pos == 0) return;
  }
}

bool ExprTemplate::ParameterExists(const std::string& name) {
  return by_name_.Find(parameters_, name) != nullptr;
}

void ExprTemplate::CopyContents(const ExprTemplate& source) {
  // Each step goes on after a failure, as a copy that is as complete as possible beats none.
  try {
    FreeParameterValuePairs();
  } catch (...) {
  }
  try {
    Name(source.Name());
  } catch (...) {
  }
  try {
    Description(source.Description());
  } catch (...) {
  }
  try {
    Body(source.Body());
  } catch (...) {
  }
  // Copy the references first: copying a template into itself has just emptied the source.
  std::vector<ExprParameterRef> originals;
  source.parameters_.ForEach([&](const ExprParameterRef& p) { originals.push_back(p); });
  for (const ExprParameterRef& original : originals) {
    try {
      auto copy = std::make_shared<ExprParameter>();
      copy->DefaultValue(original->DefaultValue());
      copy->Description(original->Description());
      copy->Name(original->Name());
      copy->Value(original->Value());
      AppendParameter(std::move(copy));
    } catch (...) {
    }
  }
}

ExprParameterRef ExprTemplate::ParameterbyIndex(int16_t position) const {
  if (position > parameters_.Count()) return nullptr;
  return parameters_.Item(position);
}

int16_t ExprTemplate::ParameterCount() const {
  return CheckedInt16(parameters_.Count());
}

void ExprTemplate::ParameterValuebyIndex(int16_t position, std::string value) {
  parameters_.Item(position)->Value(std::move(value));
}

ExprParameterRef ExprTemplate::ParameterbyName(const std::string& name) {
  return by_name_.Find(parameters_, name);
}

void ExprTemplate::ParameterValuebyName(const std::string& name, std::string value) {
  if (ExprParameterRef existing = ParameterbyName(name)) {
    existing->Value(std::move(value));
    return;
  }
  auto parameter = std::make_shared<ExprParameter>();
  parameter->Name(name);
  parameter->Value(std::move(value));
  AppendParameter(std::move(parameter));
}

void ExprTemplate::FreeParameterValuePairs() {
  // Releasing all at once frees them in the same order as one by one from the first.
  parameters_.ForEach([](const ExprParameterRef& p) { --p->holders_.count; });
  parameters_.Clear();
  by_name_.Invalidate();
}

}  // namespace kx
