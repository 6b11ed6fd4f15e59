// Off Windows there is no system registry: the registry files stand in for it.

#include "component/registry.h"

namespace kx {

std::shared_ptr<Registry> OpenSystemRegistry() {
  return nullptr;
}

}  // namespace kx
