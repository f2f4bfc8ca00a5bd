// Small value types read from style strings and handed to picture makers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pagefold {

// A colour tuple: four members (r, g, b, a) from hexadecimal and rgb()/rgba()
// forms, three (r, g, b) from the names table, which then means opaque.
// Members are not clamped: "rgb(300,0,0)" keeps 300.
struct Color {
  int64_t c[4] = {0, 0, 0, 0};
  int n = 4;  // 3 or 4

  static Color rgb(int64_t r, int64_t g, int64_t b) { return Color{{r, g, b, 0}, 3}; }
  static Color rgba(int64_t r, int64_t g, int64_t b, int64_t a) { return Color{{r, g, b, a}, 4}; }
  int size() const { return n; }
  // Member access that fails like a tuple: index 3 of a three-member colour
  // raises IndexError("tuple index out of range").
  int64_t at(int i) const;
  int64_t r() const { return c[0]; }
  int64_t g() const { return c[1]; }
  int64_t b() const { return c[2]; }
  // Alpha, 255 for a three-member colour.
  int64_t alpha_or_opaque() const { return n == 4 ? c[3] : 255; }
  bool same_rgb(const Color& o) const { return c[0] == o.c[0] && c[1] == o.c[1] && c[2] == o.c[2]; }
  friend bool operator==(const Color& a, const Color& b) {
    if (a.n != b.n) return false;
    for (int i = 0; i < a.n; ++i)
      if (a.c[i] != b.c[i]) return false;
    return true;
  }
};

// A gradient stop: position (1.0 at the end) or absent, and a colour.
struct Stop {
  std::optional<double> pos;
  Color color;
  friend bool operator==(const Stop& a, const Stop& b) {
    return a.pos == b.pos && a.color == b.color;
  }
};

struct Gradient {
  bool horizontal = false;
  std::vector<Stop> stops;
};

// ("gradient", gradient) or ("color", colour).
struct BgSpec {
  std::string kind;  // "gradient" or "color"
  Gradient gradient;
  Color color;
};

// Shadow spec: offsets, blur (never negative) and colour (never absent).
struct ShadowSpec {
  int64_t ox = 0, oy = 0, blur = 0;
  Color color;
};

struct BorderSpec {
  int64_t w = 0;
  Color color;
};

// Corner radii in the order top-left, top-right, bottom-right, bottom-left.
struct Radii {
  double tl = 0, tr = 0, br = 0, bl = 0;
  double operator[](int i) const { return i == 0 ? tl : i == 1 ? tr : i == 2 ? br : bl; }
};

}  // namespace pagefold
