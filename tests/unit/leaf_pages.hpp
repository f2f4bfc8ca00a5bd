// Fixtures for the leaf-control suites: one black 480x272 screen holding a
// few controls, converted whole, with the page written in its file layout.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "testkit.hpp"

namespace pagefold::leafpages {

using testkit::J;
using testkit::pretty;

inline const std::string EMIT_MISSING =
    "必填键补全未走共享发射层（ui_emit 不可用：No module named 'ui_emit'）→ 本页可能缺必填键";
inline const std::string POS = R"({"height": 40, "left": 0, "top": 0, "width": 100})";

inline std::string corner_warning(const std::string& cap) {
  return cap +
         "：有图控件未写 data-bg，圆角外底色取最近祖先底色 0x000000（A6：四角由 bgColorTab "
         "决定，不写会露窗口黑底）";
}

// One black 480x272 page holding `body`.
inline std::string screen(const std::string& body) {
  return R"(<div class="screen" data-bg="#000000">)" + body + "</div>";
}

// The whole page expected for a screen of `screen()` with these controls.
inline std::string page(const std::string& controls) {
  return pretty(J(R"({"beepEnable": true, "id": 0, "resolution": {"height": 272, "width": 480},
    "topmost": false, "backgroundColor": 0,
    "position": {"height": 272, "left": 0, "top": 0, "width": 480}, )" +
                  controls + "}"));
}

// The picture module alone: records stay as built, without ui_emit's keys.
inline Modules gen_only(std::shared_ptr<testkit::FakeGenRes> gen) {
  Modules m;
  m.gen_res = std::move(gen);
  return m;
}

struct Converted {
  std::string json;
  std::vector<std::string> warnings;
};

inline Converted convert(const std::string& body, const Modules& modules = testkit::no_modules(),
                         std::optional<std::string> asset_dir = std::nullopt) {
  ConvertResult r = testkit::convert_html(screen(body), modules, asset_dir);
  if (!r.pages || r.pages->size() != 1) {
    ADD_FAILURE() << "no single page; meta: " << pretty(r.meta);
    return {};
  }
  return {pretty(r.pages->front().second), r.warnings};
}

}  // namespace pagefold::leafpages
