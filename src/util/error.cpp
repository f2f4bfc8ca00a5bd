// Names and messages of caught failures, for a page's failure text.
#include "pagefold/error.hpp"

#include <new>
#include <typeinfo>
#include <variant>

namespace pagefold {

std::string failure_type(const std::exception& e) {
  if (const auto* f = dynamic_cast<const Failure*>(&e)) return f->type();
  if (dynamic_cast<const std::bad_alloc*>(&e)) return "MemoryError";
  if (dynamic_cast<const std::out_of_range*>(&e)) return "IndexError";
  if (dynamic_cast<const std::invalid_argument*>(&e)) return "ValueError";
  if (dynamic_cast<const std::domain_error*>(&e)) return "ValueError";
  if (dynamic_cast<const std::overflow_error*>(&e)) return "OverflowError";
  if (dynamic_cast<const std::range_error*>(&e)) return "OverflowError";
  if (dynamic_cast<const std::bad_variant_access*>(&e)) return "TypeError";
  if (dynamic_cast<const std::bad_cast*>(&e)) return "TypeError";
  return "RuntimeError";
}

std::string failure_message(const std::exception& e) {
  if (const auto* f = dynamic_cast<const Failure*>(&e)) return f->message();
  return e.what();
}

}  // namespace pagefold
