#pragma once
// Texts made from type-library contents: type names as the VB family writes them, values,
// and the stable dump that `kxexpr typelib` prints.

#include <string>

#include "typelib/typelib.h"

namespace kx::typelib {

std::string Hex(uint64_t value);  // "0x1A2B"

// The name of a basic variant type ("Integer", "Long", "String", "Variant" …).
std::string BasicTypeName(uint16_t vt);

// The full type: pointers as "*", arrays as "()" or "(lower To upper, …)", user types by name.
std::string TypeText(const Type& type);
// The type as a prototype shows it: pointer levels dropped (they are how references and
// objects are passed), arrays and user types as in TypeText.
std::string VbTypeName(const Type& type);

// The stored variant type's short name ("I2", "I4", "BSTR" …).
std::string VtName(uint16_t vt);
// A value with its stored kind, e.g. "I2 -1", "BSTR \"abc\"", "R8 1.5".
std::string ValueText(const Value& value);
// A value as source code writes it: numbers plain, strings quoted, Booleans True/False.
std::string VbValueText(const Value& value);

// A string in double quotes with \", \\ and \xNN escapes for control bytes.
std::string Quote(const std::string& text);

// Every type, member and parameter of the library, one fact per line, in file order.
std::string DumpText(const Library& library);

}  // namespace kx::typelib
