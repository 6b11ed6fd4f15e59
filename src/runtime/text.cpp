#include "runtime/text.h"

#include "runtime/error.h"

namespace kx {

namespace {
char Lower(char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}
char Upper(char c) {
  return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}
}  // namespace

std::string LowerCase(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = Lower(c);
  return out;
}

std::string UpperCase(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = Upper(c);
  return out;
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i)
    if (Lower(a[i]) != Lower(b[i])) return false;
  return true;
}

std::string_view TrimLeft(std::string_view s) {
  size_t i = 0;
  while (i < s.size() && s[i] == ' ') ++i;
  return s.substr(i);
}

std::string_view TrimRight(std::string_view s) {
  size_t n = s.size();
  while (n > 0 && s[n - 1] == ' ') --n;
  return s.substr(0, n);
}

std::string_view Trim(std::string_view s) {
  return TrimRight(TrimLeft(s));
}

int64_t InStr(int64_t start, std::string_view s, std::string_view what) {
  if (start < 1) Raise(kErrInvalidCall);
  if (static_cast<uint64_t>(start) > s.size())
    return what.empty() && static_cast<uint64_t>(start) == s.size() + 1 ? start : 0;
  size_t at = s.find(what, static_cast<size_t>(start - 1));
  return at == std::string_view::npos ? 0 : static_cast<int64_t>(at + 1);
}

std::string_view Left(std::string_view s, int64_t n) {
  if (n < 0) Raise(kErrInvalidCall);
  return s.substr(0, static_cast<size_t>(n) < s.size() ? static_cast<size_t>(n) : s.size());
}

std::string_view Right(std::string_view s, int64_t n) {
  if (n < 0) Raise(kErrInvalidCall);
  size_t k = static_cast<size_t>(n) < s.size() ? static_cast<size_t>(n) : s.size();
  return s.substr(s.size() - k);
}

std::string_view Mid(std::string_view s, int64_t start, int64_t n) {
  if (start < 1) Raise(kErrInvalidCall);
  if (static_cast<uint64_t>(start) > s.size()) return {};
  std::string_view rest = s.substr(static_cast<size_t>(start - 1));
  if (n < 0) return rest;
  return rest.substr(0, static_cast<size_t>(n));
}

std::string ReplaceAll(std::string_view s, std::string_view what, std::string_view with) {
  if (what.empty()) return std::string(s);
  std::string out;
  out.reserve(s.size());
  size_t pos = 0;
  for (size_t at; (at = s.find(what, pos)) != std::string_view::npos; pos = at + what.size()) {
    out.append(s.substr(pos, at - pos));
    out.append(with);
  }
  out.append(s.substr(pos));
  return out;
}

std::vector<std::string> Split(std::string_view s, std::string_view sep) {
  std::vector<std::string> out;
  if (sep.empty()) {
    out.emplace_back(s);
    return out;
  }
  size_t pos = 0;
  for (size_t at; (at = s.find(sep, pos)) != std::string_view::npos; pos = at + sep.size())
    out.emplace_back(s.substr(pos, at - pos));
  out.emplace_back(s.substr(pos));
  return out;
}

std::string Join(const std::vector<std::string>& items, std::string_view sep) {
  std::string out;
  for (size_t i = 0; i < items.size(); ++i) {
    if (i) out.append(sep);
    out.append(items[i]);
  }
  return out;
}

}  // namespace kx
