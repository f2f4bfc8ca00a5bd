"""pagefold-mcp driven as an agent client drives it: through a pipe, one
JSON-RPC message per line."""

import json
import os
import pathlib
import select
import shutil
import subprocess

import pytest

SOURCE_DIR = pathlib.Path(
    os.environ.get("PAGEFOLD_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2]))
BUILD_DIR = pathlib.Path(os.environ.get("PAGEFOLD_BUILD_DIR", SOURCE_DIR / "build"))
SERVER = BUILD_DIR / "pagefold-mcp"
CLI = BUILD_DIR / "pagefold"
SAMPLES = sorted(p.parent.name for p in (SOURCE_DIR / "tests" / "golden").glob("sample_*/input.html"))
LATEST = "2025-11-25"
MODERN = "2026-07-28"
ALL_REVISIONS = ["2026-07-28", "2025-11-25", "2025-06-18", "2025-03-26", "2024-11-05"]
SERVER_INFO = {"name": "pagefold-mcp", "title": "pagefold", "version": "0.1.0"}
META = {"io.modelcontextprotocol/protocolVersion": MODERN,
        "io.modelcontextprotocol/clientCapabilities": {},
        "io.modelcontextprotocol/clientInfo": {"name": "test", "version": "1"}}
# A guard against a server that stops answering, not a speed target.
NO_ANSWER_AFTER = 120


def sample(name):
    return SOURCE_DIR / "tests" / "golden" / name / "input.html"


class Client:
    def __init__(self, *args, server=SERVER):
        self.proc = subprocess.Popen([str(server), *args], stdin=subprocess.PIPE,
                                     stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.next_id = 0

    def send_raw(self, data: bytes):
        self.proc.stdin.write(data)
        self.proc.stdin.flush()

    def send(self, message):
        self.send_raw(json.dumps(message, ensure_ascii=False).encode() + b"\n")

    def receive(self):
        ready, _, _ = select.select([self.proc.stdout], [], [], NO_ANSWER_AFTER)
        assert ready, "the server did not answer"
        line = self.proc.stdout.readline()
        assert line.endswith(b"\n") and line.count(b"\n") == 1
        return json.loads(line)

    def request(self, method, params=None, **extra):
        self.next_id += 1
        message = {"jsonrpc": "2.0", "id": self.next_id, "method": method, **extra}
        if params is not None:
            message["params"] = params
        self.send(message)
        reply = self.receive()
        assert reply["id"] == self.next_id
        return reply

    def initialize(self, revision=LATEST):
        return self.request("initialize", {"protocolVersion": revision, "capabilities": {},
                                           "clientInfo": {"name": "test", "version": "1"}})

    def call(self, name, arguments, **params):
        reply = self.request("tools/call", {"name": name, "arguments": arguments, **params})
        assert "error" not in reply, reply
        return reply["result"]

    def close(self):
        self.proc.stdin.close()
        code = self.proc.wait(NO_ANSWER_AFTER)
        self.proc.stdout.close()
        self.proc.stderr.close()
        return code


@pytest.fixture
def client():
    c = Client()
    yield c
    if c.proc.poll() is None:
        assert c.close() == 0


@pytest.fixture
def ready(client):
    client.initialize()
    client.send({"jsonrpc": "2.0", "method": "notifications/initialized"})
    return client


def error_of(reply):
    assert "result" not in reply
    return reply["error"]["code"], reply["error"]["message"]


def cli(*args):
    return subprocess.run([str(CLI), *map(str, args)], capture_output=True, text=True)


# ---- the handshake era


def test_initialize_negotiates_a_revision_the_server_speaks(client):
    reply = client.initialize()
    instructions = reply["result"].pop("instructions")
    assert instructions.startswith("pagefold converts HTML+CSS UI prototypes")
    assert reply == {"jsonrpc": "2.0", "id": 1, "result": {
        "protocolVersion": LATEST, "capabilities": {"tools": {"listChanged": False}},
        "serverInfo": SERVER_INFO}}
    for asked, answered in [("2025-06-18", "2025-06-18"), ("2025-03-26", "2025-03-26"),
                            ("2024-11-05", "2024-11-05"), ("2024-10-07", LATEST),
                            (MODERN, LATEST), ("", LATEST)]:
        result = client.initialize(asked)["result"]
        assert result["protocolVersion"] == answered
        assert ("title" in result["serverInfo"]) == (answered >= "2025-06-18")
    assert error_of(client.request("initialize", {"capabilities": {}})) == (
        -32602, "Invalid params: protocolVersion must be a string")


def test_requests_before_initialize_are_refused_except_ping(client):
    assert client.request("ping") == {"jsonrpc": "2.0", "id": 1, "result": {}}
    assert error_of(client.request("tools/list")) == (
        -32602, "Invalid params: send initialize first, or name the protocol version and client "
        "capabilities in _meta (io.modelcontextprotocol/protocolVersion, "
        "io.modelcontextprotocol/clientCapabilities)")


def test_tools_are_listed_with_schemas_by_revision(client):
    client.initialize()
    tools = client.request("tools/list")["result"]["tools"]
    assert [t["name"] for t in tools] == ["convert", "preview"]
    convert, preview = tools
    assert list(convert) == ["name", "title", "description", "inputSchema", "outputSchema",
                             "annotations"]
    assert list(convert["inputSchema"]["properties"]) == [
        "input_html", "html", "output_json", "res", "asset_dir", "merge_windows"]
    assert convert["inputSchema"]["additionalProperties"] is False
    assert convert["outputSchema"]["required"] == ["success"]
    assert list(preview["inputSchema"]["properties"]) == ["pages", "output_dir", "font", "against"]
    assert preview["inputSchema"]["required"] == ["pages"]
    # Before structured output there are no output schemas and no titles.
    client.initialize("2025-03-26")
    old = client.request("tools/list")["result"]["tools"]
    assert [list(t) for t in old] == [["name", "description", "inputSchema", "annotations"]] * 2


# ---- the per-request era


def test_per_request_clients_discover_and_call_without_a_handshake(client):
    reply = client.request("server/discover", {"_meta": META})
    result = reply["result"]
    assert result.pop("instructions").startswith("pagefold converts")
    assert result == {"resultType": "complete", "supportedVersions": ALL_REVISIONS,
                      "capabilities": {"tools": {"listChanged": False}},
                      "serverInfo": SERVER_INFO,
                      "_meta": {"io.modelcontextprotocol/serverInfo": SERVER_INFO}}
    listed = client.request("tools/list", {"_meta": META})["result"]
    assert list(listed) == ["resultType", "tools", "_meta"]
    called = client.call("convert", {"html": "<p>no screen</p>"}, _meta=META)
    assert (called["resultType"], called["isError"]) == ("complete", True)


def test_per_request_envelopes_are_checked(client):
    caps = "io.modelcontextprotocol/clientCapabilities"
    version = "io.modelcontextprotocol/protocolVersion"
    assert client.request("server/discover", {"_meta": {**META, version: "2099-01-01"}}) == {
        "jsonrpc": "2.0", "id": 1, "error": {
            "code": -32022, "message": "Unsupported protocol version",
            "data": {"supported": ALL_REVISIONS, "requested": "2099-01-01"}}}
    without_caps = {k: v for k, v in META.items() if k != caps}
    assert error_of(client.request("tools/list", {"_meta": without_caps})) == (
        -32602, f"Invalid params: _meta {caps} is required")
    assert error_of(client.request("tools/list", {"_meta": {**META, version: 2026}})) == (
        -32602, f"Invalid params: _meta {version} must be a string")
    # Discovery belongs to the per-request era even after a handshake.
    client.initialize()
    assert error_of(client.request("server/discover"))[0] == -32602


# ---- the conversion


@pytest.mark.parametrize("name", SAMPLES)
def test_convert_answers_the_command_lines_record(ready, tmp_path, name):
    printed = cli(sample(name), tmp_path / "cli")
    assert printed.returncode == 0
    expected = printed.stdout.replace(str(tmp_path / "cli"), str(tmp_path / "mcp"))
    result = ready.call("convert", {"input_html": str(sample(name)),
                                    "output_json": str(tmp_path / "mcp")})
    assert json.dumps(result["structuredContent"], ensure_ascii=False, indent=1) + "\n" == expected
    assert result["isError"] is False
    assert [c["type"] for c in result["content"]] == ["text"]
    pages = {p.name: p.read_text() for p in (tmp_path / "mcp").glob("*.json")}
    assert pages == {p.name: p.read_text() for p in (tmp_path / "cli").glob("*.json")}


def test_convert_summary_names_pages_pictures_and_warning_kinds(tmp_path):
    # A copy of the server away from the build's plug-ins, so that the
    # warnings are those of a conversion without them.
    alone = tmp_path / "bin" / "pagefold-mcp"
    alone.parent.mkdir()
    shutil.copy(SERVER, alone)
    client = Client(server=alone)
    client.initialize()
    out = tmp_path / "out"
    result = client.call("convert", {"input_html": str(sample("sample_login")),
                                    "output_json": str(out)})
    css = "含 CSS 效果（线性渐变）：Quilora 不支持 CSS，无法硬转；请切图（PNG/.9.png/序列帧/GIF）后 用 data-pic 引用（效果转图片 + 控件组合实现）"
    assert result["content"][0]["text"] == (
        f"Converted 2 pages (per-screen, 1024x600): 2 files written, 0 pictures generated "
        f"into {out}/images.\n"
        f"Pages: login -> {out}/login.json; login_qr -> {out}/login_qr.json\n"
        "Warnings: 15 of 7 kinds:\n"
        f"- 7x <div class=\"window hero\"> {css}\n"
        "- 2x 必填键补全未走共享发射层（ui_emit 不可用：No module named 'ui_emit'）→ 本页可能缺必填键\n"
        "- 2x data-icon=\"back\" 自动转图不可用（缺 gen_res/Pillow 或未指定 asset_dir），请给 data-pic 自备图\n"
        "- 1x output_json 不在 <项目>/ui/ 目录下，自动转图输出到 json 同目录 images/；建议把图片移到项目 "
        "resources/images/ 后 json 引用 images/xxx.png（相对 resources）\n"
        "- 1x 识别到 2 个 .screen（多屏设计稿）：login(登录) / login_qr(扫码登录)\n"
        "- 1x 缺省口径：**每屏一个 json**（一个 .screen = 一个页面 = 一个 Activity = 一个独立 qlu），"
        "文件名取 data-page：login.json / login_qr.json。同一 Activity 内的 …\n"
        "- 1x textview__4(TextView2) 文本“Smart Camp”字号 16 需最小宽 439px，但扩宽会超出容器(480px)"
        "——需手动调位置/字号或拆行\n")
    assert client.close() == 0


def test_convert_of_text_gives_the_pages_in_the_record(ready, tmp_path):
    src = sample("sample_thermostat")
    cli(src, tmp_path)
    # With pictures made as the command makes them, into a directory of its own.
    result = ready.call("convert", {"html": src.read_text(encoding="utf-8"), "res": None,
                                    "asset_dir": str(tmp_path / "text-images")})
    assert result["isError"] is False
    record = result["structuredContent"]
    assert "jsonPaths" not in record
    assert [(p["page"], json.dumps(p["data"], ensure_ascii=False, indent=2))
            for p in record["pages"]] == [
        (n, (tmp_path / f"{n}.json").read_text(encoding="utf-8"))
        for n in ("home", "schedule", "settings")]


def test_failures_are_tool_errors_as_the_command_line_reports_them(ready, tmp_path):
    missing = tmp_path / "missing.html"
    result = ready.call("convert", {"input_html": str(missing)})
    assert result == {"content": [{"type": "text", "text": f"[X] html 文件不存在: {missing}\n"}],
                      "structuredContent": {"success": False,
                                            "error": f"html 文件不存在: {missing}"},
                      "isError": True}
    assert cli(missing).stdout == result["content"][0]["text"]

    bad = tmp_path / "bad.html"
    bad.write_bytes(b"\xfe<div class='screen'></div>")
    result = ready.call("convert", {"input_html": str(bad), "output_json": str(tmp_path / "o")})
    message = f"{bad}: invalid UTF-8 at byte 0"
    assert result == {
        "content": [{"type": "text", "text": f"[X] UnicodeDecodeError: {message}\n"}],
        "structuredContent": {"success": False, "error": f"UnicodeDecodeError: {message}",
                              "type": "UnicodeDecodeError", "message": message},
        "isError": True}
    assert cli(bad, tmp_path / "o").stderr == result["content"][0]["text"]

    no_screen = ready.call("convert", {"html": "<p>x</p>", "merge_windows": True})
    assert no_screen["isError"] is True
    assert no_screen["content"][0]["text"] == (
        "[X] 未找到 <div class=\"screen\"> 根节点（受限 HTML 必须从 screen 容器开始）\n"
        "Screens detected: 0, pages produced: 0.\n"
        "Warnings: 1 of 1 kind:\n"
        "- 1x 未找到 <div class=\"screen\"> 根节点（受限 HTML 必须从 screen 容器开始）\n")


def test_bad_arguments_are_tool_errors_that_say_what_to_change(ready, tmp_path):
    src = str(sample("sample_login"))
    cases = [
        ({}, "Give either input_html (a path) or html (the prototype text), not neither."),
        ({"input_html": src, "html": "<p/>"},
         "Give either input_html (a path) or html (the prototype text), not both."),
        ({"html": "<p/>", "output_json": "x.json"},
         "output_json goes with input_html: converted text comes back in the record "
         "(pages[].data) and no page file is written."),
        ({"input_html": src, "merge": True, "dir": "x"},
         "Unknown argument(s): merge, dir. The arguments are: input_html, html, output_json, "
         "res, asset_dir, merge_windows."),
        ({"input_html": src, "merge_windows": "true"},
         "Argument merge_windows must be true or false."),
        ({"input_html": 5}, "Argument input_html must be a string."),
    ]
    for arguments, text in cases:
        result = ready.call("convert", arguments)
        assert result == {"content": [{"type": "text", "text": text}], "isError": True}
    assert ready.call("preview", {}) == {"content": [{"type": "text", "text": (
        "Argument pages is required: a page JSON file or a directory of them.")}], "isError": True}
    assert os.listdir(tmp_path) == []


def test_older_revisions_get_the_record_as_text(client, tmp_path):
    client.initialize("2025-03-26")
    result = client.call("convert", {"input_html": str(sample("sample_login")),
                                     "output_json": str(tmp_path)})
    assert list(result) == ["content", "isError"]
    printed = cli(sample("sample_login"), tmp_path).stdout
    assert result["content"][1] == {"type": "text", "text": printed[:-1]}


def test_unknown_tools_and_malformed_calls_are_protocol_errors(ready):
    assert error_of(ready.request("tools/call", {"name": "nope", "arguments": {}})) == (
        -32602, "Unknown tool: nope")
    assert error_of(ready.request("tools/call", {"arguments": {}})) == (
        -32602, "Invalid params: name must be a string")
    assert error_of(ready.request("tools/call", {"name": "convert", "arguments": [1]})) == (
        -32602, "Invalid params: arguments must be an object")
    assert error_of(ready.request("resources/list")) == (-32601, "Method not found: resources/list")


def test_preview_runs_the_previewer_built_beside_it(ready, tmp_path):
    previewer = BUILD_DIR / "pagefold-preview"
    assert previewer.exists(), "the previewer is built beside the server"
    pages = tmp_path / "pages"
    ready.call("convert", {"input_html": str(sample("sample_login")), "output_json": str(pages)})
    result = ready.call("preview", {"pages": str(pages), "against": str(sample("sample_login"))})
    assert result["isError"] is False, result["content"][0]["text"]
    report = json.loads((pages / "preview" / "preview-report.json").read_text(encoding="utf-8"))
    assert result["structuredContent"] == (report if isinstance(report, dict) else
                                           {"report": report})
    # Both pages were drawn and compared with the prototype in the browser.
    scores = [p["compare"]["score"] for p in report["pages"]]
    assert len(scores) == 2 and all(isinstance(x, float) and 0 < x <= 1 for x in scores), scores
    assert (pages / "preview" / "contact-sheet.png").exists()
    assert result["content"][0]["text"].startswith(f"Previews in {pages / 'preview'}: ")


def test_preview_without_the_previewer_is_a_tool_error(tmp_path):
    bin_dir = tmp_path / "bin"
    bin_dir.mkdir()
    shutil.copy(SERVER, bin_dir)
    client = Client(server=bin_dir / "pagefold-mcp")
    client.initialize()
    result = client.call("preview", {"pages": str(tmp_path)})
    assert result["isError"] is True
    assert result["content"][0]["text"].startswith(
        "Previews are not available: the pagefold-preview program is not installed (looked for ")
    assert client.close() == 0


FAKE_PREVIEWER = """#!/bin/sh
# Stands in for pagefold-preview: notes its arguments, fails or writes a report.
echo "$@" > "$(dirname "$0")/args"
out="$3"
case "$1" in
  *broken*) echo "cannot read $1" >&2; exit 3 ;;
  *garbled*) mkdir -p "$out"; echo "{" > "$out/preview-report.json"; exit 0 ;;
esac
mkdir -p "$out"
printf '{"pages": [{"page": "login", "score": 0.5}]}' > "$out/preview-report.json"
: > "$out/login.preview.png"; : > "$out/login_qr.preview.png"; : > "$out/contact-sheet.png"
"""


def test_preview_passes_its_arguments_and_answers_the_report(tmp_path):
    bin_dir = tmp_path / "bin"
    bin_dir.mkdir()
    shutil.copy(SERVER, bin_dir)
    fake = bin_dir / "pagefold-preview"
    fake.write_text(FAKE_PREVIEWER)
    fake.chmod(0o755)
    client = Client(server=bin_dir / "pagefold-mcp")
    client.initialize()
    pages = tmp_path / "pages"
    pages.mkdir()

    result = client.call("preview", {"pages": str(pages), "font": "f.ttf", "against": "p.html"})
    out = pages / "preview"
    assert (bin_dir / "args").read_text() == f"{pages} -o {out} --font f.ttf --against p.html\n"
    assert result == {"content": [{"type": "text", "text": (
        f"Previews in {out}: contact-sheet.png and 2 page picture(s) "
        "(login.preview.png, login_qr.preview.png).\n"
        f"Report: {out}/preview-report.json (also the structured result).\n")}],
        "structuredContent": {"pages": [{"page": "login", "score": 0.5}]}, "isError": False}

    # A page file: the previews go beside it unless output_dir says where.
    client.call("preview", {"pages": str(pages / "login.json")})
    assert (bin_dir / "args").read_text() == f"{pages}/login.json -o {out}\n"
    client.call("preview", {"pages": str(pages / "login.json"), "output_dir": "elsewhere"})
    assert (bin_dir / "args").read_text() == f"{pages}/login.json -o elsewhere\n"

    broken = client.call("preview", {"pages": "broken.json", "output_dir": str(tmp_path / "o")})
    assert broken == {"content": [{"type": "text", "text": (
        "pagefold-preview failed (exit status 3):\ncannot read broken.json\n")}], "isError": True}
    garbled = client.call("preview", {"pages": "garbled.json", "output_dir": str(tmp_path / "g")})
    assert garbled["isError"] is True
    assert garbled["content"][0]["text"] == (
        f"pagefold-preview wrote no readable report at {tmp_path}/g/preview-report.json: "
        "Expecting property name enclosed in double quotes: line 2 column 1 (char 2)")
    assert client.close() == 0


# ---- what a client should never send


def test_garbage_gets_json_rpc_errors_and_never_stops_the_server(ready):
    cases = [
        (b"garbage", -32700, "Parse error: Expecting value: line 1 column 1 (char 0)", None),
        (b"{\"jsonrpc\": \"2.0\", \"id\": 9, \"method\": \"ping\"", -32700, None, None),
        (b"\xff\xfe{}", -32700, "Parse error: message is not UTF-8", None),
        (b"[" * 100000, -32700, "Parse error: Nesting too deep: line 1 column 1001 (char 1000)",
         None),
        (b"[]", -32600, "Invalid Request: batches are not supported", None),
        (b"42", -32600, "Invalid Request: a message is a JSON object", None),
        (b"{\"id\": 7, \"method\": \"ping\"}", -32600,
         "Invalid Request: jsonrpc must be \"2.0\"", 7),
        (b"{\"jsonrpc\": \"2.0\", \"id\": \"a\"}", -32600,
         "Invalid Request: method must be a string", "a"),
        (b"{\"jsonrpc\": \"2.0\", \"id\": 1.5, \"method\": \"ping\"}", -32600,
         "Invalid Request: id must be a string or an integer", None),
        (b"{\"jsonrpc\": \"2.0\", \"id\": null, \"method\": \"ping\"}", -32600,
         "Invalid Request: id must be a string or an integer", None),
        (b"{\"jsonrpc\": \"2.0\", \"id\": 3, \"method\": \"ping\", \"params\": \"x\"}", -32600,
         "Invalid Request: params must be an object", 3),
        (b"{\"jsonrpc\": \"2.0\", \"id\": 4, \"method\": \"ping\", \"params\": [1]}", -32602,
         "Invalid params: params must be an object", 4),
        (b"{\"jsonrpc\": \"2.0\", \"id\": 5, \"method\": 5}", -32600,
         "Invalid Request: method must be a string", 5),
        (b"{\"jsonrpc\": \"2.0\", \"id\": 99999999999999999999, \"method\": \"ping\"}", -32700,
         "Parse error: Integer out of 64-bit range: line 1 column 26 (char 25)", None),
    ]
    for line, code, message, reply_id in cases:
        ready.send_raw(line + b"\n")
        reply = ready.receive()
        assert reply["id"] == reply_id and reply["error"]["code"] == code, line[:60]
        if message is not None:
            assert reply["error"]["message"] == message
    # Notifications, responses and blank lines get no answer: the next line
    # out answers the ping that follows them.
    for silent in [b'{"jsonrpc": "2.0", "method": "notifications/cancelled", '
                   b'"params": {"requestId": 1}}',
                   b'{"jsonrpc": "2.0", "method": "no/such/notification"}',
                   b'{"jsonrpc": "2.0", "id": 50, "result": {}}',
                   b'{"jsonrpc": "2.0", "id": 51, "error": {"code": 1, "message": "m"}}',
                   b"", b"  \r"]:
        ready.send_raw(silent + b"\n")
    reply = ready.request("ping")
    assert reply == {"jsonrpc": "2.0", "id": ready.next_id, "result": {}}


@pytest.mark.parametrize("limit", [1, 200])
def test_a_line_may_hold_exactly_the_limit(limit):
    client = Client(f"--max-line-bytes={limit}")
    ping = b'{"jsonrpc":"2.0","id":1,"method":"ping"}'
    too_long = {"jsonrpc": "2.0", "id": None, "error": {
        "code": -32600, "message": f"Invalid Request: message longer than {limit} bytes"}}
    if limit >= len(ping):
        client.send_raw(ping.ljust(limit) + b"\n")
        assert client.receive() == {"jsonrpc": "2.0", "id": 1, "result": {}}
    else:
        client.send_raw(b"7".ljust(limit) + b"\n")
        assert error_of(client.receive()) == (-32600, "Invalid Request: a message is a JSON object")
    client.send_raw(b" " * (limit + 1) + b"\n")
    assert client.receive() == too_long
    client.send_raw(b"x" * (3 * limit + 70000) + b"\n")
    assert client.receive() == too_long
    # A last line without its line feed still counts.
    client.send_raw(b"y" * (limit + 1))
    client.proc.stdin.close()
    assert client.receive() == too_long
    assert client.proc.wait(NO_ANSWER_AFTER) == 0


def test_end_of_input_ends_the_server_and_bad_options_are_refused(client):
    client.initialize()
    assert client.close() == 0
    for option in ["--max-line-bytes=0", "--max-line-bytes=-1", "--max-line-bytes=x",
                   "--max-line-bytes=", "--verbose"]:
        done = subprocess.run([str(SERVER), option], input=b"", capture_output=True)
        assert (done.returncode, done.stdout) == (2, b""), option
        assert done.stderr.startswith(b"usage: pagefold-mcp [--max-line-bytes=N]\n")
