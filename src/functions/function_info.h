#pragma once
// The function-information record and the catalogue of built-in constructs.

#include <array>
#include <cstdint>
#include <string>

namespace kx {

struct ArgumentInfo {
  std::string Name;
  std::string Description;
  bool Required = false;
  int16_t Kind = 0;
  std::string Default;
};

constexpr int kMaxArguments = 65;

struct FunctionInfo {
  std::string Name;
  std::string Origin;
  std::string Description;
  int32_t HelpContextID = 0;
  std::string Syntax;
  int16_t ArgumentCount = 0;
  std::array<ArgumentInfo, kMaxArguments> Arguments;
};

// The construct list: the ten construct names in display order and an empty 11th slot.
using ConstructList = std::array<std::string, 11>;
ConstructList BuildFunctionLists();

// Fills `info` from its Name: one of the ten constructs (compared exactly), or the unknown
// answer ("<Unknown>", the trimmed name + "(???)", no arguments, HelpContextID untouched).
void GetFunctionInfo(FunctionInfo& info);

// True for the names the argument dialog fills from the construct catalogue rather than
// the host function library.
bool IsConstructName(const std::string& name);

}  // namespace kx
