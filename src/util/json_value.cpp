// The JSON value: maps and lists shared by handle, insertion-ordered maps,
// truthiness, structural equality and deep copies.
#include "pagefold/json.hpp"

#include <cmath>
#include <functional>

#include "pagefold/error.hpp"

namespace pagefold {

Value Value::object() { return Value(std::make_shared<Object>()); }

Value Value::array() { return Value(std::make_shared<Array>()); }

Value Value::object(std::initializer_list<std::pair<std::string_view, Value>> items) {
  Value v = object();
  Object& o = v.as_object();
  o.reserve(items.size());
  for (const auto& [k, x] : items) o.set(k, x);
  return v;
}

bool Value::truthy() const {
  switch (kind()) {
    case Kind::Null:
      return false;
    case Kind::Bool:
      return as_bool();
    case Kind::Int:
      return as_int() != 0;
    case Kind::Real:
      return as_real() != 0.0;  // NaN is truthy
    case Kind::String:
      return !as_string().empty();
    case Kind::Object:
      return !as_object().empty();
    case Kind::Array:
      return !as_array().empty();
  }
  return false;
}

Value& Value::operator[](std::string_view key) const {
  if (!is_object())
    throw TypeError("'" + std::string(key) + "' looked up in a value that is no map");
  return as_object()[key];
}

Value Value::get(std::string_view key) const {
  if (!is_object()) return Value();
  return as_object().get(key);
}

bool Value::contains(std::string_view key) const {
  return is_object() && as_object().contains(key);
}

bool Value::same(const Value& other) const {
  if (is_object() && other.is_object()) return object_ptr() == other.object_ptr();
  if (is_array() && other.is_array())
    return std::get<std::shared_ptr<Array>>(v_) == std::get<std::shared_ptr<Array>>(other.v_);
  if (is_object() || is_array() || other.is_object() || other.is_array()) return false;
  return *this == other;
}

namespace {

// True and false count as 1 and 0 among numbers: `true == 1` holds.
bool numeric(const Value& v) { return v.is_int() || v.is_real() || v.is_bool(); }

bool numbers_equal(const Value& a, const Value& b) {
  auto as_i = [](const Value& v) -> int64_t {
    return v.is_bool() ? int64_t(v.as_bool()) : v.as_int();
  };
  if (!a.is_real() && !b.is_real()) return as_i(a) == as_i(b);
  if (a.is_real() && b.is_real()) return a.as_real() == b.as_real();
  // One integer, one real: exact comparison without rounding the integer.
  const double d = a.is_real() ? a.as_real() : b.as_real();
  const int64_t i = a.is_real() ? as_i(b) : as_i(a);
  if (!std::isfinite(d) || d != std::trunc(d)) return false;
  if (d < -9223372036854775808.0 || d >= 9223372036854775808.0) return false;
  return static_cast<int64_t>(d) == i;
}

}  // namespace

bool operator==(const Value& a, const Value& b) {
  if (numeric(a) && numeric(b)) return numbers_equal(a, b);
  if (a.kind() != b.kind()) return false;
  switch (a.kind()) {
    case Value::Kind::Null:
      return true;
    case Value::Kind::String:
      return a.as_string() == b.as_string();
    case Value::Kind::Object: {
      const Object& x = a.as_object();
      const Object& y = b.as_object();
      if (&x == &y) return true;
      if (x.size() != y.size()) return false;
      for (const auto& [k, v] : x) {
        const Value* w = y.find(k);
        if (!w || !(v == *w)) return false;
      }
      return true;
    }
    case Value::Kind::Array: {
      const Array& x = a.as_array();
      const Array& y = b.as_array();
      if (&x == &y) return true;
      if (x.size() != y.size()) return false;
      for (size_t i = 0; i < x.size(); ++i)
        if (!(x[i] == y[i])) return false;
      return true;
    }
    default:
      return false;  // numbers handled above
  }
}

namespace {

size_t hash_key(std::string_view key) { return std::hash<std::string_view>{}(key); }

}  // namespace

size_t Object::position(std::string_view key) const {
  if (slots_.empty()) {
    // Size and first byte reject nearly every other key before a compare.
    for (size_t i = 0; i < items_.size(); ++i) {
      const std::string& k = items_[i].first;
      if (k.size() == key.size() && (key.empty() || (k[0] == key[0] && k == key))) return i;
    }
    return items_.size();
  }
  const size_t mask = slots_.size() - 1;
  for (size_t s = hash_key(key) & mask;; s = (s + 1) & mask) {
    const uint32_t at = slots_[s];
    if (at == 0) return items_.size();
    if (items_[at - 1].first == key) return at - 1;
  }
}

void Object::rebuild_index() {
  slots_.clear();
  if (items_.size() < kIndexFrom) return;
  size_t cap = 64;
  while (cap < items_.size() * 2) cap *= 2;
  slots_.assign(cap, 0);
  const size_t mask = cap - 1;
  for (size_t i = 0; i < items_.size(); ++i) {
    size_t s = hash_key(items_[i].first) & mask;
    while (slots_[s] != 0) s = (s + 1) & mask;
    slots_[s] = static_cast<uint32_t>(i + 1);
  }
}

// Enters the last item into the index, growing the table first when it
// would be more than half full.
void Object::index_last() {
  if (slots_.empty() || (items_.size()) * 2 > slots_.size()) {
    rebuild_index();
    return;
  }
  const size_t mask = slots_.size() - 1;
  size_t s = hash_key(items_.back().first) & mask;
  while (slots_[s] != 0) s = (s + 1) & mask;
  slots_[s] = static_cast<uint32_t>(items_.size());
}

Value& Object::append(std::string_view key, Value v) {
  items_.emplace_back(std::string(key), std::move(v));
  if (items_.size() >= kIndexFrom) index_last();
  return items_.back().second;
}

Value* Object::find(std::string_view key) {
  const size_t i = position(key);
  return i < items_.size() ? &items_[i].second : nullptr;
}

const Value* Object::find(std::string_view key) const {
  const size_t i = position(key);
  return i < items_.size() ? &items_[i].second : nullptr;
}

void Object::set(std::string_view key, Value v) {
  if (Value* p = find(key)) {
    *p = std::move(v);
    return;
  }
  append(key, std::move(v));
}

Value& Object::operator[](std::string_view key) {
  if (Value* p = find(key)) return *p;
  return append(key, Value());
}

Value Object::get(std::string_view key) const {
  const Value* p = find(key);
  return p ? *p : Value();
}

bool Object::erase(std::string_view key) {
  const size_t i = position(key);
  if (i == items_.size()) return false;
  items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(i));
  // Positions after `i` moved down by one: the index is made anew.
  if (!slots_.empty()) rebuild_index();
  return true;
}

void Object::setdefault(std::string_view key, Value v) {
  if (!find(key)) append(key, std::move(v));
}

Value deep_copy(const Value& v) {
  if (v.is_object()) {
    Value out = Value::object();
    Object& o = out.as_object();
    for (const auto& [k, x] : v.as_object()) o.set(k, deep_copy(x));
    return out;
  }
  if (v.is_array()) {
    Value out = Value::array();
    Array& a = out.as_array();
    a.reserve(v.as_array().size());
    for (const auto& x : v.as_array()) a.push_back(deep_copy(x));
    return out;
  }
  return v;
}

}  // namespace pagefold
