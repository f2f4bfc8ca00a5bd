// Pages of a document: finding them, naming them, converting one of them,
// and removing internal marker keys from finished JSON.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "driver/converter.hpp"
#include "finish/finish.hpp"
#include "front/readers.hpp"
#include "util/regex.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

// An attribute's text, absent reading as empty, stripped of white space.
std::string stripped_attr(const Node& node, std::string_view name) {
  OptStr v = _attr(node.attrs, name);
  return v ? text::strip(*v) : std::string();
}

// Depth-first, pre-order, without recursion: a page may nest elements far
// deeper than a call stack would like.
void find_screens(const Node& top, std::vector<const Node*>& screens,
                  std::vector<const Node*>& nested) {
  std::vector<std::pair<const Node*, bool>> todo{{&top, false}};
  while (!todo.empty()) {
    auto [node, inside] = todo.back();
    todo.pop_back();
    if (node->tag == "div" && has_class(node->attrs, "screen")) {
      (inside ? nested : screens).push_back(node);
      inside = true;
    }
    for (auto it = node->children.rbegin(); it != node->children.rend(); ++it) {
      todo.emplace_back(*it, inside);
    }
  }
}

}  // namespace

std::pair<Value, std::vector<std::string>> PageFold::_convert_one(Controls& controls,
                                                                  const Node& node) {
  Ctx ctx = new_ctx();
  controls._open_screen(ctx, node);
  // The page element itself never becomes a control: only its children do.
  for (const Node* child : node.children) controls._walk(ctx, *child);
  if (ctx.root.truthy()) {
    _strip_markers(ctx.root);
    _fix_slidewindow_icon_size(ctx, ctx.root, asset_dir, false);
  }
  return {ctx.root, ctx.warnings};
}

std::pair<std::vector<const Node*>, std::vector<const Node*>> PageFold::_find_screens(
    const Node& root) {
  std::vector<const Node*> screens, nested;
  find_screens(root, screens, nested);
  return {screens, nested};
}

std::string PageFold::_page_id(const Node& node, int64_t k) {
  // Page ids become file name stems, so path and shell characters go.
  static const Regex unsafe(R"([\\/:*?"<>|\s]+)");
  std::string pid = stripped_attr(node, "data-page");
  if (pid.empty()) return "page_" + std::to_string(k);
  return unsafe.sub("_", pid);
}

std::string PageFold::_page_label(const Node& node, int64_t k) {
  std::string pid = _page_id(node, k);
  std::string nm = stripped_attr(node, "data-page-name");
  return nm.empty() ? pid : pid + "(" + nm + ")";
}

std::string PageFold::_nest_label(const Node& node, int64_t k) {
  std::string pid = stripped_attr(node, "data-page");
  return pid.empty() ? "嵌套屏" + std::to_string(k) : pid;
}

void PageFold::_strip_markers(const Value& d) {
  Object& obj = d.as_object();
  auto is_marker = [](const std::string& k) { return k.size() >= 2 && k[0] == '_' && k[1] == '_'; };
  // Most maps hold no marker: they are only looked through.
  if (std::any_of(obj.begin(), obj.end(), [&](const auto& it) { return is_marker(it.first); })) {
    std::vector<std::string> markers;
    for (const auto& [k, v] : obj) {
      if (is_marker(k)) markers.push_back(k);
    }
    for (const std::string& k : markers) obj.erase(k);
  }
  for (const auto& [k, v] : obj) {
    if (v.is_object()) {
      _strip_markers(v);
    } else if (v.is_array()) {
      for (const Value& e : v.as_array()) {
        if (e.is_object()) _strip_markers(e);
      }
    }
  }
}

}  // namespace pagefold
