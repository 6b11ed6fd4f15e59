#pragma once
// The variant that late-bound calls carry: the values a host's dispatch members take and
// return, with the platform's coercions (type mismatch 13, overflow 6, invalid use of
// Null 94).

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

namespace kx {

class Dispatch;

class Variant {
 public:
  enum class Kind { Empty, Null, Bool, Int16, Int32, Double, String, Object };

  Variant() = default;
  Variant(bool b) : value_(b) {}
  Variant(int16_t n) : value_(n) {}
  Variant(int32_t n) : value_(n) {}
  Variant(double d) : value_(d) {}
  Variant(std::string s) : value_(std::move(s)) {}
  Variant(const char* s) : value_(std::string(s)) {}
  Variant(std::shared_ptr<Dispatch> object) : value_(std::move(object)) {}

  static Variant Null();

  Kind GetKind() const { return static_cast<Kind>(value_.index()); }
  bool IsEmpty() const { return GetKind() == Kind::Empty; }
  bool IsNull() const { return GetKind() == Kind::Null; }
  bool IsInt16() const { return GetKind() == Kind::Int16; }
  bool IsString() const { return GetKind() == Kind::String; }
  bool IsObject() const { return GetKind() == Kind::Object; }
  bool IsNumeric() const;

  // Coercions as the platform makes them: numbers and numeric texts convert (rounding
  // halves to even), Empty is 0 / "" / false, Null raises 94, objects raise 13.
  int32_t ToInt32() const;
  int16_t ToInt16() const;
  double ToDouble() const;
  bool ToBool() const;
  std::string ToText() const;
  // The object held (may be a null reference); any other kind raises 13.
  std::shared_ptr<Dispatch> ToObject() const;

  bool operator==(const Variant& other) const { return value_ == other.value_; }

 private:
  struct NullTag {
    bool operator==(const NullTag&) const { return true; }
  };
  std::variant<std::monostate, NullTag, bool, int16_t, int32_t, double, std::string,
               std::shared_ptr<Dispatch>>
      value_;
};

}  // namespace kx
