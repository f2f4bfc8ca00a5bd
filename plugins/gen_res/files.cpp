// Files of the picture plug-in.
#include "files.hpp"

#include <spng.h>
#include <unistd.h>
#include <zlib.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string_view>
#include <system_error>
#include <unordered_map>

#include "pagefold/error.hpp"

namespace pagefold::genres {
namespace fs = std::filesystem;

namespace {

using SpngPtr = std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)>;

void check_spng(int err, const char* what) {
  if (err) throw Failure("OSError", std::string(what) + ": " + spng_strerror(err));
}

std::string temp_name(const std::string& path) {
  return path + ".part" + std::to_string(static_cast<long>(getpid()));
}

// Writes `bytes` to a new file at `path`; a failure removes what was begun.
void write_plain(const std::string& path, const std::string& bytes) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (!f) raise_os_error(errno, path);
  bool ok = std::fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  int err = errno;
  ok = (std::fclose(f) == 0) && ok;
  if (!ok) {
    std::remove(path.c_str());
    raise_os_error(err ? err : EIO, path);
  }
}

// The files of pictures encoded lately, by their pixels. A page often draws
// the same picture many times (the keys of a keyboard, the rows of a list,
// one shadow under equal cards) under different names, and encoding at zlib
// level 9 costs far more than drawing; equal pixels give equal bytes, so the
// bytes are encoded once. Only small pictures are kept, and when the kept
// bytes would pass the bound everything is dropped: the memory stays small
// whatever the page. Shared by every conversion of the process, under a lock.
class EncodedPictures {
 public:
  static constexpr size_t kLargestPicture = size_t{256} << 10;
  static constexpr size_t kBound = size_t{4} << 20;

  static EncodedPictures& shared() {
    static EncodedPictures pictures;
    return pictures;
  }

  static size_t hash(const Image& img) {
    const std::string_view px(reinterpret_cast<const char*>(img.px.data()), img.px.size());
    return std::hash<std::string_view>{}(px);
  }

  bool find(const Image& img, size_t h, std::string& png) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto [first, last] = entries_.equal_range(h);
    for (auto it = first; it != last; ++it)
      if (it->second.w == img.w && it->second.h == img.h && it->second.px == img.px) {
        png = it->second.png;
        return true;
      }
    return false;
  }

  void keep(const Image& img, size_t h, const std::string& png) {
    if (img.px.size() > kLargestPicture) return;
    const size_t size = img.px.size() + png.size();
    std::lock_guard<std::mutex> lock(mutex_);
    if (bytes_ + size > kBound) {
      entries_.clear();
      bytes_ = 0;
    }
    entries_.emplace(h, Entry{img.w, img.h, img.px, png});
    bytes_ += size;
  }

 private:
  struct Entry {
    int w, h;
    std::vector<uint8_t> px;
    std::string png;
  };
  std::mutex mutex_;
  std::unordered_multimap<size_t, Entry> entries_;
  size_t bytes_ = 0;
};

std::string encode_png_once(const Image& rgba) {
  SpngPtr ctx(spng_ctx_new(SPNG_CTX_ENCODER), spng_ctx_free);
  if (!ctx) throw Failure("MemoryError", "cannot create a PNG encoder");
  spng_ctx* c = ctx.get();
  check_spng(spng_set_option(c, SPNG_ENCODE_TO_BUFFER, 1), "PNG encoder");
  // Fixed settings: they decide the bytes, and the bytes must not vary.
  check_spng(spng_set_option(c, SPNG_IMG_COMPRESSION_LEVEL, 9), "PNG encoder");
  check_spng(spng_set_option(c, SPNG_IMG_MEM_LEVEL, 9), "PNG encoder");
  check_spng(spng_set_option(c, SPNG_IMG_WINDOW_BITS, 15), "PNG encoder");
  check_spng(spng_set_option(c, SPNG_IMG_COMPRESSION_STRATEGY, Z_DEFAULT_STRATEGY), "PNG encoder");
  check_spng(spng_set_option(c, SPNG_FILTER_CHOICE, SPNG_FILTER_CHOICE_ALL), "PNG encoder");
  struct spng_ihdr ihdr {};
  ihdr.width = static_cast<uint32_t>(rgba.w);
  ihdr.height = static_cast<uint32_t>(rgba.h);
  ihdr.bit_depth = 8;
  ihdr.color_type = SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
  check_spng(spng_set_ihdr(c, &ihdr), "PNG header");
  check_spng(
      spng_encode_image(c, rgba.px.data(), rgba.px.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE),
      "PNG encode");
  size_t size = 0;
  int err = 0;
  void* buf = spng_get_png_buffer(c, &size, &err);
  check_spng(err, "PNG encode");
  std::string out(static_cast<const char*>(buf), size);
  std::free(buf);
  return out;
}

}  // namespace

[[noreturn]] void raise_os_error(int err, const std::string& path) { throw OSError(err, path); }

std::string target_path(const std::string& d, const std::string& name) {
  if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos ||
      name.find('\0') != std::string::npos)
    throw ValueError("picture name must be a plain file name, not '" + name + "'");
  if (d.empty()) throw ValueError("no directory given for '" + name + "'");
  std::error_code ec;
  fs::create_directories(d, ec);
  if (ec) raise_os_error(ec.value(), d);
  return (fs::path(d) / name).string();
}

void write_file_atomic(const std::string& path, const std::string& bytes) {
  write_files_atomic({{path, bytes}});
}

void write_files_atomic(const std::vector<std::pair<std::string, std::string>>& files) {
  std::vector<std::string> temps;
  temps.reserve(files.size());
  auto drop = [&temps](size_t from) {
    for (size_t i = from; i < temps.size(); ++i) std::remove(temps[i].c_str());
  };
  try {
    // A write that fails removes its own file; those before it are removed
    // here.
    for (const auto& [path, bytes] : files) {
      std::string t = temp_name(path);
      write_plain(t, bytes);
      temps.push_back(std::move(t));
    }
  } catch (...) {
    drop(0);
    throw;
  }
  for (size_t i = 0; i < files.size(); ++i)
    if (std::rename(temps[i].c_str(), files[i].first.c_str()) != 0) {
      int err = errno;
      drop(i);
      raise_os_error(err, files[i].first);
    }
}

std::string encode_png(const Image& rgba) {
  if (rgba.channels != 4) throw ValueError("only RGBA pictures are written as files");
  EncodedPictures& pictures = EncodedPictures::shared();
  const size_t h = EncodedPictures::hash(rgba);
  std::string png;
  if (pictures.find(rgba, h, png)) return png;
  png = encode_png_once(rgba);
  pictures.keep(rgba, h, png);
  return png;
}

Image read_png(const std::string& path) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) raise_os_error(errno, path);
  std::string data;
  char buf[65536];
  for (size_t n; (n = std::fread(buf, 1, sizeof buf, f)) > 0;) data.append(buf, n);
  std::fclose(f);
  SpngPtr ctx(spng_ctx_new(0), spng_ctx_free);
  spng_ctx* c = ctx.get();
  struct spng_ihdr ihdr {};
  size_t len = 0;
  if (!c || spng_set_png_buffer(c, data.data(), data.size()) || spng_get_ihdr(c, &ihdr) ||
      spng_decoded_image_size(c, SPNG_FMT_RGBA8, &len))
    throw Failure("UnidentifiedImageError", "cannot identify image file '" + path + "'");
  Image out(static_cast<int>(ihdr.width), static_cast<int>(ihdr.height), 4);
  check_spng(spng_decode_image(c, out.px.data(), len, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS),
             "PNG decode");
  return out;
}

}  // namespace pagefold::genres
