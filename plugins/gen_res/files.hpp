// Files of the picture plug-in: where a picture goes, PNG encoding with the
// project's fixed encoder settings, and writing that never leaves a
// half-written file behind.
#pragma once

#include <string>
#include <vector>

#include "pagefold/image.hpp"

namespace pagefold::genres {

// The path of `name` inside `d`, creating `d` if needed. `name` must be a
// plain file name: the converter keeps only the base name of what it gets.
std::string target_path(const std::string& d, const std::string& name);

// Writes `bytes` to `path` through a temporary file in the same directory and
// a rename, so a failure leaves either the old file or none.
void write_file_atomic(const std::string& path, const std::string& bytes);

// Writes several files all or nothing: every file goes to a temporary name
// first, and only when all are written are they renamed into place.
void write_files_atomic(const std::vector<std::pair<std::string, std::string>>& files);

// An 8-bit RGBA PNG of a straight-alpha picture: zlib level 9, memory level 9,
// window bits 15, adaptive filtering per row. The same picture always gives
// the same bytes.
std::string encode_png(const Image& rgba);

// Reads a PNG file as straight-alpha RGBA (for checks of written pictures).
Image read_png(const std::string& path);

// Failure in the conventional form "[Errno 2] No such file or directory: 'p'".
[[noreturn]] void raise_os_error(int err, const std::string& path);

}  // namespace pagefold::genres
