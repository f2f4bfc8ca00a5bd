// Slider styling. A design's slider is styled by CSS, by child elements
// (.fill, .thumb) or by browser pseudo-elements; the device knows three
// bitmaps only: a track stretched to the control box, a progress picture
// pasted 1:1 and cut by progress, and a thumb drawn at its own size. This
// translates the one into the other and says what the device cannot show.
#include <algorithm>
#include <string>
#include <vector>

#include "assets/slider.hpp"

#include "assets/assets.hpp"
#include "assets/corner_masks.hpp"
#include "front/backgrounds.hpp"
#include "front/box_specs.hpp"
#include "front/readers.hpp"
#include "util/num.hpp"
#include "util/record_values.hpp"
#include "util/regex.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

const std::vector<std::string> SEEKBAR_FILL_CLASSES = {"fill",     "progress", "bar-fill",
                                                       "barfill",  "value",    "bar-inner",
                                                       "barinner", "inner",    "indicator"};
const std::vector<std::string> SEEKBAR_THUMB_CLASSES = {"thumb", "knob", "handle", "slider-thumb",
                                                        "sliderthumb"};
const std::vector<std::string> PS_TRACK = {"webkit-slider-runnable-track", "moz-range-track"};
const std::vector<std::string> PS_THUMB = {"webkit-slider-thumb", "moz-range-thumb"};
const std::vector<std::string> PS_FILL = {"moz-range-progress", "webkit-slider-progress"};

std::string decimal(int64_t v) { return std::to_string(v); }

bool found(const Regex& re, const std::string& s) { return re.search(s).has_value(); }

const Regex& radius_re() {
  static const Regex re(R"(border-radius\s*:)");
  return re;
}

// The visible strip of a track thinner than the box, centred in it.
std::optional<Band> track_band(int64_t t, int64_t H) {
  if (t > 0 && t < H) return Band{std::max<int64_t>(num::floordiv(H - t, 2), 0), t};
  return std::nullopt;
}

}  // namespace

const Node* _child_by_class(const Node& node, const std::vector<std::string>& names) {
  for (const Node* child : node.children) {
    std::set<std::string> classes = _classes(child->attrs);
    for (const std::string& n : names)
      if (classes.count(n)) return child;
  }
  return nullptr;
}

std::string Assets::_pseudo_style(const Node& node, const std::vector<std::string>& names) const {
  auto it = pseudo_css_.find(&node);
  if (it == pseudo_css_.end()) return "";
  for (const std::string& name : names)
    for (const auto& [k, decl] : it->second)
      if (k == name) {
        if (!decl.empty()) return decl;
        break;
      }
  return "";
}

bool Assets::_seekbar_css_assets(Ctx& ctx, const Node& node, const Value& c, const Value& pos,
                                 const std::string& cap) {
  if (!can_generate()) return false;
  const Attrs& attrs = node.attrs;
  const std::string style = _attr(attrs, "style").value_or("");
  const Node* fill_node = _child_by_class(node, SEEKBAR_FILL_CLASSES);
  const Node* thumb_node = _child_by_class(node, SEEKBAR_THUMB_CLASSES);
  const std::string ps_track = _pseudo_style(node, PS_TRACK);
  const std::string ps_thumb = _pseudo_style(node, PS_THUMB);
  const std::string ps_fill = _pseudo_style(node, PS_FILL);
  const bool has_radius = found(radius_re(), style);
  const bool pseudo_seen = !ps_track.empty() || !ps_thumb.empty() || !ps_fill.empty();
  // A plain slider keeps the default look.
  if (!fill_node && !thumb_node && !pseudo_seen && !has_radius && !_bg_spec(style)) return false;
  const std::string who = cap.empty() ? std::to_string(ctx.n) : cap;

  // Percent sizes resolve against the screen: there is no layout engine.
  Value res = ctx.root.get("resolution");
  for (const char* key : {"width", "height"}) {
    bool is_w = std::string(key) == "width";
    Value ref = res.get(key);
    if (ref.is_null()) ref = is_w ? 480 : 800;
    auto v = _style_len_ref(style, key, ref.as_number());
    if (!truthy(v) || pos.get(key) == Value(*v)) continue;
    static const Regex pct_w(R"((?:^|;)\s*width\s*:\s*[\d.]+%)");
    static const Regex pct_h(R"((?:^|;)\s*height\s*:\s*[\d.]+%)");
    if ((is_w ? pct_w : pct_h).search(style))
      ctx.warn(cap + "：CSS 的 " + key + " 是百分比 → 按最近容器（" + (is_w ? "屏幕宽" : "屏幕高") +
                   "=" + value_str(ref) + "px）解析成 " + decimal(*v) +
                   "px（没有布局引擎，百分比只能这样近似；建议改写成绝对像素）",
               std::string("seekbar-pct-") + key);
    pos[key] = *v;
  }

  int64_t W = size_nonzero_or(pos, "width", 100), H = size_nonzero_or(pos, "height", 32);
  std::vector<std::string> made;
  auto max_or_100 = [&] { return size_nonzero_or(c, "max", 100); };

  if (!truthy(_attr(attrs, "data-max"))) {
    static const Regex max_re(R"(--max\s*:\s*([\d.]+))");
    if (auto m = max_re.search(style))
      c["max"] = std::max<int64_t>(1, num::round_even(num::to_real(m->group(1))));
  }

  std::string track_style = !ps_track.empty() ? ps_track : style;
  std::string fstyle = !ps_fill.empty() ? ps_fill
                       : fill_node      ? _attr(fill_node->attrs, "style").value_or("")
                                        : "";

  // A hard-stop gradient on the track paints the progress: split it into a
  // fill picture and a track picture.
  if (fstyle.empty()) {
    if (auto split = _split_fill_track(track_style)) {
      fstyle = _replace_bg(track_style, split->fill);
      track_style = _replace_bg(track_style, split->track);
      if (!truthy(_attr(attrs, "data-value"))) {
        int64_t mx = max_or_100();
        int64_t dp = std::clamp<int64_t>(num::round_even(split->split * double(mx)), 0, mx);
        c["defProgress"] = dp;
        made.push_back("value");
        ctx.warn(cap + "：进度取自轨道背景的**硬停靠渐变**（停靠点 " +
                     num::fmt("%.1f", split->split * 100.0) + "% → defProgress=" + decimal(dp) +
                     "/max=" + decimal(mx) +
                     "）。Chrome 的 input[type=range] 没有填充伪元素，「已有进度」就是这么画的 "
                     "—— 已拆成 填充图 + 轨道图 两张；要运行期改值用代码 setProgress()",
                 "seekbar-hardstop");
      }
    }
  }

  // The thumb: a pseudo-element measures border-box as the browser's own
  // style does, a child element content-box.
  std::string tstyle = !ps_thumb.empty() ? ps_thumb
                       : thumb_node      ? _attr(thumb_node->attrs, "style").value_or("")
                                         : "";
  std::string tsrc = !ps_thumb.empty() ? "伪元素" : thumb_node ? ".thumb 子元素" : "";
  std::string tbox = !ps_thumb.empty() ? "border-box" : "content-box";
  std::optional<int64_t> tw, th;
  if (!tstyle.empty()) {
    std::optional<int64_t> ts;
    if (thumb_node) ts = parse_px(_attr(thumb_node->attrs, "data-thumb-size"));
    std::optional<int64_t> cw = _style_len(tstyle, "width"), ch = _style_len(tstyle, "height");
    if (!truthy(cw)) cw = ts;
    if (!truthy(ch)) ch = ts;
    if (!truthy(cw) || !truthy(ch)) {
      ctx.warn(cap + "：" + tsrc +
                   " 里读不到绝对像素宽高（缺 width/height 或写了 % / auto）—— "
                   "滑块图未生成；请写 width:32px;height:32px（或 data-thumb-size=\"32\"）",
               "seekbar-thumb-size");
    } else {
      auto [ow, oh, bw] = _thumb_outer_size(tstyle, *cw, *ch, tbox);
      tw = ow;
      th = oh;
      if (ow != *cw || oh != *ch)
        ctx.warn(cap + "：滑块 CSS 写的是 " + decimal(*cw) + "x" + decimal(*ch) + " + border " +
                     decimal(bw) + "px，按 `box-sizing:" + _box_sizing(tstyle, tbox) +
                     "` 的**外框**是 " + decimal(ow) + "x" + decimal(oh) +
                     " （CSS 默认 content-box 时 border 加在尺寸之外）—— 切图与 thumb.size "
                     "都按外框 " +
                     decimal(ow) + "x" + decimal(oh) + " 出",
                 "seekbar-thumb-box");
    }
  }

  // A thumb taller than the box would be cut by the device: grow the box
  // about its centre.
  if (truthy(th) && *th > H) {
    int64_t grow = *th - H;
    pos["top"] = size_or(pos, "top", 0) - num::floordiv(grow, 2);
    pos["height"] = *th;
    H = *th;
    c["position"] = pos;
    ctx.warn(
        cap + "：滑块 " + decimal(*tw) + "x" + decimal(*th) + " 比控件盒高 " +
            decimal(size_or(pos, "height", 0)) + " 大 → 已把控件盒**居中抬到** " + decimal(*th) +
            " 高（top " + num::fmt("%+d", num::floordiv(-grow, 2)) +
            "），否则真机按盒高居中裁、圆钮上下被切（实测：24×24 图 + 12 高盒 → 24×12 扁椭圆）",
        "seekbar-box-grown");
  }

  // The track picture is stretched to the box, so a thinner track is a
  // centred band of a box-high picture.
  std::optional<Band> band;
  std::optional<int64_t> t = _style_len(track_style, "height");
  if (truthy(t)) {
    band = track_band(*t, H);
    if (*t > H) {
      ctx.warn(cap + "：轨道高 " + decimal(*t) + " 比控件盒高 " + decimal(H) +
                   " 还大 → 真机会按盒裁掉上下；已把 position.height 抬到 " + decimal(*t),
               "seekbar-track-taller");
      pos["height"] = *t;
      H = *t;
      c["position"] = pos;
    }
  }

  // Track and fill pictures. The fill is full width too: the device cuts it
  // by progress.
  const PictureTools tools = this->tools();
  auto bar_picture = [&](const char* key, const char* part, const std::string& st) {
    if (st.empty() || c.get(key).truthy()) return;
    std::string name = "bar_" + who + "_" + part + ".png";
    auto pic = _gen_asset(ctx, [tools, name, W, H, st, band](const std::string& dir) {
      return _bar_pic(tools, dir, name, W, H, st, std::nullopt, band).value_or("");
    });
    if (pic) {
      c[key] = *pic;
      made.push_back(part);
    }
  };
  bar_picture("backgroundPic", "track", track_style);
  bar_picture("progressPic", "fill", fstyle);

  if (!fstyle.empty() && !truthy(_attr(attrs, "data-value"))) {
    int64_t mx = max_or_100();
    auto [val, how] = _css_progress(fstyle, double(mx));
    if (val) {
      int64_t dp = std::clamp<int64_t>(*val, 0, mx);
      c["defProgress"] = dp;
      if (std::find(made.begin(), made.end(), "value") == made.end()) {
        made.push_back("value");
        ctx.warn("进度值取自 CSS（" + how.value_or("None") + " → defProgress=" + decimal(dp) +
                     "/max=" + decimal(mx) +
                     "）；要运行期改值用代码 setProgress()，json 字段只管初值",
                 "seekbar-value");
      }
    }
  }

  auto has_thumb_pic = [&] { return c.get("thumb").get("normalPic").truthy(); };
  if (truthy(tw) && truthy(th) && !has_thumb_pic()) {
    // The CSS size, not the outer size: the knob maker works that out.
    std::optional<int64_t> sw = _style_len(tstyle, "width"), sh = _style_len(tstyle, "height");
    int64_t pw = truthy(sw) ? *sw : *tw, ph = truthy(sh) ? *sh : *th;
    std::string name = "bar_" + who + "_thumb.png";
    auto pic = _gen_asset(ctx, [tools, name, pw, ph, tstyle, tbox](const std::string& dir) {
      return _thumb_pic(tools, dir, name, pw, ph, tstyle, tbox).value_or("");
    });
    if (pic) {
      c["thumb"] = Value::object({{"size", Value::object({{"width", *tw}, {"height", *th}})},
                                  {"normalPic", *pic},
                                  {"pressedPic", ""}});
      c["touchable"] = true;
      made.push_back("thumb");
      if (!ps_thumb.empty())
        ctx.warn(cap +
                     "：滑块样式取自伪元素 `::-webkit-slider-thumb`（或 -moz-）—— 已翻译成 thumb "
                     "切图 " +
                     decimal(*tw) + "x" + decimal(*th) + "（thumb.size 同步写 " + decimal(*tw) +
                     "）；`margin-top` 之类的伪元素垂直微调无对应，真机一律**盒内居中**",
                 "seekbar-pseudo-thumb-ok");
    }
  }
  static const Regex pseudo_re("slider-(?:thumb|runnable)");
  if (!has_thumb_pic() && !css_text_.empty() && found(pseudo_re, css_text_))
    ctx.warn(cap +
                 "：文档里用了 `::-webkit-slider-thumb` / "
                 "`::-webkit-slider-runnable-track`，但本节点没解析出可用的滑块尺寸（缺 "
                 "width/height 或写了 % / auto）→ 真机上**没有滑块**；请给 "
                 "`::-webkit-slider-thumb` 写绝对像素 width/height",
             "seekbar-pseudo");

  // What the device cannot show.
  static const Regex inset_re(R"(box-shadow\s*:[^;]*inset)");
  static const Regex shadow_re(R"(box-shadow\s*:)");
  if (c.contains("progressPic") && found(radius_re(), fstyle))
    ctx.warn(
        cap +
            "：有效图带 border-radius，但引擎对有效图**只裁剪不缩放** → 0<p<max "
            "时右端永远是**硬切**（实测：药丸端头一点没被压，右端直接切断）；「按进度伸长的圆头"
            "填充」在真机上无法实现，圆头只能靠滑块盖住（需切图确认外观）",
        "seekbar-fill-radius");
  if (c.contains("progressPic") && text::contains(fstyle, "linear-gradient"))
    ctx.warn(cap +
                 "：填充图的 linear-gradient 是按**填充自身宽度**定义的，而真机有效图宽度固定 == "
                 "控件盒、再按进度裁剪 → 进度越小看到的那段渐变越短（渐变被\"压缩\"）。要进度无关"
                 "的固定配色，请把渐变定义在**轨道空间**（宽度 = 控件盒）（需切图确认外观）",
             "seekbar-fill-gradient");
  if (found(inset_re, style))
    ctx.warn(cap +
                 "：轨道用了 `box-shadow: inset …`（内阴影）—— Quilora 没有内阴影，转换器只识别**外"
                 "**阴影（inset 会被当外阴影，方向相反）→ 想要凹陷感请把内阴影烘进轨道切图（需切图"
                 "确认外观）",
             "seekbar-inset");
  if (!tstyle.empty() && found(shadow_re, tstyle))
    ctx.warn(cap +
                 "：滑块用了 box-shadow —— 引擎按 PNG 原尺寸贴图、没有阴影层 → "
                 "请把投影烘进滑块切图（需切图确认外观）",
             "seekbar-thumb-shadow");

  // The device lays the background colour under the track picture, which
  // fills the transparent corners with the track's own colour.
  std::optional<int64_t> bgv = to_dec(_attr(attrs, "data-bg"));
  std::optional<BgSpec> tr = _bg_spec(track_style);
  if (bgv && tr && tr->kind == "color" && *bgv >= 0 && ((*bgv >> 16) & 255) == tr->color.r() &&
      ((*bgv >> 8) & 255) == tr->color.g() && (*bgv & 255) == tr->color.b())
    ctx.warn(cap +
                 "：seekbar 的 backgroundColor（data-bg）与轨道图**同色** —— "
                 "真机先铺满底色再贴图，轨道图的透明圆角会被底色补满、视觉上变直角（2026-10-04 "
                 "实测：同色时四角 = 轨道色，改成 -1 后四角 = 页面底色、圆角立刻可见）→ 去掉 "
                 "data-bg（保持 backgroundColor:-1）或改成页面底色",
             "seekbar-bg-erases-radius");

  if (!made.empty())
    ctx.warn(
        "进度条真机口径（2026-10-04 实测，出图/改图前先看这条）：① 轨道图 backgroundPic "
        "会被**拉伸填满控件盒**；② 有效图 progressPic 是**1:1 原样贴 + 按 floor(盒宽×进度/max) "
        "横向裁剪**（不是拉伸！右端永远硬切）；③ 滑块按 **PNG 原尺寸**画（thumb.size "
        "只作声明，实测真机忽略它），左沿 = position.left + floor((盒宽−图宽)×进度/max)"
        "，盒高 < 图高时滑块被居中裁。本次自动出图：" +
            text::join(made, "、"),
        "seekbar-engine-model");
  return !made.empty();
}

}  // namespace pagefold
