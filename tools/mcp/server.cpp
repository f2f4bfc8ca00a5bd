#include "server.hpp"

#include <algorithm>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "pagefold/error.hpp"
#include "tools.hpp"
#include "util/text.hpp"

#ifndef PAGEFOLD_VERSION
#define PAGEFOLD_VERSION "0"
#endif

namespace pagefold::mcp {
namespace {

// Revisions served, newest first.
const std::vector<std::string> PER_REQUEST_REVISIONS = {"2026-07-28"};
const std::vector<std::string> HANDSHAKE_REVISIONS = {"2025-11-25", "2025-06-18", "2025-03-26",
                                                      "2024-11-05"};
// Structured tool output and titles arrived with this revision.
const std::string STRUCTURED_SINCE = "2025-06-18";

const char* const VERSION_KEY = "io.modelcontextprotocol/protocolVersion";
const char* const CAPABILITIES_KEY = "io.modelcontextprotocol/clientCapabilities";
const char* const SERVER_INFO_KEY = "io.modelcontextprotocol/serverInfo";

const char* const INSTRUCTIONS =
    "pagefold converts HTML+CSS UI prototypes (each div.screen one page of an embedded "
    "touch-screen device) into the device's JSON page files and PNG pictures. Call convert "
    "with input_html (a path) or html (the text); read the warnings (in Chinese) in the "
    "result: they say what was approximated or dropped and what to change in the prototype. "
    "Call preview on the written pages to see them as the device draws them.";

bool known(const std::vector<std::string>& list, const std::string& v) {
  return std::find(list.begin(), list.end(), v) != list.end();
}

Value server_info() {
  return Value::object(
      {{"name", "pagefold-mcp"}, {"title", "pagefold"}, {"version", PAGEFOLD_VERSION}});
}

Value all_revisions() {
  Value out = Value::array();
  for (const auto* list : {&PER_REQUEST_REVISIONS, &HANDSHAKE_REVISIONS}) {
    for (const std::string& r : *list) out.as_array().push_back(r);
  }
  return out;
}

Value capabilities() { return Value::object({{"tools", Value::object({{"listChanged", false}})}}); }

Value error(const Value& id, int code, const std::string& message, const Value& data = Value()) {
  Value e = Value::object({{"code", code}, {"message", message}});
  if (!data.is_null()) e["data"] = data;
  return Value::object({{"jsonrpc", "2.0"}, {"id", id}, {"error", e}});
}

Value result(const Value& id, const Value& r) {
  return Value::object({{"jsonrpc", "2.0"}, {"id", id}, {"result", r}});
}

bool blank(std::string_view s) { return s.find_first_not_of(" \t\r") == std::string_view::npos; }

}  // namespace

std::string one_line(const Value& v) {
  // Texts are written with their line breaks escaped, so every raw line feed
  // in the laid-out text is layout and can go.
  std::string s = dump(v, 0);
  s.erase(std::remove(s.begin(), s.end(), '\n'), s.end());
  return s;
}

Value Server::line_too_long(size_t limit) {
  return error(Value(), INVALID_REQUEST,
               "Invalid Request: message longer than " + std::to_string(limit) + " bytes");
}

std::optional<Value> Server::handle_line(std::string_view line) {
  if (blank(line)) return std::nullopt;
  if (!text::valid_utf8(line))
    return error(Value(), PARSE_ERROR, "Parse error: message is not UTF-8");
  Value message;
  try {
    message = parse_json(line);
  } catch (const Failure& f) {
    return error(Value(), PARSE_ERROR, "Parse error: " + f.message());
  }
  return handle(message);
}

std::optional<Value> Server::handle(const Value& m) {
  if (m.is_array()) {
    return error(Value(), INVALID_REQUEST, "Invalid Request: batches are not supported");
  }
  if (!m.is_object()) {
    return error(Value(), INVALID_REQUEST, "Invalid Request: a message is a JSON object");
  }
  const Value id = m.get("id");
  const bool id_ok = id.is_string() || id.is_int();
  const Value reply_id = id_ok ? id : Value();
  // Responses from the client: this server sends no requests, so there is
  // nothing to match them with.
  if (!m.contains("method") && (m.contains("result") || m.contains("error"))) return std::nullopt;
  if (m.get("jsonrpc") != Value("2.0")) {
    return error(reply_id, INVALID_REQUEST, "Invalid Request: jsonrpc must be \"2.0\"");
  }
  const Value method = m.get("method");
  if (!method.is_string()) {
    return error(reply_id, INVALID_REQUEST, "Invalid Request: method must be a string");
  }
  if (!m.contains("id")) return std::nullopt;  // a notification: never answered
  if (!id_ok) {
    return error(Value(), INVALID_REQUEST, "Invalid Request: id must be a string or an integer");
  }
  const Value params = m.get("params");
  if (m.contains("params") && !params.is_object()) {
    return params.is_array()
               ? error(id, INVALID_PARAMS, "Invalid params: params must be an object")
               : error(id, INVALID_REQUEST, "Invalid Request: params must be an object");
  }
  try {
    return request(id, method.as_string(), params.is_object() ? params : Value::object());
  } catch (const std::exception& e) {
    return error(id, INTERNAL_ERROR, "Internal error: " + failure_message(e));
  }
}

Value Server::request(const Value& id, const std::string& method, const Value& params) {
  static const std::vector<std::string> METHODS = {"initialize", "ping", "server/discover",
                                                   "tools/list", "tools/call"};
  if (!known(METHODS, method)) return error(id, METHOD_NOT_FOUND, "Method not found: " + method);
  if (method == "initialize") return initialize(id, params);

  // The revision of this request: named in its _meta (per-request era), or
  // the one negotiated by initialize (handshake era).
  const Value meta = params.get("_meta");
  std::string revision;
  bool per_request = false;
  if (meta.contains(VERSION_KEY)) {
    const Value v = meta.get(VERSION_KEY);
    if (!v.is_string()) {
      return error(id, INVALID_PARAMS,
                   std::string("Invalid params: _meta ") + VERSION_KEY + " must be a string");
    }
    if (!meta.get(CAPABILITIES_KEY).is_object()) {
      return error(id, INVALID_PARAMS,
                   std::string("Invalid params: _meta ") + CAPABILITIES_KEY + " is required");
    }
    if (!known(PER_REQUEST_REVISIONS, v.as_string())) {
      return error(id, UNSUPPORTED_PROTOCOL_VERSION, "Unsupported protocol version",
                   Value::object({{"supported", all_revisions()}, {"requested", v}}));
    }
    revision = v.as_string();
    per_request = true;
  } else if (negotiated_ && method != "server/discover") {
    revision = *negotiated_;
  } else if (method != "ping") {
    return error(id, INVALID_PARAMS,
                 std::string("Invalid params: send initialize first, or name the protocol "
                             "version and client capabilities in _meta (") +
                     VERSION_KEY + ", " + CAPABILITIES_KEY + ")");
  }

  Value r = Value::object();
  if (per_request) r["resultType"] = "complete";
  if (method == "server/discover") {
    r["supportedVersions"] = all_revisions();
    r["capabilities"] = capabilities();
    r["serverInfo"] = server_info();
    r["instructions"] = INSTRUCTIONS;
  } else if (method == "tools/list") {
    r["tools"] = tool_list(revision >= STRUCTURED_SINCE);
  } else if (method == "tools/call") {
    Value called = call_tool(id, params, revision);
    if (called.contains("error")) return called;
    for (const auto& [k, v] : called.as_object()) r[k] = v;
  }
  if (per_request) r["_meta"] = Value::object({{SERVER_INFO_KEY, server_info()}});
  return result(id, r);
}

Value Server::initialize(const Value& id, const Value& params) {
  const Value asked = params.get("protocolVersion");
  if (!asked.is_string()) {
    return error(id, INVALID_PARAMS, "Invalid params: protocolVersion must be a string",
                 Value::object({{"supported", all_revisions()}}));
  }
  // The revision asked for when this server speaks it, else its newest
  // handshake revision; the client decides whether it can go on.
  const std::string revision =
      known(HANDSHAKE_REVISIONS, asked.as_string()) ? asked.as_string() : HANDSHAKE_REVISIONS[0];
  negotiated_ = revision;
  Value info = server_info();
  if (revision < STRUCTURED_SINCE) info.as_object().erase("title");
  return result(id, Value::object({{"protocolVersion", revision},
                                   {"capabilities", capabilities()},
                                   {"serverInfo", info},
                                   {"instructions", INSTRUCTIONS}}));
}

// The tools/call result as a map, or an error reply (a map with "error").
Value Server::call_tool(const Value& id, const Value& params, const std::string& revision) {
  const Value name = params.get("name");
  if (!name.is_string()) return error(id, INVALID_PARAMS, "Invalid params: name must be a string");
  Value args = params.get("arguments");
  if (params.contains("arguments") && !args.is_object() && !args.is_null()) {
    return error(id, INVALID_PARAMS, "Invalid params: arguments must be an object");
  }
  if (!args.is_object()) args = Value::object();
  const std::optional<ToolResult> done = mcp::call_tool(name.as_string(), args, preview_program_);
  if (!done) return error(id, INVALID_PARAMS, "Unknown tool: " + name.as_string());

  Value content = Value::array();
  content.as_array().push_back(Value::object({{"type", "text"}, {"text", done->text}}));
  Value r = Value::object({{"content", content}});
  if (!done->structured.is_null()) {
    if (revision >= STRUCTURED_SINCE) {
      r["structuredContent"] = done->structured;
    } else {
      // Older clients read only content: the record goes there as JSON.
      content.as_array().push_back(
          Value::object({{"type", "text"}, {"text", dump(done->structured, 1)}}));
    }
  }
  r["isError"] = done->error;
  return r;
}

}  // namespace pagefold::mcp
