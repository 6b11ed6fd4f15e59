#pragma once
// The resource section of PE images (32- and 64-bit): finds the TYPELIB resources.

#include <string_view>
#include <vector>

namespace kx::typelib {

bool LooksLikePe(std::string_view bytes);

// The ids of the image's TYPELIB resources, in directory order.
std::vector<int> ListTypeLibResources(std::string_view image, std::string_view where);

// The data of TYPELIB resource `id` (its first language). Raises kErrInvalidFileFormat when
// the image is malformed or has no such resource.
std::string_view FindTypeLibResource(std::string_view image, int id, std::string_view where);

}  // namespace kx::typelib
