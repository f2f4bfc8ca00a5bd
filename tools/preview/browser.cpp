#include "browser.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

#include "pagefold/json.hpp"

namespace fs = std::filesystem;

namespace pagefold::preview {

namespace {

bool is_ascii_alpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

std::string lower(std::string s) {
  for (char& c : s) c = char(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

// Position of `needle` (lower case) in `hay` from `from` on, ignoring ASCII case.
size_t find_ci(const std::string& hay, const std::string& needle, size_t from) {
  for (size_t i = from; i + needle.size() <= hay.size(); ++i) {
    size_t k = 0;
    while (k < needle.size() && std::tolower(static_cast<unsigned char>(hay[i + k])) == needle[k])
      ++k;
    if (k == needle.size()) return i;
  }
  return std::string::npos;
}

// Shows the chosen screen alone at the page's size and moves every placed
// element onto its box. An element's left and top are taken relative to its
// containing block, whatever that is in the designer's CSS, so the script
// measures where that block's padding edge lies (offsets ignore transforms,
// which the device does not have either) and sets the difference. Elements
// are placed in document order, so containers stand before their children
// are measured.
const char* PLACEMENT_SCRIPT = R"JS(
(function () {
  var cfg = __CONFIG__;
  function imp(el, k, v) { el.style.setProperty(k, v, 'important'); }
  var all = document.querySelectorAll('div.screen'), screens = [];
  for (var i = 0; i < all.length; i++) {
    var p = all[i].parentElement, inside = false;
    for (; p; p = p.parentElement) if (p.matches('div.screen')) { inside = true; break; }
    if (!inside) screens.push(all[i]);
  }
  var scr = screens[cfg.screen];
  if (!scr) return;
  for (var n = scr; n.parentElement; n = n.parentElement) {
    var sibs = n.parentElement.children;
    for (var j = 0; j < sibs.length; j++) {
      var s = sibs[j], t = s.tagName;
      if (s !== n && t !== 'STYLE' && t !== 'SCRIPT' && t !== 'LINK' && t !== 'HEAD')
        imp(s, 'display', 'none');
    }
  }
  imp(scr, 'display', 'block');
  imp(scr, 'position', 'fixed');
  imp(scr, 'left', '0px');
  imp(scr, 'top', '0px');
  imp(scr, 'margin', '0px');
  imp(scr, 'box-sizing', 'border-box');
  imp(scr, 'width', cfg.width + 'px');
  imp(scr, 'height', cfg.height + 'px');
  imp(scr, 'overflow', 'hidden');
  imp(scr, 'transform', 'none');
  var els = scr.querySelectorAll('[data-pf]'), placed = [];
  for (var i = 0; i < els.length; i++) {
    var el = els[i], b = cfg.boxes[el.getAttribute('data-pf')];
    if (!b) continue;
    imp(el, 'position', 'absolute');
    imp(el, 'margin', '0px');
    imp(el, 'box-sizing', 'border-box');
    imp(el, 'left', '0px');
    imp(el, 'top', '0px');
    imp(el, 'right', 'auto');
    imp(el, 'bottom', 'auto');
    imp(el, 'width', b[2] + 'px');
    imp(el, 'height', b[3] + 'px');
    imp(el, 'min-width', '0px');
    imp(el, 'min-height', '0px');
    imp(el, 'max-width', 'none');
    imp(el, 'max-height', 'none');
    placed.push([el, b]);
  }
  function padding_edge(p) {
    var x = 0, y = 0;
    for (; p && p !== scr; p = p.offsetParent) {
      x += p.offsetLeft + p.clientLeft;
      y += p.offsetTop + p.clientTop;
    }
    return [x + scr.clientLeft, y + scr.clientTop];
  }
  for (var i = 0; i < placed.length; i++) {
    var el = placed[i][0], b = placed[i][1];
    if (!el.offsetParent) continue;
    var o = padding_edge(el.offsetParent);
    imp(el, 'left', (b[0] - o[0]) + 'px');
    imp(el, 'top', (b[1] - o[1]) + 'px');
  }
  for (var i = 0; i < cfg.hidden.length; i++) {
    var h = scr.querySelector('[data-pf="' + cfg.hidden[i] + '"]');
    if (!h) continue;
    imp(h, 'visibility', 'hidden');
    var inner = h.querySelectorAll('*');
    for (var j = 0; j < inner.length; j++) imp(inner[j], 'visibility', 'hidden');
  }
})();
)JS";

// Animations and transitions stand at their first frame, and the text caret
// is not drawn, so that a screenshot does not depend on when it was taken.
const char* PLACEMENT_STYLE = R"CSS(
html, body { overflow: hidden !important; }
*, *::before, *::after {
  animation-delay: 0s !important; animation-play-state: paused !important;
  transition: none !important; caret-color: transparent !important;
}
)CSS";

}  // namespace

std::string mark_elements(const std::string& html, const std::string& attr,
                          const std::string& prefix, size_t* count) {
  std::string out;
  out.reserve(html.size() + html.size() / 8);
  size_t i = 0, n = 0;
  const size_t size = html.size();
  auto copy_to = [&](size_t end) {
    out.append(html, i, end - i);
    i = end;
  };
  while (i < size) {
    size_t lt = html.find('<', i);
    if (lt == std::string::npos) {
      copy_to(size);
      break;
    }
    copy_to(lt);
    if (html.compare(i, 4, "<!--") == 0) {
      size_t e = html.find("-->", i + 4);
      copy_to(e == std::string::npos ? size : e + 3);
      continue;
    }
    char next = i + 1 < size ? html[i + 1] : '\0';
    if (next == '!' || next == '?' || next == '/') {
      size_t e = html.find('>', i + 1);
      copy_to(e == std::string::npos ? size : e + 1);
      continue;
    }
    if (!is_ascii_alpha(next)) {
      copy_to(i + 1);
      continue;
    }
    size_t j = i + 1;
    while (j < size && !std::isspace(static_cast<unsigned char>(html[j])) && html[j] != '/' &&
           html[j] != '>')
      ++j;
    std::string name = lower(html.substr(i + 1, j - i - 1));
    copy_to(j);
    out += " " + attr + "=\"" + prefix + std::to_string(n++) + "\"";
    size_t k = j;
    char quote = 0;
    for (; k < size; ++k) {
      char c = html[k];
      if (quote) {
        if (c == quote) quote = 0;
      } else if (c == '"' || c == '\'') {
        quote = c;
      } else if (c == '>') {
        break;
      }
    }
    bool self_closed = k < size && k > j && html[k - 1] == '/';
    copy_to(k < size ? k + 1 : size);
    if (!self_closed && (name == "script" || name == "style")) {
      size_t e = find_ci(html, "</" + name, i);
      copy_to(e == std::string::npos ? size : e);
    }
  }
  if (count) *count = n;
  return out;
}

long element_of_caption(const std::string& caption) {
  if (caption.size() < 3 || caption.compare(0, 2, "pf") != 0) return -1;
  size_t end = caption.size();
  if (end > 5 && caption.compare(end - 3, 3, "Rad") == 0) end -= 3;
  long n = 0;
  for (size_t i = 2; i < end; ++i) {
    if (!std::isdigit(static_cast<unsigned char>(caption[i])) || n > 100000000) return -1;
    n = n * 10 + (caption[i] - '0');
  }
  return end > 2 ? n : -1;
}

std::string file_url(const std::string& path) {
  static const char* hex = "0123456789ABCDEF";
  std::string url = "file://";
  for (unsigned char c : path) {
    if (std::isalnum(c) || c == '/' || c == '.' || c == '_' || c == '-' || c == '~') {
      url += char(c);
    } else {
      url += '%';
      url += hex[c >> 4];
      url += hex[c & 15];
    }
  }
  return url;
}

std::string browser_copy(const std::string& marked, const std::string& base_dir,
                         const Placement& placement) {
  std::string base = "<base href=\"" + file_url(fs::path(base_dir).string() + "/") + "\">";
  // The base address goes behind the document type declaration: before it,
  // the declaration would no longer count and the page would be laid out in
  // quirks mode.
  size_t at = 0;
  if (marked.compare(0, 3, "\xEF\xBB\xBF") == 0) at = 3;
  while (at < marked.size() && std::isspace(static_cast<unsigned char>(marked[at]))) ++at;
  if (lower(marked.substr(at, 9)) == "<!doctype") {
    size_t e = marked.find('>', at);
    at = e == std::string::npos ? marked.size() : e + 1;
  }
  Value boxes = Value::object();
  for (const auto& [n, b] : placement.boxes) {
    Value v = Value::array();
    for (int64_t x : {b.x, b.y, b.w, b.h}) v.as_array().push_back(x);
    boxes[std::to_string(n)] = v;
  }
  Value hidden = Value::array();
  for (long n : placement.hidden) hidden.as_array().push_back(int64_t(n));
  Value cfg = Value::object({{"screen", placement.screen},
                             {"width", placement.width},
                             {"height", placement.height},
                             {"boxes", boxes},
                             {"hidden", hidden}});
  // On one line: a JSON text holds no raw line break outside its strings.
  std::string config = dump(cfg, 0);
  config.erase(std::remove(config.begin(), config.end(), '\n'), config.end());
  std::string script = PLACEMENT_SCRIPT;
  script.replace(script.find("__CONFIG__"), 10, config);
  return marked.substr(0, at) + base + marked.substr(at) + "\n<style>" + PLACEMENT_STYLE +
         "</style>\n<script>" + script + "</script>\n";
}

ShotResult screenshot(const std::string& browser, const std::string& html_file, int width,
                      int height, const std::string& png, const std::string& work_dir,
                      int timeout_seconds) {
  ShotResult res;
  std::vector<std::string> args = {
      browser,
      "--headless=new",
      "--no-sandbox",
      "--disable-gpu",
      "--hide-scrollbars",
      "--no-first-run",
      "--disable-background-networking",
      "--disable-component-update",
      "--disable-sync",
      "--disable-extensions",
      "--mute-audio",
      "--force-device-scale-factor=1",
      "--user-data-dir=" + work_dir + "/profile",
      "--window-size=" + std::to_string(width) + "," + std::to_string(height),
      "--screenshot=" + png,
      file_url(fs::absolute(html_file).string())};
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  std::string log = work_dir + "/browser.log";
  std::error_code ec;
  fs::remove(png, ec);
  pid_t pid = fork();
  if (pid < 0) {
    res.error = "cannot start a process for the browser";
    return res;
  }
  if (pid == 0) {
    // The browser and its helper processes form one group, so that a browser
    // that hangs can be ended as a whole.
    setpgid(0, 0);
    int fd = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    if (fd >= 0) {
      dup2(fd, 1);
      dup2(fd, 2);
      close(fd);
    }
    execvp(argv[0], argv.data());
    _exit(127);
  }
  int status = 0;
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(timeout_seconds);
  bool done = false;
  while (!done) {
    pid_t r = waitpid(pid, &status, WNOHANG);
    if (r == pid) {
      done = true;
    } else if (r < 0) {
      res.error = "lost track of the browser process";
      return res;
    } else if (std::chrono::steady_clock::now() > deadline) {
      kill(-pid, SIGKILL);
      waitpid(pid, &status, 0);
      res.error = "the browser did not finish within " + std::to_string(timeout_seconds) + " s";
      return res;
    } else {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
  }
  // Helpers the browser left behind go with it.
  kill(-pid, SIGKILL);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 127) {
    res.error = "cannot run " + browser +
                ": install Debian's chromium (apt-get install chromium) or name a browser with "
                "--browser";
    return res;
  }
  if (!fs::is_regular_file(png, ec)) {
    res.error = "the browser wrote no screenshot (exit status " +
                std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -1) + "; see " + log + ")";
    return res;
  }
  res.ok = true;
  return res;
}

}  // namespace pagefold::preview
