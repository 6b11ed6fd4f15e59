#pragma once
// Host objects across the boundary, both ways: a caller's IDispatch seen as the core's
// Dispatch (and as the typed host sides, member by member through their names), and the
// core's Dispatch objects seen by callers as IDispatch.

#include <memory>

#include "com_support.h"
#include "inventory/dispatch.h"
#include "inventory/host.h"

namespace kx::com {

// A caller's object, reached by member name.
class ComDispatch : public Dispatch {
 public:
  explicit ComDispatch(IDispatch* object) : object_(object) {}

  Variant Get(std::string_view name, const Arguments& args = {}) override;
  void Put(std::string_view name, const Arguments& args, const Variant& value) override;
  Variant Call(std::string_view name, const Arguments& args = {}) override;

  IDispatch* Object() const { return object_.get(); }

 private:
  Variant Invoke(std::string_view name, WORD flags, const Arguments& args, const Variant* value);

  ComPtr<IDispatch> object_;
};

// A caller's object as a Variant: the core's own object when it is one of ours, else a
// ComDispatch (null stays a null reference).
Variant FromDispatch(IDispatch* object);
// The core's object as an IDispatch (a new reference; null for null): the caller's own
// object when it came from a caller, else a wrapper that dispatches by name.
IDispatch* ToDispatch(const std::shared_ptr<Dispatch>& object);

// A caller's source or target object as the core's typed side: our own conversion document
// sides as they are, any other object through its member names. Null for null.
std::shared_ptr<HostSource> AdaptSource(IDispatch* object);
std::shared_ptr<HostTarget> AdaptTarget(IDispatch* object);

}  // namespace kx::com
