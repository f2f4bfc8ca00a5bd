// The converter's one public operation: parse once, apply the sheets once,
// find the pages, choose the mode, convert, report the picture encoding and
// check that no page went missing.
#include <algorithm>
#include <cstdio>
#include <string>
#include <unordered_set>
#include <vector>

#include "assets/png_output.hpp"
#include "front/box_specs.hpp"
#include "front/cascade.hpp"
#include "front/dom.hpp"
#include "pagefold/converter.hpp"
#include "pagefold/error.hpp"
#include "util/num.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

const char* const NO_SCREEN =
    "未找到 <div class=\"screen\"> 根节点（受限 HTML 必须从 screen 容器开始）";

std::string join_numbered(const std::vector<std::string>& parts) {
  return text::join(parts, " / ");
}

std::string screens_found(const std::vector<std::string>& labels) {
  return "识别到 " + std::to_string(labels.size()) + " 个 .screen（多屏设计稿）：" +
         join_numbered(labels);
}

// The summary of the picture encoder's log, or nothing when no picture was
// encoded in this conversion.
std::optional<std::string> png_log_summary() {
  if (PNG_LOG.empty()) return std::nullopt;
  std::vector<const PngLogEntry*> p8, rest;
  for (const PngLogEntry& e : PNG_LOG) (e.kind == "p8" ? p8 : rest).push_back(&e);
  int64_t saved = 0, p8_rgba = 0;
  for (const PngLogEntry* e : p8) {
    saved += e->rgba_size - e->final_size;
    p8_rgba += e->rgba_size;
  }
  std::string msg = "CSS 导出切图编码：" + std::to_string(p8.size()) +
                    " 张走 **8bit 索引色 PNG**（调色板裁剪 + tRNS 逐档 alpha，省 " +
                    std::to_string(saved) + " B";
  if (!p8.empty()) {
    double pct =
        100.0 * static_cast<double>(saved) / static_cast<double>(std::max<int64_t>(1, p8_rgba));
    msg += "，平均 −" + num::fmt("%.0f", pct) + "%";
  }
  msg += "）；" + std::to_string(rest.size()) + " 张保留 RGBA";
  if (!rest.empty()) {
    std::vector<std::string> shown;
    for (size_t i = 0; i < rest.size() && i < 4; ++i) {
      const PngLogEntry& e = *rest[i];
      shown.push_back(e.name + " " + std::to_string(e.rgba_size) + "B→" +
                      std::to_string(e.final_size) + "B/" + std::to_string(e.colors) + "色");
    }
    msg += "（索引化不划算/掉色：" + text::join(shown, "、") +
           " —— 用色数 >256 的真渐变索引化后反而更大，需要更小请把渐变收敛成几个色标）";
  }
  return msg;
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

}  // namespace

PageFold::PageFold(std::optional<std::string> res_, std::optional<std::string> asset_dir_,
                   const Modules* modules)
    : res(std::move(res_)), asset_dir(std::move(asset_dir_)), modules_(modules) {}

int64_t PageFold::css_ss() const {
  if (!has_gen_res()) return 4;
  return gr().SS_DEFAULT().value_or(4);
}

int64_t PageFold::cov_ss_local() const {
  if (!has_gen_res()) return 16;
  return gr().COV_SS().value_or(16);
}

ConvertResult PageFold::convert(const std::string& text_in, bool merge_windows) {
  ConvertResult out;

  // Parse once.
  DomParser p;
  p.feed(text_in);
  p.close();
  if (!p.root) {
    out.warnings = {"空 HTML"};
    return out;
  }
  if (size_t depth = tree_depth(*p.root); depth > MAX_DEPTH) {
    throw Failure("RecursionError", "maximum recursion depth exceeded: elements nested " +
                                        std::to_string(depth) + " deep (at most " +
                                        std::to_string(MAX_DEPTH) + ")");
  }

  // Apply every style sheet to the whole tree before any page is looked at.
  _css_text = text::join(p.css_chunks, " ");
  _pseudo_css.clear();
  _rad_glue = Value::array();
  _css_applied = _apply_css(*p.root, _css_text, &_pseudo_css);
  _page_bg = _canvas_bg(*p.root);

  // Find the pages and choose the mode.
  auto [screens, nested] = _find_screens(*p.root);
  if (screens.empty()) {
    out.warnings = {NO_SCREEN};
    return out;
  }
  std::string mode = (merge_windows && screens.size() >= 2) ? "merge-windows"
                     : screens.size() == 1                  ? "single-screen"
                                                            : "per-screen";
  Value meta = Value::object({{"screensDetected", static_cast<int64_t>(screens.size())},
                              {"pagesProduced", 0},
                              {"failed", Value::array()},
                              {"mode", mode}});
  std::vector<std::string>& warnings = out.warnings;

  if (!nested.empty()) {
    std::vector<std::string> labels;
    for (size_t i = 0; i < nested.size(); ++i) labels.push_back(_nest_label(*nested[i], i + 1));
    warnings.push_back("检测到 " + std::to_string(nested.size()) +
                       " 个嵌套 .screen（位于另一个 .screen 内部）：" + join_numbered(labels) +
                       " —— 按**最外层**算页，这些嵌套屏的容器被忽略（屏内控件仍属于最外层页）；"
                       "规范写法是并列 .screen（每屏一个、data-page 区分）");
  }

  std::vector<std::string> labels;
  for (size_t i = 0; i < screens.size(); ++i) labels.push_back(_page_label(*screens[i], i + 1));

  std::vector<Page> pages;
  if (mode == "merge-windows") {
    const std::string n = std::to_string(screens.size());
    warnings.push_back(screens_found(labels));
    warnings.push_back(
        "本次按 merge-windows 合成：已把 " + n + " 个 .screen 合成到同一个 json 的 " + n +
        " 个整屏 window（window__1..window__" + n +
        " 连续编号，首屏 visible:true、其余 visible:false，切页走 showWnd/hideWnd）—— "
        "只在**这些屏同属一个 Activity（同 qlu 内整屏 window）**时用；跨业务域 / "
        "需独立返回栈请去掉这个开关（缺省口径 = 每屏一个 json = 每屏一个 Activity 各自独立 qlu）");
    auto [data, w, made_ids] = _compose_windows(screens, meta);
    warnings.insert(warnings.end(), w.begin(), w.end());
    // Every pair shares the one root.
    for (const std::string& pid : made_ids) pages.emplace_back(pid, data);
  } else if (mode == "single-screen") {
    // No guard: a failure of the only page is the conversion's failure.
    auto [data, w] = _convert_one(*screens[0]);
    warnings.insert(warnings.end(), w.begin(), w.end());
    pages.emplace_back(_page_id(*screens[0], 1), data);
    meta["pagesProduced"] = 1;
  } else {
    warnings.push_back(screens_found(labels));
    std::vector<std::string> files;
    for (size_t i = 0; i < screens.size(); ++i) {
      files.push_back(_page_id(*screens[i], i + 1) + ".json");
    }
    warnings.push_back(text::replace_all(
        "缺省口径：**每屏一个 json**（一个 .screen = 一个页面 = 一个 Activity = 一个独立 "
        "qlu），文件名取 data-page：%s。同一 Activity 内的 window / dialog（弹窗）属于该屏**内部**"
        "，直接写在 .screen 里（div.window / div.modal），不另算一页、工具也不会把多个 .screen "
        "合并；哪些屏属于不同 Activity、哪些属于同屏内 window/dialog，由 AI 在设计阶段（HTML "
        "原型）判定。只有**同属一个 Activity 的多个整屏 window**才用 --merge-windows（MCP: "
        "merge_windows=true）合成一个 json",
        "%s", join_numbered(files)));
    std::unordered_set<std::string> seen;
    Array& failed = meta["failed"].as_array();
    for (size_t i = 0; i < screens.size(); ++i) {
      const std::string k = std::to_string(i + 1);
      std::string pid = _page_id(*screens[i], i + 1);
      if (seen.count(pid)) {
        // Rejected, never renumbered: the first page keeps its id.
        failed.push_back(pid + "（第 " + k + " 屏：data-page 重复，每屏一个 json 会互相覆盖）");
        continue;
      }
      seen.insert(pid);
      try {
        auto [data, w] = _convert_one(*screens[i]);
        warnings.insert(warnings.end(), w.begin(), w.end());
        pages.emplace_back(pid, data);
      } catch (const std::exception& e) {
        failed.push_back(pid + "（第 " + k + " 屏转换失败: " + failure_type(e) + ": " +
                         failure_message(e) + "）");
      }
    }
    meta["pagesProduced"] = static_cast<int64_t>(pages.size());
  }

  if (std::optional<std::string> msg = png_log_summary()) {
    warnings.push_back(*msg);
    PNG_LOG.clear();
  }

  // No page may be lost in silence.
  const int64_t detected = meta.get("screensDetected").as_int();
  const int64_t produced = meta.get("pagesProduced").as_int();
  if (produced != detected) {
    std::string err = "屏数核对失败：识别到 " + std::to_string(detected) + " 个 .screen，仅产出 " +
                      std::to_string(produced) + " 页";
    std::vector<std::string> failed;
    for (const Value& f : meta.get("failed").as_array()) failed.push_back(f.as_string());
    if (!failed.empty()) err += "，失败：" + text::join(failed, "；");
    err += "。禁止静默丢页 —— 请修正 HTML（每屏一个并列 .screen，data-page 唯一）后重转";
    meta["error"] = err;
    out.meta = meta;
    return out;
  }
  out.pages = std::move(pages);
  out.meta = meta;
  return out;
}

}  // namespace pagefold
