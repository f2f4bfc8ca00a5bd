#include "pages.hpp"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "pagefold/error.hpp"

namespace fs = std::filesystem;

namespace pagefold::preview {

std::vector<std::string> page_files(const std::string& input, std::string& error) {
  std::error_code ec;
  std::vector<std::string> out;
  if (fs::is_directory(input, ec)) {
    for (const auto& e : fs::directory_iterator(input, ec)) {
      std::string ext = e.path().extension().string();
      std::transform(ext.begin(), ext.end(), ext.begin(),
                     [](unsigned char c) { return char(std::tolower(c)); });
      if (ext == ".json" && e.is_regular_file(ec)) out.push_back(e.path().string());
    }
    std::sort(out.begin(), out.end());
    if (ec)
      error = "cannot read the directory " + input;
    else if (out.empty())
      error = "no page files (*.json) in " + input;
  } else if (fs::exists(input, ec)) {
    out.push_back(input);
  } else {
    error = "no such file or directory: " + input;
  }
  if (!error.empty()) out.clear();
  return out;
}

std::optional<PageFile> read_page(const std::string& path, std::string& error) {
  std::error_code ec;
  if (!fs::is_regular_file(path, ec)) {
    error = "not a file";
    return std::nullopt;
  }
  auto size = fs::file_size(path, ec);
  if (ec || size > MAX_PAGE_FILE) {
    error = ec ? "unreadable file" : "file larger than 16 MiB";
    return std::nullopt;
  }
  std::ifstream in(path, std::ios::binary);
  std::string text(std::istreambuf_iterator<char>(in), {});
  if (!in.good() && !in.eof()) {
    error = "unreadable file";
    return std::nullopt;
  }
  PageFile page;
  try {
    page.root = parse_json(text);
  } catch (const std::exception& e) {
    error = "malformed JSON: " + std::string(e.what());
    return std::nullopt;
  }
  if (!page.root.is_object()) {
    error = "the file holds no page: its JSON is no object";
    return std::nullopt;
  }
  Value res = page.root.get("resolution");
  Value w = res.get("width"), h = res.get("height");
  if (!res.is_object() || !w.is_int() || !h.is_int()) {
    error = "the page has no resolution with integer width and height";
    return std::nullopt;
  }
  if (w.as_int() < 1 || h.as_int() < 1 || w.as_int() > MAX_PAGE_SIDE ||
      h.as_int() > MAX_PAGE_SIDE) {
    error = "resolution " + std::to_string(w.as_int()) + "x" + std::to_string(h.as_int()) +
            " is outside 1 to " + std::to_string(MAX_PAGE_SIDE) + " a side";
    return std::nullopt;
  }
  page.width = int(w.as_int());
  page.height = int(h.as_int());
  page.path = path;
  page.id = fs::path(path).stem().string();
  return page;
}

std::string default_asset_dir(const std::string& pages_dir) {
  fs::path dir = fs::absolute(pages_dir).lexically_normal();
  if (dir.filename().empty()) dir = dir.parent_path();
  if (dir.filename() == "ui") return (dir.parent_path() / "resources" / "images").string();
  return (dir / "images").string();
}

}  // namespace pagefold::preview
