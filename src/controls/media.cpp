// Media controls: animations, sliding text, camera and video views, painters,
// QR codes, icons (a picture, a named glyph or an emoji drawn as a picture)
// and the plain record of last resort for a type no branch takes.
#include <algorithm>
#include <string>

#include "controls/controls.hpp"
#include "controls/leaf_support.hpp"
#include "front/readers.hpp"
#include "front/text_clean.hpp"
#include "util/regex.hpp"

namespace pagefold {

using namespace leafs;

namespace {

// The emoji an icon's text stands for: the text must hold at least one emoji
// and nothing that survives cleaning. A line feed is no blank here.
std::optional<std::string> emoji_of(const std::string& raw) {
  static const Regex blanks(R"([ \t\r\f\x0b]+)");
  std::string t = text::strip(blanks.sub(" ", raw));
  if (t.empty() || !_clean_text(t).value_or("").empty()) return std::nullopt;
  for (char32_t ch : text::to_u32(t))
    if (_is_emoji(ch)) return text::to_utf8(ch);
  return std::nullopt;
}

}  // namespace

Value Controls::_leaf_imageanim(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  Value c = Value::object({
      {"caption", leaf.cap},
      {"id", ctx.nid("imageanim")},
      {"loopCount", 0},
      {"position", leaf.pos},
  });
  Object& o = c.as_object();

  // Animations live under "image/", singular, unlike every other picture.
  if (OptStr af = first_nonempty(attrs, {"data-src", "data-play-file", "data-gif", "src"}))
    o.set("playFile", text::contains(*af, "/") ? *af : "image/" + *af);
  if (Value lc = num_or_null(_attr(attrs, "data-loop")); !lc.is_null())
    o.set("loopCount", int_of(lc));
  if (Value fi = _num(_attr(attrs, "data-interval")); fi.truthy())
    o.set("frameInterval", int_of(fi));
  return c;
}

Value Controls::_leaf_slidetext(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  Value c = Value::object({
      {"caption", leaf.cap},
      {"id", ctx.nid("slidetext")},
      {"touchable", false},
      {"position", leaf.pos},
  });
  Object& o = c.as_object();

  if (std::optional<int64_t> fs = _font_size(attrs); fs.value_or(0)) o.set("fontSize", *fs);
  if (auto tbg = _color_explicit(attrs, {"data-text-bg"}, std::nullopt)) o.set("textBgColor", *tbg);
  if (std::optional<int64_t> col = to_dec(_attr(attrs, "data-color")))
    o.set("colorTab", Value::object({{"color0", *col}}));
  if (std::string text = leaf.text.value_or(""); !text.empty()) o.set("text", text);
  _text_extra(c, attrs);
  return c;
}

Value Controls::_leaf_cameraview(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  Value c = headed(0, leaf.cap,
                   {
                       {"cvbs", false},
                       {"formatSize", Value::object({{"width", 640}, {"height", 480}})},
                       {"id", ctx.nid("cameraview")},
                       {"mirror", 0},
                       {"position", leaf.pos},
                       {"touchable", false},
                       {"visible", true},
                   });
  Object& o = c.as_object();

  o.set("autoPreview", flag_or(attrs, "data-auto-preview", "1"));
  std::optional<int64_t> fw = parse_px(_attr(attrs, "data-format-w"));
  std::optional<int64_t> fh = parse_px(_attr(attrs, "data-format-h"));
  if (fw.value_or(0) && fh.value_or(0))
    o.set("formatSize", Value::object({{"width", *fw}, {"height", *fh}}));
  o.set("cvbs", flag_or(attrs, "data-cvbs", ""));
  if (Value mv = num_or_null(_attr(attrs, "data-mirror")); !mv.is_null())
    o.set("mirror", int_of(mv));
  return c;
}

Value Controls::_leaf_painter(Ctx& ctx, const Node&, Leaf& leaf) {
  return headed(-1, leaf.cap,
                {
                    {"id", ctx.nid("painter")},
                    {"position", leaf.pos},
                    {"touchable", false},
                    {"visible", true},
                });
}

Value Controls::_leaf_qrcode(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  Value c = headed(16777215, leaf.cap,
                   {
                       {"id", ctx.nid("qrcode")},
                       {"padding", 10},
                       {"touchable", true},
                       {"visible", true},
                       {"position", leaf.pos},
                   });
  Object& o = c.as_object();

  if (OptStr code = nonempty_attr(attrs, "data-code")) o.set("codeStr", *code);
  if (std::optional<int64_t> bg = to_dec(_attr(attrs, "data-bg"))) o.set("backgroundColor", *bg);
  return c;
}

Value Controls::_leaf_videoview(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  Value c = headed(0, leaf.cap,
                   {
                       {"defaultVolume", 5},
                       {"id", ctx.nid("videoview")},
                       {"loopPlayback", false},
                       {"rotation", 0},
                       {"position", leaf.pos},
                       {"touchable", true},
                       {"visible", true},
                   });
  Object& o = c.as_object();

  if (std::optional<int64_t> vol = parse_px(_attr(attrs, "data-volume")))
    o.set("defaultVolume", *vol);
  if (OptStr loop = _attr(attrs, "data-loop")) o.set("loopPlayback", flag(loop));
  if (std::optional<int64_t> rot = parse_px(_attr(attrs, "data-rotation"))) o.set("rotation", *rot);
  return c;
}

Value Controls::_leaf_icon(Ctx& ctx, const Node& node, Leaf& leaf) {
  const Attrs& attrs = node.attrs;
  // An icon is a text view with a picture; its caption was made as an icon.
  leaf.typ = "textview";
  Value c = Value::object({
      {"alignment", 36},
      {"caption", leaf.cap},
      {"colorTab",
       Value::object({{"color0", *_color_explicit(attrs, {"data-color"}, TEXT_COLOR)}})},
      {"fontSize", size_or_default(_font_size(attrs), 16)},
      {"id", ctx.nid("textview")},
      {"position", leaf.pos},
      {"touchable", false},
  });
  Object& o = c.as_object();

  // The first route that gives a picture wins: a picture, a named glyph, an
  // emoji drawn as a picture. The text itself is never written.
  if (OptStr pic = first_nonempty(attrs, {"data-pic", "src"})) {
    o.set("backgroundPic", image_path(*pic));
    return c;
  }
  if (OptStr glyph = _glyph_from_attrs(attrs)) {
    auto name =
        assets_._icon_png(ctx, *glyph, size_or(leaf.pos, "width", 100),
                          size_or(leaf.pos, "height", 40), assets_._icon_color(attrs), false);
    if (name && !name->empty()) o.set("backgroundPic", *name);
  }
  if (!o.contains("backgroundPic")) {
    if (std::optional<std::string> ch = emoji_of(node.text)) {
      int64_t size = std::max(int_of(size_of(leaf.pos, "width", 100)),
                              int_of(size_of(leaf.pos, "height", 100)));
      std::string name = "emoji_" + (leaf.cap.empty() ? std::to_string(ctx.n) : leaf.cap) + "_" +
                         std::to_string(assets_.gen_count) + ".png";
      // The maker captures what it needs now and draws only when run, which
      // the gate does only when the module is there.
      GenRes* g = assets_.has_gen_res() ? &assets_.gen_res() : nullptr;
      PictureMaker maker = [g, name, size, ch = *ch](const std::string& d) {
        return g->emoji_icon(d, name, size, ch);
      };
      auto pic = assets_._gen_asset(ctx, maker);
      if (pic && !pic->empty()) o.set("backgroundPic", *pic);
    }
  }
  return c;
}

Value Controls::_leaf_fallback(Ctx& ctx, const Node& node, Leaf& leaf) {
  // The element keeps only its box: text, colour and effects are dropped.
  leaf.typ = "textview";
  return Value::object({
      {"alignment", 36},
      {"caption", leaf.cap},
      {"colorTab", Value::object({{"color0", TEXT_COLOR}})},
      {"fontSize", size_or_default(_font_size(node.attrs), 16)},
      {"id", ctx.nid("textview")},
      {"position", leaf.pos},
      {"touchable", false},
  });
}

}  // namespace pagefold
