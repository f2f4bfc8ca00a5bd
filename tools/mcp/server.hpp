// The protocol side of the agent tool server: JSON-RPC 2.0 messages in, replies
// out, one message per line.
//
// Both eras of the protocol are served. A client of a handshake revision
// (2024-11-05 to 2025-11-25) opens with `initialize` and the negotiated
// revision applies to the rest of the connection; a client of a per-request
// revision (2026-07-28) names the revision and its capabilities in every
// request's `_meta` and may ask `server/discover` what the server speaks.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "pagefold/json.hpp"

namespace pagefold::mcp {

// JSON-RPC and protocol error codes.
inline constexpr int PARSE_ERROR = -32700;
inline constexpr int INVALID_REQUEST = -32600;
inline constexpr int METHOD_NOT_FOUND = -32601;
inline constexpr int INVALID_PARAMS = -32602;
inline constexpr int INTERNAL_ERROR = -32603;
inline constexpr int UNSUPPORTED_PROTOCOL_VERSION = -32022;

class Server {
 public:
  // `preview_program`: the previewer the `preview` tool runs.
  explicit Server(std::filesystem::path preview_program)
      : preview_program_(std::move(preview_program)) {}

  // The reply to one line of input, or nothing (notifications, responses and
  // blank lines get none).
  std::optional<Value> handle_line(std::string_view line);
  // The reply to a line that was longer than `limit` bytes and was dropped.
  static Value line_too_long(size_t limit);

 private:
  std::filesystem::path preview_program_;
  std::optional<std::string> negotiated_;  // the handshake revision, once initialized

  std::optional<Value> handle(const Value& message);
  Value request(const Value& id, const std::string& method, const Value& params);
  Value initialize(const Value& id, const Value& params);
  Value call_tool(const Value& id, const Value& params, const std::string& revision);
};

// A reply laid out on one line, as the transport needs it.
std::string one_line(const Value& v);

}  // namespace pagefold::mcp
