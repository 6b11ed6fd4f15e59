#include "inventory/dispatch.h"

#include <string>

#include "runtime/error.h"
#include "runtime/text.h"

namespace kx {

namespace {
constexpr int32_t kErrWrongArgumentCount = 450;
}

Variant Dispatch::Get(std::string_view name, const Arguments&) {
  RaiseNoMember(name);
}

void Dispatch::Put(std::string_view name, const Arguments&, const Variant&) {
  RaiseNoMember(name);
}

Variant Dispatch::Call(std::string_view name, const Arguments&) {
  RaiseNoMember(name);
}

void RaiseNoMember(std::string_view name) {
  throw Error(kErrNotSupported, std::string(StandardErrorText(kErrNotSupported)),
              name.empty() ? std::string("(default member)") : std::string(name));
}

bool IsMember(std::string_view name, std::string_view member) {
  return EqualsIgnoreCase(name, member);
}

void ExpectArguments(std::string_view, const Arguments& args, size_t count) {
  if (args.size() != count) Raise(kErrWrongArgumentCount);
}

std::shared_ptr<Dispatch> GetObjectMember(const std::shared_ptr<Dispatch>& object,
                                          std::string_view name, const Arguments& args) {
  if (!object) Raise(kErrObjectNotSet);
  return object->Get(name, args).ToObject();
}

Variant GetValue(const std::shared_ptr<Dispatch>& object, std::string_view name,
                 const Arguments& args) {
  if (!object) Raise(kErrObjectNotSet);
  return object->Get(name, args);
}

}  // namespace kx
