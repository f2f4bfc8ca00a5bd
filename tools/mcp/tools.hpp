// The tools the server offers: `convert` (the library's conversion) and
// `preview` (the previewer program, when it is installed).
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "pagefold/json.hpp"

namespace pagefold::mcp {

// What a tool answers: a short text, the structured result (null for none)
// and whether the call failed.
struct ToolResult {
  std::string text;
  Value structured;
  bool error = false;
};

// The tool definitions for tools/list, in a fixed order. Without structured
// output (protocol revisions before 2025-06-18) the output schemas and titles
// are left out.
Value tool_list(bool structured_output);

// Runs the tool `name` with `arguments` (a map); nothing when there is no
// such tool. Failures of the tool, bad arguments included, are results with
// `error` set, never exceptions.
std::optional<ToolResult> call_tool(const std::string& name, const Value& arguments,
                                    const std::filesystem::path& preview_program);

}  // namespace pagefold::mcp
