// The conversion context: counters, warnings and the one door through which
// a finished control record reaches its parent.
#include "pagefold/ctx.hpp"

#include <string>

#include "controls/tables.hpp"
#include "pagefold/error.hpp"
#include "util/num.hpp"
#include "util/text.hpp"

namespace pagefold {
namespace {

// Quoted form of a text inside a list or map, as a script language prints
// it: single quotes unless the text holds one and no double quote.
std::string quoted_text(const std::string& s) {
  const bool has_single = s.find('\'') != std::string::npos;
  const bool has_double = s.find('"') != std::string::npos;
  const char q = (has_single && !has_double) ? '"' : '\'';
  std::string out(1, q);
  for (char32_t c : text::to_u32(s)) {
    if (c == U'\\') {
      out += "\\\\";
    } else if (c == static_cast<char32_t>(q)) {
      out += '\\';
      out += q;
    } else if (c == U'\n') {
      out += "\\n";
    } else if (c == U'\r') {
      out += "\\r";
    } else if (c == U'\t') {
      out += "\\t";
    } else if (c != U' ' && (text::category(c)[0] == 'C' || text::category(c)[0] == 'Z')) {
      // Non-printable: the escaped display form without its quotes.
      std::string q1 = text::quoted(c);
      out += q1.substr(1, q1.size() - 2);
    } else {
      out += text::to_utf8(c);
    }
  }
  out += q;
  return out;
}

std::string repr(const Value& v);

// The text form of a value: texts as they are, everything else as printed.
std::string str(const Value& v) { return v.is_string() ? v.as_string() : repr(v); }

std::string repr(const Value& v) {
  switch (v.kind()) {
    case Value::Kind::Null:
      return "None";
    case Value::Kind::Bool:
      return v.as_bool() ? "True" : "False";
    case Value::Kind::Int:
      return std::to_string(v.as_int());
    case Value::Kind::Real:
      return num::real_text(v.as_real());
    case Value::Kind::String:
      return quoted_text(v.as_string());
    case Value::Kind::Array: {
      std::string out = "[";
      bool first = true;
      for (const Value& e : v.as_array()) {
        if (!first) out += ", ";
        first = false;
        out += repr(e);
      }
      return out + "]";
    }
    case Value::Kind::Object: {
      std::string out = "{";
      bool first = true;
      for (const auto& [k, e] : v.as_object()) {
        if (!first) out += ", ";
        first = false;
        out += quoted_text(k) + ": " + repr(e);
      }
      return out + "}";
    }
  }
  return "";
}

const char* const EMIT_MISSING = "必填键补全未走共享发射层（ui_emit 不可用：%s）→ 本页可能缺必填键";

std::string emit_missing_text(const std::string& why) {
  return text::replace_all(EMIT_MISSING, "%s", why);
}

}  // namespace

Ctx::Ctx(const Modules* modules) : ids(ID_BASE), modules_(modules) {}

void Ctx::warn(const std::string& msg, const std::string& key) {
  std::string token = key.empty() ? text::slice(msg, 0, 80) : key;
  if (!warned.insert(token).second) return;
  warnings.push_back(msg);
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
  for (const auto& [t, p] : AUTO_NAME) {
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
  try {
    if (!modules_ || !modules_->ui_emit) {
      throw Failure("ModuleNotFoundError",
                    modules_ ? modules_->ui_emit_error : "No module named 'ui_emit'");
    }
    auto [filled, missing] = modules_->ui_emit->fill_required(typ, ctrl);
    ctrl = filled;
    if (missing.truthy()) {
      warn("字段补全：" + typ + " 的必填键 " + str(missing) +
               " 在发射层默认表里没有取值 → 未补（需在 ui_tools/ui_emit 登记）",
           "emit_unfilled");
    }
  } catch (const std::exception& e) {
    warn(emit_missing_text(failure_message(e)), "emit_missing");
  }
  std::string k = key(typ);
  if (!stack.empty()) {
    stack.back()[k] = ctrl;
  } else {
    root[k] = ctrl;
  }
  return k;
}

}  // namespace pagefold
