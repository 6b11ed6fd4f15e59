#pragma once
// Run-time errors as the host platform numbers and words them.

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

namespace kx {

// Standard run-time error numbers the component raises or expects.
enum ErrorNumber : int32_t {
  kErrReturnWithoutGosub = 3,
  kErrInvalidCall = 5,
  kErrOverflow = 6,
  kErrOutOfMemory = 7,
  kErrSubscript = 9,
  kErrDivisionByZero = 11,
  kErrTypeMismatch = 13,
  kErrInternal = 51,
  kErrBadFileNameOrNumber = 52,
  kErrFileNotFound = 53,
  kErrBadFileMode = 54,
  kErrFileAlreadyOpen = 55,
  kErrDeviceIO = 57,
  kErrFileExists = 58,
  kErrDiskFull = 61,
  kErrInputPastEnd = 62,
  kErrPermissionDenied = 70,
  kErrPathFileAccess = 75,
  kErrPathNotFound = 76,
  kErrObjectNotSet = 91,
  kErrInvalidFileFormat = 321,
  kErrNotSupported = 438,
  kErrDuplicateKey = 457,
  // The common controls' own errors.
  kErrIndexOutOfBounds = 35600,
  kErrElementNotFound = 35601,
  kErrKeyNotUnique = 35602,
};

// The platform's standard text for an error number ("Application-defined or
// object-defined error" for numbers it does not know).
std::string_view StandardErrorText(int32_t number);

class Error : public std::exception {
 public:
  explicit Error(int32_t number);
  Error(int32_t number, std::string description, std::string source = {});

  int32_t Number() const { return number_; }
  const std::string& Description() const { return description_; }
  const std::string& Source() const { return source_; }
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  int32_t number_;
  std::string description_;
  std::string source_;
};

// Raises Error(number) with its standard text.
[[noreturn]] void Raise(int32_t number);
[[noreturn]] void Raise(int32_t number, std::string description);

// The error in flight inside a catch block, as an Error: other exceptions map to
// "Out of memory" (7) or the internal error (51) with their own text.
Error CurrentError();

}  // namespace kx
