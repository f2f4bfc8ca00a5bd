#include "summary.hpp"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace pagefold::mcp {
namespace {

// The code point starting at byte `i` of valid UTF-8, and its length.
char32_t decode(std::string_view s, size_t i, size_t& len) {
  const auto b = static_cast<unsigned char>(s[i]);
  if (b < 0x80) {
    len = 1;
    return b;
  }
  len = b >= 0xF0 ? 4 : b >= 0xE0 ? 3 : 2;
  if (i + len > s.size()) {
    len = 1;
    return b;
  }
  char32_t cp = b & (0x3F >> (len - 1));
  for (size_t k = 1; k < len; ++k) cp = (cp << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
  return cp;
}

bool is_word(char32_t c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
         c == '-' || c == '.' || c == '#' || c == '%' || c == '/' || c == '=';
}

// The closing mark of a span whose contents name a subject: tags, quotes and
// parentheses (ASCII and full-width). Zero for any other code point.
char32_t closing(char32_t c) {
  switch (c) {
    case '<':
      return '>';
    case '"':
      return '"';
    case '\'':
      return '\'';
    case '`':
      return '`';
    case '(':
      return ')';
    case U'“':
      return U'”';
    case U'（':
      return U'）';
    default:
      return 0;
  }
}

// The first `n` code points of `s`, with "…" when something was cut.
std::string first_chars(const std::string& s, size_t n) {
  size_t i = 0, count = 0, len = 0;
  while (i < s.size() && count < n) {
    decode(s, i, len);
    i += len;
    ++count;
  }
  return i < s.size() ? s.substr(0, i) + "…" : s;
}

std::string text_of(const Value& v) { return v.is_string() ? v.as_string() : ""; }

std::string number_of(const Value& v) {
  return v.is_int() ? std::to_string(v.as_int()) : std::string("?");
}

std::string plural(int64_t n, const char* one, const char* many) {
  return std::to_string(n) + " " + (n == 1 ? one : many);
}

// "Warnings: N of K kinds" and one line per kind, most frequent first (ties
// in order of first appearance), with its count and first example.
void add_warnings(std::string& out, const Value& warnings) {
  if (!warnings.is_array() || warnings.as_array().empty()) {
    out += "Warnings: none.\n";
    return;
  }
  struct Kind {
    size_t first;
    int64_t count;
    std::string example;
  };
  std::map<std::string, Kind> kinds;
  std::vector<std::string> order;
  for (const Value& w : warnings.as_array()) {
    const std::string text = text_of(w);
    const std::string key = warning_kind(text);
    auto [it, fresh] = kinds.try_emplace(key, Kind{order.size(), 0, text});
    if (fresh) order.push_back(key);
    ++it->second.count;
  }
  std::vector<const Kind*> sorted;
  for (const std::string& k : order) sorted.push_back(&kinds.at(k));
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Kind* a, const Kind* b) { return a->count > b->count; });
  out += "Warnings: " + std::to_string(warnings.as_array().size()) + " of " +
         plural(static_cast<int64_t>(sorted.size()), "kind", "kinds") + ":\n";
  for (const Kind* k : sorted) {
    out += "- " + std::to_string(k->count) + "x " + first_chars(k->example, 120) + "\n";
  }
}

}  // namespace

std::string warning_kind(const std::string& w) {
  std::string out;
  size_t i = 0, len = 0;
  auto star = [&out] {
    if (out.size() < 1 || out.back() != '*') out += '*';
  };
  while (i < w.size()) {
    const char32_t c = decode(w, i, len);
    if (const char32_t close = closing(c)) {
      // Mask the span's contents up to its closing mark on this line; an
      // unclosed mark stays as it is.
      size_t j = i + len, l2 = 0;
      while (j < w.size() && decode(w, j, l2) != close) j += l2;
      if (j < w.size()) {
        out.append(w, i, len);
        star();
        out.append(w, j, l2);
        i = j + l2;
        continue;
      }
    }
    if (is_word(c)) {
      star();
    } else {
      out.append(w, i, len);
    }
    i += len;
  }
  return out;
}

std::string summarize(const Value& record) {
  std::string out;
  const bool ok = record.get("success").is_bool() && record.get("success").as_bool();
  if (!ok) {
    out += "[X] " + text_of(record.get("error")) + "\n";
    if (record.contains("screensDetected")) {
      out += "Screens detected: " + number_of(record.get("screensDetected")) +
             ", pages produced: " + number_of(record.get("pagesProduced")) + ".\n";
    }
    if (record.contains("warnings")) add_warnings(out, record.get("warnings"));
    return out;
  }
  const Value pages = record.get("pages");
  const int64_t n_pages = pages.is_array() ? static_cast<int64_t>(pages.as_array().size()) : 0;
  out += "Converted " + plural(n_pages, "page", "pages") + " (" + text_of(record.get("mode")) +
         ", " + text_of(record.get("resolution")) + ")";
  if (record.contains("jsonsProduced")) {
    const Value files = record.get("jsonsProduced");
    out += ": " + plural(files.is_int() ? files.as_int() : 0, "file", "files") + " written";
  }
  const Value pictures = record.get("generatedAssets");
  out += ", " + plural(pictures.is_int() ? pictures.as_int() : 0, "picture", "pictures") +
         " generated";
  if (record.get("assetDir").is_string()) out += " into " + text_of(record.get("assetDir"));
  out += ".\n";
  if (n_pages > 0) {
    out += "Pages:";
    for (const Value& p : pages.as_array()) {
      out += " " + text_of(p.get("page"));
      if (p.get("json").is_string()) out += " -> " + text_of(p.get("json"));
      out += ";";
    }
    out.back() = '\n';
  }
  const Value glue = record.get("radButtonGlue");
  if (glue.is_array() && !glue.as_array().empty()) {
    out += "Rounded buttons drawn in code: " + std::to_string(glue.as_array().size()) +
           " glue snippets to paste (radButtonGlue).\n";
  }
  add_warnings(out, record.get("warnings"));
  return out;
}

}  // namespace pagefold::mcp
