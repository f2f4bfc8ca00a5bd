// The vocabulary tables of control mapping.
#include "controls/tables.hpp"

namespace pagefold {

const std::vector<std::pair<std::string, int64_t>> ID_BASE = {
    {"textview", 50000},     {"button", 20000},       {"edittext", 51000},
    {"seekbar", 91000},      {"window", 110000},      {"listview", 80000},
    {"checkbox", 94500},     {"radiogroup", 94000},   {"radiobutton", 94100},
    {"subitem", 24000},      {"imageanim", 160000},   {"circlebar", 130000},
    {"diagram", 60000},      {"digitalclock", 93000}, {"slidewindow", 30000},
    {"scrollwindow", 32000}, {"pagewindow", 31000},   {"slidetext", 98000},
    {"cameraview", 97000},   {"painter", 52000},      {"pointer", 90000},
    {"qrcode", 92000},       {"videoview", 95000},
};

const std::vector<std::pair<std::string, std::string>> AUTO_NAME = {
    {"textview", "TextView"}, {"button", "Button"},         {"edittext", "EditText"},
    {"seekbar", "SeekBar"},   {"window", "Window"},         {"listview", "ListView"},
    {"checkbox", "CheckBox"}, {"radiogroup", "RadioGroup"}, {"icon", "ImageView"},
};

const std::vector<std::pair<std::string, std::vector<std::string>>> CLASS_MAP = {
    {"textview", {"text", "tv", "label", "txt"}},
    {"button", {"btn", "button", "b"}},
    {"edittext", {"input", "edit", "edittext"}},
    {"seekbar", {"bar", "seekbar", "progress", "slider", "range"}},
    {"window", {"card", "window", "win", "panel"}},
    {"modal", {"modal", "dialog", "popup"}},
    {"listview", {"list", "listview", "lv"}},
    {"checkbox", {"checkbox", "check", "cb"}},
    {"radiogroup", {"radio", "radiogroup", "rg"}},
    {"icon", {"icon", "img", "image", "pic", "iconfont"}},
    {"circlebar", {"circlebar", "circular", "ring"}},
    {"diagram", {"diagram", "wave", "chart"}},
    {"digitalclock", {"digitalclock", "clock", "time"}},
    {"imageanim", {"imageanim", "anim", "gif"}},
    {"slidewindow", {"slidewindow", "slide", "launcher"}},
    {"scrollwindow", {"scrollwindow", "scrollwin", "scroll"}},
    {"pagewindow", {"pagewindow", "page", "pager"}},
    {"slidetext", {"slidetext", "candidate", "cand"}},
    {"cameraview", {"cameraview", "camera"}},
    {"painter", {"painter", "canvas", "draw"}},
    {"pointer", {"pointer", "gauge", "dial"}},
    {"qrcode", {"qrcode", "qr"}},
    {"videoview", {"videoview", "video"}},
};

namespace {

std::set<std::string> all_class_names() {
  std::set<std::string> out;
  for (const auto& row : CLASS_MAP) out.insert(row.second.begin(), row.second.end());
  return out;
}

}  // namespace

// Defined after CLASS_MAP in this unit, so it is initialised after it.
const std::set<std::string> CTRL_CLASSES = all_class_names();

const std::vector<std::string>& class_row(std::string_view typ) {
  static const std::vector<std::string> none;
  for (const auto& row : CLASS_MAP)
    if (row.first == typ) return row.second;
  return none;
}

const std::vector<std::string> POS_ATTRS = {"data-x", "data-y", "data-w", "data-h"};

const std::vector<std::pair<std::string, std::vector<std::string>>> POS_ALIAS = {
    {"left", {"left", "x"}},
    {"top", {"top", "y"}},
    {"width", {"width", "w"}},
    {"height", {"height", "h"}},
};

const std::vector<std::pair<std::string, std::string>> CSS_EFFECT_PATTERNS = {
    {"linear-gradient", "线性渐变"}, {"radial-gradient", "径向渐变"}, {"box-shadow", "阴影"},
    {"text-shadow", "文字阴影"},     {"border-radius", "圆角"},       {"animation", "动画"},
    {"transition", "过渡"},          {"transform", "变换/旋转"},      {"filter", "滤镜"},
    {"opacity", "透明度"},
};

const std::set<std::string> EFFECT_CONSUMERS = {"window", "modal", "textview", "button", "seekbar"};

}  // namespace pagefold
