// Layout finalisation: text boxes grow until their text fits, as far as the
// enclosing window allows, and full-screen windows that cover each other are
// reported. Runs on finished page roots, just before they are written.
#include <algorithm>
#include <array>
#include <atomic>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "finish/finish.hpp"
#include "pagefold/error.hpp"
#include "util/num.hpp"
#include "util/record_values.hpp"
#include "util/regex.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

using Ctrls = std::vector<std::pair<std::string, Value>>;

// A number as the layout compares it: integers and reals by value, true and
// false as 1 and 0; text and other kinds are refused with a TypeError.
double number(const Value& v) {
  if (v.is_int() || v.is_real()) return v.as_number();
  if (v.is_bool()) return v.as_bool() ? 1.0 : 0.0;
  throw TypeError("unsupported operand type for arithmetic: a value that is not a number");
}

// `v` when truthy, else `dflt`.
Value or_else(const Value& v, const Value& dflt) { return v.truthy() ? v : dflt; }

// A position member that the position record guarantees.
double required(const Value& pos, const char* key) {
  if (!pos.is_object() || !pos.contains(key)) throw KeyError(std::string("'") + key + "'");
  return number(pos.get(key));
}

// Whether `c` is a word character, digit or bracket, counted narrower than
// other characters below U+2E80. ASCII is answered directly; other code
// points ask the pattern once each and the answer is kept, since the text
// fit measures every character of every text box on the page.
bool narrow_char(char32_t c) {
  if (c < 0x80) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '(' || c == ')' || c == '[' || c == ']' || c == '{' || c == '}';
  }
  static const Regex narrow(R"([\w\d()\[\]{}])");
  // 0 unknown, 1 narrow, 2 not; racing threads store the same answer.
  static std::array<std::atomic<uint8_t>, 0x2E80> known{};
  std::atomic<uint8_t>& slot = known[c];
  uint8_t k = slot.load(std::memory_order_relaxed);
  if (k == 0) {
    const std::string ch = text::to_utf8(c);
    k = narrow.match(ch) ? 1 : 2;
    slot.store(k, std::memory_order_relaxed);
  }
  return k == 1;
}

// The smallest box that holds `text` at font size `fs`: CJK counts a full
// em, punctuation a little more than a Latin letter.
std::pair<int64_t, int64_t> min_size(const std::string& text, double fs, double alignment) {
  double units = 0;
  for (size_t i = 0; i < text.size();) {
    const char32_t c = text::decode_next(text, i);
    if (c > 0x2E7F) {
      units += 1.0;
    } else if (narrow_char(c)) {
      units += 0.55;
    } else {
      units += 0.6;
    }
  }
  int64_t w = num::trunc(units * fs * 1.1) + 16;
  if (alignment == 37) w += 8;
  int64_t h = num::trunc(fs * 1.25);
  return {w, h};
}

// The width that binds a box whose nearest enclosing "window__" record is
// `owner` (null at the top of the page): the window's width, or the page's.
Value parent_w(const Value* owner, const Value& rw) {
  if (owner && owner->get("position").truthy()) {
    return or_else(owner->get("position").get("width"), rw);
  }
  return rw;
}

// Answers whether some box changed its size.
bool fit_text(const Value& data, const Value& rw, std::vector<std::string>& warnings) {
  bool changed = false;
  // The window around each control key where the key is first met, found on
  // the way: the walk below meets the keys in the order of a search of the
  // page, and a box is measured against the window around the key's first
  // occurrence. (A search per box would cost the square of the page.) The
  // views point into the page's maps, which the fit changes in value only.
  std::unordered_map<std::string_view, const Value*> first_owner;
  auto fit_one = [&](const std::string& key, const Value& val) {
    if (!text::starts_with(key, "textview__") && !text::starts_with(key, "button__")) return;
    // Boxes without text, font size or a size of their own are left alone;
    // those are most controls, so they are told apart without copies.
    const Object& rec = val.as_object();
    const Value* tv = rec.find("text");
    const Value* fv = rec.find("fontSize");
    const Value* pv = rec.find("position");
    if (!tv || !fv || !fv->truthy() || !pv || !pv->is_object()) return;
    if (tv->is_string() && tv->as_string().empty()) return;
    const Value* pwv = pv->as_object().find("width");
    const Value* phv = pv->as_object().find("height");
    if (!pwv || !pwv->truthy() || !phv || !phv->truthy()) return;
    const std::string txt = value_str(*tv);
    const Value fs = *fv;
    const Value pos = *pv;
    if (txt.empty()) return;
    Value al = val.contains("alignment") ? val.get("alignment") : Value(int64_t{0});
    const double alignment = al.is_number() ? al.as_number() : -1;
    auto [mw, mh] = min_size(txt, number(fs), alignment);
    const Value pw = pos.get("width"), ph = pos.get("height");
    Value nw = pw, nh = ph;
    if (number(pw) < mw) nw = mw;
    if (number(ph) < mh) nh = mh;
    if (nw == pw && nh == ph) return;
    if (number(nw) > number(pw)) {
      Value cw = parent_w(first_owner.at(key), rw);
      Value left = pos.contains("left") ? pos.get("left") : Value(int64_t{0});
      if (number(left) + number(nw) > number(cw)) {
        // Growing to the right would leave the container: keep the width and
        // let the designer decide.
        Value cap = val.contains("caption") ? val.get("caption") : Value("");
        warnings.push_back(key + "(" + value_str(cap) + ") 文本“" + text::slice(txt, 0, 10) +
                           "”字号 " + value_str(fs) + " 需最小宽 " + std::to_string(mw) +
                           "px，但扩宽会超出容器(" + value_str(cw) +
                           "px)——需手动调位置/字号或拆行");
        nw = pw;
      }
    }
    // A new size is a larger number; a kept one is the very same value.
    if (!(nw == pw && nh == ph)) changed = true;
    pos["width"] = nw;
    pos["height"] = nh;
  };
  // The control records in the order of `_walk_ctrls`, with the window
  // around each.
  auto walk = [&](auto& self, const Value& d, const Value* owner) -> void {
    for (const auto& [k, v] : d.as_object()) {
      if (!v.is_object() || k.find("__") == std::string::npos) continue;
      first_owner.emplace(k, owner);
      fit_one(k, v);
      self(self, v, text::starts_with(k, "window__") ? &v : owner);
    }
  };
  walk(walk, data, nullptr);
  return changed;
}

void covering_windows(const Value& data, const Value& res, const Value& rw,
                      std::vector<std::string>& warnings) {
  const Value rh = or_else(res.get("height"), Value(int64_t{0}));
  const double screen_area = number(rw) * number(rh);
  Ctrls top_wins;
  each_ctrl(data, true, [&](const std::string& k, const Value& v) {
    if (text::starts_with(k, "window__") && v.get("position").truthy()) top_wins.emplace_back(k, v);
  });
  if (screen_area == 0 || top_wins.size() < 2) return;

  Ctrls pages;
  for (const auto& [k, v] : top_wins) {
    Value p = v.get("position");
    double area = number(or_else(p.get("width"), Value(int64_t{0}))) *
                  number(or_else(p.get("height"), Value(int64_t{0})));
    if (area >= screen_area * 0.6) pages.emplace_back(k, v);
  }
  std::set<std::string> hits;
  for (size_t i = 0; i < pages.size(); ++i) {
    for (size_t j = i + 1; j < pages.size(); ++j) {
      Value a = pages[i].second.get("position"), b = pages[j].second.get("position");
      const double al = required(a, "left"), aw = required(a, "width");
      const double at = required(a, "top"), ah = required(a, "height");
      const double bl = required(b, "left"), bw = required(b, "width");
      const double bt = required(b, "top"), bh = required(b, "height");
      const double ix = std::max(0.0, std::min(al + aw, bl + bw) - std::max(al, bl));
      const double iy = std::max(0.0, std::min(at + ah, bt + bh) - std::max(at, bt));
      const double small = std::min(aw * ah, bw * bh);
      if (small != 0 && ix * iy / small > 0.3) {
        hits.insert(pages[i].first);
        hits.insert(pages[j].first);
      }
    }
  }
  if (hits.empty()) return;
  // The advice cites the device runtime's page-architecture document by its
  // path in the runtime's knowledge base; the text is shown to users as is.
  static const std::string kRuntimeArchitectureDoc = "knowledge/devflow/page-architecture-spec.md";
  warnings.push_back(
      "检测到多个互相盖住的整屏 Window（" +
      text::join(std::vector<std::string>(hits.begin(), hits.end()), " / ") + "）：按 " +
      kRuntimeArchitectureDoc +
      " 的默认口径，**同一业务域**内的多页就该"
      "这么放（同一个 qlu 内叠多个整屏 window，首屏 visible:true、其余 visible:false，切换只走 "
      "showWnd()/hideWnd()：零切换成本、共享控件指针与状态）；**只有跨业务域 / "
      "需独立生命周期与返回栈 / 超大页面**才拆成独立 qlu（新 Activity + openActivity() "
      "跳转；pagefold 缺省就是每屏一个 json /\n一个 qlu，这个多整屏 window "
      "形态要用 --merge-windows 才是）。判据见该文档 §2 决策清单");
}

}  // namespace

std::vector<std::pair<std::string, Value>>& _walk_ctrls(
    const Value& d, bool top, std::vector<std::pair<std::string, Value>>& out) {
  for (const auto& [k, v] : d.as_object()) {
    if (!v.is_object() || !text::contains(k, "__")) continue;
    out.emplace_back(k, v);
    if (!top) _walk_ctrls(v, false, out);
  }
  return out;
}

size_t count_ctrls(const Value& d) {
  size_t n = 0;
  each_ctrl(d, false, [&n](const std::string&, const Value&) { ++n; });
  return n;
}

std::vector<std::pair<std::string, Value>> _walk_ctrls(const Value& d, bool top) {
  std::vector<std::pair<std::string, Value>> out;
  _walk_ctrls(d, top, out);
  return out;
}

namespace {

// One pass of the layout finalisation; answers whether a box changed size.
bool finalize_pass(const Value& data, std::vector<std::string>& warnings) {
  Value res = or_else(data.get("resolution"), Value::object());
  Value rw = res.contains("width") ? res.get("width") : Value(int64_t{0});
  const bool changed = fit_text(data, rw, warnings);
  covering_windows(data, res, rw, warnings);
  return changed;
}

}  // namespace

Value _finalize_layout(const Value& data, std::vector<std::string>& warnings) {
  finalize_pass(data, warnings);
  return data;
}

void _finalize_pages(const std::vector<Value>& roots, std::vector<std::string>& warnings) {
  // A pass reads nothing but the root, so once a pass on a root changed no
  // size, every further pass on that root says the same: merged windows,
  // whose pages share one root, need two passes, not one per page.
  const Value* settled = nullptr;  // a root whose last pass changed nothing
  size_t from = 0, to = 0;         // the warnings of that pass
  for (const Value& root : roots) {
    if (settled && root.same(*settled)) {
      for (size_t i = from; i < to; ++i) {
        std::string again = warnings[i];
        warnings.push_back(std::move(again));
      }
      continue;
    }
    const size_t before = warnings.size();
    const bool changed = finalize_pass(root, warnings);
    settled = changed ? nullptr : &root;
    from = before;
    to = warnings.size();
  }
}

}  // namespace pagefold
