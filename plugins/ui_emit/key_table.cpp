// Reading the key table and completing control records against it.
#include "key_table.hpp"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <set>
#include <system_error>

#include "pagefold/error.hpp"

namespace pagefold::ui_emit {
namespace {

Failure bad_table(const std::string& origin, const std::string& what) {
  return ValueError("bad key table '" + origin + "': " + what);
}

std::vector<RequiredKey> read_required(const Value& entry, const std::string& typ,
                                       const std::string& origin) {
  const std::string where = "types." + typ;
  if (!entry.is_object()) throw bad_table(origin, where + " is no map");
  const Value required = entry.get("required");
  if (!required.is_array()) throw bad_table(origin, where + ".required is missing or no list");
  std::vector<RequiredKey> keys;
  std::set<std::string, std::less<>> seen;
  for (size_t i = 0; i < required.as_array().size(); ++i) {
    const Value& item = required.as_array()[i];
    const std::string at = where + ".required[" + std::to_string(i) + "]";
    const Value key = item.get("key");
    if (!key.is_string() || key.as_string().empty())
      throw bad_table(origin, at + " has no \"key\" text");
    if (!seen.insert(key.as_string()).second)
      throw bad_table(origin, at + ": \"" + key.as_string() + "\" is listed twice");
    RequiredKey rk{key.as_string(), std::nullopt};
    if (item.as_object().contains("default")) rk.dflt = item.get("default");
    keys.push_back(std::move(rk));
  }
  return keys;
}

}  // namespace

KeyTable KeyTable::parse(const std::string& text, const std::string& origin) {
  Value doc;
  try {
    doc = parse_json(text);
  } catch (const Failure& f) {
    throw bad_table(origin, f.message());
  }
  if (!doc.is_object()) throw bad_table(origin, "the top level is no map");
  const Value types = doc.get("types");
  if (!types.is_object()) throw bad_table(origin, "\"types\" is missing or no map");
  KeyTable table;
  for (const auto& [typ, entry] : types.as_object())
    table.types_[typ] = read_required(entry, typ, origin);
  return table;
}

KeyTable KeyTable::read(const std::string& path) {
  auto fail = [&path](int err) {
    return Failure("OSError", "cannot read the key table '" + path +
                                  "': " + std::generic_category().message(err));
  };
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> f(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!f) throw fail(errno);
  std::string text;
  char buf[65536];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, f.get())) > 0) text.append(buf, n);
  if (std::ferror(f.get())) throw fail(errno);
  return parse(text, path);
}

Value KeyTable::fill(const std::string& typ, const Value& ctrl) const {
  if (!ctrl.is_object()) throw TypeError("the record of a " + typ + " is no map");
  Value missing = Value::array();
  auto row = types_.find(typ);
  if (row == types_.end()) return missing;
  Object& record = ctrl.as_object();
  for (const RequiredKey& rk : row->second) {
    if (record.contains(rk.key)) continue;
    if (rk.dflt) {
      // Each record gets a map of its own: defaults are shared by nothing.
      record.set(rk.key, deep_copy(*rk.dflt));
    } else {
      missing.as_array().push_back(rk.key);
    }
  }
  return missing;
}

}  // namespace pagefold::ui_emit
