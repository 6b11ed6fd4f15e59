#pragma once
// Byte-string helpers with the platform's string semantics (1-based positions).

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kx {

// ASCII case folding; other bytes are left as they are.
std::string LowerCase(std::string_view s);
std::string UpperCase(std::string_view s);
bool EqualsIgnoreCase(std::string_view a, std::string_view b);

// Removes leading and trailing blanks (spaces only, as the platform's Trim does).
std::string_view Trim(std::string_view s);
std::string_view TrimLeft(std::string_view s);
std::string_view TrimRight(std::string_view s);

// 1-based position of `what` in `s` at or after `start` (1-based), 0 when absent.
// Mirrors the platform's InStr, including an empty `what` matching at `start`.
int64_t InStr(int64_t start, std::string_view s, std::string_view what);
inline int64_t InStr(std::string_view s, std::string_view what) {
  return InStr(1, s, what);
}

// Left/Right/Mid with the platform's rules: a negative length raises 5.
std::string_view Left(std::string_view s, int64_t n);
std::string_view Right(std::string_view s, int64_t n);
std::string_view Mid(std::string_view s, int64_t start, int64_t n = -1);

// Replaces every occurrence of `what` by `with`, scanning left to right.
std::string ReplaceAll(std::string_view s, std::string_view what, std::string_view with);

// Splits at every occurrence of `sep` (N separators give N + 1 pieces).
std::vector<std::string> Split(std::string_view s, std::string_view sep);
std::string Join(const std::vector<std::string>& items, std::string_view sep);

constexpr std::string_view kCrLf = "\r\n";

}  // namespace kx
