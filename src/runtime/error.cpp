#include "runtime/error.h"

#include <new>

namespace kx {

std::string_view StandardErrorText(int32_t number) {
  switch (number) {
    case 3:
      return "Return without GoSub";
    case 5:
      return "Invalid procedure call or argument";
    case 6:
      return "Overflow";
    case 7:
      return "Out of memory";
    case 9:
      return "Subscript out of range";
    case 10:
      return "This array is fixed or temporarily locked";
    case 11:
      return "Division by zero";
    case 13:
      return "Type mismatch";
    case 14:
      return "Out of string space";
    case 28:
      return "Out of stack space";
    case 35:
      return "Sub or Function not defined";
    case 51:
      return "Internal error";
    case 52:
      return "Bad file name or number";
    case 53:
      return "File not found";
    case 54:
      return "Bad file mode";
    case 55:
      return "File already open";
    case 57:
      return "Device I/O error";
    case 58:
      return "File already exists";
    case 61:
      return "Disk full";
    case 62:
      return "Input past end of file";
    case 67:
      return "Too many files";
    case 68:
      return "Device unavailable";
    case 70:
      return "Permission denied";
    case 71:
      return "Disk not ready";
    case 75:
      return "Path/File access error";
    case 76:
      return "Path not found";
    case 91:
      return "Object variable or With block variable not set";
    case 92:
      return "For loop not initialized";
    case 94:
      return "Invalid use of Null";
    case 321:
      return "Invalid file format";
    case 424:
      return "Object required";
    case 429:
      return "ActiveX component can't create object";
    case 438:
      return "Object doesn't support this property or method";
    case 440:
      return "Automation error";
    case 448:
      return "Named argument not found";
    case 449:
      return "Argument not optional";
    case 450:
      return "Wrong number of arguments or invalid property assignment";
    case 457:
      return "This key is already associated with an element of this collection";
    case 35600:
      return "Index out of bounds";
    case 35601:
      return "Element not found";
    case 35602:
      return "Key is not unique in collection";
    default:
      return "Application-defined or object-defined error";
  }
}

Error::Error(int32_t number) : Error(number, std::string(StandardErrorText(number))) {}

Error::Error(int32_t number, std::string description, std::string source)
    : number_(number), description_(std::move(description)), source_(std::move(source)) {}

void Raise(int32_t number) {
  throw Error(number);
}
void Raise(int32_t number, std::string description) {
  throw Error(number, std::move(description));
}

Error CurrentError() {
  if (!std::current_exception()) return Error(kErrInternal);
  try {
    throw;
  } catch (const Error& e) {
    return e;
  } catch (const std::bad_alloc&) {
    return Error(kErrOutOfMemory);
  } catch (const std::exception& e) {
    return Error(kErrInternal, e.what());
  } catch (...) {
    return Error(kErrInternal);
  }
}

}  // namespace kx
