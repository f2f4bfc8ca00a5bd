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

namespace {

// One slider being translated: what the prototype says about it, and what
// has been made so far. Each step below is one stage of the translation, in
// the order the steps run; a later step reads what an earlier one settled.
class SeekbarTranslation {
 public:
  SeekbarTranslation(Assets& assets, Ctx& ctx, const Node& node, const Value& c, const Value& pos,
                     const std::string& cap)
      : assets_(assets), ctx_(ctx), node_(node), c_(c), pos_(pos), cap_(cap) {
    const Attrs& attrs = node.attrs;
    style_ = _attr(attrs, "style").value_or("");
    fill_node_ = _child_by_class(node, SEEKBAR_FILL_CLASSES);
    thumb_node_ = _child_by_class(node, SEEKBAR_THUMB_CLASSES);
    ps_track_ = assets._pseudo_style(node, PS_TRACK);
    ps_thumb_ = assets._pseudo_style(node, PS_THUMB);
    ps_fill_ = assets._pseudo_style(node, PS_FILL);
    who_ = cap.empty() ? std::to_string(ctx.n) : cap;
  }

  // A plain slider keeps the default look.
  bool styled() const {
    const bool pseudo_seen = !ps_track_.empty() || !ps_thumb_.empty() || !ps_fill_.empty();
    return fill_node_ || thumb_node_ || pseudo_seen || found(radius_re(), style_) ||
           _bg_spec(style_);
  }

  // Percent sizes resolve against the screen: there is no layout engine.
  void resolve_percent_sizes() {
    Value res = ctx_.root.get("resolution");
    for (const char* key : {"width", "height"}) {
      bool is_w = std::string(key) == "width";
      Value ref = res.get(key);
      if (ref.is_null()) ref = is_w ? 480 : 800;
      auto v = _style_len_ref(style_, key, ref.as_number());
      if (!truthy(v) || pos_.get(key) == Value(*v)) continue;
      static const Regex pct_w(R"((?:^|;)\s*width\s*:\s*[\d.]+%)");
      static const Regex pct_h(R"((?:^|;)\s*height\s*:\s*[\d.]+%)");
      if ((is_w ? pct_w : pct_h).search(style_))
        ctx_.warn(cap_ + "：CSS 的 " + key + " 是百分比 → 按最近容器（" +
                      (is_w ? "屏幕宽" : "屏幕高") + "=" + value_str(ref) + "px）解析成 " +
                      decimal(*v) + "px（没有布局引擎，百分比只能这样近似；建议改写成绝对像素）",
                  std::string("seekbar-pct-") + key);
      pos_[key] = *v;
    }
    W_ = size_nonzero_or(pos_, "width", 100);
    H_ = size_nonzero_or(pos_, "height", 32);
  }

  // `--max` in the style gives the maximum when data-max does not.
  void read_max() {
    if (truthy(_attr(node_.attrs, "data-max"))) return;
    static const Regex max_re(R"(--max\s*:\s*([\d.]+))");
    if (auto m = max_re.search(style_))
      c_["max"] = std::max<int64_t>(1, num::round_even(num::to_real(m->group(1))));
  }

  // The track and fill styles: pseudo-elements first, then the fill child. A
  // hard-stop gradient on the track paints the progress: it is split into a
  // fill picture and a track picture.
  void read_track_and_fill() {
    track_style_ = !ps_track_.empty() ? ps_track_ : style_;
    fstyle_ = !ps_fill_.empty() ? ps_fill_
              : fill_node_      ? _attr(fill_node_->attrs, "style").value_or("")
                                : "";
    if (!fstyle_.empty()) return;
    auto split = _split_fill_track(track_style_);
    if (!split) return;
    fstyle_ = _replace_bg(track_style_, split->fill);
    track_style_ = _replace_bg(track_style_, split->track);
    if (truthy(_attr(node_.attrs, "data-value"))) return;
    int64_t mx = max_or_100();
    int64_t dp = std::clamp<int64_t>(num::round_even(split->split * double(mx)), 0, mx);
    c_["defProgress"] = dp;
    made_.push_back("value");
    ctx_.warn(cap_ + "：进度取自轨道背景的**硬停靠渐变**（停靠点 " +
                  num::fmt("%.1f", split->split * 100.0) + "% → defProgress=" + decimal(dp) +
                  "/max=" + decimal(mx) +
                  "）。Chrome 的 input[type=range] 没有填充伪元素，「已有进度」就是这么画的 "
                  "—— 已拆成 填充图 + 轨道图 两张；要运行期改值用代码 setProgress()",
              "seekbar-hardstop");
  }

  // The thumb's style and outer size: a pseudo-element measures border-box as
  // the browser's own style does, a child element content-box.
  void read_thumb() {
    tstyle_ = !ps_thumb_.empty() ? ps_thumb_
              : thumb_node_      ? _attr(thumb_node_->attrs, "style").value_or("")
                                 : "";
    const std::string tsrc = !ps_thumb_.empty() ? "伪元素" : thumb_node_ ? ".thumb 子元素" : "";
    tbox_ = !ps_thumb_.empty() ? "border-box" : "content-box";
    if (tstyle_.empty()) return;
    std::optional<int64_t> ts;
    if (thumb_node_) ts = parse_px(_attr(thumb_node_->attrs, "data-thumb-size"));
    std::optional<int64_t> cw = _style_len(tstyle_, "width"), ch = _style_len(tstyle_, "height");
    if (!truthy(cw)) cw = ts;
    if (!truthy(ch)) ch = ts;
    if (!truthy(cw) || !truthy(ch)) {
      ctx_.warn(cap_ + "：" + tsrc +
                    " 里读不到绝对像素宽高（缺 width/height 或写了 % / auto）—— "
                    "滑块图未生成；请写 width:32px;height:32px（或 data-thumb-size=\"32\"）",
                "seekbar-thumb-size");
      return;
    }
    auto [ow, oh, bw] = _thumb_outer_size(tstyle_, *cw, *ch, tbox_);
    tw_ = ow;
    th_ = oh;
    if (ow != *cw || oh != *ch)
      ctx_.warn(cap_ + "：滑块 CSS 写的是 " + decimal(*cw) + "x" + decimal(*ch) + " + border " +
                    decimal(bw) + "px，按 `box-sizing:" + _box_sizing(tstyle_, tbox_) +
                    "` 的**外框**是 " + decimal(ow) + "x" + decimal(oh) +
                    " （CSS 默认 content-box 时 border 加在尺寸之外）—— 切图与 thumb.size "
                    "都按外框 " +
                    decimal(ow) + "x" + decimal(oh) + " 出",
                "seekbar-thumb-box");
  }

  // A thumb taller than the box would be cut by the device: the box grows
  // about its centre.
  void grow_box_for_thumb() {
    if (!truthy(th_) || *th_ <= H_) return;
    int64_t grow = *th_ - H_;
    pos_["top"] = size_or(pos_, "top", 0) - num::floordiv(grow, 2);
    pos_["height"] = *th_;
    H_ = *th_;
    c_["position"] = pos_;
    // The third number is read after the growth, so it repeats the new height.
    ctx_.warn(cap_ + "：滑块 " + decimal(*tw_) + "x" + decimal(*th_) + " 比控件盒高 " +
                  decimal(size_or(pos_, "height", 0)) + " 大 → 已把控件盒**居中抬到** " +
                  decimal(*th_) + " 高（top " + num::fmt("%+d", num::floordiv(-grow, 2)) +
                  "），否则真机按盒高居中裁、圆钮上下被切（实测：24×24 图 + 12 高盒 → 24×12 "
                  "扁椭圆）",
              "seekbar-box-grown");
  }

  // The track picture is stretched to the box, so a thinner track is a
  // centred band of a box-high picture; a taller one raises the box (without
  // moving its top).
  void settle_track_band() {
    std::optional<int64_t> t = _style_len(track_style_, "height");
    if (!truthy(t)) return;
    band_ = track_band(*t, H_);
    if (*t <= H_) return;
    ctx_.warn(cap_ + "：轨道高 " + decimal(*t) + " 比控件盒高 " + decimal(H_) +
                  " 还大 → 真机会按盒裁掉上下；已把 position.height 抬到 " + decimal(*t),
              "seekbar-track-taller");
    pos_["height"] = *t;
    H_ = *t;
    c_["position"] = pos_;
  }

  // Track and fill pictures. The fill is full width too: the device cuts it
  // by progress.
  void make_bar_pictures() {
    make_bar_picture("backgroundPic", "track", track_style_);
    make_bar_picture("progressPic", "fill", fstyle_);
  }

  // The initial progress read from the fill's CSS, when data-value is silent.
  void value_from_css() {
    if (fstyle_.empty() || truthy(_attr(node_.attrs, "data-value"))) return;
    int64_t mx = max_or_100();
    auto [val, how] = _css_progress(fstyle_, double(mx));
    if (!val) return;
    int64_t dp = std::clamp<int64_t>(*val, 0, mx);
    c_["defProgress"] = dp;
    if (std::find(made_.begin(), made_.end(), "value") != made_.end()) return;
    made_.push_back("value");
    ctx_.warn("进度值取自 CSS（" + how.value_or("None") + " → defProgress=" + decimal(dp) +
                  "/max=" + decimal(mx) + "）；要运行期改值用代码 setProgress()，json 字段只管初值",
              "seekbar-value");
  }

  // The knob picture, drawn from the CSS size (the knob maker works out the
  // outer size itself); a document with slider pseudo-elements but no usable
  // knob size is told that the device shows no knob.
  void make_thumb_picture() {
    if (truthy(tw_) && truthy(th_) && !has_thumb_pic()) {
      std::optional<int64_t> sw = _style_len(tstyle_, "width"), sh = _style_len(tstyle_, "height");
      int64_t pw = truthy(sw) ? *sw : *tw_, ph = truthy(sh) ? *sh : *th_;
      std::string name = "bar_" + who_ + "_thumb.png";
      const PictureTools tools = assets_.tools();
      const std::string tstyle = tstyle_, tbox = tbox_;
      auto pic =
          assets_._gen_asset(ctx_, [tools, name, pw, ph, tstyle, tbox](const std::string& dir) {
            return _thumb_pic(tools, dir, name, pw, ph, tstyle, tbox).value_or("");
          });
      if (pic) {
        c_["thumb"] = Value::object({{"size", Value::object({{"width", *tw_}, {"height", *th_}})},
                                     {"normalPic", *pic},
                                     {"pressedPic", ""}});
        c_["touchable"] = true;
        made_.push_back("thumb");
        if (!ps_thumb_.empty())
          ctx_.warn(cap_ +
                        "：滑块样式取自伪元素 `::-webkit-slider-thumb`（或 -moz-）—— 已翻译成 "
                        "thumb 切图 " +
                        decimal(*tw_) + "x" + decimal(*th_) + "（thumb.size 同步写 " +
                        decimal(*tw_) +
                        "）；`margin-top` 之类的伪元素垂直微调无对应，真机一律**盒内居中**",
                    "seekbar-pseudo-thumb-ok");
      }
    }
    static const Regex pseudo_re("slider-(?:thumb|runnable)");
    const std::string& css_text = assets_.css_text();
    if (!has_thumb_pic() && !css_text.empty() && found(pseudo_re, css_text))
      ctx_.warn(cap_ +
                    "：文档里用了 `::-webkit-slider-thumb` / "
                    "`::-webkit-slider-runnable-track`，但本节点没解析出可用的滑块尺寸（缺 "
                    "width/height 或写了 % / auto）→ 真机上**没有滑块**；请给 "
                    "`::-webkit-slider-thumb` 写绝对像素 width/height",
                "seekbar-pseudo");
  }

  // What the device cannot show: a rounded or gradient fill, an inset shadow,
  // a thumb shadow.
  void note_device_limits() {
    static const Regex inset_re(R"(box-shadow\s*:[^;]*inset)");
    static const Regex shadow_re(R"(box-shadow\s*:)");
    if (c_.contains("progressPic") && found(radius_re(), fstyle_))
      ctx_.warn(
          cap_ +
              "：有效图带 border-radius，但引擎对有效图**只裁剪不缩放** → 0<p<max "
              "时右端永远是**硬切**（实测：药丸端头一点没被压，右端直接切断）；「按进度伸长的圆头"
              "填充」在真机上无法实现，圆头只能靠滑块盖住（需切图确认外观）",
          "seekbar-fill-radius");
    if (c_.contains("progressPic") && text::contains(fstyle_, "linear-gradient"))
      ctx_.warn(
          cap_ +
              "：填充图的 linear-gradient 是按**填充自身宽度**定义的，而真机有效图宽度固定 == "
              "控件盒、再按进度裁剪 → 进度越小看到的那段渐变越短（渐变被\"压缩\"）。要进度无关"
              "的固定配色，请把渐变定义在**轨道空间**（宽度 = 控件盒）（需切图确认外观）",
          "seekbar-fill-gradient");
    if (found(inset_re, style_))
      ctx_.warn(
          cap_ +
              "：轨道用了 `box-shadow: inset …`（内阴影）—— Quilora 没有内阴影，转换器只识别**外"
              "**阴影（inset 会被当外阴影，方向相反）→ 想要凹陷感请把内阴影烘进轨道切图（需切图"
              "确认外观）",
          "seekbar-inset");
    if (!tstyle_.empty() && found(shadow_re, tstyle_))
      ctx_.warn(cap_ +
                    "：滑块用了 box-shadow —— 引擎按 PNG 原尺寸贴图、没有阴影层 → "
                    "请把投影烘进滑块切图（需切图确认外观）",
                "seekbar-thumb-shadow");
  }

  // The device lays the background colour under the track picture, which
  // fills the transparent corners with the track's own colour.
  void note_background_against_track() {
    std::optional<int64_t> bgv = to_dec(_attr(node_.attrs, "data-bg"));
    std::optional<BgSpec> tr = _bg_spec(track_style_);
    if (bgv && tr && tr->kind == "color" && *bgv >= 0 && ((*bgv >> 16) & 255) == tr->color.r() &&
        ((*bgv >> 8) & 255) == tr->color.g() && (*bgv & 255) == tr->color.b())
      ctx_.warn(cap_ +
                    "：seekbar 的 backgroundColor（data-bg）与轨道图**同色** —— "
                    "真机先铺满底色再贴图，轨道图的透明圆角会被底色补满、视觉上变直角（2026-10-04 "
                    "实测：同色时四角 = 轨道色，改成 -1 后四角 = 页面底色、圆角立刻可见）→ 去掉 "
                    "data-bg（保持 backgroundColor:-1）或改成页面底色",
                "seekbar-bg-erases-radius");
  }

  // The device model, told once a picture or value was made; answers whether
  // anything was.
  bool note_device_model() {
    if (made_.empty()) return false;
    ctx_.warn(
        "进度条真机口径（2026-10-04 实测，出图/改图前先看这条）：① 轨道图 backgroundPic "
        "会被**拉伸填满控件盒**；② 有效图 progressPic 是**1:1 原样贴 + 按 floor(盒宽×进度/max) "
        "横向裁剪**（不是拉伸！右端永远硬切）；③ 滑块按 **PNG 原尺寸**画（thumb.size "
        "只作声明，实测真机忽略它），左沿 = position.left + floor((盒宽−图宽)×进度/max)"
        "，盒高 < 图高时滑块被居中裁。本次自动出图：" +
            text::join(made_, "、"),
        "seekbar-engine-model");
    return true;
  }

 private:
  int64_t max_or_100() const { return size_nonzero_or(c_, "max", 100); }
  bool has_thumb_pic() const { return c_.get("thumb").get("normalPic").truthy(); }

  void make_bar_picture(const char* key, const char* part, const std::string& st) {
    if (st.empty() || c_.get(key).truthy()) return;
    std::string name = "bar_" + who_ + "_" + part + ".png";
    const PictureTools tools = assets_.tools();
    const int64_t W = W_, H = H_;
    const std::optional<Band> band = band_;
    auto pic = assets_._gen_asset(ctx_, [tools, name, W, H, st, band](const std::string& dir) {
      return _bar_pic(tools, dir, name, W, H, st, std::nullopt, band).value_or("");
    });
    if (pic) {
      c_[key] = *pic;
      made_.push_back(part);
    }
  }

  Assets& assets_;
  Ctx& ctx_;
  const Node& node_;
  const Value& c_;
  const Value& pos_;
  const std::string& cap_;
  std::string who_;  // the caption, or the page's running number in file names
  std::string style_, ps_track_, ps_thumb_, ps_fill_;
  const Node* fill_node_ = nullptr;
  const Node* thumb_node_ = nullptr;
  int64_t W_ = 0, H_ = 0;             // the control box
  std::string track_style_, fstyle_;  // what the track and fill are drawn from
  std::string tstyle_, tbox_;         // the thumb's style and its box sizing
  std::optional<int64_t> tw_, th_;    // the thumb's outer size, when readable
  std::optional<Band> band_;          // the visible strip of a thin track
  std::vector<std::string> made_;     // "value", "track", "fill", "thumb" as made
};

}  // namespace

bool Assets::_seekbar_css_assets(Ctx& ctx, const Node& node, const Value& c, const Value& pos,
                                 const std::string& cap) {
  if (!can_generate()) return false;
  SeekbarTranslation t(*this, ctx, node, c, pos, cap);
  if (!t.styled()) return false;
  t.resolve_percent_sizes();
  t.read_max();
  t.read_track_and_fill();
  t.read_thumb();
  t.grow_box_for_thumb();
  t.settle_track_band();
  t.make_bar_pictures();
  t.value_from_css();
  t.make_thumb_picture();
  t.note_device_limits();
  t.note_background_against_track();
  return t.note_device_model();
}

}  // namespace pagefold
