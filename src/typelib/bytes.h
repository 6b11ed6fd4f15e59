#pragma once
// Bounds-checked little-endian reads over untrusted bytes. Every read names the input and
// the offset when it fails, so a bad file gives a clear error instead of an over-read.

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "typelib/format.h"
#include "typelib/typelib.h"

namespace kx::typelib {

class Bytes {
 public:
  Bytes(std::string_view data, std::string_view where) : data_(data), where_(where) {}

  size_t size() const { return data_.size(); }
  std::string_view data() const { return data_; }
  const std::string& where() const { return where_; }

  [[noreturn]] void Fail(const std::string& why, uint64_t offset) const;
  [[noreturn]] void Fail(const std::string& why) const;

  // True when [offset, offset + length) lies inside the data.
  bool Has(int64_t offset, int64_t length) const {
    return offset >= 0 && length >= 0 && static_cast<uint64_t>(offset) <= data_.size() &&
           static_cast<uint64_t>(length) <= data_.size() - static_cast<uint64_t>(offset);
  }
  void Need(int64_t offset, int64_t length, const char* what) const {
    if (!Has(offset, length))
      Fail(std::string(what) + " lies outside the data (" + std::to_string(length) +
               " bytes wanted, " + std::to_string(data_.size()) + " available)",
           static_cast<uint64_t>(offset < 0 ? 0 : offset));
  }

  uint8_t U8(int64_t offset, const char* what) const {
    Need(offset, 1, what);
    return static_cast<uint8_t>(data_[static_cast<size_t>(offset)]);
  }
  uint16_t U16(int64_t offset, const char* what) const {
    Need(offset, 2, what);
    const auto* p = reinterpret_cast<const uint8_t*>(data_.data()) + offset;
    return static_cast<uint16_t>(p[0] | (p[1] << 8));
  }
  uint32_t U32(int64_t offset, const char* what) const {
    Need(offset, 4, what);
    const auto* p = reinterpret_cast<const uint8_t*>(data_.data()) + offset;
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
           (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
  }
  uint64_t U64(int64_t offset, const char* what) const {
    return U32(offset, what) | (static_cast<uint64_t>(U32(offset + 4, what)) << 32);
  }
  int16_t I16(int64_t offset, const char* what) const {
    return static_cast<int16_t>(U16(offset, what));
  }
  int32_t I32(int64_t offset, const char* what) const {
    return static_cast<int32_t>(U32(offset, what));
  }
  std::string_view Slice(int64_t offset, int64_t length, const char* what) const {
    Need(offset, length, what);
    return data_.substr(static_cast<size_t>(offset), static_cast<size_t>(length));
  }

 private:
  std::string_view data_;
  std::string where_;
};

}  // namespace kx::typelib
