// Pictures for the CSS effects the device cannot draw (linear gradient, box
// shadow, emoji-only text, spinners) and for named glyphs. Nothing here
// writes to a control record: the callers place what was made.
#include <algorithm>
#include <string>

#include "assets/assets.hpp"
#include "assets/image.hpp"
#include "front/backgrounds.hpp"
#include "front/box_specs.hpp"
#include "front/readers.hpp"
#include "front/text_clean.hpp"
#include "pagefold/error.hpp"
#include "util/num.hpp"
#include "util/regex.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

const Regex& gradient_re() {
  static const Regex re(R"(linear-gradient\(([^)]+)\))");
  return re;
}

// The caption, or the page's running number where the caption is empty.
std::string cap_or_n(const std::string& cap, const Ctx& ctx) {
  return cap.empty() ? std::to_string(ctx.n) : cap;
}

std::string numbered(const std::string& prefix, const std::string& who, int64_t n) {
  return prefix + who + "_" + std::to_string(n) + ".png";
}

// The gradient with the shadow laid over it, unshifted, as one picture.
PictureMaker gradient_shadow_maker(GenRes& gr, std::string expr, std::string name, int64_t w,
                                   int64_t h, int64_t radius, int64_t blur, Color sc, int64_t ss) {
  return [&gr, expr, name, w, h, radius, blur, sc, ss](const std::string& d) {
    Gradient g = _parse_gradient(expr);
    std::string base = gr.gen_gradient_stops(d, name, w, h, g.stops, g.horizontal, 0, ss);
    Image im = I_open(base);
    Image sh = img::new_rgba(im.w, im.h, sc);
    Image mask = gr.ss_shape_mask(im.w, im.h, radius, ss);
    img::putalpha(sh, img::multiply(img::getchannel_alpha(sh), mask));
    if (blur > 0) sh = img::gaussian_blur(sh, double(blur));
    img::alpha_composite(im, sh);
    img::save_png(im, base);
    return base;
  };
}

// The pictures of one node's effects, stage by stage. Stages are independent
// unless one says otherwise, and a later stage may replace the picture of an
// earlier one.
class NodeEffects {
 public:
  NodeEffects(Assets& assets, Ctx& ctx, const Node& node, int64_t w, int64_t h,
              const std::string& cap)
      : assets_(assets),
        ctx_(ctx),
        node_(node),
        w_(w),
        h_(h),
        who_(cap_or_n(cap, ctx)),
        style_(_attr(node.attrs, "style").value_or("")),
        g_(assets.gen_res()),
        ss_(assets.tools().css_ss) {}

  // The first linear gradient of the style, when it has two stops or more.
  void gradient() {
    grad_ = gradient_re().search(style_);
    if (!grad_) return;
    Gradient parsed = _parse_gradient(grad_->str(1));
    if (parsed.stops.size() < 2) return;
    int64_t radius = _radius_px(style_, double(w_), double(h_), 0);
    std::string name = numbered("grad_", who_, assets_.gen_count);
    GenRes& g = g_;
    const int64_t w = w_, h = h_, ss = ss_;
    auto pic = assets_._gen_asset(ctx_, [&g, name, w, h, parsed, radius, ss](const std::string& d) {
      return g.gen_gradient_stops(d, name, w, h, parsed.stops, parsed.horizontal, radius, ss);
    });
    if (pic) out_.backgroundPic = pic;
  }

  // The box shadow as a card with its shadow, the box growing by `pad`. With
  // a gradient already made, the composite file is written and counted, but
  // the control keeps the plain gradient and is not grown. A malformed shadow
  // is told and ignored.
  void shadow() {
    auto sh = _shadow_spec(style_);
    if (!sh) return;
    try {
      int64_t pad = _shadow_pad(double(sh->ox), double(sh->oy), double(sh->blur));
      int64_t radius = _radius_px(style_, double(w_), double(h_), 8);
      static const Regex bg_re(R"(background(?:-color)?\s*:\s*([^;]+))");
      std::optional<Color> fill = Color::rgba(30, 39, 53, 255);
      if (auto m = bg_re.search(style_)) fill = _css_color(text::strip(m->group(1)));
      if (out_.backgroundPic) {
        assets_._gen_asset(
            ctx_, gradient_shadow_maker(g_, grad_->str(1),
                                        numbered("gradshadow_", who_, assets_.gen_count), w_, h_,
                                        radius, sh->blur, sh->color, ss_));
        return;
      }
      std::string name = numbered("shadow_", who_, assets_.gen_count);
      ShadowSpec shadow = *sh;
      GenRes& g = g_;
      const int64_t w = w_, h = h_, ss = ss_;
      auto pic = assets_._gen_asset(
          ctx_, [&g, name, w, h, radius, fill, shadow, ss](const std::string& d) {
            return g.gen_shadow_card(d, name, w, h, radius, fill, shadow, false, ss);
          });
      if (pic) {
        out_.backgroundPic = pic;
        out_.pad = pad;
      }
    } catch (const std::exception& e) {
      ctx_.warnings.push_back(who_ + ": box-shadow 转图失败（" + failure_type(e) + ": " +
                              failure_message(e) + "），已忽略该阴影");
    }
  }

  // Text made only of emoji (and what the device font lacks) becomes a
  // picture of its first emoji; any pad of a shadow stays.
  void emoji() {
    static const Regex blanks(R"([ \t\r\f\x0b]+)");
    std::string raw_text = text::strip(blanks.sub(" ", node_.text));
    if (raw_text.empty() || !_clean_text(raw_text).value_or("").empty()) return;
    std::u32string chars = text::to_u32(raw_text);
    auto it = std::find_if(chars.begin(), chars.end(), _is_emoji);
    if (it == chars.end()) return;
    std::string emoji_ch = text::to_utf8(*it);
    std::string name = numbered("emoji_", who_, assets_.gen_count);
    GenRes& g = g_;
    const int64_t w = w_, h = h_;
    auto pic = assets_._gen_asset(ctx_, [&g, name, w, h, emoji_ch](const std::string& d) {
      return g.emoji_icon_box(d, name, w, h, emoji_ch);
    });
    if (pic) {
      out_.backgroundPic = pic;
      out_.use_emoji = true;
    }
  }

  // A spinner, by class or by an animation whose style speaks of turning:
  // an animated GIF, and beside it the frame sequence.
  void spinner() {
    std::set<std::string> classes = _classes(node_.attrs);
    static const Regex anim_re(R"(animation\s*:)");
    bool spinner = classes.count("loading") || classes.count("spinner") ||
                   (anim_re.search(style_) &&
                    (text::contains(style_, "spin") || text::contains(style_, "rotate") ||
                     text::contains(style_, "loading")));
    if (!spinner) return;
    int64_t size = std::max(w_, h_);
    // Not anchored: a background-color standing first is the spinner's colour.
    static const Regex color_re(R"(color\s*:\s*([^;]+))");
    // A colour declaration that cannot be read is handed on as absent: the
    // picture module decides what an unreadable colour looks like.
    std::optional<Color> color = Color::rgba(66, 201, 255, 255);
    if (auto m = color_re.search(style_)) color = _css_color(text::strip(m->group(1)));
    std::string base = "loading_" + who_;
    GenRes& g = g_;
    auto gif = assets_._gen_asset(ctx_, [&g, base, size, color](const std::string& d) {
      return g.frames_loading_gif(d, base + ".gif", size, color, 12);
    });
    // The frame sequence is a courtesy beside the GIF: not counted, and a
    // failure of it is not worth a word.
    try {
      g_.frames_loading(*assets_.asset_dir, base, size, color, 12);
    } catch (const std::exception&) {
    }
    out_.imageanim = true;
    if (gif) out_.anim_file = gif;
  }

  const EffectAssets& made() const { return out_; }

 private:
  Assets& assets_;
  Ctx& ctx_;
  const Node& node_;
  const int64_t w_, h_;
  const std::string who_;  // the caption, or the page's running number in file names
  const std::string style_;
  GenRes& g_;
  const int64_t ss_;           // supersampling handed to the module
  std::optional<Match> grad_;  // the gradient of the style, when it has one
  EffectAssets out_;
};

}  // namespace

EffectAssets Assets::_effect_assets(Ctx& ctx, const Node& node, int64_t w, int64_t h,
                                    const std::string& cap) {
  if (!can_generate()) return {};
  NodeEffects effects(*this, ctx, node, w, h, cap);
  effects.gradient();
  effects.shadow();
  effects.emoji();
  effects.spinner();
  return effects.made();
}

std::optional<std::string> Assets::_icon_png(Ctx& ctx, const std::string& glyph, int64_t cw,
                                             int64_t ch, std::optional<int64_t> color,
                                             bool pressed) {
  int64_t size = std::min(std::max<int64_t>(cw, 1), std::max<int64_t>(ch, 1));
  if (!can_generate()) {
    ctx.warnings.push_back("data-icon=\"" + glyph +
                           "\" 自动转图不可用（缺 gen_res/Pillow 或未指定 asset_dir），请给 "
                           "data-pic 自备图");
    return std::nullopt;
  }
  GenRes& g = gen_res();
  std::string gname = g.glyph_canonical(glyph);
  if (gname.empty()) {
    std::string avail = text::join(g.glyph_list(), ", ");
    ctx.warnings.push_back("图标 \"" + glyph + "\" 未收录（可用：" + avail +
                           "）；给 data-pic 自备图或换用列表内名字");
    return std::nullopt;
  }
  Color c = *_color_int_rgba(color, Color::rgba(216, 226, 240, 255));
  Color col = Color::rgb(c.r(), c.g(), c.b());
  std::string hexs = num::hex(c.r(), 2) + num::hex(c.g(), 2) + num::hex(c.b(), 2);
  // No running number: the same glyph, canvas, colour and state share a file.
  std::string name = "icon_" + gname + "_" + std::to_string(cw) + "x" + std::to_string(ch) + "_" +
                     hexs + (pressed ? "_p" : "") + ".png";
  return _gen_asset(ctx, [&g, name, gname, size, col, pressed, cw, ch](const std::string& d) {
    return g.glyph_icon(d, name, gname, size, col, pressed, {cw, ch});
  });
}

std::optional<int64_t> Assets::_icon_color(const Attrs& attrs) const {
  return to_dec(_attr(attrs, "data-color"));
}

}  // namespace pagefold
