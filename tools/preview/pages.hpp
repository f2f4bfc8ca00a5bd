// The page files the converter wrote, read back with the library's JSON
// reader, and the asset directory their picture references point into.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "pagefold/json.hpp"

namespace pagefold::preview {

// The largest page the previewer draws, on each side, and the largest page
// file it reads. Device screens are far smaller; a page beyond this is
// refused as malformed rather than drawn into gigabytes.
inline constexpr int MAX_PAGE_SIDE = 4096;
inline constexpr size_t MAX_PAGE_FILE = 16u << 20;

struct PageFile {
  std::string id;    // the file name without ".json": the page id the converter named it by
  std::string path;  // as found
  Value root;
  int width = 0, height = 0;
};

// The page files `input` names: the file itself, or the ".json" files
// directly inside a directory, in order of their names. Answers an empty
// list with `error` set when there is none.
std::vector<std::string> page_files(const std::string& input, std::string& error);

// Reads one page file. Any failure (unreadable file, malformed JSON, a root
// that is no page, a resolution out of range) answers nothing and sets
// `error` to a one-line reason.
std::optional<PageFile> read_page(const std::string& path, std::string& error);

// Where the converter put the pictures of pages written to `pages_dir`:
// `<project>/resources/images` when the pages are in a project's `ui`
// directory, else `images` beside the pages.
std::string default_asset_dir(const std::string& pages_dir);

}  // namespace pagefold::preview
