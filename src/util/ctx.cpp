// The conversion context: counters, warnings and the one door through which
// a finished control record reaches its parent.
#include "util/ctx.hpp"

#include <string>

#include "pagefold/error.hpp"
#include "util/num.hpp"
#include "util/record_values.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

const char* const EMIT_MISSING = "必填键补全未走共享发射层（ui_emit 不可用：%s）→ 本页可能缺必填键";

std::string emit_missing_text(const std::string& why) {
  return text::replace_all(EMIT_MISSING, "%s", why);
}

}  // namespace

Ctx::Ctx(const IdTable& id_base, const NameTable& auto_names, const Modules* modules)
    : ids(id_base), auto_names_(&auto_names), modules_(modules) {}

void Ctx::warn(const std::string& msg, const std::string& key) {
  std::string token = key.empty() ? text::slice(msg, 0, 80) : key;
  if (!warned.insert(token).second) return;
  warnings.push_back(msg);
}

bool Ctx::top_has(const char* marker) const {
  return !stack.empty() && stack.back().get(marker).truthy();
}

std::string Ctx::key(const std::string& typ) {
  ++n;
  return typ + "__" + std::to_string(n);
}

int64_t Ctx::nid(const std::string& typ) {
  for (auto& [t, last] : ids) {
    if (t == typ) return ++last;
  }
  throw KeyError("'" + typ + "'");
}

std::string Ctx::name(const std::string& typ) {
  int64_t count = 0;
  bool found = false;
  for (auto& [t, c] : counter) {
    if (t == typ) {
      count = ++c;
      found = true;
      break;
    }
  }
  if (!found) {
    counter.emplace_back(typ, 1);
    count = 1;
  }
  std::string prefix;
  for (const auto& [t, p] : *auto_names_) {
    if (t == typ) {
      prefix = p;
      break;
    }
  }
  if (prefix.empty()) {
    // Type words are ASCII: first letter up, the rest down.
    prefix = text::ascii_lower(typ);
    if (!prefix.empty() && prefix[0] >= 'a' && prefix[0] <= 'z') prefix[0] = char(prefix[0] - 32);
  }
  return prefix + std::to_string(count);
}

std::string Ctx::add(const std::string& typ, Value ctrl) {
  // Completion of required keys is best effort: a missing or failing layer
  // costs one warning per context, never the page.
  if (!modules_ || !modules_->ui_emit) {
    // Said once per context; no exception per control for the common case
    // of a missing layer.
    if (!warned.count("emit_missing")) {
      warn(emit_missing_text(modules_ ? modules_->ui_emit_error : "No module named 'ui_emit'"),
           "emit_missing");
    }
    return store(typ, std::move(ctrl));
  }
  try {
    auto [filled, missing] = modules_->ui_emit->fill_required(typ, ctrl);
    ctrl = filled;
    if (missing.truthy()) {
      warn("字段补全：" + typ + " 的必填键 " + value_str(missing) +
               " 在发射层默认表里没有取值 → 未补（需在 ui_tools/ui_emit 登记）",
           "emit_unfilled");
    }
  } catch (const std::exception& e) {
    warn(emit_missing_text(failure_message(e)), "emit_missing");
  }
  return store(typ, std::move(ctrl));
}

std::string Ctx::store(const std::string& typ, Value ctrl) {
  // A record is (nearly) complete when it enters its parent: the room its
  // vector grew into is given back, as a page holds thousands of records.
  if (ctrl.is_object()) ctrl.as_object().shrink_to_fit();
  std::string k = key(typ);
  if (!stack.empty()) {
    stack.back()[k] = std::move(ctrl);
  } else {
    root[k] = std::move(ctrl);
  }
  return k;
}

std::optional<int64_t> _ancestor_bg(const Ctx& ctx) {
  // Markers and roots hold colour integers; a grown box may hold a real.
  auto as_color = [](const Value& v) -> std::optional<int64_t> {
    if (v.is_int()) return v.as_int();
    if (v.is_real()) return num::trunc(v.as_real());
    return std::nullopt;
  };
  for (auto it = ctx.stack.rbegin(); it != ctx.stack.rend(); ++it) {
    if (!it->is_object() || it->get("__listview").truthy()) break;
    const Value bg = it->get("__bg");
    if (!bg.is_null()) return as_color(bg);
  }
  if (!ctx.root.is_object()) return std::nullopt;
  return as_color(ctx.root.get("backgroundColor"));
}

}  // namespace pagefold
