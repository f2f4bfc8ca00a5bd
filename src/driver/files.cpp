// Paths and failures of the file system.
#include "driver/files.hpp"

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace pagefold {

namespace fs = std::filesystem;

std::string abspath(const std::string& p) {
  fs::path a = fs::absolute(fs::path(p.empty() ? "." : p)).lexically_normal();
  std::string s = a.string();
  while (s.size() > 1 && s.back() == '/') s.pop_back();
  return s;
}

std::string dirname(const std::string& p) {
  size_t i = p.rfind('/');
  if (i == std::string::npos) return "";
  std::string head = p.substr(0, i + 1);
  // Trailing slashes go, unless the head is the root itself.
  if (head.find_first_not_of('/') != std::string::npos) {
    while (!head.empty() && head.back() == '/') head.pop_back();
  }
  return head;
}

std::string basename(const std::string& p) {
  size_t i = p.rfind('/');
  return i == std::string::npos ? p : p.substr(i + 1);
}

std::string join(const std::string& a, const std::string& b) {
  if (a.empty() || a.back() == '/') return a + b;
  return a + "/" + b;
}

}  // namespace pagefold
