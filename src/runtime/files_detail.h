#pragma once
// Shared by the portable file routines and the platform's save routine.

#include <filesystem>

namespace kx::detail {

// Raises the runtime error that `err` (an errno value) stands for, naming the file.
[[noreturn]] void RaiseIo(const std::filesystem::path& path, int err);

}  // namespace kx::detail
