// Named glyph icons from the icon font.
#include "glyphs.hpp"

#include FT_OUTLINE_H

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string_view>

#include "files.hpp"
#include "limits.hpp"
#include "pagefold/error.hpp"
#include "raster.hpp"

namespace pagefold::genres {
namespace {

// Short names that prototypes use, onto the font's names. Each target is a
// name of the font (a test checks this against the installed map).
constexpr std::pair<std::string_view, std::string_view> kAliases[] = {
    {"account", "account_circle"},
    {"alert", "warning"},
    {"angle_left", "chevron_left"},
    {"angle_right", "chevron_right"},
    {"arrow_down", "arrow_downward"},
    {"arrow_up", "arrow_upward"},
    {"back", "arrow_back"},
    {"bars", "menu"},
    {"battery", "battery_full"},
    {"bell", "notifications"},
    {"bike", "directions_bike"},
    {"bin", "delete"},
    {"brightness", "brightness_6"},
    {"bulb", "lightbulb"},
    {"calendar", "calendar_today"},
    {"capslock", "keyboard_capslock"},
    {"car", "directions_car"},
    {"caret_down", "arrow_drop_down"},
    {"caret_up", "arrow_drop_up"},
    {"cart", "shopping_cart"},
    {"charging", "battery_charging_full"},
    {"chart", "bar_chart"},
    {"chevron_down", "expand_more"},
    {"chevron_up", "expand_less"},
    {"clock", "schedule"},
    {"cog", "settings"},
    {"collapse", "expand_less"},
    {"config", "settings"},
    {"cool", "ac_unit"},
    {"copy", "content_copy"},
    {"cross", "close"},
    {"cut", "content_cut"},
    {"date", "calendar_today"},
    {"document", "description"},
    {"dots", "more_horiz"},
    {"down", "arrow_downward"},
    {"drop", "water_drop"},
    {"ellipsis", "more_horiz"},
    {"energy", "bolt"},
    {"enter", "keyboard_return"},
    {"envelope", "mail"},
    {"exclamation", "priority_high"},
    {"exclamation_circle", "error"},
    {"exclamation_triangle", "warning"},
    {"exit", "logout"},
    {"eye", "visibility"},
    {"eye_slash", "visibility_off"},
    {"fan", "toys"},
    {"file", "description"},
    {"find", "search"},
    {"fire", "local_fire_department"},
    {"flash", "flash_on"},
    {"gear", "settings"},
    {"gift", "card_giftcard"},
    {"globe", "language"},
    {"graph", "show_chart"},
    {"grid", "grid_view"},
    {"hamburger", "menu"},
    {"heart", "favorite"},
    {"heat", "local_fire_department"},
    {"hide", "visibility_off"},
    {"humidity", "water_drop"},
    {"info_circle", "info"},
    {"lamp", "lightbulb"},
    {"leaf", "eco"},
    {"left", "chevron_left"},
    {"like", "favorite"},
    {"location", "place"},
    {"magnify", "search"},
    {"marker", "place"},
    {"microphone", "mic"},
    {"minus", "remove"},
    {"minus_circle", "remove_circle"},
    {"mobile", "smartphone"},
    {"moon", "dark_mode"},
    {"music", "music_note"},
    {"mute", "volume_off"},
    {"next", "arrow_forward"},
    {"ok", "check"},
    {"paste", "content_paste"},
    {"pen", "edit"},
    {"pencil", "edit"},
    {"picture", "image"},
    {"play", "play_arrow"},
    {"plus", "add"},
    {"plus_circle", "add_circle"},
    {"prev", "arrow_back"},
    {"previous", "arrow_back"},
    {"profile", "person"},
    {"qr", "qr_code"},
    {"question", "help"},
    {"question_circle", "help"},
    {"reload", "refresh"},
    {"return", "keyboard_return"},
    {"rewind", "fast_rewind"},
    {"right", "chevron_right"},
    {"scan", "qr_code_scanner"},
    {"setting", "settings"},
    {"shift", "keyboard_capslock"},
    {"show", "visibility"},
    {"shutdown", "power_settings_new"},
    {"sign_in", "login"},
    {"sign_out", "logout"},
    {"signal", "signal_cellular_alt"},
    {"skip_prev", "skip_previous"},
    {"snow", "ac_unit"},
    {"sound", "volume_up"},
    {"stats", "bar_chart"},
    {"sun", "light_mode"},
    {"temp", "thermostat"},
    {"temperature", "thermostat"},
    {"thermometer", "thermostat"},
    {"thumbs_down", "thumb_down"},
    {"thumbs_up", "thumb_up"},
    {"tick", "check"},
    {"time", "schedule"},
    {"times", "close"},
    {"times_circle", "cancel"},
    {"trash", "delete"},
    {"unlock", "lock_open"},
    {"up", "arrow_upward"},
    {"user", "person"},
    {"users", "group"},
    {"video", "videocam"},
    {"volume", "volume_up"},
    {"walk", "directions_walk"},
    {"wifi_0", "signal_wifi_0_bar"},
    {"wifi_1", "network_wifi_1_bar"},
    {"wifi_2", "network_wifi_2_bar"},
    {"wifi_3", "network_wifi_3_bar"},
    {"wifi_4", "signal_wifi_4_bar"},
    {"x", "close"},
    {"yes", "check"},
};
static_assert(std::is_sorted(std::begin(kAliases), std::end(kAliases)),
              "the alias table is searched by bisection");

// The names offered when a value names nothing: short, common, and each one
// accepted by `canonical`.
constexpr std::string_view kCommon[] = {
    "back",     "forward",     "up",      "down",  "left",      "right",    "home",     "menu",
    "more",     "close",       "check",   "plus",  "minus",     "search",   "settings", "refresh",
    "edit",     "trash",       "save",    "share", "lock",      "unlock",   "user",     "bell",
    "calendar", "clock",       "alarm",   "play",  "pause",     "stop",     "next",     "prev",
    "volume",   "mute",        "battery", "wifi",  "bluetooth", "power",    "sun",      "moon",
    "light",    "temperature", "fan",     "info",  "help",      "warning",  "error",    "star",
    "heart",    "eye",         "mail",    "phone", "camera",    "location", "shift",    "backspace",
    "keyboard"};

// Prefixes of icon-set class names, without their separator.
const char* const kPrefixes[] = {"material_icons",
                                 "material",
                                 "glyphicon",
                                 "glyph",
                                 "icons",
                                 "icon",
                                 "ic",
                                 "fas",
                                 "far",
                                 "fab",
                                 "fa",
                                 "mdi",
                                 "md",
                                 "mi",
                                 "bi",
                                 "ion"};

// Style words that other icon sets append and this font draws one way.
const char* const kStyleSuffixes[] = {"_outlined", "_outline",  "_filled", "_rounded", "_round",
                                      "_sharp",    "_two_tone", "_black",  "_white",   "_o"};

std::string ascii_lower(std::string s) {
  for (char& c : s)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return s;
}

// Hyphens, dots and spaces become underscores; runs of underscores one; none
// at either end.
std::string underscored(const std::string& word) {
  std::string out;
  for (char c : word) {
    if (c == '-' || c == '.' || c == ' ') c = '_';
    if (c == '_' && (out.empty() || out.back() == '_')) continue;
    out.push_back(c);
  }
  while (!out.empty() && out.back() == '_') out.pop_back();
  return out;
}

bool ends_with(const std::string& s, const std::string& tail) {
  return s.size() > tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

// "home_24dp", "home_24px", "home_24" lose their size.
std::string without_size(const std::string& s) {
  std::string t = s;
  for (const char* unit : {"dp", "px"})
    if (ends_with(t, unit)) {
      t.resize(t.size() - 2);
      break;
    }
  size_t i = t.size();
  while (i > 0 && t[i - 1] >= '0' && t[i - 1] <= '9') --i;
  if (i == t.size() || i < 2 || t[i - 1] != '_') return s;
  return t.substr(0, i - 1);
}

// The ways of reading one word, most literal first.
std::vector<std::string> readings(const std::string& word) {
  std::vector<std::string> out;
  std::string s = underscored(word);
  if (s.empty()) return out;
  out.push_back(s);
  for (bool stripped = true; stripped;) {
    stripped = false;
    for (const char* p : kPrefixes) {
      std::string head = std::string(p) + "_";
      if (s.size() > head.size() && s.compare(0, head.size(), head) == 0) {
        s = s.substr(head.size());
        out.push_back(s);
        stripped = true;
        break;
      }
    }
  }
  for (std::string t = without_size(s); t != s; t = without_size(s)) {
    s = t;
    out.push_back(s);
  }
  for (bool stripped = true; stripped;) {
    stripped = false;
    for (const char* suffix : kStyleSuffixes)
      if (ends_with(s, suffix)) {
        s.resize(s.size() - std::string(suffix).size());
        out.push_back(s);
        stripped = true;
        break;
      }
  }
  return out;
}

std::optional<std::string> alias_of(const std::string& name) {
  auto it = std::lower_bound(std::begin(kAliases), std::end(kAliases), std::string_view(name),
                             [](const auto& e, std::string_view n) { return e.first < n; });
  if (it == std::end(kAliases) || it->first != name) return std::nullopt;
  return std::string(it->second);
}

// The single code point of a UTF-8 word, if it is exactly one.
std::optional<uint32_t> single_code_point(const std::string& s) {
  auto b = [&](size_t i) { return static_cast<unsigned char>(s[i]); };
  if (s.size() == 3 && (b(0) & 0xF0) == 0xE0 && (b(1) & 0xC0) == 0x80 && (b(2) & 0xC0) == 0x80)
    return ((b(0) & 0x0Fu) << 12) | ((b(1) & 0x3Fu) << 6) | (b(2) & 0x3Fu);
  if (s.size() == 4 && (b(0) & 0xF8) == 0xF0 && (b(1) & 0xC0) == 0x80 && (b(2) & 0xC0) == 0x80 &&
      (b(3) & 0xC0) == 0x80)
    return ((b(0) & 0x07u) << 18) | ((b(1) & 0x3Fu) << 12) | ((b(2) & 0x3Fu) << 6) | (b(3) & 0x3Fu);
  return std::nullopt;
}

std::vector<std::string> words_of(const std::string& text) {
  std::vector<std::string> out;
  std::string cur;
  for (char c : text) {
    if (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v' || c == ',') {
      if (!cur.empty()) out.push_back(cur);
      cur.clear();
    } else {
      cur.push_back(c);
    }
  }
  if (!cur.empty()) out.push_back(cur);
  return out;
}

}  // namespace

IconFont::IconFont(FreeType& ft, std::string font_path, std::string names_path)
    : ft_(ft), font_path_(std::move(font_path)), names_path_(std::move(names_path)) {}

IconFont::~IconFont() {
  if (face_) FT_Done_Face(face_);
}

std::vector<std::string> IconFont::common_names() {
  return std::vector<std::string>(std::begin(kCommon), std::end(kCommon));
}

std::vector<std::pair<std::string, std::string>> IconFont::aliases() {
  std::vector<std::pair<std::string, std::string>> out;
  for (const auto& [k, v] : kAliases) out.emplace_back(k, v);
  return out;
}

const std::unordered_map<std::string, uint32_t>& IconFont::names() {
  if (names_loaded_) return names_;
  std::ifstream in(names_path_, std::ios::binary);
  if (!in) {
    int err = errno;
    try {
      raise_os_error(err ? err : ENOENT, names_path_);
    } catch (const Failure& e) {
      throw Failure(e.type(), "icon name map unavailable: " + e.message());
    }
  }
  // Lines of the form `"name": e88a,`; anything else is skipped.
  for (std::string line; std::getline(in, line);) {
    size_t q0 = line.find('"'), q1 = line.find('"', q0 + 1);
    if (q0 == std::string::npos || q1 == std::string::npos) continue;
    size_t colon = line.find(':', q1);
    if (colon == std::string::npos) continue;
    std::string name = line.substr(q0 + 1, q1 - q0 - 1);
    std::string hex;
    for (size_t i = colon + 1; i < line.size(); ++i) {
      char c = line[i];
      if (std::isxdigit(static_cast<unsigned char>(c)))
        hex.push_back(c);
      else if (!hex.empty() || (c != ' ' && c != '\t'))
        break;
    }
    if (name.empty() || hex.empty() || hex.size() > 6) continue;
    uint32_t cp = static_cast<uint32_t>(std::stoul(hex, nullptr, 16));
    names_.emplace(name, cp);
    auto [it, fresh] = by_code_.emplace(cp, name);
    if (!fresh && name < it->second) it->second = name;
  }
  if (names_.empty())
    throw Failure("ValueError", "icon name map holds no names: '" + names_path_ + "'");
  names_loaded_ = true;
  return names_;
}

std::optional<std::string> IconFont::lookup(const std::string& word) {
  const std::unordered_map<std::string, uint32_t>* map = nullptr;
  try {
    map = &names();
  } catch (const std::exception&) {
    map = nullptr;
  }
  // A glyph's own character names it.
  if (auto cp = single_code_point(word); cp && map) {
    auto it = by_code_.find(*cp);
    if (it != by_code_.end()) return it->second;
  }
  for (const std::string& r : readings(ascii_lower(word))) {
    if (map && map->count(r)) return r;
    if (auto a = alias_of(r)) return a;
  }
  // Without the map, the first plausible reading is passed on, so that the
  // drawing reports the missing font rather than an unknown name.
  if (!map) {
    std::vector<std::string> rs = readings(ascii_lower(word));
    if (!rs.empty()) return rs.back();
  }
  return std::nullopt;
}

std::string IconFont::canonical(const std::string& glyph) {
  try {
    for (const std::string& w : words_of(glyph))
      if (auto name = lookup(w)) return *name;
  } catch (const std::exception&) {
    // A name that cannot be read is an unknown name.
  }
  return "";
}

FT_Face IconFont::face() {
  if (!face_) face_ = ft_.open_face(font_path_, "icon font");
  return face_;
}

Image IconFont::render(const std::string& gname, int size, const std::array<uint8_t, 3>& rgb,
                       bool pressed, int cw, int ch) {
  const auto& map = names();
  auto it = map.find(gname);
  if (it == map.end()) throw Failure("KeyError", "unknown glyph name '" + gname + "'");
  FT_Face f = face();
  FT_UInt gid = FT_Get_Char_Index(f, it->second);
  if (gid == 0) throw Failure("KeyError", "icon font has no glyph for '" + gname + "'");
  FT_Error err = FT_Set_Char_Size(f, 0, FT_F26Dot6(size) * 64, 72, 72);
  if (!err) err = FT_Load_Glyph(f, gid, FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP);
  if (err) throw Failure("RuntimeError", "cannot load glyph '" + gname + "': " + ft_error(err));
  if (f->glyph->format != FT_GLYPH_FORMAT_OUTLINE)
    throw Failure("RuntimeError", "glyph '" + gname + "' is no outline");

  // The font draws each icon centred in its em square, which here is
  // centred on the canvas. The bitmap's origin is its lower-left corner.
  FT_Outline* outline = &f->glyph->outline;
  FT_Outline_Translate(outline, FT_Pos(cw - size) * 32, FT_Pos(ch - size) * 32);
  std::vector<unsigned char> buf(size_t(cw) * size_t(ch), 0);
  FT_Bitmap bm{};
  bm.rows = static_cast<unsigned>(ch);
  bm.width = static_cast<unsigned>(cw);
  bm.pitch = cw;
  bm.buffer = buf.data();
  bm.num_grays = 256;
  bm.pixel_mode = FT_PIXEL_MODE_GRAY;
  err = FT_Outline_Get_Bitmap(ft_.get(), outline, &bm);
  if (err) throw Failure("RuntimeError", "cannot draw glyph '" + gname + "': " + ft_error(err));

  Image out(cw, ch, 4);
  const Rgba ink{double(rgb[0]), double(rgb[1]), double(rgb[2]), 1.0};
  if (!pressed) {
    for (int y = 0; y < ch; ++y)
      for (int x = 0; x < cw; ++x) {
        Rgba c = ink;
        c.a = buf[size_t(y) * size_t(cw) + size_t(x)] / 255.0;
        put(out, x, y, c);
      }
    return out;
  }
  // Pressed: the glyph at 70% of its brightness over a disc of its own
  // colour at 16% opacity, as far across as the canvas's shorter side.
  const double d = std::min(cw, ch);
  const RoundRect disc{(cw - d) / 2, (ch - d) / 2, (cw + d) / 2, (ch + d) / 2, d / 2};
  const Plane disc_cov = coverage(cw, ch, disc, int(COV_SS));
  const Rgba dark{ink.r * 0.7, ink.g * 0.7, ink.b * 0.7, 1.0};
  for (int y = 0; y < ch; ++y)
    for (int x = 0; x < cw; ++x) {
      Rgba g = dark;
      g.a = buf[size_t(y) * size_t(cw) + size_t(x)] / 255.0;
      Rgba under = ink;
      under.a = 0.16 * disc_cov.at(x, y);
      put(out, x, y, over(g, under));
    }
  return out;
}

}  // namespace pagefold::genres
