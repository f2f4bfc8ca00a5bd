#include "tools.hpp"

#include <unistd.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "pagefold/error.hpp"
#include "pagefold/pagefold.hpp"
#include "process.hpp"
#include "summary.hpp"

namespace pagefold::mcp {
namespace {

namespace fs = std::filesystem;

// How long a preview may take, and how much of its console output is kept
// for the failure message.
constexpr int PREVIEW_SECONDS = 600;
constexpr size_t PREVIEW_OUTPUT_KEPT = 8192;

Value text_property(const char* description) {
  return Value::object({{"type", "string"}, {"description", description}});
}

Value convert_tool(bool structured_output) {
  Value props = Value::object({
      {"input_html", text_property("Path of the prototype HTML file (each div.screen is one "
                                   "page). Relative paths are taken from the server's working "
                                   "directory. Give this or html.")},
      {"html", text_property("The prototype HTML text itself, converted without reading or "
                             "writing page files: the pages come back in the record, each "
                             "under pages[].data. Give this or input_html.")},
      {"output_json",
       text_property("Where the pages go: a path ending in .json names the file of a one-page "
                     "or merged conversion, anything else is a directory (one <data-page>.json "
                     "per screen). Only with input_html; absent: the input's name with .json.")},
      {"res", text_property("\"WxH\" (such as \"800x480\") overriding every page's resolution.")},
      {"asset_dir", text_property("Directory for the generated pictures. Absent: the project's "
                                  "resources/images when the pages go to its ui/ directory, "
                                  "else images/ beside the pages.")},
      {"merge_windows",
       Value::object({{"type", "boolean"},
                      {"default", false},
                      {"description",
                       "Put all screens into one page as full-screen windows (the first "
                       "visible), for screens that belong to one activity."}})},
  });
  Value tool = Value::object({{"name", "convert"}});
  if (structured_output) tool["title"] = "Convert a UI prototype into device pages";
  tool["description"] =
      "Converts an HTML+CSS UI prototype into the device's JSON page files and PNG pictures, "
      "and answers the result record: pages and files written, counts, and warnings (in "
      "Chinese) that say what was approximated, dropped or needs a designer's decision. "
      "Follow the warnings' advice; when they ask for merge_windows=true, call again with it.";
  tool["inputSchema"] =
      Value::object({{"type", "object"}, {"properties", props}, {"additionalProperties", false}});
  if (structured_output) {
    tool["outputSchema"] = Value::object(
        {{"type", "object"},
         {"properties",
          Value::object(
              {{"success", Value::object({{"type", "boolean"}})},
               {"warnings",
                Value::object({{"type", "array"}, {"items", Value::object({{"type", "string"}})}})},
               {"error", Value::object({{"type", "string"}})}})},
         {"required", Value::array()}});
    tool["outputSchema"]["required"].as_array().push_back("success");
  }
  tool["annotations"] = Value::object({{"readOnlyHint", false},
                                       {"destructiveHint", true},
                                       {"idempotentHint", true},
                                       {"openWorldHint", false}});
  return tool;
}

Value preview_tool(bool structured_output) {
  Value props = Value::object({
      {"pages", text_property("A page JSON file written by convert, or a directory of them.")},
      {"output_dir", text_property("Where the previews go. Absent: preview/ beside the pages.")},
      {"font", text_property("A font file to draw the texts with.")},
      {"against", text_property("The prototype HTML the pages came from: each page is scored "
                                "against it.")},
  });
  Value tool = Value::object({{"name", "preview"}});
  if (structured_output) tool["title"] = "Preview converted pages";
  tool["description"] =
      "Draws converted pages as the device would (<page>.preview.png and contact-sheet.png) "
      "and answers the preview report: per page, what could not be drawn and, with against, "
      "a comparison score. Needs the pagefold-preview program installed beside the server.";
  Value required = Value::array();
  required.as_array().push_back("pages");
  tool["inputSchema"] = Value::object({{"type", "object"},
                                       {"properties", props},
                                       {"required", required},
                                       {"additionalProperties", false}});
  if (structured_output) tool["outputSchema"] = Value::object({{"type", "object"}});
  tool["annotations"] = Value::object({{"readOnlyHint", false},
                                       {"destructiveHint", false},
                                       {"idempotentHint", true},
                                       {"openWorldHint", false}});
  return tool;
}

ToolResult failed(std::string text) { return ToolResult{std::move(text), Value(), true}; }

// Checks that `args` names only `known` and that those present are texts
// (or null), except the booleans listed in `flags`. Answers the first
// complaint, or "".
std::string check_arguments(const Value& args, const std::vector<std::string>& known,
                            const std::set<std::string>& flags) {
  std::string unknown;
  for (const auto& [k, v] : args.as_object()) {
    if (std::find(known.begin(), known.end(), k) == known.end()) {
      unknown += (unknown.empty() ? "" : ", ") + k;
    } else if (flags.count(k)) {
      if (!v.is_bool() && !v.is_null()) return "Argument " + k + " must be true or false.";
    } else if (!v.is_string() && !v.is_null()) {
      return "Argument " + k + " must be a string.";
    }
  }
  if (unknown.empty()) return "";
  std::string names;
  for (const std::string& k : known) names += (names.empty() ? "" : ", ") + k;
  return "Unknown argument(s): " + unknown + ". The arguments are: " + names + ".";
}

std::optional<std::string> optional_text(const Value& args, const char* key) {
  const Value v = args.get(key);
  if (v.is_string()) return v.as_string();
  return std::nullopt;
}

ToolResult convert(const Value& args) {
  const std::string bad = check_arguments(
      args, {"input_html", "html", "output_json", "res", "asset_dir", "merge_windows"},
      {"merge_windows"});
  if (!bad.empty()) return failed(bad);
  const auto input_html = optional_text(args, "input_html");
  const auto html = optional_text(args, "html");
  const auto output_json = optional_text(args, "output_json");
  const auto res = optional_text(args, "res");
  const auto asset_dir = optional_text(args, "asset_dir");
  const bool merge = args.get("merge_windows").is_bool() && args.get("merge_windows").as_bool();
  if (input_html.has_value() == html.has_value()) {
    return failed("Give either input_html (a path) or html (the prototype text), not " +
                  std::string(input_html ? "both." : "neither."));
  }
  if (html && output_json) {
    return failed(
        "output_json goes with input_html: converted text comes back in the record "
        "(pages[].data) and no page file is written.");
  }
  Value record;
  try {
    record = input_html ? pagefold::pagefold(*input_html, output_json, res, asset_dir, merge)
                        : pagefold::convert_text(*html, res, asset_dir, merge);
  } catch (const std::exception& e) {
    // The failures the command line prints as "[X] <type>: <message>"; no
    // record exists, so the structured answer says the same in parts.
    const std::string type = failure_type(e), message = failure_message(e);
    return ToolResult{"[X] " + type + ": " + message + "\n",
                      Value::object({{"success", false},
                                     {"error", type + ": " + message},
                                     {"type", type},
                                     {"message", message}}),
                      true};
  }
  const bool ok = record.get("success").is_bool() && record.get("success").as_bool();
  return ToolResult{summarize(record), record, !ok};
}

bool executable(const fs::path& p) {
  std::error_code ec;
  return fs::is_regular_file(p, ec) && access(p.c_str(), X_OK) == 0;
}

ToolResult preview(const Value& args, const fs::path& program) {
  const std::string bad = check_arguments(args, {"pages", "output_dir", "font", "against"}, {});
  if (!bad.empty()) return failed(bad);
  const auto pages = optional_text(args, "pages");
  if (!pages || pages->empty())
    return failed(
        "Argument pages is required: a page JSON file or "
        "a directory of them.");
  if (!executable(program)) {
    return failed(
        "Previews are not available: the pagefold-preview program is not installed "
        "(looked for " +
        program.string() + ").");
  }
  std::error_code ec;
  fs::path out;
  if (const auto dir = optional_text(args, "output_dir")) {
    out = *dir;
  } else {
    const fs::path p(*pages);
    out = (fs::is_directory(p, ec) ? p : p.parent_path()) / "preview";
  }
  std::vector<std::string> argv = {program.string(), *pages, "-o", out.string()};
  if (const auto font = optional_text(args, "font")) argv.insert(argv.end(), {"--font", *font});
  if (const auto against = optional_text(args, "against")) {
    argv.insert(argv.end(), {"--against", *against});
  }
  const Finished run = run_program(argv, PREVIEW_SECONDS, PREVIEW_OUTPUT_KEPT);
  if (!run.started) return failed("Could not start " + program.string() + ".");
  if (run.timed_out) {
    return failed("pagefold-preview did not finish within " + std::to_string(PREVIEW_SECONDS) +
                  " seconds and was stopped.\n" + run.output);
  }
  if (run.status != 0) {
    return failed("pagefold-preview failed (exit status " + std::to_string(run.status) + "):\n" +
                  run.output);
  }
  const fs::path report_path = out / "preview-report.json";
  std::ifstream in(report_path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  Value report;
  try {
    report = parse_json(text.str());
  } catch (const std::exception& e) {
    return failed("pagefold-preview wrote no readable report at " + report_path.string() + ": " +
                  failure_message(e));
  }
  std::vector<std::string> pictures;
  for (const auto& entry : fs::directory_iterator(out, ec)) {
    const std::string name = entry.path().filename().string();
    if (name.size() > 12 && name.compare(name.size() - 12, 12, ".preview.png") == 0) {
      pictures.push_back(name);
    }
  }
  std::sort(pictures.begin(), pictures.end());
  std::string summary = "Previews in " + out.string() + ": contact-sheet.png and " +
                        std::to_string(pictures.size()) + " page picture(s)";
  for (size_t i = 0; i < pictures.size(); ++i) summary += (i ? ", " : " (") + pictures[i];
  summary += pictures.empty() ? ".\n" : ").\n";
  summary += "Report: " + report_path.string() + " (also the structured result).\n";
  // A report that is not a map still fits the output schema when wrapped.
  if (!report.is_object()) report = Value::object({{"report", report}});
  return ToolResult{summary, report, false};
}

}  // namespace

Value tool_list(bool structured_output) {
  Value tools = Value::array();
  tools.as_array().push_back(convert_tool(structured_output));
  tools.as_array().push_back(preview_tool(structured_output));
  return tools;
}

std::optional<ToolResult> call_tool(const std::string& name, const Value& arguments,
                                    const fs::path& preview_program) {
  if (name == "convert") return convert(arguments);
  if (name == "preview") return preview(arguments, preview_program);
  return std::nullopt;
}

}  // namespace pagefold::mcp
