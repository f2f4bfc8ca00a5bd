// The converter's one public operation: parse once, apply the sheets once,
// find the pages, choose the mode, convert, report the picture encoding and
// check that no page went missing.
#include <algorithm>
#include <string>
#include <unordered_set>
#include <vector>

#include "assets/assets.hpp"
#include "controls/controls.hpp"
#include "controls/tables.hpp"
#include "driver/converter.hpp"
#include "front/box_specs.hpp"
#include "front/cascade.hpp"
#include "front/dom.hpp"
#include "pagefold/error.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

const char* const NO_SCREEN =
    "未找到 <div class=\"screen\"> 根节点（受限 HTML 必须从 screen 容器开始）";

// The notice on nested pages follows their numbered labels.
const char* const NESTED_SCREENS_TAIL =
    " —— 按**最外层**算页，这些嵌套屏的容器被忽略（屏内控件仍属于最外层页）；"
    "规范写法是并列 .screen（每屏一个、data-page 区分）";

// The notice of per-screen conversion; %s is the numbered list of page files.
const char* const PER_SCREEN_NOTICE =
    "缺省口径：**每屏一个 json**（一个 .screen = 一个页面 = 一个 Activity = 一个独立 "
    "qlu），文件名取 data-page：%s。同一 Activity 内的 window / dialog（弹窗）属于该屏**内部**"
    "，直接写在 .screen 里（div.window / div.modal），不另算一页、工具也不会把多个 .screen "
    "合并；哪些屏属于不同 Activity、哪些属于同屏内 window/dialog，由 AI 在设计阶段（HTML "
    "原型）判定。只有**同属一个 Activity 的多个整屏 window**才用 --merge-windows（MCP: "
    "merge_windows=true）合成一个 json";

// The end of the count check's error.
const char* const COUNT_CHECK_TAIL =
    "。禁止静默丢页 —— 请修正 HTML（每屏一个并列 .screen，data-page 唯一）后重转";

// The notice of merged-window conversion for `n` screens.
std::string merged_notice(size_t count) {
  const std::string n = std::to_string(count);
  return "本次按 merge-windows 合成：已把 " + n + " 个 .screen 合成到同一个 json 的 " + n +
         " 个整屏 window（window__1..window__" + n +
         " 连续编号，首屏 visible:true、其余 visible:false，切页走 showWnd/hideWnd）—— "
         "只在**这些屏同属一个 Activity（同 qlu 内整屏 window）**时用；跨业务域 / "
         "需独立返回栈请去掉这个开关（缺省口径 = 每屏一个 json = 每屏一个 Activity 各自独立 qlu）";
}

std::string screens_found(const std::vector<std::string>& labels) {
  return "识别到 " + std::to_string(labels.size()) + " 个 .screen（多屏设计稿）：" +
         text::join(labels, " / ");
}

// The deepest element nesting a prototype may have. Every stage walks the tree
// and the control records recursively; deeper input is refused with a clear
// failure instead of exhausting the stack. Real prototypes nest a few dozen
// levels.
constexpr size_t MAX_DEPTH = 10000;

size_t tree_depth(const Node& root) {
  size_t deepest = 0;
  std::vector<std::pair<const Node*, size_t>> todo{{&root, 1}};
  while (!todo.empty()) {
    auto [node, depth] = todo.back();
    todo.pop_back();
    deepest = std::max(deepest, depth);
    for (const Node* child : node->children) todo.emplace_back(child, depth + 1);
  }
  return deepest;
}

// Parses the text once; refuses nesting deeper than MAX_DEPTH.
void parse(DomParser& p, const std::string& text) {
  p.feed(text);
  p.close();
  if (!p.root) return;
  if (size_t depth = tree_depth(*p.root); depth > MAX_DEPTH) {
    throw Failure("RecursionError", "maximum recursion depth exceeded: elements nested " +
                                        std::to_string(depth) + " deep (at most " +
                                        std::to_string(MAX_DEPTH) + ")");
  }
}

std::string choose_mode(bool merge_windows, size_t screens) {
  if (merge_windows && screens >= 2) return "merge-windows";
  return screens == 1 ? "single-screen" : "per-screen";
}

// No page may be lost in silence: a difference between pages produced and
// screens detected becomes `meta["error"]`; answers whether it passed.
bool count_check(const Value& meta) {
  const int64_t detected = meta.get("screensDetected").as_int();
  const int64_t produced = meta.get("pagesProduced").as_int();
  if (produced == detected) return true;
  std::string err = "屏数核对失败：识别到 " + std::to_string(detected) + " 个 .screen，仅产出 " +
                    std::to_string(produced) + " 页";
  std::vector<std::string> failed;
  for (const Value& f : meta.get("failed").as_array()) failed.push_back(f.as_string());
  if (!failed.empty()) err += "，失败：" + text::join(failed, "；");
  meta["error"] = err + COUNT_CHECK_TAIL;
  return false;
}

// Frees what the elements under `screen` hold once its page is made: no
// other page reads them, and a large prototype's tree is the bulk of what a
// conversion holds. The nodes stay, empty, in the parser's arena; the tree
// is this conversion's own, handed out read-only to the stages.
void release_subtree(const Node* screen) {
  std::vector<Node*> todo{const_cast<Node*>(screen)};
  while (!todo.empty()) {
    Node* node = todo.back();
    todo.pop_back();
    todo.insert(todo.end(), node->children.begin(), node->children.end());
    Attrs().swap(node->attrs);
    std::vector<Node*>().swap(node->children);
    std::string().swap(node->text);
  }
}

// Releases a screen's elements when its page is done, on every path.
struct ScreenDone {
  const Node* screen;
  ~ScreenDone() { release_subtree(screen); }
};

// One page per screen: a duplicate page id or a failing page costs that page
// (reported in `meta["failed"]`) and every other page is still attempted, so
// that the count check lists every fault at once.
std::vector<Page> convert_per_screen(PageFold& pf, Controls& controls,
                                     const std::vector<const Node*>& screens, const Value& meta,
                                     std::vector<std::string>& warnings,
                                     const PageHandler& on_page) {
  std::vector<std::string> labels, files;
  for (size_t i = 0; i < screens.size(); ++i) {
    labels.push_back(PageFold::_page_label(*screens[i], i + 1));
    // Made before the duplicate test, so it names duplicates too.
    files.push_back(PageFold::_page_id(*screens[i], i + 1) + ".json");
  }
  warnings.push_back(screens_found(labels));
  warnings.push_back(text::replace_all(PER_SCREEN_NOTICE, "%s", text::join(files, " / ")));

  std::vector<Page> pages;
  std::unordered_set<std::string> seen;
  Array& failed = meta["failed"].as_array();
  for (size_t i = 0; i < screens.size(); ++i) {
    const std::string k = std::to_string(i + 1);
    std::string pid = PageFold::_page_id(*screens[i], i + 1);
    const ScreenDone done{screens[i]};
    if (seen.count(pid)) {
      // Rejected, never renumbered: the first page keeps its id.
      failed.push_back(pid + "（第 " + k + " 屏：data-page 重复，每屏一个 json 会互相覆盖）");
      continue;
    }
    seen.insert(pid);
    try {
      auto [data, w] = pf._convert_one(controls, *screens[i]);
      warnings.insert(warnings.end(), w.begin(), w.end());
      pages.emplace_back(pid, data);
    } catch (const std::exception& e) {
      failed.push_back(pid + "（第 " + k + " 屏转换失败: " + failure_type(e) + ": " +
                       failure_message(e) + "）");
      continue;
    }
    // Outside the page's guard: what the handler raises is not a page's fault.
    if (on_page) on_page(pages.back());
  }
  meta["pagesProduced"] = static_cast<int64_t>(pages.size());
  return pages;
}

// All screens as full-screen windows of one root, which every page pair shares.
std::vector<Page> convert_merged(PageFold& pf, Controls& controls,
                                 const std::vector<const Node*>& screens, const Value& meta,
                                 std::vector<std::string>& warnings) {
  std::vector<std::string> labels;
  for (size_t i = 0; i < screens.size(); ++i)
    labels.push_back(PageFold::_page_label(*screens[i], i + 1));
  warnings.push_back(screens_found(labels));
  warnings.push_back(merged_notice(screens.size()));
  auto [data, w, made_ids] = pf._compose_windows(controls, screens, meta);
  warnings.insert(warnings.end(), w.begin(), w.end());
  std::vector<Page> pages;
  for (const std::string& pid : made_ids) pages.emplace_back(pid, data);
  return pages;
}

}  // namespace

PageFold::PageFold(std::optional<std::string> res_, std::optional<std::string> asset_dir_,
                   const Modules* modules)
    : res(std::move(res_)), asset_dir(std::move(asset_dir_)), modules_(modules) {}

Ctx PageFold::new_ctx() const { return Ctx(ID_BASE, AUTO_NAME, modules_); }

ConvertResult PageFold::convert(std::string text, bool merge_windows, const PageHandler& on_page) {
  ConvertResult out;

  // Parse once; the tree holds copies of what it needs from the text.
  DomParser p;
  parse(p, text);
  std::string().swap(text);
  if (!p.root) {
    out.warnings = {"空 HTML"};
    return out;
  }

  // Apply every style sheet to the whole tree before any page is looked at,
  // and read the canvas colour.
  const std::string css_text = text::join(p.css_chunks, " ");
  PseudoTable pseudo_css;
  _apply_css(*p.root, css_text, &pseudo_css);
  const std::optional<int64_t> page_bg = _canvas_bg(*p.root);

  // Find the pages and choose the mode.
  auto [screens, nested] = _find_screens(*p.root);
  if (screens.empty()) {
    out.warnings = {NO_SCREEN};
    return out;
  }
  const std::string mode = choose_mode(merge_windows, screens.size());
  Value meta = Value::object({{"screensDetected", static_cast<int64_t>(screens.size())},
                              {"pagesProduced", 0},
                              {"failed", Value::array()},
                              {"mode", mode}});
  std::vector<std::string>& warnings = out.warnings;
  if (!nested.empty()) {
    std::vector<std::string> labels;
    for (size_t i = 0; i < nested.size(); ++i) labels.push_back(_nest_label(*nested[i], i + 1));
    warnings.push_back("检测到 " + std::to_string(nested.size()) +
                       " 个嵌套 .screen（位于另一个 .screen 内部）：" + text::join(labels, " / ") +
                       NESTED_SCREENS_TAIL);
  }

  // Convert each page.
  Assets assets(asset_dir, modules_ ? modules_->gen_res.get() : nullptr, css_text, pseudo_css);
  Controls controls(res, page_bg, assets);
  std::vector<Page> pages;
  if (mode == "merge-windows") {
    pages = convert_merged(*this, controls, screens, meta, warnings);
  } else if (mode == "single-screen") {
    // No guard: a failure of the only page is the conversion's failure.
    auto [data, w] = _convert_one(controls, *screens[0]);
    warnings.insert(warnings.end(), w.begin(), w.end());
    pages.emplace_back(_page_id(*screens[0], 1), data);
    meta["pagesProduced"] = 1;
  } else {
    pages = convert_per_screen(*this, controls, screens, meta, warnings, on_page);
  }

  // Report the picture encoding and the conversion's picture counts.
  if (std::optional<std::string> msg = assets.png_log.summary()) warnings.push_back(*msg);
  out.gen_count = assets.gen_count;
  out.rad_glue = assets.rad_glue;

  out.meta = meta;
  if (count_check(meta)) out.pages = std::move(pages);
  return out;
}

}  // namespace pagefold
