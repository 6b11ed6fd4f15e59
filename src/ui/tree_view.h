#pragma once
// The token tree: nodes with a unique key, a text, a tag and a parent key.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ui/controls.h"

namespace kx::ui {

struct TreeNode {
  std::string key;
  std::string text;
  std::string tag;
  std::string parent;  // empty for a root
  bool expanded = false;
  bool operator==(const TreeNode&) const = default;
};

class TreeView : public Control {
 public:
  virtual void Clear() = 0;
  // Appends a node as the last child of its parent (or the last root). A key already in
  // the tree raises 35602 ("Key is not unique in collection"); a parent that is not there
  // raises 35601 ("Element not found").
  virtual void AddNode(const TreeNode& node) = 0;
  // AddNode for each in order; a view may add them in fewer steps. On an error the nodes
  // before the failing one are in the tree.
  virtual void AddNodes(const std::vector<TreeNode>& nodes) {
    for (const TreeNode& node : nodes) AddNode(node);
  }
  // The node under `key`, or nullopt.
  virtual std::optional<TreeNode> Node(std::string_view key) const = 0;
  // Missing keys raise 35601.
  virtual void SetTag(std::string_view key, const std::string& tag) = 0;
  virtual void SetExpanded(std::string_view key, bool expanded) = 0;
  virtual int32_t ChildCount(std::string_view key) const = 0;
  // Selects a node (no click event); an empty key clears the selection.
  virtual void SelectNode(std::string_view key) = 0;
  // The selected node's key, empty when none.
  virtual std::string SelectedKey() const = 0;
  // Every node, in display order (depth first, children in the order they were added).
  virtual std::vector<TreeNode> Nodes() const = 0;
};

}  // namespace kx::ui
