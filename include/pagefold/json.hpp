// The JSON value of control records and page roots.
//
// Maps and lists have reference semantics: copying a Value that holds a map
// copies a handle to the same map. This is deliberate. A container record sits
// both in its parent and on the context's stack, a position map can belong to
// two records, and merged output shares one root across all pages; every
// holder must see every change. Use `deep_copy` where an independent copy is
// really wanted.
//
// Maps keep insertion order, which is the output order. Setting an existing
// key keeps its place; erasing and setting again moves it to the end.
// Integers and reals are distinct kinds: 12 and 12.0 are written differently.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace pagefold {

class Value;
class Object;
using Array = std::vector<Value>;

class Value {
 public:
  enum class Kind { Null, Bool, Int, Real, String, Object, Array };

  Value() = default;
  Value(std::nullptr_t) {}
  Value(bool b) : v_(b) {}
  template <typename I,
            typename = std::enable_if_t<std::is_integral_v<I> && !std::is_same_v<I, bool> &&
                                        !std::is_same_v<I, char>>>
  Value(I i) : v_(static_cast<int64_t>(i)) {}
  Value(double d) : v_(d) {}
  Value(std::string s) : v_(std::move(s)) {}
  Value(std::string_view s) : v_(std::string(s)) {}
  Value(const char* s) : v_(std::string(s)) {}
  Value(std::shared_ptr<Object> o) : v_(std::move(o)) {}
  Value(std::shared_ptr<Array> a) : v_(std::move(a)) {}

  // A new, empty map or list.
  static Value object();
  static Value array();
  // A new map from pairs, in the order given.
  static Value object(std::initializer_list<std::pair<std::string_view, Value>> items);

  Kind kind() const { return static_cast<Kind>(v_.index()); }
  bool is_null() const { return kind() == Kind::Null; }
  bool is_bool() const { return kind() == Kind::Bool; }
  bool is_int() const { return kind() == Kind::Int; }
  bool is_real() const { return kind() == Kind::Real; }
  bool is_number() const { return is_int() || is_real(); }
  bool is_string() const { return kind() == Kind::String; }
  bool is_object() const { return kind() == Kind::Object; }
  bool is_array() const { return kind() == Kind::Array; }

  // Falsy: null, false, 0, 0.0, "", {} and []. Everything else is truthy.
  bool truthy() const;
  explicit operator bool() const { return truthy(); }

  bool as_bool() const { return std::get<bool>(v_); }
  int64_t as_int() const { return std::get<int64_t>(v_); }
  double as_real() const { return std::get<double>(v_); }
  // An integer or a real, as a real.
  double as_number() const { return is_int() ? static_cast<double>(as_int()) : as_real(); }
  const std::string& as_string() const { return std::get<std::string>(v_); }
  Object& as_object() const { return *std::get<std::shared_ptr<Object>>(v_); }
  Array& as_array() const { return *std::get<std::shared_ptr<Array>>(v_); }
  const std::shared_ptr<Object>& object_ptr() const {
    return std::get<std::shared_ptr<Object>>(v_);
  }

  // Map access. `operator[]` appends a null entry when the key is missing;
  // `get` answers null for a missing key or a value that is no map.
  Value& operator[](std::string_view key) const;
  Value get(std::string_view key) const;
  bool contains(std::string_view key) const;

  // Identity of maps and lists, equality of everything else.
  bool same(const Value& other) const;
  // Structural equality; an integer equals a real of the same value (12 == 12.0).
  friend bool operator==(const Value& a, const Value& b);
  friend bool operator!=(const Value& a, const Value& b) { return !(a == b); }

 private:
  std::variant<std::monostate, bool, int64_t, double, std::string, std::shared_ptr<Object>,
               std::shared_ptr<Array>>
      v_;
};

// Insertion-ordered string map. Records are small (a few dozen keys), and a
// flat vector with a linear search is the fastest structure for them and keeps
// order for free. Page roots and big containers can hold tens of thousands of
// controls, so from `kIndexFrom` keys on the map also keeps a hash index of
// item positions (open addressing, positions only, so it survives the
// vector's reallocation); the order is still the vector's.
class Object {
 public:
  using Item = std::pair<std::string, Value>;
  static constexpr size_t kIndexFrom = 24;

  Value* find(std::string_view key);
  const Value* find(std::string_view key) const;
  bool contains(std::string_view key) const { return find(key) != nullptr; }
  // Sets `key`, keeping its place when it exists, appending otherwise.
  void set(std::string_view key, Value v);
  // Reference to the value of `key`, appended as null when missing.
  Value& operator[](std::string_view key);
  Value get(std::string_view key) const;
  bool erase(std::string_view key);
  // Sets `key` only when it is missing; an existing value is kept.
  void setdefault(std::string_view key, Value v);
  // Room for `n` items without reallocation.
  void reserve(size_t n) { items_.reserve(n); }
  // Gives back the room for items not used (the index is kept).
  void shrink_to_fit() { items_.shrink_to_fit(); }

  size_t size() const { return items_.size(); }
  bool empty() const { return items_.empty(); }
  // Keys are not to be changed through these iterators: the index holds them.
  std::vector<Item>::iterator begin() { return items_.begin(); }
  std::vector<Item>::iterator end() { return items_.end(); }
  std::vector<Item>::const_iterator begin() const { return items_.begin(); }
  std::vector<Item>::const_iterator end() const { return items_.end(); }
  const std::vector<Item>& items() const { return items_; }

 private:
  size_t position(std::string_view key) const;  // items_.size() when missing
  Value& append(std::string_view key, Value v);
  void index_last();
  void rebuild_index();

  std::vector<Item> items_;
  // Empty below kIndexFrom keys; else a power-of-two table of item position
  // + 1, 0 marking a free slot, at most half full.
  std::vector<uint32_t> slots_;
};

// A map or list copied all the way down; scalars as they are.
Value deep_copy(const Value& v);

// Writes `v` in the page-file layout: `indent` spaces per level, `"key": value`,
// items separated by "," and a line break, `{}`/`[]` for empty containers,
// non-ASCII kept, reals in shortest round-trip form. No trailing line break.
std::string dump(const Value& v, int indent);
// The same text as `dump`, handed to `stream` piece by piece as it is written
// (pieces of about 64 KiB), so that the text never stands whole in memory.
void dump_to(const Value& v, int indent, const std::function<void(std::string_view)>& stream);

// The text form of a real: shortest round-trip digits, ".0" on whole values,
// exponent form below 1e-4 and from 1e16 up ("1e-05", "1e+16"), "nan", "inf".
std::string real_repr(double d);

// Parses strict JSON text (the `data-charset` attribute). Throws
// pagefold::Failure("ValueError", ...) on malformed text, on NaN or Infinity,
// on a lone surrogate and on an integer beyond 64 bits.
Value parse_json(std::string_view text);

}  // namespace pagefold
