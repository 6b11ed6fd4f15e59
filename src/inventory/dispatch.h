#pragma once
// Late-bound access to a host's objects: members are asked for by name at run time, with
// variant arguments and results, the way the host's collections (events, actions) and the
// run-time members of its sides are reached. Names compare ignoring case. A member an
// object does not have raises 438; a member that fails raises its own Error.

#include <memory>
#include <string_view>
#include <vector>

#include "inventory/variant.h"

namespace kx {

using Arguments = std::vector<Variant>;

// The default member (dispatch identifier 0) is asked for under the empty name.
inline constexpr std::string_view kDefaultMember = "";

class Dispatch {
 public:
  virtual ~Dispatch() = default;
  // Reads a property (with arguments for indexed ones) or calls a function member.
  virtual Variant Get(std::string_view name, const Arguments& args = {});
  // Assigns a property.
  virtual void Put(std::string_view name, const Arguments& args, const Variant& value);
  // Calls a method.
  virtual Variant Call(std::string_view name, const Arguments& args = {});
};

// Raises 438 ("Object doesn't support this property or method").
[[noreturn]] void RaiseNoMember(std::string_view name);

// Member-name comparison as dispatch does it: ignoring case.
bool IsMember(std::string_view name, std::string_view member);

// Checks the argument count of a member; a wrong count raises 450.
void ExpectArguments(std::string_view name, const Arguments& args, size_t count);

// `object` must be set (91 otherwise); reads `name` and returns it as an object.
std::shared_ptr<Dispatch> GetObjectMember(const std::shared_ptr<Dispatch>& object,
                                          std::string_view name, const Arguments& args = {});
// `object` must be set (91 otherwise); reads `name`.
Variant GetValue(const std::shared_ptr<Dispatch>& object, std::string_view name,
                 const Arguments& args = {});

}  // namespace kx
