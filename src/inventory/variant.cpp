#include "inventory/variant.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "runtime/error.h"
#include "runtime/text.h"

namespace kx {

namespace {

constexpr int32_t kErrInvalidUseOfNull = 94;

double ParseNumber(const std::string& text) {
  std::string trimmed(Trim(text));
  if (trimmed.empty()) Raise(kErrTypeMismatch);
  char* end = nullptr;
  errno = 0;
  double d = std::strtod(trimmed.c_str(), &end);
  if (end != trimmed.c_str() + trimmed.size() || !std::isfinite(d)) Raise(kErrTypeMismatch);
  if (errno == ERANGE) Raise(kErrOverflow);
  return d;
}

std::string NumberText(double d) {
  if (d == std::floor(d) && std::fabs(d) < 1e15) {
    return std::to_string(static_cast<int64_t>(d));
  }
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.15g", d);
  return buf;
}

}  // namespace

Variant Variant::Null() {
  Variant v;
  v.value_ = NullTag{};
  return v;
}

bool Variant::IsNumeric() const {
  switch (GetKind()) {
    case Kind::Bool:
    case Kind::Int16:
    case Kind::Int32:
    case Kind::Double:
      return true;
    default:
      return false;
  }
}

double Variant::ToDouble() const {
  switch (GetKind()) {
    case Kind::Empty:
      return 0;
    case Kind::Null:
      Raise(kErrInvalidUseOfNull);
    case Kind::Bool:
      return std::get<bool>(value_) ? -1 : 0;
    case Kind::Int16:
      return std::get<int16_t>(value_);
    case Kind::Int32:
      return std::get<int32_t>(value_);
    case Kind::Double:
      return std::get<double>(value_);
    case Kind::String:
      return ParseNumber(std::get<std::string>(value_));
    case Kind::Object:
      break;
  }
  Raise(kErrTypeMismatch);
}

int32_t Variant::ToInt32() const {
  if (GetKind() == Kind::Int32) return std::get<int32_t>(value_);
  if (GetKind() == Kind::Int16) return std::get<int16_t>(value_);
  double d = std::nearbyint(ToDouble());  // the default rounding mode rounds halves to even
  if (d < std::numeric_limits<int32_t>::min() || d > std::numeric_limits<int32_t>::max())
    Raise(kErrOverflow);
  return static_cast<int32_t>(d);
}

int16_t Variant::ToInt16() const {
  int32_t n = ToInt32();
  if (n < std::numeric_limits<int16_t>::min() || n > std::numeric_limits<int16_t>::max())
    Raise(kErrOverflow);
  return static_cast<int16_t>(n);
}

bool Variant::ToBool() const {
  if (GetKind() == Kind::String) {
    const std::string& s = std::get<std::string>(value_);
    if (EqualsIgnoreCase(Trim(s), "True")) return true;
    if (EqualsIgnoreCase(Trim(s), "False")) return false;
  }
  return ToDouble() != 0;
}

std::string Variant::ToText() const {
  switch (GetKind()) {
    case Kind::Empty:
      return {};
    case Kind::Null:
      Raise(kErrInvalidUseOfNull);
    case Kind::Bool:
      return std::get<bool>(value_) ? "True" : "False";
    case Kind::Int16:
      return std::to_string(std::get<int16_t>(value_));
    case Kind::Int32:
      return std::to_string(std::get<int32_t>(value_));
    case Kind::Double:
      return NumberText(std::get<double>(value_));
    case Kind::String:
      return std::get<std::string>(value_);
    case Kind::Object:
      break;
  }
  Raise(kErrTypeMismatch);
}

std::shared_ptr<Dispatch> Variant::ToObject() const {
  if (GetKind() != Kind::Object) Raise(kErrTypeMismatch);
  return std::get<std::shared_ptr<Dispatch>>(value_);
}

}  // namespace kx
