// The short text that goes with a conversion's record in a tool result: what
// was produced, and the warnings grouped by kind, for a reader (a model or a
// person) who does not want to read the whole record.
#pragma once

#include <string>

#include "pagefold/json.hpp"

namespace pagefold::mcp {

// The kind of a warning: its text with the parts that name a particular
// subject (element tags, quoted texts, parenthesised details, identifiers,
// numbers) masked by "*", so that warnings saying the same thing about
// different controls share a kind.
std::string warning_kind(const std::string& warning);

// The summary of a result record (success or failure).
std::string summarize(const Value& record);

}  // namespace pagefold::mcp
