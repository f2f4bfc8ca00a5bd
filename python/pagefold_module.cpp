// The Python module `pagefold`: the library's two conversions for Python
// callers, answering the same result record as dicts, lists and scalars.
//
// The conversion runs without the interpreter lock, so other Python threads
// keep running and two threads may convert at once: every piece of a
// conversion's state belongs to that conversion.
#include <pybind11/eval.h>
#include <pybind11/pybind11.h>

#include <exception>
#include <new>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>

#include "pagefold/error.hpp"
#include "pagefold/json.hpp"
#include "pagefold/pagefold.hpp"

namespace py = pybind11;

namespace {

// A failure of the conversion, carried out of the lock-free region and raised
// as pagefold.Failure once the lock is held again.
struct ConversionFailure {
  std::string type, message;
};

// pagefold.Failure, created once when the module is imported and kept for the
// life of the process (never released: a static py::object would be released
// after the interpreter is gone).
py::object* failure_class = nullptr;

// Python values for a record. Maps and lists are converted once each, so a
// map the record holds in two places (merged windows share one root) becomes
// one dict held in two places, as in the record itself.
class ToPython {
 public:
  py::object operator()(const pagefold::Value& v) {
    using Kind = pagefold::Value::Kind;
    switch (v.kind()) {
      case Kind::Null:
        return py::none();
      case Kind::Bool:
        return py::bool_(v.as_bool());
      case Kind::Int:
        return py::int_(v.as_int());
      case Kind::Real:
        return py::float_(v.as_real());
      case Kind::String:
        return text(v.as_string());
      case Kind::Object:
        return object(v.as_object());
      case Kind::Array:
        return array(v.as_array());
    }
    return py::none();
  }

 private:
  std::unordered_map<const void*, py::object> seen_;

  // Record texts are UTF-8, but for paths taken from the caller, which keep
  // the file system's bytes: those come back as os.fsdecode gives them.
  static py::object text(const std::string& s) {
    PyObject* u =
        PyUnicode_DecodeUTF8(s.data(), static_cast<Py_ssize_t>(s.size()), "surrogateescape");
    if (!u) throw py::error_already_set();
    return py::reinterpret_steal<py::str>(u);
  }

  py::object object(const pagefold::Object& o) {
    if (auto it = seen_.find(&o); it != seen_.end()) return it->second;
    py::dict d;
    seen_.emplace(&o, d);
    for (const auto& [k, x] : o) d[py::str(k)] = (*this)(x);
    return d;
  }

  py::object array(const pagefold::Array& a) {
    if (auto it = seen_.find(&a); it != seen_.end()) return it->second;
    py::list l;
    seen_.emplace(&a, l);
    for (const pagefold::Value& x : a) l.append((*this)(x));
    return l;
  }
};

// A path argument: text, bytes or a path object, in the file system's own
// encoding (os.fsencode), so that names that are not UTF-8 still work.
std::string path_bytes(const py::handle& p) {
  return py::module_::import("os").attr("fsencode")(p).cast<py::bytes>();
}

std::optional<std::string> optional_path(const py::object& p) {
  if (p.is_none()) return std::nullopt;
  return path_bytes(p);
}

// A text argument as UTF-8. Lone surrogates are passed through as bytes that
// are no UTF-8, so the conversion refuses them as it refuses any undecodable
// input, with a Failure of type UnicodeDecodeError.
std::string text_bytes(const py::handle& s, const char* name) {
  if (!py::isinstance<py::str>(s)) throw py::type_error(std::string(name) + " must be str");
  PyObject* b = PyUnicode_AsEncodedString(s.ptr(), "utf-8", "surrogatepass");
  if (!b) throw py::error_already_set();
  return py::reinterpret_steal<py::bytes>(b);
}

std::optional<std::string> optional_text(const py::object& s, const char* name) {
  if (s.is_none()) return std::nullopt;
  return text_bytes(s, name);
}

// The truth of a Python value, as `if value:` reads it.
bool truth(const py::handle& v) {
  const int t = PyObject_IsTrue(v.ptr());
  if (t < 0) throw py::error_already_set();
  return t == 1;
}

// The type under which a failure record is raised: the three forms of a
// conversion that produced no page, told apart by the keys each form has.
std::string record_failure_type(const pagefold::Value& record) {
  if (!record.contains("warnings")) return "FileNotFoundError";  // the input is no file
  if (!record.contains("mode")) return "NoScreenError";          // no page at all
  return "PageCountError";  // a page went missing: the count check failed
}

// Runs `convert` without the interpreter lock and answers its record in
// Python values. Failures leave as pagefold.Failure: a failure record (as the
// command line prints "[X] <error>") with its type of form and the record
// itself; a thrown failure (as the command line prints "[X] <type>:
// <message>") with its own type. Running out of memory stays MemoryError.
template <typename Convert>
py::object run(Convert&& convert) {
  pagefold::Value record;
  std::optional<ConversionFailure> failed;
  {
    py::gil_scoped_release unlocked;
    try {
      record = convert();
    } catch (const std::bad_alloc&) {
      throw;
    } catch (const std::exception& e) {
      failed = ConversionFailure{pagefold::failure_type(e), pagefold::failure_message(e)};
    } catch (...) {
      failed = ConversionFailure{"Error", "unknown failure"};
    }
  }
  py::object failure_record = py::none();
  if (!failed && !record.get("success").truthy()) {
    const pagefold::Value error = record.get("error");
    failed = ConversionFailure{record_failure_type(record),
                               error.is_string() ? error.as_string() : std::string()};
    failure_record = ToPython()(record);
  }
  if (failed) {
    py::object error = (*failure_class)(failed->type, failed->message, failure_record);
    PyErr_SetObject(failure_class->ptr(), error.ptr());
    throw py::error_already_set();
  }
  return ToPython()(record);
}

const char* const FAILURE_CLASS = R"(
class Failure(Exception):
    """A conversion that produced no page files.

    `type` names the failure and `message` says what failed; str() gives both.
    A conversion that ended with a failure record (the command line's
    "[X] <error>") has the type "FileNotFoundError" (the input is no file),
    "NoScreenError" (no page at all) or "PageCountError" (a page could not be
    converted, so the count check failed), its `message` is the record's
    "error", and `record` is the whole failure record with its warnings. A
    conversion that failed outright (the command line's "[X] <type>:
    <message>": undecodable input, an unwritable output place) keeps its own
    type, such as "UnicodeDecodeError" or "PermissionError", and `record` is
    None."""

    def __init__(self, type, message, record=None):
        super().__init__(type, message)
        self.type = type
        self.message = message
        self.record = record

    def __str__(self):
        return f"{self.type}: {self.message}"
)";

}  // namespace

PYBIND11_MODULE(pagefold, m) {
  m.doc() =
      "Converts HTML+CSS UI prototypes (each div.screen one page) into device page files,\n"
      "PNG assets and a result record whose warnings say what was approximated or dropped.";
  m.attr("__version__") = PAGEFOLD_VERSION;

  py::dict scope;
  scope["__name__"] = "pagefold";
  scope["__builtins__"] = py::module_::import("builtins");
  py::exec(FAILURE_CLASS, scope);
  failure_class = new py::object(scope["Failure"]);
  m.attr("Failure") = *failure_class;

  m.def(
      "pagefold",
      [](const py::object& input_html, const py::object& output_json, const py::object& res,
         const py::object& asset_dir, const py::object& merge_windows) {
        const std::string in = path_bytes(input_html);
        const auto out = optional_path(output_json);
        const auto r = optional_text(res, "res");
        const auto assets = optional_path(asset_dir);
        const bool merge = truth(merge_windows);
        return run([&] { return pagefold::pagefold(in, out, r, assets, merge); });
      },
      py::arg("input_html"), py::arg("output_json") = py::none(), py::arg("res") = py::none(),
      py::arg("asset_dir") = py::none(), py::arg("merge_windows") = false,
      R"(Converts the prototype at `input_html` and writes its page files.

Answers the result record as a dict, keys in the record's order. A
conversion that writes no page raises pagefold.Failure: a missing file, no
screen or a page that could not be converted with the failure record in
`record` (the command line's "[X] <error>"), undecodable input or an
unwritable output place with their own type; nothing is written then.

output_json: None, a path ending in ".json" naming the file of a one-page or
merged conversion, or a directory for the pages. res: "WxH" overriding every
page's resolution. asset_dir: directory for generated pictures.
merge_windows: read for its truth; all screens become windows of one page.)");

  m.def(
      "convert_text",
      [](const py::object& html, const py::object& res, const py::object& asset_dir,
         const py::object& merge_windows) {
        const std::string text = text_bytes(html, "html");
        const auto r = optional_text(res, "res");
        const auto assets = optional_path(asset_dir);
        const bool merge = truth(merge_windows);
        return run([&] { return pagefold::convert_text(text, r, assets, merge); });
      },
      py::arg("html"), py::arg("res") = py::none(), py::arg("asset_dir") = py::none(),
      py::arg("merge_windows") = false,
      R"(Converts prototype text without reading or writing page files.

Answers the record pagefold() would, without its file keys ("jsonPath",
"jsonPaths", "jsonsProduced"), each entry of "pages" holding the page itself
under "data". Pictures are written only when asset_dir is given. Failures as
for pagefold().)");
}
